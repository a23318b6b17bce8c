#include <Yarkit/SystemFunctions.h>

#include <cstdio>
#include <string>
#include <unistd.h>

const char* y_get_login_name(void)
{
    return getlogin();
}

const char* y_get_domain_name(void)
{
    // Read once; the first callers wait for it rather than each filling a copy.
    static const std::string name = [] {
        char buffer[512] = {};
        if (gethostname(buffer, sizeof buffer - 1) < 0) {
            std::perror("gethostname");
            return std::string("unknown");
        }
        return std::string(buffer);
    }();
    return name.c_str();
}

int y_is_process_native(pid_t)
{
    return 1;
}
