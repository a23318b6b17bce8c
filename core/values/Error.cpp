#include <Yarkit/core/values/Error.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/String.h>

#include <cstring>
#include <functional>

namespace yk {

const char NSPOSIXErrorDomain[] = "NSPOSIXErrorDomain";
const char NSLocalizedDescriptionKey[] = "NSLocalizedDescription";
const char NSFilePathErrorKey[] = "NSFilePath";
const char NSUnderlyingErrorKey[] = "NSUnderlyingError";

YK_DEFINE_CLASS(Error);

Error::Error(Ref<String> domain, int64_t code, Ref<Dictionary> userInfo)
    : _domain(std::move(domain))
    , _code(code)
    , _userInfo(std::move(userInfo))
{
}

Ref<Error> Error::errorWithDomain(Ref<String> domain, int64_t code, Ref<Dictionary> userInfo)
{
    return make<Error>(std::move(domain), code, std::move(userInfo));
}

Ref<Error> Error::errorWithDomain(const char* domain, int64_t code, Ref<Dictionary> userInfo)
{
    return make<Error>(domain ? String::withUTF8(domain) : nullptr, code, std::move(userInfo));
}

Ref<Error> Error::posixError(int code, Ref<Dictionary> userInfo)
{
    return errorWithDomain(NSPOSIXErrorDomain, code, std::move(userInfo));
}

Ref<String> Error::localizedDescription() const
{
    if (_userInfo) {
        Ref<Object> text = _userInfo->objectForKey(std::string_view(NSLocalizedDescriptionKey));
        if (auto* string = dynamic_cast<String*>(text.get()))
            return Ref<String>(string);
    }
    if (_domain && _domain->isEqualToString(std::string_view(NSPOSIXErrorDomain))) {
        char buffer[256];
        // The GNU strerror_r returns the text, which may not be in the buffer.
        const char* text = strerror_r(static_cast<int>(_code), buffer, sizeof(buffer));
        return String::withUTF8(text);
    }
    return format("The operation couldn\u2019t be completed. (%@ error %lld.)", _domain.get(), static_cast<long long>(_code));
}

bool Error::isEqual(const Object* other) const
{
    if (other == this)
        return true;
    const auto* error = dynamic_cast<const Error*>(other);
    if (!error || error->_code != _code)
        return false;
    auto same = [](const Object* a, const Object* b) { return a == b || (a && a->isEqual(b)); };
    return same(_domain.get(), error->_domain.get()) && same(_userInfo.get(), error->_userInfo.get());
}

size_t Error::hash() const
{
    return std::hash<int64_t>()(_code) ^ (_domain ? _domain->hash() : 0);
}

Ref<String> Error::description() const
{
    return format("Error Domain=%@ Code=%lld \"%@\"", _domain.get(), static_cast<long long>(_code), localizedDescription().get());
}

} // namespace yk
