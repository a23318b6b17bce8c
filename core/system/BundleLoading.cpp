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
#include <link.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sys/stat.h>

namespace yk {
namespace {

namespace fs = std::filesystem;

// Whether the address lies in the program itself: the first object the dynamic loader lists.
bool isInProgram(uintptr_t address)
{
    struct Search {
        uintptr_t address;
        int index;
        int found;
    } search { address, 0, -1 };
    dl_iterate_phdr(
        [](dl_phdr_info* object, size_t, void* context) {
            auto* search = static_cast<Search*>(context);
            for (int i = 0; i < object->dlpi_phnum; ++i) {
                const auto& segment = object->dlpi_phdr[i];
                uintptr_t start = object->dlpi_addr + segment.p_vaddr;
                if (segment.p_type == PT_LOAD && search->address >= start && search->address < start + segment.p_memsz)
                    search->found = search->index;
            }
            ++search->index;
            return search->found >= 0 ? 1 : 0;
        },
        &search);
    return search.found == 0;
}

bool sameFile(const std::string& a, const std::string& b)
{
    struct stat first, second;
    return !a.empty() && !b.empty() && !stat(a.c_str(), &first) && !stat(b.c_str(), &second) && first.st_dev == second.st_dev
        && first.st_ino == second.st_ino;
}

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

struct PathBundles {
    Mutex lock;
    std::map<std::string, Ref<Bundle>> byPath YK_GUARDED_BY(lock);
};

PathBundles& pathBundles()
{
    static auto* shared = new PathBundles; // lives for the process, as its bundles do
    return *shared;
}

} // namespace

Ref<Bundle> Bundle::mainBundle()
{
    static Bundle* const main = [] {
        std::error_code error;
        std::string executable = fs::read_symlink("/proc/self/exe", error).string();
        std::string folder = fs::path(executable).parent_path().string();
        Bundle* bundle = make<Bundle>(std::string(), executable, std::string(), std::string(), folder).leakRef();
        Locker guard(bundle->_stateLock);
        bundle->_handle = dlopen(nullptr, RTLD_NOW);
        return bundle;
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
    auto& shared = pathBundles();
    Locker guard(shared.lock);
    auto& bundle = shared.byPath[folder.string()];
    if (bundle)
        return bundle;
    auto info = readInfo((folder / "Info.json").string());
    auto named = info->objectForKey(std::string_view("CFBundleExecutable"));
    std::string executable = named && named->isKindOfClass(String::staticClass())
        ? static_cast<String*>(named.get())->fileSystemRepresentation()
        : folder.stem().string() + ".so";
    auto identifier = info->objectForKey(std::string_view("CFBundleIdentifier"));
    std::string identifierText = identifier && identifier->isKindOfClass(String::staticClass())
        ? static_cast<String*>(identifier.get())->utf8()
        : std::string();
    bundle = make<Bundle>(identifierText, (folder / executable).string(), std::string(), std::string(), folder.string());
    Bundle* made = bundle.get();
    Locker infoGuard(made->_stateLock);
    made->_infoDictionary = info;
    return bundle;
}

Ref<String> Bundle::bundlePath() const
{
    std::string path = _bundlePath.empty() ? fs::path(_executablePath).parent_path().string() : _bundlePath;
    return String::stringWithFileSystemRepresentation(path.data(), path.size());
}

Ref<String> Bundle::builtInPlugInsPath() const
{
    return bundlePath()->stringByAppendingPathComponent(String::withUTF8("PlugIns").get());
}

Ref<Dictionary> Bundle::infoDictionary() const
{
    Locker guard(_stateLock);
    if (!_infoDictionary) {
        std::string path = _bundlePath.empty() || this == mainBundle().get() ? _executablePath + ".Info.json" : _bundlePath + "/Info.json";
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

bool Bundle::ownsClass(const Class* cls) const
{
    if (!cls)
        return false;
    Dl_info info {};
    if (!cls->imageAddress() || !dladdr(reinterpret_cast<void*>(cls->imageAddress()), &info) || !info.dli_fname)
        return false;
    std::string module = info.dli_fname;
    if (this == mainBundle().get())
        return isInProgram(cls->imageAddress());
    return sameFile(module, _executablePath);
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
