#include <Yarkit/core/system/Bundle.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/String.h>

#include <dlfcn.h>
#include <link.h>
#include <libintl.h>
#include <locale.h>

#include <filesystem>
#include <map>

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

// Whether the address lies in the program itself: the first object the dynamic loader lists.
// (dladdr names the program by argv[0], which need not be a path to it.)
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

// The name of a file or folder with symbolic links resolved (as far as it exists): the key
// under which one bundle is found however its path was spelled.
std::string canonicalPath(const std::string& path)
{
    std::error_code error;
    auto canonical = std::filesystem::weakly_canonical(path, error);
    return (error ? std::filesystem::path(path).lexically_normal() : canonical).string();
}

// Every bundle of the process, under each canonical path that names it: its code file and the
// folder bundlePath() answers (the first bundle to claim a folder keeps it: libraries may share
// one).
struct BundleRegistry {
    Mutex lock;
    std::map<std::string, Ref<Bundle>> bundlesByPath YK_GUARDED_BY(lock);
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

Ref<Bundle> Bundle::registeredBundle(const std::string& path, const std::function<Ref<Bundle>()>& make)
{
    const std::string key = canonicalPath(path);
    auto& shared = registry();
    Locker guard(shared.lock);
    if (auto found = shared.bundlesByPath.find(key); found != shared.bundlesByPath.end())
        return found->second;
    Ref<Bundle> bundle = make();
    shared.bundlesByPath.try_emplace(key, bundle);
    shared.bundlesByPath.try_emplace(canonicalPath(bundle->_executablePath), bundle);
    shared.bundlesByPath.try_emplace(canonicalPath(bundle->folder()), bundle);
    return bundle;
}

Ref<Bundle> Bundle::frameworkBundle()
{
    static Bundle* const framework = [] {
        const std::string file = frameworkLibraryFile();
        return registeredBundle(file, [&] {
            return make<Bundle>(std::string(FrameworkIdentifier), std::string(file), resolvedFolder(file, YK_LOCALE_DIR_FROM_LIBRARY),
                resolvedFolder(file, YK_LIBEXEC_DIR_FROM_LIBRARY));
        }).get();
    }();
    return framework;
}

Ref<Bundle> Bundle::bundleForClass(const Class* cls)
{
    if (!cls)
        return nullptr;
    if (isInProgram(cls->imageAddress()))
        return mainBundle();
    auto framework = frameworkBundle(); // registered before any lookup of its library's file
    std::string file = moduleFileOf(cls->imageAddress());
    if (file.empty())
        return framework;
    return registeredBundle(file, [&] { return make<Bundle>(std::string(), file, std::string(), std::string()); });
}

bool Bundle::ownsClass(const Class* cls) const
{
    return cls && cls->imageAddress() && bundleForClass(cls).get() == this;
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
