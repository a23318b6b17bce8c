#include <Yarkit/core/values/ExceptionHandler.h>

#include <Yarkit/core/runtime/Class.h>

namespace yk {

YK_DEFINE_CLASS(ExceptionHandler);

ExceptionHandler* ExceptionHandler::defaultExceptionHandler()
{
    static ExceptionHandler* const shared = make<ExceptionHandler>().leakRef(); // lives for the process
    return shared;
}

} // namespace yk
