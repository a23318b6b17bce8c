#pragma once

#include <Yarkit/core/system/TimeZone.h>
#include <Yarkit/core/values/Date.h>

#include <atomic>

namespace yk::test {

// Pins "now" to a time since 1970 and the default zone to a name for the scope.
class PinnedClock {
public:
    PinnedClock(double nowSince1970, const char* defaultZone)
    {
        pinned().store(nowSince1970 - TimeIntervalSince1970);
        _previous = Date::setClock([] { return pinned().load(); });
        TimeZone::setDefaultTimeZone(TimeZone::timeZoneWithName(defaultZone).get());
    }
    ~PinnedClock()
    {
        Date::setClock(_previous);
        TimeZone::setDefaultTimeZone(nullptr);
    }
    PinnedClock(const PinnedClock&) = delete;
    PinnedClock& operator=(const PinnedClock&) = delete;

    static void advance(double seconds) { pinned().store(pinned().load() + seconds); }

private:
    static std::atomic<double>& pinned()
    {
        static std::atomic<double> seconds { 0 };
        return seconds;
    }
    Date::Clock _previous;
};

} // namespace yk::test
