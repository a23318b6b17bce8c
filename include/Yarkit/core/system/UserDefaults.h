#pragma once

#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/runtime/Object.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace yk {

class Array;
class Data;
class Dictionary;
class MutableDictionary;
class String;

// The user's preferences, searched in three domains, first match wins:
//
//   1. the argument domain: "-key value" pairs of the process's command line (volatile);
//   2. the application domain: the values set with setObject, persisted as JSON in
//      $XDG_CONFIG_HOME/<application name>/defaults.json (~/.config when the variable is unset
//      or not absolute);
//   3. the registration domain: fallbacks given by registerDefaults (volatile).
//
// Values are property-list objects: String, Number, Data, Date, Array and Dictionary (with
// string keys) nested to any depth. docs/user-defaults.md describes the file format and the
// parsing of arguments.
//
// Every method may be called from any thread; one lock guards the domains. Objects handed out
// are immutable copies, so callers may keep them without further locking.
class UserDefaults : public Object {
    YK_OBJECT(UserDefaults, Object)
public:
    // The shared defaults of the process: arguments from /proc/self/cmdline, the file of
    // applicationName(). Created on first use; it lives for the whole process and writes
    // unsaved changes at normal exit.
    static UserDefaults* standardUserDefaults();
    // Saves and drops the shared defaults; the next standardUserDefaults() makes new ones from
    // the current application name and environment.
    static void resetStandardUserDefaults();

    // The program's name (the last component of argv[0]) unless overridden; an empty name
    // restores the program's. Set it before the first standardUserDefaults(), or reset the
    // shared defaults afterwards.
    static std::string applicationName();
    static void setApplicationName(std::string name);
    // Where the application domain of an application lives.
    static std::filesystem::path defaultsPathForApplication(std::string_view applicationName);

    // Defaults backed by an explicit file and argument list (arguments as in argv, without the
    // program name). The file is read now; a missing or unreadable file is an empty domain,
    // and a malformed one is logged and treated as empty (it is replaced on the next save).
    UserDefaults(std::filesystem::path file, std::vector<std::string> arguments);
    // Writes unsaved changes.
    ~UserDefaults() override;

    // The value of the first domain that holds the key, or null.
    Ref<Object> objectForKey(const String* key) const;
    Ref<Object> objectForKey(std::string_view key) const;

    // setObject:forKey: stores an immutable copy of value in the application domain; a null
    // value removes the key. Raises NSInvalidArgumentException for a null key, and
    // "Attempt to insert non-property list object <value> for key <key>" for values outside the
    // property-list kinds.
    void setObject(const Object* value, const String* key);
    void setObject(const Object* value, std::string_view key);
    // removeObjectForKey: removes the key from the application domain; the other domains may
    // still answer it.
    void removeObject(const String* key);
    void removeObject(std::string_view key);

    // Typed reads. A String answers the numeric and boolean getters with its text (intValue,
    // doubleValue, boolValue), a Number the string getter with its stringValue; any other
    // kind, or an absent key, gives 0, false or null.
    Ref<String> stringForKey(const String* key) const;
    Ref<String> stringForKey(std::string_view key) const;
    int64_t integerForKey(const String* key) const;
    int64_t integerForKey(std::string_view key) const;
    bool boolForKey(const String* key) const;
    bool boolForKey(std::string_view key) const;
    float floatForKey(const String* key) const;
    float floatForKey(std::string_view key) const;
    double doubleForKey(const String* key) const;
    double doubleForKey(std::string_view key) const;
    Ref<Data> dataForKey(const String* key) const;
    Ref<Data> dataForKey(std::string_view key) const;
    Ref<Array> arrayForKey(const String* key) const;
    Ref<Array> arrayForKey(std::string_view key) const;
    Ref<Dictionary> dictionaryForKey(const String* key) const;
    Ref<Dictionary> dictionaryForKey(std::string_view key) const;

    // setInteger:forKey:, setBool:forKey:, setDouble:forKey: into the application domain.
    void setInteger(int64_t value, std::string_view key);
    void setBool(bool value, std::string_view key);
    void setDouble(double value, std::string_view key);

    // Sets a value in the argument domain, above the persisted one, for this process only:
    // nothing is written. A null value removes the key from that domain. Values must be
    // property-list objects, as for setObject.
    void setArgumentObject(const Object* value, std::string_view key);

    // registerDefaults: adds the pairs to the registration domain (later registrations win); values must be
    // property-list objects, as for setObject.
    void registerDefaults(const Dictionary* registrationDictionary);

    // Writes the application domain when it has unsaved changes (to a temporary file in the
    // same folder, then renamed over the old one, so readers never see half a file); otherwise
    // reloads it when the file changed on disk since it was last read or written. False when
    // the file could not be written; the changes then stay unsaved.
    bool synchronize();

    // Every key of every domain with the value objectForKey would answer.
    Ref<Dictionary> dictionaryRepresentation() const;
    // The values of one domain.
    Ref<Dictionary> argumentDomain() const;
    Ref<Dictionary> persistentDomain() const;
    Ref<Dictionary> registrationDomain() const;

    const std::filesystem::path& path() const { return _path; }

private:
    Ref<Object> lookUp(const Object* key) const;
    void readFileLocked() YK_REQUIRES(_lock);
    bool writeFileLocked(bool reportFailure = true) YK_REQUIRES(_lock);

    const std::filesystem::path _path;
    mutable Mutex _lock;
    Ref<MutableDictionary> _argumentDomain YK_GUARDED_BY(_lock);
    Ref<MutableDictionary> _persistentDomain YK_GUARDED_BY(_lock);
    Ref<MutableDictionary> _registrationDomain YK_GUARDED_BY(_lock);
    bool _dirty YK_GUARDED_BY(_lock) { false };
    std::optional<std::filesystem::file_time_type> _fileTime YK_GUARDED_BY(_lock);
};

namespace detail {

// The argument domain of an argument list (argv without the program name): each "-key"
// followed by another argument becomes the pair (key, value); the value is read as JSON when it
// is a property-list value in that notation (42, 1.5, true, "text", [1, 2], {"a": 1},
// {"$data": "..."}), else it is kept as the string it is. Arguments before a key, a key with no
// value after it, "-" and GNU-style "--options" are skipped. A later pair wins over an earlier one.
Ref<Dictionary> argumentDomainFromArguments(const std::vector<std::string>& arguments);

// The process's arguments from /proc/self/cmdline, without the program name.
std::vector<std::string> processArguments();

} // namespace detail

} // namespace yk
