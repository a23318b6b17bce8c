#include <Yarkit/YDefaultHandler.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/FileManager.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/Log.h>

namespace yk {

YK_DEFINE_CLASS(YDefaultHandler, [](MethodListBuilder& c) {
    c.method("fileManager:willProcessPath:", &YDefaultHandler::fileManager);
    c.method("fileManager:shouldProceedAfterError:", &YDefaultHandler::fileManagerShouldProceedAfterError);
});

YDefaultHandler* YDefaultHandler::handler()
{
    static YDefaultHandler* const shared = make<YDefaultHandler>().leakRef();
    return shared;
}

void YDefaultHandler::fileManager(FileManager*, String*)
{
}

bool YDefaultHandler::fileManagerShouldProceedAfterError(FileManager*, Dictionary* errorInfo)
{
    if (!errorInfo)
        return false;
    auto error = errorInfo->objectForKey(std::string_view("Error"));
    auto path = errorInfo->objectForKey(std::string_view("Path"));
    auto toPath = errorInfo->objectForKey(std::string_view("ToPath"));
    if (error && path && toPath)
        log("Error occurred during file operation: '%@' with path: '%@' to path: '%@'", error.get(), path.get(), toPath.get());
    else if (error && path)
        log("Error occurred during file operation: '%@' with path: '%@'", error.get(), path.get());
    else if (error)
        log("Error occurred during file operation: '%@'", error.get());
    else if (path)
        log("Error occurred during file operation with path '%@'", path.get());
    else
        log("Error occurred during file operation");
    return false;
}

} // namespace yk
