#include <Yarkit/BundleAdditions.h>

#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/String.h>

#include <sys/stat.h>

namespace yk {

Ref<Dictionary> YK_localizedInfoDictionary(const Bundle* bundle)
{
    return bundle ? bundle->localizedInfoDictionary() : nullptr;
}

Ref<Object> YK_objectForInfoDictionaryKey(const Bundle* bundle, const String* key)
{
    return bundle && key ? bundle->objectForInfoDictionaryKey(key) : nullptr;
}

Ref<Bundle> pluginBundleNamed(const String* name)
{
    if (String::isEmpty(name))
        return nullptr;
    auto folder = Bundle::mainBundle()->builtInPlugInsPath();
    auto base = folder->stringByAppendingPathComponent(name);
    for (const char* extension : { "", "plugin", "bundle" }) {
        auto candidate = *extension ? base->stringByAppendingPathExtension(String::withUTF8(extension).get()) : base;
        struct stat status;
        if (candidate && !stat(candidate->fileSystemRepresentation().c_str(), &status))
            return Bundle::bundleWithPath(candidate.get());
    }
    return nullptr;
}

Class* pluginClassNamed(const String* className, const String* bundleName)
{
    auto bundle = pluginBundleNamed(bundleName);
    return bundle ? bundle->classNamed(className) : nullptr;
}

void* YK_functionPointerForName(const Bundle* bundle, const String* name)
{
    return bundle ? bundle->functionPointerForName(name) : nullptr;
}

} // namespace yk
