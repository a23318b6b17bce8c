#pragma once

#include <Yarkit/core/runtime/Object.h>

#include <string>

namespace yk {

class String;

// A time zone, named by its IANA identifier ("Asia/Tokyo") and computed by ICU. Immutable, so
// zones may be shared between threads.
//
// The process has a default zone: the system's zone (TZ, else /etc/localtime) until
// setDefaultTimeZone replaces it. Formatters and calendars given no zone use the default zone
// current at the time they format or compute.
class TimeZone final : public Object {
    YK_OBJECT(TimeZone, Object)
public:
    // timeZoneWithName: null for a name ICU does not know.
    [[nodiscard]] static Ref<TimeZone> timeZoneWithName(const String* name);
    [[nodiscard]] static Ref<TimeZone> timeZoneWithName(const std::string& name);
    // The zone of the host, read once when first asked.
    [[nodiscard]] static Ref<TimeZone> systemTimeZone();
    // The process's default zone (the system's unless replaced). Any thread.
    [[nodiscard]] static Ref<TimeZone> defaultTimeZone();
    // Replaces the default zone; null restores the system's. Any thread.
    static void setDefaultTimeZone(TimeZone* zone);
    // The default zone at the time of the call.
    [[nodiscard]] static Ref<TimeZone> localTimeZone() { return defaultTimeZone(); }

    // The IANA identifier.
    const std::string& identifier() const { return _identifier; }
    Ref<String> name() const;
    // Same identifier.
    bool isEqualToTimeZone(const TimeZone* other) const;

    bool isEqual(const Object* other) const override;
    size_t hash() const override;
    Ref<String> description() const override;

private:
    template <typename T, typename... Args>
    friend Ref<T> make(Args&&... args);
    explicit TimeZone(std::string identifier);

    const std::string _identifier;
};

} // namespace yk
