#pragma once

// The demo's parts beyond the mailbox fetch in main.cpp: one function per subsystem, each in a
// file of its own beside this one, each printing what it shows and returning false on failure.

#include <filesystem>

namespace demo {

// A message list: relative dates, sizes, interned header names and a logged failure.
bool showMessageList(const std::filesystem::path& samples);
// Mailbox names and bodies in UTF-7, host names, a regular expression, East Asian runs.
bool showText();
// The keychain, the keychain-first authenticator and a CRAM-MD5 response.
bool showCredentials();

} // namespace demo
