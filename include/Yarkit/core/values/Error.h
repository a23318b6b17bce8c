#pragma once

#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/String.h>

#include <cstdint>

namespace yk {

// Error domains and user-info keys, with their names as their text (NSLocalizedDescriptionKey
// is "NSLocalizedDescription", NSFilePathErrorKey is "NSFilePath", NSUnderlyingErrorKey is
// "NSUnderlyingError").
extern const char NSPOSIXErrorDomain[];
extern const char NSLocalizedDescriptionKey[];
extern const char NSFilePathErrorKey[];
extern const char NSUnderlyingErrorKey[];

// An immutable error report: a domain, a code within it and user information. Errors of the
// POSIX domain carry an errno value as their code.
class Error : public Object {
    YK_OBJECT(Error, Object)
public:
    Error(Ref<String> domain, int64_t code, Ref<Dictionary> userInfo);

    // +errorWithDomain:code:userInfo:
    [[nodiscard]] static Ref<Error> errorWithDomain(Ref<String> domain, int64_t code, Ref<Dictionary> userInfo = nullptr);
    [[nodiscard]] static Ref<Error> errorWithDomain(const char* domain, int64_t code, Ref<Dictionary> userInfo = nullptr);
    // An error of NSPOSIXErrorDomain with the given errno value.
    [[nodiscard]] static Ref<Error> posixError(int code, Ref<Dictionary> userInfo = nullptr);

    const Ref<String>& domain() const { return _domain; }
    int64_t code() const { return _code; }
    // May be null.
    const Ref<Dictionary>& userInfo() const { return _userInfo; }

    // The user info's NSLocalizedDescriptionKey when it is a string; for the POSIX domain the
    // system's text for the code (strerror); otherwise
    // "The operation couldn't be completed. (<domain> error <code>.)".
    Ref<String> localizedDescription() const;

    // Equal when domain, code and user info are equal.
    bool isEqual(const Object* other) const override;
    size_t hash() const override;
    // "Error Domain=<domain> Code=<code> \"<localized description>\"".
    Ref<String> description() const override;

private:
    Ref<String> _domain;
    int64_t _code;
    Ref<Dictionary> _userInfo;
};

} // namespace yk
