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
// The values of every variable the folders above are read from, one after another: a cache
// built from the folders still applies while this text is the same.
std::string xdgEnvironment();
// A folder of user-dirs.dirs ("DESKTOP", "DOCUMENTS", "DOWNLOAD", ...) under the config home,
// with $HOME expanded; empty when not set there.
std::string xdgUserDir(const std::string& name);

} // namespace yk::detail
