// The program's bundle, plug-in bundles, their information and the loading of their code.

#include <Yarkit/core/system/Bundle.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/system/NotificationCenter.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/MutableDictionary.h>

#include "core/system/PropertyList.h"

#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace yk {
namespace {

namespace fs = std::filesystem;

// The JSON object of a file as a dictionary; empty when there is none or it is no object.
Ref<Dictionary> readInfo(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(file)), {});
    auto json = nlohmann::ordered_json::parse(text, nullptr, false);
    if (json.is_discarded() || !json.is_object())
        return make<Dictionary>();
    auto info = detail::dictionaryFromJSONObject(json, [](const std::string&) { });
    return info ? info : make<Dictionary>();
}

} // namespace

Ref<Bundle> Bundle::mainBundle()
{
    static Bundle* const main = [] {
        std::error_code error;
        std::string executable = fs::read_symlink("/proc/self/exe", error).string();
        return registeredBundle(executable, [&] {
            auto bundle = make<Bundle>(std::string(), executable, std::string(), std::string(), fs::path(executable).parent_path().string());
            Locker guard(bundle->_stateLock);
            bundle->_handle = dlopen(nullptr, RTLD_NOW);
            return bundle;
        }).get();
    }();
    return main;
}

Ref<Bundle> Bundle::bundleWithPath(const String* path)
{
    if (!path || !path->length())
        return nullptr;
    std::error_code error;
    fs::path folder = fs::weakly_canonical(path->fileSystemRepresentation(), error);
    if (error || !fs::is_directory(folder, error))
        return nullptr;
    return registeredBundle(folder.string(), [&] {
        auto info = readInfo((folder / "Info.json").string());
        auto named = info->objectForKey(std::string_view("CFBundleExecutable"));
        std::string executable = named && named->isKindOfClass(String::staticClass())
            ? static_cast<String*>(named.get())->fileSystemRepresentation()
            : folder.stem().string() + ".so";
        auto identifier = info->objectForKey(std::string_view("CFBundleIdentifier"));
        std::string identifierText = identifier && identifier->isKindOfClass(String::staticClass())
            ? static_cast<String*>(identifier.get())->utf8()
            : std::string();
        auto bundle = make<Bundle>(identifierText, (folder / executable).string(), std::string(), std::string(), folder.string());
        Locker guard(bundle->_stateLock);
        bundle->_infoDictionary = info;
        return bundle;
    });
}

std::string Bundle::folder() const
{
    return _bundlePath.empty() ? fs::path(_executablePath).parent_path().string() : _bundlePath;
}

Ref<String> Bundle::bundlePath() const
{
    const std::string path = folder();
    return String::stringWithFileSystemRepresentation(path.data(), path.size());
}

Ref<String> Bundle::builtInPlugInsPath() const
{
    return bundlePath()->stringByAppendingPathComponent(String::withUTF8("PlugIns").get());
}

Ref<Dictionary> Bundle::infoDictionary() const
{
    const bool isProgram = this == mainBundle().get(); // asked before the lock: mainBundle may be made now
    Locker guard(_stateLock);
    if (!_infoDictionary) {
        std::string path = _bundlePath.empty() || isProgram ? _executablePath + ".Info.json" : _bundlePath + "/Info.json";
        _infoDictionary = readInfo(path);
    }
    return _infoDictionary;
}

Ref<Object> Bundle::objectForInfoDictionaryKey(const String* key) const
{
    return key ? infoDictionary()->objectForKey(key) : nullptr;
}

bool Bundle::isLoaded() const
{
    if (this == frameworkBundle().get())
        return true;
    Locker guard(_stateLock);
    return _handle != nullptr;
}

bool Bundle::load()
{
    if (isLoaded())
        return true;
    {
        Locker guard(_stateLock);
        if (_handle)
            return true;
        _handle = dlopen(_executablePath.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!_handle)
            return false;
    }
    auto loaded = make<MutableArray>();
    for (Class* cls : Class::allClasses()) {
        if (ownsClass(cls))
            loaded->addObject(String::withUTF8(cls->name()));
    }
    auto info = make<MutableDictionary>();
    info->setObjectForStringKey(loaded, "NSLoadedClasses");
    NotificationCenter::defaultCenter()->postNotificationName(NSBundleDidLoadNotification, this, info.get());
    return true;
}

Class* Bundle::classNamed(const String* name)
{
    if (!name || !load())
        return nullptr;
    Class* cls = Class::named(name->utf8());
    return ownsClass(cls) ? cls : nullptr;
}

void* Bundle::functionPointerForName(const String* name) const
{
    if (!name)
        return nullptr;
    Locker guard(_stateLock);
    return _handle ? dlsym(_handle, name->utf8().c_str()) : nullptr;
}

} // namespace yk
