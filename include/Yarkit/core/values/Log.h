#pragma once

// The platform's NSLog: one line of text per call, to standard error by default.

#include <functional>

namespace yk {

class String;

// Receives each logged message (without a prefix or a line break). Called on the logging thread.
using LogSink = std::function<void(const String& message)>;

// Formats with yk::format and hands the message to the current sink. The default sink writes
// "<date> <process>[<pid>:<tid>] <message>" and a line break to standard error.
void log(const char* format, ...);

// Replaces the sink (an empty function restores the default) and returns the previous one.
// Thread-safe; a message being delivered while the sink is replaced goes to either sink.
LogSink setLogSink(LogSink sink);

} // namespace yk
