#pragma once

#include <Yarkit/core/runtime/Object.h>

#include <string>

namespace yk {

class String;

// A locale, named by its ICU identifier ("en_US", "ja_JP"). Immutable, so locales may be shared
// between threads.
class Locale final : public Object {
    YK_OBJECT(Locale, Object)
public:
    // The user's locale as ICU reads it from the environment (LC_ALL, LC_MESSAGES, LANG) when
    // the process first asks.
    [[nodiscard]] static Ref<Locale> currentLocale();
    // localeWithLocaleIdentifier: the identifier in ICU's canonical form ("ja-JP" is "ja_JP").
    [[nodiscard]] static Ref<Locale> localeWithLocaleIdentifier(const String* identifier);
    [[nodiscard]] static Ref<Locale> localeWithLocaleIdentifier(const std::string& identifier);

    const std::string& localeIdentifier() const { return _identifier; }

    // Same identifier.
    bool isEqual(const Object* other) const override;
    size_t hash() const override;
    Ref<String> description() const override;

private:
    template <typename T, typename... Args>
    friend Ref<T> make(Args&&... args);
    explicit Locale(std::string identifier);

    const std::string _identifier;
};

} // namespace yk
