#include <Yarkit/core/system/TimeZone.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/values/String.h>

#include <unicode/timezone.h>

#include <memory>

namespace yk {

YK_DEFINE_CLASS(TimeZone);

namespace {

struct DefaultZone {
    Mutex lock;
    Ref<TimeZone> zone YK_GUARDED_BY(lock);
};

DefaultZone& defaultZone()
{
    static auto* shared = new DefaultZone; // lives for the process
    return *shared;
}

} // namespace

TimeZone::TimeZone(std::string identifier)
    : _identifier(std::move(identifier))
{
}

Ref<TimeZone> TimeZone::timeZoneWithName(const String* name)
{
    return name ? timeZoneWithName(name->utf8()) : nullptr;
}

Ref<TimeZone> TimeZone::timeZoneWithName(const std::string& name)
{
    if (name.empty())
        return nullptr;
    std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
    if (!zone || *zone == icu::TimeZone::getUnknown())
        return nullptr;
    return make<TimeZone>(std::string(name));
}

Ref<TimeZone> TimeZone::systemTimeZone()
{
    static TimeZone* const system = [] {
        std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::detectHostTimeZone());
        icu::UnicodeString id;
        std::string utf8;
        if (zone)
            zone->getID(id).toUTF8String(utf8);
        if (utf8.empty() || (zone && *zone == icu::TimeZone::getUnknown()))
            utf8 = "UTC";
        return make<TimeZone>(std::move(utf8)).leakRef(); // lives for the process
    }();
    return system;
}

Ref<TimeZone> TimeZone::defaultTimeZone()
{
    auto& shared = defaultZone();
    {
        Locker guard(shared.lock);
        if (shared.zone)
            return shared.zone;
    }
    return systemTimeZone();
}

void TimeZone::setDefaultTimeZone(TimeZone* zone)
{
    auto& shared = defaultZone();
    Locker guard(shared.lock);
    shared.zone = zone;
}

Ref<String> TimeZone::name() const
{
    return String::withUTF8(_identifier);
}

bool TimeZone::isEqualToTimeZone(const TimeZone* other) const
{
    return other && (other == this || other->_identifier == _identifier);
}

bool TimeZone::isEqual(const Object* other) const
{
    return isEqualToTimeZone(dynamic_cast<const TimeZone*>(other));
}

size_t TimeZone::hash() const
{
    return std::hash<std::string>()(_identifier);
}

Ref<String> TimeZone::description() const
{
    return name();
}

} // namespace yk
