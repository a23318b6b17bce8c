// y_strtoll against glibc's strtoll where their contracts agree: the value, the end pointer
// and overflow must match; where glibc finds no digits we must report EINVAL.
#include <Yarkit/MemoryFunctions.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    // The first byte picks the base among 0 and 2..36; the rest is the text.
    int base = data[0] % 36;
    if (base == 1)
        base = 0;
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);

    char* ourEnd = nullptr;
    char* glibcEnd = nullptr;
    errno = 0;
    long long ours = y_strtoll(text.c_str(), &ourEnd, base);
    int ourErrno = errno;
    errno = 0;
    long long theirs = strtoll(text.c_str(), &glibcEnd, base);
    int glibcErrno = errno;

    if (ours != theirs || ourEnd != glibcEnd || (ourErrno == ERANGE) != (glibcErrno == ERANGE))
        std::abort();
    if ((ourErrno == EINVAL) != (glibcEnd == text.c_str()))
        std::abort();
    if (ourErrno != 0 && ourErrno != EINVAL && ourErrno != ERANGE)
        std::abort();
    return 0;
}
