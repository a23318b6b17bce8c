#include "files/MimeApps.h"

#include "files/XDGDirectories.h"

#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Mutex.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <algorithm>
#include <climits>
#include <iterator>
#include <set>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace yk::detail {
namespace {

constexpr std::string_view defaultsGroup = "Default Applications";

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r'))
        text.remove_suffix(1);
    return text;
}

// The lines of a text, without their line breaks.
std::vector<std::string_view> linesOf(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        size_t newline = text.find('\n');
        lines.push_back(text.substr(0, newline));
        text.remove_prefix(newline == std::string_view::npos ? text.size() : newline + 1);
    }
    return lines;
}

bool isGroupHeader(std::string_view line, std::string_view& name)
{
    line = trimmed(line);
    if (line.size() < 2 || line.front() != '[' || line.back() != ']')
        return false;
    name = line.substr(1, line.size() - 2);
    return true;
}

std::string readWhole(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// The current desktops of $XDG_CURRENT_DESKTOP, lowercased, in order.
std::vector<std::string> currentDesktops()
{
    std::vector<std::string> desktops;
    const char* value = std::getenv("XDG_CURRENT_DESKTOP");
    std::string_view list = value ? value : "";
    while (!list.empty()) {
        size_t colon = list.find(':');
        std::string name(list.substr(0, colon));
        for (char& c : name)
            c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
        if (!name.empty())
            desktops.push_back(name);
        list.remove_prefix(colon == std::string_view::npos ? list.size() : colon + 1);
    }
    return desktops;
}

} // namespace

std::map<std::string, std::string> parseIniGroup(std::string_view text, std::string_view group)
{
    std::map<std::string, std::string> keys;
    bool inside = false;
    for (std::string_view line : linesOf(text)) {
        std::string_view name;
        if (isGroupHeader(line, name)) {
            inside = name == group;
            continue;
        }
        std::string_view content = trimmed(line);
        if (!inside || content.empty() || content.front() == '#')
            continue;
        size_t equals = content.find('=');
        if (equals == std::string_view::npos)
            continue;
        keys.emplace(std::string(trimmed(content.substr(0, equals))), std::string(trimmed(content.substr(equals + 1))));
    }
    return keys;
}

std::vector<std::string> splitDesktopIDs(std::string_view value)
{
    std::vector<std::string> ids;
    while (!value.empty()) {
        size_t semicolon = value.find(';');
        std::string_view id = trimmed(value.substr(0, semicolon));
        if (!id.empty())
            ids.emplace_back(id);
        value.remove_prefix(semicolon == std::string_view::npos ? value.size() : semicolon + 1);
    }
    return ids;
}

std::vector<std::string> mimeAppsListFiles()
{
    auto desktops = currentDesktops();
    std::vector<std::string> files;
    auto addFolder = [&](const std::string& folder) {
        for (auto& desktop : desktops)
            files.push_back(folder + "/" + desktop + "-mimeapps.list");
        files.push_back(folder + "/mimeapps.list");
    };
    addFolder(xdgConfigHome());
    for (auto& folder : xdgConfigDirs())
        addFolder(folder);
    addFolder(xdgDataHome() + "/applications");
    for (auto& folder : xdgDataDirs())
        addFolder(folder + "/applications");
    return files;
}

std::string desktopEntryPath(const std::string& desktopID)
{
    if (desktopID.empty() || desktopID.find('/') != std::string::npos)
        return "";
    std::vector<std::string> folders { xdgDataHome() };
    for (auto& folder : xdgDataDirs())
        folders.push_back(folder);
    for (auto& folder : folders) {
        std::string path = folder + "/applications/" + desktopID;
        struct stat status;
        if (!stat(path.c_str(), &status) && S_ISREG(status.st_mode))
            return path;
    }
    return "";
}

std::string readDefaultApplicationForType(const std::string& mimeType)
{
    for (auto& file : mimeAppsListFiles()) {
        std::string text = readWhole(file);
        if (text.empty())
            continue;
        auto defaults = parseIniGroup(text, defaultsGroup);
        auto found = defaults.find(mimeType);
        if (found == defaults.end())
            continue;
        for (auto& id : splitDesktopIDs(found->second)) {
            if (!desktopEntryPath(id).empty())
                return id;
        }
    }
    return "";
}

namespace {

// The answers of readDefaultApplicationForType for one environment, and the inotify watches
// that tell when they may have changed.
class DefaultsCache {
public:
    std::string lookUp(const std::string& mimeType)
    {
        Locker guard(_lock);
        std::string environment = xdgEnvironment();
        if (environment != _environment || changed())
            rebuild(std::move(environment));
        if (_watches < 0)
            return readDefaultApplicationForType(mimeType);
        auto [answer, isNew] = _answers.try_emplace(mimeType);
        if (isNew)
            answer->second = readDefaultApplicationForType(mimeType);
        return answer->second;
    }

private:
    // Whether an event is pending; the events are not read, the watches are made anew.
    bool changed() const YK_REQUIRES(_lock)
    {
        if (_watches < 0)
            return false;
        char buffer[sizeof(inotify_event) + NAME_MAX + 1];
        return read(_watches, buffer, sizeof buffer) > 0 || (errno != EAGAIN && errno != EWOULDBLOCK);
    }

    // Watches every folder that holds a list file or desktop entries (the nearest existing
    // ancestor of a missing one, to see it appear) and every existing list file (through a
    // link), then forgets the answers. The watches exist before any file is read again, so no
    // change is missed.
    void rebuild(std::string environment) YK_REQUIRES(_lock)
    {
        _environment = std::move(environment);
        _answers.clear();
        if (_watches >= 0)
            close(_watches);
        _watches = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        if (_watches < 0)
            return;
        constexpr uint32_t folderEvents = IN_CREATE | IN_DELETE | IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO
            | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;
        constexpr uint32_t fileEvents = IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;
        std::set<std::string> folders;
        bool watched = true;
        for (auto& file : mimeAppsListFiles()) {
            if (access(file.c_str(), F_OK) == 0)
                watched = watched && inotify_add_watch(_watches, file.c_str(), fileEvents) >= 0;
            std::string folder = file.substr(0, file.rfind('/'));
            while (folder.size() > 1 && access(folder.c_str(), F_OK) != 0)
                folder.erase(std::max<size_t>(folder.rfind('/'), 1));
            folders.insert(folder);
        }
        for (auto& folder : folders)
            watched = watched && inotify_add_watch(_watches, folder.c_str(), folderEvents) >= 0;
        if (!watched) {
            close(_watches);
            _watches = -1;
        }
    }

    Mutex _lock;
    std::string _environment YK_GUARDED_BY(_lock);
    int _watches YK_GUARDED_BY(_lock) { -1 };
    std::map<std::string, std::string> _answers YK_GUARDED_BY(_lock);
};

} // namespace

std::string defaultApplicationForType(const std::string& mimeType)
{
    static DefaultsCache* const cache = new DefaultsCache;
    return cache->lookUp(mimeType);
}

std::string withDefaultApplication(std::string_view text, const std::string& key, const std::string& value)
{
    std::string result;
    bool inside = false;
    bool written = false;
    auto lines = linesOf(text);
    for (size_t i = 0; i < lines.size(); ++i) {
        std::string_view line = lines[i];
        std::string_view name;
        if (isGroupHeader(line, name)) {
            if (inside && !written) {
                result += key + "=" + value + "\n";
                written = true;
            }
            inside = name == defaultsGroup;
        } else if (inside && !written) {
            std::string_view content = trimmed(line);
            size_t equals = content.find('=');
            if (equals != std::string_view::npos && trimmed(content.substr(0, equals)) == key) {
                result += key + "=" + value + "\n";
                written = true;
                continue;
            }
        }
        result += line;
        result += '\n';
    }
    if (!written) {
        if (!inside)
            result += (result.empty() || result.ends_with("\n\n") ? "[" : "\n[") + std::string(defaultsGroup) + "]\n";
        result += key + "=" + value + "\n";
    }
    return result;
}

int setDefaultApplicationForType(const std::string& mimeType, const std::string& desktopID)
{
    std::string folder = xdgConfigHome();
    std::string path = folder + "/mimeapps.list";
    std::string text = withDefaultApplication(readWhole(path), mimeType, desktopID + ";");
    mkdir(folder.c_str(), 0700);
    std::string temporary = path + ".XXXXXX";
    int fd = mkstemp(temporary.data());
    if (fd < 0)
        return errno;
    struct stat old;
    fchmod(fd, stat(path.c_str(), &old) == 0 ? (old.st_mode & 07777) : 0644);
    bool ok = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    int code = ok ? 0 : errno;
    if (close(fd) < 0 && ok)
        code = errno, ok = false;
    if (ok && rename(temporary.c_str(), path.c_str()) < 0)
        code = errno, ok = false;
    if (!ok)
        unlink(temporary.c_str());
    return code;
}

} // namespace yk::detail
