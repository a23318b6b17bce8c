#pragma once

// The XDG base directories and user folders, read from the environment on each call. A
// variable that is empty or holds a relative path is ignored, as freedesktop.org's base
// directory rules require, and the default folder is used instead.

#include <string>
#include <vector>

namespace yk::detail {

std::string homeDirectory();
std::string xdgConfigHome();
std::string xdgDataHome();
std::string xdgCacheHome();
// In precedence order, most important first.
std::vector<std::string> xdgConfigDirs();
std::vector<std::string> xdgDataDirs();
// A folder of user-dirs.dirs ("DESKTOP", "DOCUMENTS", "DOWNLOAD", ...) under the config home,
// with $HOME expanded; empty when not set there.
std::string xdgUserDir(const std::string& name);

} // namespace yk::detail
