#pragma once

// NSException(Yarkit), (YarkitPrivate), (YarkitNestedExceptionExtensions) and
// (YarkitStackTraceExtensions): a name test, chains of exceptions ("nested" exceptions kept in
// the user information), the call-stack return addresses in one form, and a symbolic stack
// trace made by the "atos-path" symbol tool. Free functions that take the exception first;
// they keep no state and may be called on any thread.

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/values/String.h>

namespace yk {

// The name of the exception by which an operation reports that the user aborted it.
extern const char YUserAbortException[];
// The user-information key of the numeric stack trace: hexadecimal return addresses
// separated by two spaces.
extern const char NSStackTraceKey[];
// The user-information key of the exception that caused this one.
extern const char PreviousExceptionKey[]; // "PreviousException"

// isName: the exception's name equals name.
bool isName(const Exception* exception, const String* name);
bool isName(const Exception* exception, const char* name);

// YK_callStackReturnAddresses: the addresses recorded when the exception was raised (Numbers,
// innermost first); else the NSStackTraceKey string's pieces read with base 0 (an empty piece
// is 0); else null.
[[nodiscard]] Ref<Array> YK_callStackReturnAddresses(const Exception* exception);
// _callStackReturnHexAddresses: the reverse preference: the NSStackTraceKey string's pieces
// first, else the recorded addresses as "0x" and full 64-bit lowercase hexadecimal; else null.
[[nodiscard]] Ref<Array> _callStackReturnHexAddresses(const Exception* exception);

// +raise:previousException:format: raises a plain Exception whose reason is made from format
// (null: "") and whose user information holds an equal copy of previous (when given) under
// "PreviousException". A null name does nothing: the function returns.
void raiseWithPreviousException(const String* name, const Exception* previous, const char* format, ...);

// +exceptionWithName:reason:userInfo:previousException: an exception of class T (the receiver):
// with previous, a copy of userInfo (or a new dictionary) with an equal copy of previous under
// "PreviousException", replacing any such entry (userInfo itself is not changed); without,
// userInfo as it is. T has the constructor (name, reason, userInfo) of Exception.
template <typename T = Exception>
[[nodiscard]] Ref<T> exceptionWithName(Ref<String> name, Ref<String> reason, const Dictionary* userInfo, const Exception* previous)
{
    Ref<Dictionary> info(const_cast<Dictionary*>(userInfo));
    if (previous) {
        auto chained = userInfo ? userInfo->mutableCopy() : MutableDictionary::dictionaryWithCapacity(1);
        chained->setObjectForStringKey(previous->copy(), PreviousExceptionKey);
        info = chained;
    }
    return make<T>(std::move(name), std::move(reason), std::move(info));
}

// previousException: the exception under "PreviousException", or null.
[[nodiscard]] Ref<Exception> previousException(const Exception* exception);
// previousReason: the reason of the nearest earlier exception only; null when there is none.
[[nodiscard]] Ref<String> previousReason(const Exception* exception);

// YK_stackTrace: runs the symbol tool (the "atos-path" user default, else the framework's
// libexec/yarkit/yarkit-atos) as TOOL -p PID ADDRESS... and returns what it prints, decoded as
// UTF-8. Null when the exception has no addresses. When the tool cannot run, logs
// "*** -[<class> YK_stackTrace]: <name> raised during converting numeric stack traces into
// symbolic form.  Ignored.  Reason: <reason>" and returns the addresses joined with two spaces.
// The default exception handler's masks are 0 while the tool runs and restored after; two
// threads symbolising at once may restore each other's saved values.
[[nodiscard]] Ref<String> YK_stackTrace(const Exception* exception);

} // namespace yk
