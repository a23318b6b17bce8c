#pragma once

// The freedesktop association files: mimeapps.list (default applications per MIME type,
// "x-scheme-handler/<scheme>" for URL schemes) and desktop entries.

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace yk::detail {

// The keys of one group of an ini-style file ("[Default Applications]", "[Desktop Entry]"):
// the first occurrence of a key wins; comments and other groups are skipped. Values are taken
// as they stand (no unescaping; locale keys such as "Name[ja]" are keys of their own).
std::map<std::string, std::string> parseIniGroup(std::string_view text, std::string_view group);

// The desktop IDs of a mimeapps.list value, "a.desktop;b.desktop;" in order.
std::vector<std::string> splitDesktopIDs(std::string_view value);

// The mimeapps.list files in lookup order: per-desktop ones before the generic one, in the
// config home, the config folders, then the applications folders of the data home and folders.
std::vector<std::string> mimeAppsListFiles();

// The path of an installed desktop entry by ID, or "" when none is installed.
std::string desktopEntryPath(const std::string& desktopID);

// The first installed application of the first list file that names one for the type, read
// from the files on every call.
std::string readDefaultApplicationForType(const std::string& mimeType);

// The same answer, kept per type while the XDG variables stay the same and no folder of the
// list files and desktop entries (nor a list file itself) changes, as inotify reports; read
// again after any change. Where inotify is unavailable every call reads the files. Any thread.
std::string defaultApplicationForType(const std::string& mimeType);

// Sets the type's default in the config home's mimeapps.list, keeping every other line, and
// replaces the file atomically. Returns 0 or the errno of the failure.
int setDefaultApplicationForType(const std::string& mimeType, const std::string& desktopID);

// Rewrites a mimeapps.list text with key=value in [Default Applications] (added when missing).
std::string withDefaultApplication(std::string_view text, const std::string& key, const std::string& value);

} // namespace yk::detail
