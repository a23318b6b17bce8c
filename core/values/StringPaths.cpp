// Path operations of String. Paths are separated by "/" only; repeated slashes count as one
// and a trailing slash is ignored, except that "/" alone is the root.

#include <Yarkit/core/values/String.h>

#include <Yarkit/core/values/Array.h>

#include "core/runtime/RuntimeErrors.h"

namespace yk {
namespace {

constexpr char16_t slash = u'/';

// The path without trailing slashes; "/" stays.
std::u16string_view withoutTrailingSlashes(std::u16string_view path)
{
    while (path.size() > 1 && path.back() == slash)
        path.remove_suffix(1);
    return path;
}

// Repeated slashes made one, and no trailing slash except for "/" itself.
std::u16string standardizedSlashes(std::u16string_view path)
{
    std::u16string result;
    result.reserve(path.size());
    for (char16_t c : path) {
        if (c == slash && !result.empty() && result.back() == slash)
            continue;
        result += c;
    }
    return std::u16string(withoutTrailingSlashes(result));
}

// Where the last component of a path without trailing slashes starts.
size_t lastComponentStart(std::u16string_view path)
{
    size_t found = path.rfind(slash);
    return found == std::u16string_view::npos ? 0 : found + 1;
}

// The index of the dot that starts the extension of the last component, or npos. A dot that
// starts the component (".profile") does not start an extension.
size_t extensionDot(std::u16string_view path)
{
    size_t start = lastComponentStart(path);
    size_t dot = path.rfind(u'.');
    if (dot == std::u16string_view::npos || dot <= start)
        return std::u16string_view::npos;
    return dot;
}

Ref<String> stringOf(std::u16string_view text)
{
    return make<String>(std::u16string(text));
}

} // namespace

Ref<String> String::lastPathComponent() const
{
    std::u16string_view path = withoutTrailingSlashes(_units);
    if (path == u"/")
        return stringOf(path);
    return stringOf(path.substr(lastComponentStart(path)));
}

Ref<String> String::pathExtension() const
{
    std::u16string_view path = withoutTrailingSlashes(_units);
    size_t dot = extensionDot(path);
    return stringOf(dot == std::u16string_view::npos ? std::u16string_view() : path.substr(dot + 1));
}

Ref<String> String::stringByAppendingPathComponent(const String* component) const
{
    if (!component)
        detail::raiseNilArgument(this, "stringByAppendingPathComponent:");
    if (_units.empty())
        return make<String>(standardizedSlashes(component->_units));
    return make<String>(standardizedSlashes(_units + u"/" + component->_units));
}

Ref<String> String::stringByDeletingLastPathComponent() const
{
    std::u16string_view path = withoutTrailingSlashes(_units);
    if (path == u"/")
        return stringOf(path);
    size_t found = path.rfind(slash);
    if (found == std::u16string_view::npos)
        return make<String>();
    if (found == 0)
        return stringOf(u"/");
    return stringOf(withoutTrailingSlashes(path.substr(0, found)));
}

Ref<String> String::stringByAppendingPathExtension(const String* extension) const
{
    if (!extension)
        detail::raiseNilArgument(this, "stringByAppendingPathExtension:");
    std::u16string_view path = withoutTrailingSlashes(_units);
    if (path.empty() || path == u"/" || extension->_units.find(slash) != std::u16string::npos)
        return nullptr;
    return make<String>(std::u16string(path) + u"." + extension->_units);
}

Ref<String> String::stringByDeletingPathExtension() const
{
    std::u16string_view path = withoutTrailingSlashes(_units);
    size_t dot = extensionDot(path);
    return stringOf(dot == std::u16string_view::npos ? path : path.substr(0, dot));
}

Ref<Array> String::pathComponents() const
{
    std::vector<Ref<Object>> components;
    std::u16string_view path(_units);
    if (!path.empty() && path.front() == slash)
        components.push_back(stringOf(u"/"));
    bool named = false;
    size_t start = 0;
    while (start <= path.size()) {
        size_t end = path.find(slash, start);
        if (end == std::u16string_view::npos)
            end = path.size();
        if (end > start) {
            components.push_back(stringOf(path.substr(start, end - start)));
            named = true;
        }
        start = end + 1;
    }
    if (named && path.back() == slash)
        components.push_back(stringOf(u"/"));
    return make<Array>(std::move(components));
}

Ref<String> String::pathWithComponents(const Array* components)
{
    if (!components)
        detail::raiseInvalidArgument("*** +[String pathWithComponents:]: nil string (or other) argument");
    std::u16string path;
    bool trailingSlash = false;
    for (uint32_t i = 0; i < components->count(); ++i) {
        Ref<String> component = components->objectAtIndex(i)->description();
        if (component->_units.empty()) {
            trailingSlash = i + 1 == components->count() && i > 0;
            continue;
        }
        if (!path.empty())
            path += slash;
        path += component->_units;
    }
    path = standardizedSlashes(path);
    if (trailingSlash && !path.empty() && path.back() != slash)
        path += slash;
    return make<String>(std::move(path));
}

bool String::isAbsolutePath() const
{
    return !_units.empty() && (_units.front() == slash || _units.front() == u'~');
}


} // namespace yk
