#pragma once

#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/Dictionary.h>

#include <functional>
#include <string>

namespace yk {

class Class;
class String;

// Posted after a bundle's code was loaded; load-time hooks run again when it is.
extern const char NSBundleDidLoadNotification[];

// A bundle: a module of code (the framework's library, or the program) with its resources.
// The framework's bundle has the identifier "org.yarkit.Yarkit" and is laid out as installed:
//
//     <prefix>/lib/libyarkit.so.1                         the code
//     <prefix>/share/locale/<lang>/LC_MESSAGES/yarkit.mo  string tables (text domain "yarkit")
//     <prefix>/libexec/yarkit/                            auxiliary executables
//
// The prefix is found from the library's own location (dladdr), so a moved installation, and
// the build tree, which mirrors this layout, find their own resources.
//
// Bundles are made once and live for the whole process: one object per module or folder,
// whichever path or class reaches it. Every method may be called from any thread.
class Bundle final : public Object {
    YK_OBJECT(Bundle, Object)
public:
    // The bundle whose code defines cls: the framework's bundle for the framework's classes,
    // mainBundle() for the program's, a loaded plug-in's for its own. A null class gives null.
    [[nodiscard]] static Ref<Bundle> bundleForClass(const Class* cls);
    // The framework's bundle for "org.yarkit.Yarkit" (the same object bundleForClass gives for
    // the framework's classes); null for any other identifier.
    [[nodiscard]] static Ref<Bundle> bundleWithIdentifier(const String* identifier);
    // The framework's own bundle.
    [[nodiscard]] static Ref<Bundle> frameworkBundle();

    // Null for the program's bundle.
    Ref<String> bundleIdentifier() const;
    // The module's file (the library or the program).
    Ref<String> executablePath() const;
    // pathForAuxiliaryExecutable: the path of a helper program shipped with the bundle (in
    // libexec/yarkit/ for the framework), whether or not it exists; null for the program's.
    Ref<String> pathForAuxiliaryExecutable(const String* name) const;
    // The folder of the compiled string tables (share/locale beside lib/); empty for the
    // program's bundle.
    const std::string& localeDirectory() const { return _localeDirectory; }

    // localizedStringForKey:value:table: the translation of key in the string table `table`
    // ("Localizable" when null or empty) for the process's language (LANGUAGE, LC_MESSAGES;
    // the application calls setlocale, the library never does: in the "C" locale nothing is
    // translated). Not found: value, or key when value is null or empty; a null key gives
    // value, or "".
    //
    // The tables are gettext catalogues of the bundle's text domain: the message context is the
    // table and the message id the English key. Every key the framework looks up is marked
    // with YK_LOCALIZABLE so that it can be checked against the catalogue template.
    [[nodiscard]] Ref<String> localizedStringForKey(const String* key, const String* value, const String* table) const;

    // Code and information of the program and of plug-ins (docs/bundles.md has the layout).
    //
    // mainBundle: the program's bundle: /proc/self/exe and its folder; its information is the
    // JSON object of "<executable>.Info.json" beside the executable.
    [[nodiscard]] static Ref<Bundle> mainBundle();
    // The bundle of a folder: the bundle whose bundlePath() it is (the program's, the
    // framework's), else a plug-in: a folder holding "Info.json" and the shared object it names
    // with "CFBundleExecutable" (else the folder's name without extension, plus ".so"). One
    // object per folder; null when the folder does not exist.
    [[nodiscard]] static Ref<Bundle> bundleWithPath(const String* path);
    // The bundle's folder.
    [[nodiscard]] Ref<String> bundlePath() const;
    // "<bundlePath>/PlugIns".
    [[nodiscard]] Ref<String> builtInPlugInsPath() const;
    // The information (an empty dictionary when there is none), read once.
    [[nodiscard]] Ref<Dictionary> infoDictionary() const;
    // The same: the information has no localised variants here.
    [[nodiscard]] Ref<Dictionary> localizedInfoDictionary() const { return infoDictionary(); }
    [[nodiscard]] Ref<Object> objectForInfoDictionaryKey(const String* key) const;
    // Loads the code with dlopen (once), then posts NSBundleDidLoadNotification with the
    // bundle and "NSLoadedClasses" (the names of the classes its code registered), so their
    // load-time hooks run. The program's and the framework's bundles are loaded already.
    bool load();
    bool isLoaded() const;
    // A class that this bundle's own code registered, after loading it; null for any other.
    [[nodiscard]] Class* classNamed(const String* name);
    // dlsym in the loaded code; null when it is not loaded or has no such symbol.
    void* functionPointerForName(const String* name) const;

    Ref<String> description() const override;

private:
    template <typename T, typename... Args>
    friend Ref<T> make(Args&&... args);

    Bundle(std::string identifier, std::string executablePath, std::string localeDirectory, std::string auxiliaryDirectory,
        std::string bundlePath = {});
    // Whether a class's code lies in this bundle's module.
    bool ownsClass(const Class* cls) const;
    // What bundlePath() answers: the bundle's own folder, else the folder of its code.
    std::string folder() const;
    // The bundle registered under the canonical form of path; else the one `make` gives (called
    // with the registry's lock held), registered under its code file and its folder as well.
    static Ref<Bundle> registeredBundle(const std::string& path, const std::function<Ref<Bundle>()>& make);

    const std::string _identifier;
    const std::string _executablePath;
    const std::string _localeDirectory;
    const std::string _auxiliaryDirectory;
    const std::string _bundlePath;
    mutable Mutex _stateLock;
    mutable Ref<Dictionary> _infoDictionary YK_GUARDED_BY(_stateLock);
    void* _handle YK_GUARDED_BY(_stateLock) { nullptr };
};

} // namespace yk

// Marks a key looked up in one of the framework's string tables and yields the key. The
// catalogue template (po/yarkit.pot) is extracted with this keyword, and a test checks that it
// holds every marked key:
//     bundle->localizedStringForKey(yk::String::withUTF8(YK_LOCALIZABLE("Date", "today")).get(), ...)
#define YK_LOCALIZABLE(table, key) key
