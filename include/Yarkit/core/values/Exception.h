#pragma once

#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/String.h>

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace yk {

class Array;

// The standard exception names, with their names as their text.
extern const char NSInvalidArgumentException[];
extern const char NSRangeException[];
extern const char NSInternalInconsistencyException[];
extern const char NSGenericException[];

// A named exception with a reason and user information. Raising is a C++ throw of the exception
// by value (raise()); catch it by reference:
//
//     try { ... } catch (const yk::Exception& e) { keep = e.copy(); }
//
// The thrown object belongs to the language runtime and dies at the end of the handler, so a
// caught exception must be copied with copy() before it is kept in a Ref (a Ref to the caught
// object itself would dangle). what() is the reason in UTF-8.
//
// Subclasses override throwCopy() and copy() so that the thrown and copied objects keep their
// class:
//     [[noreturn]] void throwCopy() const override { throw *this; }
class Exception : public Object, public std::exception {
    YK_OBJECT(Exception, Object)
public:
    Exception(Ref<String> name, Ref<String> reason, Ref<Dictionary> userInfo = nullptr);
    // A fresh object with the same name, reason, user info and call stack; its count starts at 1.
    Exception(const Exception& other);
    ~Exception() override;

    // +exceptionWithName:reason:userInfo:
    [[nodiscard]] static Ref<Exception> exceptionWithName(Ref<String> name, Ref<String> reason, Ref<Dictionary> userInfo = nullptr);
    // The same from UTF-8 text; a null reason is no reason.
    [[nodiscard]] static Ref<Exception> exceptionWithName(const char* name, const char* reason, Ref<Dictionary> userInfo = nullptr);

    // Records the caller's stack, then throws a copy of this exception (throwCopy).
    [[noreturn]] void raise();
    // A new object equal to this one, safe to keep after the handler ends.
    [[nodiscard]] virtual Ref<Exception> copy() const;

    const Ref<String>& name() const { return _name; }
    // May be null.
    const Ref<String>& reason() const { return _reason; }
    // May be null.
    const Ref<Dictionary>& userInfo() const { return _userInfo; }

    // The return addresses of the stack when the exception was raised, innermost first; empty
    // for an exception that was never raised.
    const std::vector<uintptr_t>& backtrace() const { return _backtrace; }
    // The same as an Array of Number (unsigned 64-bit), or null when none were recorded.
    Ref<Array> callStackReturnAddresses() const;

    const char* what() const noexcept override;
    // The reason, as the platform describes an exception; the name when there is no reason.
    Ref<String> description() const override;

protected:
    // Throws a copy of this exception of this exception's own class; never returns.
    [[noreturn]] virtual void throwCopy() const;
    // Records the current call stack (skipping the capturing frame) into backtrace().
    void captureBacktrace();

private:
    Ref<String> _name;
    Ref<String> _reason;
    Ref<Dictionary> _userInfo;
    std::vector<uintptr_t> _backtrace;
    std::string _what;
};

// Raises an exception of the given name whose reason is made by yk::format (so "%@" takes an
// Object*). A null format gives the empty reason.
[[noreturn]] void raise(const char* name, const char* format, ...);
[[noreturn]] void raise(const String* name, const char* format, ...);

} // namespace yk
