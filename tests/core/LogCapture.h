#pragma once

#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/String.h>

#include <mutex>
#include <string>

// Collects what yk::log writes, from any thread, while it lives; restores the previous sink.
class LogCapture {
public:
    LogCapture()
    {
        _previous = yk::setLogSink([this](const yk::String& message) {
            std::lock_guard guard(_lock);
            _text += message.utf8() + "\n";
        });
    }
    ~LogCapture() { yk::setLogSink(_previous); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Every line so far, joined with line breaks.
    std::string text()
    {
        std::lock_guard guard(_lock);
        return _text;
    }

private:
    yk::LogSink _previous;
    std::mutex _lock;
    std::string _text;
};
