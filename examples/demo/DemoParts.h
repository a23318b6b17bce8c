#pragma once

// The demo's parts beyond the mailbox fetch in main.cpp: one function per subsystem, each in a
// file of its own beside this one, each printing what it shows and returning false on failure.

#include <filesystem>
#include <string>
#include <vector>

namespace demo {

// The ".txt" samples of the folder, regular and not hidden, listed through a file filter.
std::vector<std::filesystem::path> listSamples(const std::string& folder);
// Saves the samples as UTF-8 with CR LF lines, numbered and backed up; names the MIME type of
// ".eml" and the mailto handler.
bool showFiles(const std::filesystem::path& examples);

} // namespace demo
