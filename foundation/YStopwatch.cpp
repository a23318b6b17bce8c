#include <Yarkit/YStopwatch.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/String.h>

#include <cmath>

namespace yk {

YK_DEFINE_CLASS(YStopwatch);

Ref<YStopwatch> YStopwatch::watch()
{
    return make<YStopwatch>();
}

void YStopwatch::start()
{
    if (_running)
        return;
    _running = true;
    _start = Date::timeIntervalSinceReferenceDateNow();
}

void YStopwatch::stop()
{
    if (!_running)
        return;
    _running = false;
    _end = Date::timeIntervalSinceReferenceDateNow();
}

TimeInterval YStopwatch::elapsedTimeInterval() const
{
    if (_start == 0)
        return 0;
    return (_running ? Date::timeIntervalSinceReferenceDateNow() : _end) - _start;
}

Ref<String> YStopwatch::description() const
{
    double t = elapsedTimeInterval();
    if (t == 0 || std::fabs(t) > 1)
        return format("%.3f [s]", t);
    t *= 1000;
    if (std::fabs(t) > 1)
        return format("%.3f [ms]", t);
    t *= 1000;
    if (std::fabs(t) > 1)
        return format("%.3f [us]", t);
    return format("%.3f [ns]", t * 1000);
}

} // namespace yk
