#pragma once

#include <Yarkit/core/Object.h>

#include <string>
#include <string_view>

namespace yk {

// An immutable string of UTF-16 code units, so lengths and indices are those of the text.
class String : public Object {
    YK_OBJECT(String, Object)
public:
    String() = default;
    explicit String(std::u16string units)
        : _units(std::move(units))
    {
    }

    static Ref<String> withUTF8(std::string_view utf8);

    uint32_t length() const { return static_cast<uint32_t>(_units.size()); }
    const std::u16string& units() const { return _units; }
    std::string utf8() const;

    bool isEqual(const Object* other) const override;
    size_t hash() const override;
    Ref<String> description() const override;

protected:
    std::u16string _units;
};

} // namespace yk
