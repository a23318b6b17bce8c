#pragma once

// The demo's parts beyond the mailbox fetch in main.cpp: one function per subsystem, each in a
// file of its own beside this one, each printing what it shows and returning false on failure.

#include <filesystem>
#include <string>
#include <vector>

namespace demo {

// A message list: relative dates, sizes, interned header names and a logged failure.
bool showMessageList(const std::filesystem::path& samples);
// Mailbox names and bodies in UTF-7, host names, a regular expression, East Asian runs.
bool showText();
// The keychain, the keychain-first authenticator and a CRAM-MD5 response.
bool showCredentials();
// The file's bytes (empty when it cannot be read).
std::vector<unsigned char> readFile(const std::filesystem::path& path);

// Fetching and decoding the sample mailbox in jobs reporting to the main run loop.
bool showJobs(const std::filesystem::path& samples);
// Streams: an attachment's base64 round trip with progress, a message with mixed line ends.
bool showStreams(const std::filesystem::path& examples);
// The ".txt" samples of the folder, regular and not hidden, listed through a file filter.
std::vector<std::filesystem::path> listSamples(const std::string& folder);
// Saves the samples as UTF-8 with CR LF lines, numbered and backed up; names the MIME type of
// ".eml" and the mailto handler.
bool showFiles(const std::filesystem::path& examples);

} // namespace demo
