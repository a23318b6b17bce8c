#include <Yarkit/core/system/Bundle.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/String.h>

#include <dlfcn.h>
#include <libintl.h>
#include <locale.h>

#include <filesystem>
#include <map>
#include <mutex>

// The install layout relative to the library's folder, set by the build from the install
// directories (the build tree mirrors them).
#ifndef YK_LOCALE_DIR_FROM_LIBRARY
#define YK_LOCALE_DIR_FROM_LIBRARY "../share/locale"
#endif
#ifndef YK_LIBEXEC_DIR_FROM_LIBRARY
#define YK_LIBEXEC_DIR_FROM_LIBRARY "../libexec/yarkit"
#endif

namespace yk {

YK_DEFINE_CLASS(Bundle);

const char NSBundleDidLoadNotification[] = "NSBundleDidLoadNotification";

namespace {

constexpr char FrameworkIdentifier[] = "org.yarkit.Yarkit";
constexpr char FrameworkTextDomain[] = "yarkit";
constexpr char DefaultTable[] = "Localizable";

// The file of the module that holds address, as the dynamic loader knows it; "" when unknown.
std::string moduleFileOf(uintptr_t address)
{
    Dl_info info {};
    if (!address || !dladdr(reinterpret_cast<void*>(address), &info) || !info.dli_fname)
        return {};
    return info.dli_fname;
}

std::string frameworkLibraryFile()
{
    static const std::string file = moduleFileOf(reinterpret_cast<uintptr_t>(&Bundle::frameworkBundle));
    return file;
}

std::string resolvedFolder(const std::string& libraryFile, const char* relative)
{
    std::error_code error;
    auto folder = std::filesystem::path(libraryFile).parent_path() / relative;
    auto canonical = std::filesystem::weakly_canonical(folder, error);
    return (error ? folder.lexically_normal() : canonical).string();
}

struct BundleRegistry {
    Mutex lock;
    std::map<std::string, Ref<Bundle>> bundlesByFile YK_GUARDED_BY(lock);
};

BundleRegistry& registry()
{
    static auto* shared = new BundleRegistry; // lives for the process, as its bundles do
    return *shared;
}

} // namespace

Bundle::Bundle(std::string identifier, std::string executablePath, std::string localeDirectory, std::string auxiliaryDirectory,
    std::string bundlePath)
    : _identifier(std::move(identifier))
    , _executablePath(std::move(executablePath))
    , _localeDirectory(std::move(localeDirectory))
    , _auxiliaryDirectory(std::move(auxiliaryDirectory))
    , _bundlePath(std::move(bundlePath))
{
    if (_identifier != FrameworkIdentifier)
        return;
    bindtextdomain(FrameworkTextDomain, _localeDirectory.c_str());
    bind_textdomain_codeset(FrameworkTextDomain, "UTF-8");
}

Ref<Bundle> Bundle::frameworkBundle()
{
    static Bundle* const framework = [] {
        const std::string file = frameworkLibraryFile();
        auto& shared = registry();
        Locker guard(shared.lock);
        auto bundle = make<Bundle>(std::string(FrameworkIdentifier), std::string(file),
            resolvedFolder(file, YK_LOCALE_DIR_FROM_LIBRARY), resolvedFolder(file, YK_LIBEXEC_DIR_FROM_LIBRARY));
        shared.bundlesByFile[file] = bundle;
        return bundle.get();
    }();
    return framework;
}

Ref<Bundle> Bundle::bundleForClass(const Class* cls)
{
    if (!cls)
        return nullptr;
    auto framework = frameworkBundle();
    std::string file = moduleFileOf(cls->imageAddress());
    if (file.empty() || file == framework->_executablePath)
        return framework;
    auto& shared = registry();
    Locker guard(shared.lock);
    auto& bundle = shared.bundlesByFile[file];
    if (!bundle)
        bundle = make<Bundle>(std::string(), std::string(file), std::string(), std::string());
    return bundle;
}

Ref<Bundle> Bundle::bundleWithIdentifier(const String* identifier)
{
    if (!identifier || !identifier->isEqualToString(std::string_view(FrameworkIdentifier)))
        return nullptr;
    return frameworkBundle();
}

Ref<String> Bundle::bundleIdentifier() const
{
    return _identifier.empty() ? nullptr : String::withUTF8(_identifier);
}

Ref<String> Bundle::executablePath() const
{
    return String::withUTF8(_executablePath);
}

Ref<String> Bundle::pathForAuxiliaryExecutable(const String* name) const
{
    if (!name || _auxiliaryDirectory.empty())
        return nullptr;
    return String::withUTF8((std::filesystem::path(_auxiliaryDirectory) / name->utf8()).string());
}

Ref<String> Bundle::localizedStringForKey(const String* key, const String* value, const String* table) const
{
    if (!key)
        return value ? Ref<String>(const_cast<String*>(value)) : make<String>();
    if (!_localeDirectory.empty()) {
        // gettext joins a message context and its id with EOT; a miss returns the very pointer
        // it was given.
        std::string tableName = table && table->length() ? table->utf8() : std::string(DefaultTable);
        std::string contextAndKey = tableName + '\004' + key->utf8();
        const char* translated = dcgettext(FrameworkTextDomain, contextAndKey.c_str(), LC_MESSAGES);
        if (translated != contextAndKey.c_str())
            return String::withUTF8(translated);
    }
    if (value && value->length())
        return Ref<String>(const_cast<String*>(value));
    return Ref<String>(const_cast<String*>(key));
}

Ref<String> Bundle::description() const
{
    if (_identifier.empty())
        return format("<Bundle %s>", _executablePath.c_str());
    return format("<Bundle %s (%s)>", _executablePath.c_str(), _identifier.c_str());
}

} // namespace yk
