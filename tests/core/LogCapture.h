#pragma once

#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/String.h>

#include <mutex>
#include <string>
#include <vector>

// Collects what yk::log writes, from any thread, while it lives; restores the previous sink.
class LogCapture {
public:
    LogCapture()
    {
        _previous = yk::setLogSink([this](const yk::String& message) {
            std::lock_guard guard(_lock);
            _lines.push_back(message.utf8());
        });
    }
    ~LogCapture() { yk::setLogSink(_previous); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Every line so far, joined with line breaks.
    std::string text()
    {
        std::lock_guard guard(_lock);
        std::string joined;
        for (const auto& line : _lines)
            joined += line + "\n";
        return joined;
    }

private:
    yk::LogSink _previous;
    std::mutex _lock;
    std::vector<std::string> _lines;
};
