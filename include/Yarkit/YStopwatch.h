#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/Date.h>

namespace yk {

// Measures an elapsed wall-clock interval on the process's clock (Date::setClock pins it) and
// describes it with a unit chosen by its size ("1.250 [s]", "500.000 [ms]"). Not a thread-safe
// object: one thread at a time.
class YStopwatch : public Object {
    YK_OBJECT(YStopwatch, Object)
public:
    YStopwatch() = default;
    // +watch: a stopwatch not yet started.
    [[nodiscard]] static Ref<YStopwatch> watch();

    // Starts a new interval now; a running watch ignores it.
    void start();
    // Ends the interval now; a stopped watch ignores it.
    void stop();
    bool isRunning() const { return _running; }
    // 0 before the first start; now - start while running; end - start after stopping.
    TimeInterval elapsedTimeInterval() const;
    // "%.3f [s]" for 0 or more than a second, else "[ms]", "[us]" or "[ns]": the first unit in
    // which the magnitude exceeds 1 (nanoseconds at the least).
    Ref<String> description() const override;

private:
    bool _running { false };
    TimeInterval _start { 0 };
    TimeInterval _end { 0 };
};

} // namespace yk
