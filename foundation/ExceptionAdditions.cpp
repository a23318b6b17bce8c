#include <Yarkit/ExceptionAdditions.h>

#include <Yarkit/StringNumberAdditions.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Bundle.h>
#include <Yarkit/core/system/FileHandle.h>
#include <Yarkit/core/system/Pipe.h>
#include <Yarkit/core/system/Task.h>
#include <Yarkit/core/system/UserDefaults.h>
#include <Yarkit/core/threads/RunLoop.h>
#include <Yarkit/core/threads/Thread.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/ExceptionHandler.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/MutableData.h>
#include <Yarkit/core/values/Number.h>

#include <cstdarg>
#include <unistd.h>

namespace yk {

const char YUserAbortException[] = "YUserAbortException";
const char NSStackTraceKey[] = "NSStackTraceKey";
const char PreviousExceptionKey[] = "PreviousException";

namespace {

const Ref<String>& twoSpaces()
{
    static const Ref<String> separator = String::withUTF8("  ");
    return separator;
}

// The user-information entry of key when it is a T, else null.
template <typename T>
Ref<T> userInfoEntry(const Exception* exception, const char* key)
{
    const auto& info = exception->userInfo();
    if (!info)
        return nullptr;
    auto value = info->objectForKey(std::string_view(key));
    return Ref<T>(dynamic_cast<T*>(value.get()));
}

Ref<String> stackTraceString(const Exception* exception)
{
    return userInfoEntry<String>(exception, NSStackTraceKey);
}

// Saves the default handler's masks, sets both to 0, and restores them at the end of the scope.
class QuietExceptionHandler {
public:
    QuietExceptionHandler()
        : _handler(ExceptionHandler::defaultExceptionHandler())
        , _handlingMask(_handler->exceptionHandlingMask())
        , _hangingMask(_handler->exceptionHangingMask())
    {
        _handler->setExceptionHandlingMask(0);
        _handler->setExceptionHangingMask(0);
    }
    ~QuietExceptionHandler()
    {
        _handler->setExceptionHandlingMask(_handlingMask);
        _handler->setExceptionHangingMask(_hangingMask);
    }
    QuietExceptionHandler(const QuietExceptionHandler&) = delete;
    QuietExceptionHandler& operator=(const QuietExceptionHandler&) = delete;

private:
    ExceptionHandler* _handler;
    const uint32_t _handlingMask;
    const uint32_t _hangingMask;
};

Ref<String> symbolToolPath()
{
    if (auto path = UserDefaults::standardUserDefaults()->stringForKey(std::string_view("atos-path")))
        return path;
    return Bundle::frameworkBundle()->pathForAuxiliaryExecutable(String::withUTF8("yarkit-atos").get());
}

} // namespace

bool isName(const Exception* exception, const String* name)
{
    return exception->name() && exception->name()->isEqualToString(name);
}

bool isName(const Exception* exception, const char* name)
{
    return name && exception->name() && exception->name()->isEqualToString(std::string_view(name));
}

Ref<Array> YK_callStackReturnAddresses(const Exception* exception)
{
    if (auto addresses = exception->callStackReturnAddresses())
        return addresses;
    auto trace = stackTraceString(exception);
    if (!trace)
        return nullptr;
    auto pieces = trace->componentsSeparatedByString(twoSpaces().get());
    auto numbers = MutableArray::arrayWithCapacity(pieces->count());
    for (uint32_t i = 0; i < pieces->count(); ++i) {
        auto* piece = static_cast<String*>(pieces->objectAtIndex(i).get());
        numbers->addObject(Number::numberWithUnsignedLong(static_cast<uint64_t>(YK_longLongValueWithBase(piece, 0))));
    }
    return numbers;
}

Ref<Array> _callStackReturnHexAddresses(const Exception* exception)
{
    if (auto trace = stackTraceString(exception))
        return trace->componentsSeparatedByString(twoSpaces().get());
    const auto& addresses = exception->backtrace();
    if (addresses.empty())
        return nullptr;
    auto texts = MutableArray::arrayWithCapacity(static_cast<uint32_t>(addresses.size()));
    for (uintptr_t address : addresses)
        texts->addObject(format("0x%llx", static_cast<unsigned long long>(address)));
    return texts;
}

void raiseWithPreviousException(const String* name, const Exception* previous, const char* format, ...)
{
    if (!name)
        return;
    va_list arguments;
    va_start(arguments, format);
    Ref<String> reason = format ? formatv(format, arguments) : make<String>();
    va_end(arguments);
    Ref<Dictionary> info;
    if (previous)
        info = Dictionary::dictionaryWithEntries({ { String::withUTF8(PreviousExceptionKey), previous->copy() } });
    Exception::exceptionWithName(Ref<String>(const_cast<String*>(name)), std::move(reason), std::move(info))->raise();
}

Ref<Exception> previousException(const Exception* exception)
{
    return userInfoEntry<Exception>(exception, PreviousExceptionKey);
}

Ref<String> previousReason(const Exception* exception)
{
    auto previous = previousException(exception);
    return previous ? previous->reason() : nullptr;
}

Ref<String> YK_stackTrace(const Exception* exception)
{
    auto addresses = _callStackReturnHexAddresses(exception);
    if (!addresses)
        return nullptr;
    auto toolPath = symbolToolPath();
    QuietExceptionHandler quiet;
    auto task = make<Task>();
    Ref<String> result;
    try {
        auto arguments = MutableArray::arrayWithCapacity(addresses->count() + 2);
        arguments->addObject(String::withUTF8("-p"));
        arguments->addObject(format("%d", static_cast<int>(getpid())));
        arguments->addObjectsFromArray(addresses.get());
        auto pipe = Pipe::pipe();
        task->setLaunchPath(toolPath);
        task->setArguments(arguments);
        task->setStandardOutput(pipe);
        task->launch();
        auto output = MutableData::dataWithCapacity(0);
        FileHandle* reading = pipe->fileHandleForReading();
        for (auto chunk = reading->availableData(); chunk->length(); chunk = reading->availableData())
            output->appendData(chunk.get());
        result = String::withUTF8(std::string_view(reinterpret_cast<const char*>(output->bytes()), output->length()));
    } catch (const Exception& raised) {
        log("*** -[%@ %@]: %@ raised during converting numeric stack traces into symbolic form.  Ignored.  Reason: %@",
            exception->classObject(), String::withUTF8("YK_stackTrace").get(), raised.name().get(), raised.reason().get());
        result = addresses->componentsJoinedByString(twoSpaces().get());
    }
    if (task->isRunning())
        task->terminate();
    task->waitUntilExit();
    // A background thread may never run its loop: give what the task left pending there one pass.
    if (!Thread::isMainThread())
        RunLoop::currentRunLoop()->limitDateForMode(kCFRunLoopDefaultMode);
    return result;
}

} // namespace yk
