#pragma once

// Helpers shared by the files tests: strings, paths in a temporary folder, a probe for user
// extended attributes.

#include <Yarkit/core/values/String.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <sys/xattr.h>

#include "core/CoreTestSupport.h"
#include "core/TemporaryFolder.h"

namespace yk::test {

// A path below the folder as a String.
inline Ref<String> pathIn(const TemporaryFolder& folder, const std::string& relative)
{
    return str((folder.path() / relative).c_str());
}

// Sets an environment variable (unsets it for null) until the scope ends.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value)
        : _name(name)
    {
        if (const char* old = std::getenv(name))
            _old = old;
        value ? setenv(name, value, 1) : unsetenv(name);
    }
    ~ScopedVariable() { _old ? setenv(_name, _old->c_str(), 1) : unsetenv(_name); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* _name;
    std::optional<std::string> _old;
};

// Whether the folder's file system keeps user extended attributes (tmpfs before 6.6 and some
// overlay set-ups do not).
inline bool supportsUserAttributes(const TemporaryFolder& folder)
{
    std::string probe = folder.write(".xattr-probe", "").string();
    bool supported = setxattr(probe.c_str(), "user.yk.probe", "1", 1, 0) == 0;
    std::remove(probe.c_str());
    return supported;
}

} // namespace yk::test
