#include <Yarkit/core/values/Exception.h>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/ExceptionHandler.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/String.h>

#include <cstdarg>

#include <execinfo.h>

namespace yk {

const char NSInvalidArgumentException[] = "NSInvalidArgumentException";
const char NSRangeException[] = "NSRangeException";
const char NSInternalInconsistencyException[] = "NSInternalInconsistencyException";
const char NSGenericException[] = "NSGenericException";

YK_DEFINE_CLASS(Exception);

Exception::Exception(Ref<String> name, Ref<String> reason, Ref<Dictionary> userInfo)
    : _name(std::move(name))
    , _reason(std::move(reason))
    , _userInfo(std::move(userInfo))
    , _what(_reason ? _reason->utf8() : std::string())
{
}

Exception::Exception(const Exception& other)
    : Object(other)
    , std::exception(other)
    , _name(other._name)
    , _reason(other._reason)
    , _userInfo(other._userInfo)
    , _backtrace(other._backtrace)
    , _what(other._what)
{
}

Exception::~Exception() = default;

Ref<Exception> Exception::exceptionWithName(Ref<String> name, Ref<String> reason, Ref<Dictionary> userInfo)
{
    return make<Exception>(std::move(name), std::move(reason), std::move(userInfo));
}

Ref<Exception> Exception::exceptionWithName(const char* name, const char* reason, Ref<Dictionary> userInfo)
{
    return make<Exception>(name ? String::withUTF8(name) : nullptr, reason ? String::withUTF8(reason) : nullptr, std::move(userInfo));
}

void Exception::raise()
{
    captureBacktrace();
    if (ExceptionHandler::defaultExceptionHandler()->exceptionHandlingMask() & NSLogOtherExceptionMask)
        log("*** Raising %@: %@", _name.get(), _reason.get());
    throwCopy();
    // An override of throwCopy that returns breaks the contract of raise().
    std::terminate();
}

void Exception::throwCopy() const
{
    throw *this;
}

Ref<Exception> Exception::copy() const
{
    return make<Exception>(*this);
}

void Exception::captureBacktrace()
{
    constexpr int maximumDepth = 128;
    void* frames[maximumDepth];
    int depth = ::backtrace(frames, maximumDepth);
    // The first frame is this function; the raising frames above it are the caller's to see.
    _backtrace.clear();
    for (int i = 1; i < depth; ++i)
        _backtrace.push_back(reinterpret_cast<uintptr_t>(frames[i]));
}

Ref<Array> Exception::callStackReturnAddresses() const
{
    if (_backtrace.empty())
        return nullptr;
    std::vector<Ref<Object>> numbers;
    numbers.reserve(_backtrace.size());
    for (uintptr_t address : _backtrace)
        numbers.push_back(Number::numberWithUnsignedLongLong(address));
    return make<Array>(std::move(numbers));
}

const char* Exception::what() const noexcept
{
    return _what.c_str();
}

Ref<String> Exception::description() const
{
    return _reason ? _reason : _name;
}

namespace {

Ref<String> reasonFrom(const char* format, va_list arguments)
{
    return format ? formatv(format, arguments) : make<String>();
}

} // namespace

void raise(const char* name, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Ref<String> reason = reasonFrom(format, arguments);
    va_end(arguments);
    Exception::exceptionWithName(name ? String::withUTF8(name) : nullptr, std::move(reason))->raise();
}

void raise(const String* name, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Ref<String> reason = reasonFrom(format, arguments);
    va_end(arguments);
    Exception::exceptionWithName(Ref<String>(const_cast<String*>(name)), std::move(reason))->raise();
}

} // namespace yk
