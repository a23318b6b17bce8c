#include "files/XDGDirectories.h"

#include <cstdlib>
#include <fstream>
#include <pwd.h>
#include <unistd.h>

namespace yk::detail {
namespace {

// An absolute path from the environment, or empty.
std::string absoluteVariable(const char* name)
{
    const char* value = std::getenv(name);
    return value && value[0] == '/' ? value : "";
}

std::vector<std::string> absoluteList(const char* name, const char* fallback)
{
    const char* value = std::getenv(name);
    std::string list = value && *value ? value : fallback;
    std::vector<std::string> folders;
    size_t start = 0;
    while (start <= list.size()) {
        size_t end = list.find(':', start);
        if (end == std::string::npos)
            end = list.size();
        std::string folder = list.substr(start, end - start);
        if (!folder.empty() && folder[0] == '/')
            folders.push_back(folder);
        start = end + 1;
    }
    return folders;
}

std::string homeOr(const char* variable, const char* relative)
{
    std::string value = absoluteVariable(variable);
    return value.empty() ? homeDirectory() + relative : value;
}

} // namespace

std::string homeDirectory()
{
    std::string home = absoluteVariable("HOME");
    if (!home.empty())
        return home;
    char buffer[4096];
    passwd entry;
    passwd* found = nullptr;
    if (!getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) && found)
        return found->pw_dir;
    return "/";
}

std::string xdgConfigHome() { return homeOr("XDG_CONFIG_HOME", "/.config"); }
std::string xdgDataHome() { return homeOr("XDG_DATA_HOME", "/.local/share"); }
std::string xdgCacheHome() { return homeOr("XDG_CACHE_HOME", "/.cache"); }
std::vector<std::string> xdgConfigDirs() { return absoluteList("XDG_CONFIG_DIRS", "/etc/xdg"); }
std::vector<std::string> xdgDataDirs() { return absoluteList("XDG_DATA_DIRS", "/usr/local/share/:/usr/share/"); }

std::string xdgEnvironment()
{
    std::string text;
    for (const char* name : { "HOME", "XDG_CONFIG_HOME", "XDG_CONFIG_DIRS", "XDG_DATA_HOME", "XDG_DATA_DIRS", "XDG_CURRENT_DESKTOP" }) {
        const char* value = std::getenv(name);
        text += value ? value : "";
        text += '\0';
    }
    return text;
}

std::string xdgUserDir(const std::string& name)
{
    std::ifstream file(xdgConfigHome() + "/user-dirs.dirs");
    std::string key = "XDG_" + name + "_DIR=";
    std::string line;
    while (std::getline(file, line)) {
        if (line.rfind(key, 0) != 0)
            continue;
        std::string value = line.substr(key.size());
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        if (value.rfind("$HOME", 0) == 0)
            value = homeDirectory() + value.substr(5);
        return value.empty() || value[0] != '/' ? "" : value;
    }
    return "";
}

} // namespace yk::detail
