#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

namespace yk {

// The name of a method, interned so that two selectors with the same text are the same
// pointer and compare by identity. Spelled exactly like the method's keywords and colons
// ("jobCenter:shouldExecuteJob:withRunningJobs:"). A default-constructed selector is null.
class Selector {
public:
    constexpr Selector() = default;
    Selector(std::string_view name);
    Selector(const char* name)
        : Selector(name ? std::string_view(name) : std::string_view())
    {
    }

    // A selector from a name this class interned before (name() of another selector).
    static Selector fromInternedName(const char* name)
    {
        Selector selector;
        selector._name = name;
        return selector;
    }

    bool isNull() const { return _name == nullptr; }
    explicit operator bool() const { return _name != nullptr; }

    // The selector's text; "(null)" for the null selector.
    const char* name() const { return _name ? _name : "(null)"; }
    std::string_view view() const { return _name ? std::string_view(_name) : std::string_view(); }

    // How many arguments a method with this name takes (the number of colons).
    uint32_t argumentCount() const;

    friend bool operator==(Selector a, Selector b) { return a._name == b._name; }
    friend bool operator!=(Selector a, Selector b) { return a._name != b._name; }

private:
    const char* _name { nullptr };
};

} // namespace yk

template <>
struct std::hash<yk::Selector> {
    size_t operator()(yk::Selector selector) const noexcept
    {
        return std::hash<const char*>()(selector.isNull() ? nullptr : selector.name());
    }
};
