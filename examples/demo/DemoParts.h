#pragma once

// The demo's parts beyond the mailbox fetch in main.cpp: one function per subsystem, each in a
// file of its own beside this one, each printing what it shows and returning false on failure.

#include <filesystem>

namespace demo {

// Streams: an attachment's base64 round trip with progress, a message with mixed line ends.
bool showStreams(const std::filesystem::path& examples);

} // namespace demo
