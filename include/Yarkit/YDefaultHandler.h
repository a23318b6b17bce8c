#pragma once

#include <Yarkit/core/runtime/Object.h>

namespace yk {

class Dictionary;
class FileManager;
class String;

// The error handler that YFile uses when none is set: it logs each error and tells the file
// manager not to go on. Its methods are registered under their selectors, as the file manager
// calls them.
class YDefaultHandler : public Object {
    YK_OBJECT(YDefaultHandler, Object)
public:
    // +handler: the shared instance, made on first use; lives for the process.
    static YDefaultHandler* handler();

    // fileManager:willProcessPath: does nothing.
    void fileManager(FileManager* manager, String* path);
    // fileManager:shouldProceedAfterError: logs one line chosen by which of "Error", "Path" and
    // "ToPath" the dictionary holds (nothing for null) and answers NO.
    bool fileManagerShouldProceedAfterError(FileManager* manager, Dictionary* errorInfo);
};

} // namespace yk
