#include <Yarkit/core/system/UserDefaults.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/String.h>

#include "core/system/PropertyList.h"

namespace yk {

YK_DEFINE_CLASS(UserDefaults);

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

namespace {

struct SharedState {
    Mutex lock;
    std::string applicationName YK_GUARDED_BY(lock); // empty means the program's name
    Ref<UserDefaults> standard YK_GUARDED_BY(lock);
    // Shared defaults dropped by a reset stay alive: callers may still hold the raw pointer.
    std::vector<Ref<UserDefaults>> retired YK_GUARDED_BY(lock);
    bool exitHandlerInstalled YK_GUARDED_BY(lock) { false };
};

SharedState& shared()
{
    // Built before the exit handler is installed, so destroyed after it has run.
    static SharedState state;
    return state;
}

std::string readWholeFile(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>() };
}

std::string programName()
{
    std::string cmdline = readWholeFile("/proc/self/cmdline");
    std::string first = cmdline.substr(0, cmdline.find('\0'));
    if (first.empty())
        return program_invocation_short_name;
    return fs::path(first).filename().string();
}

fs::path configHome()
{
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    if (xdg && *xdg == '/')
        return xdg;
    const char* home = std::getenv("HOME");
    if (home && *home)
        return fs::path(home) / ".config";
    if (const passwd* entry = getpwuid(getuid()); entry && entry->pw_dir)
        return fs::path(entry->pw_dir) / ".config";
    return fs::temp_directory_path() / ".config";
}

std::optional<fs::file_time_type> modificationTime(const fs::path& path)
{
    std::error_code error;
    auto time = fs::last_write_time(path, error);
    if (error)
        return std::nullopt;
    return time;
}

Ref<Object> argumentValue(const std::string& text)
{
    Json json = Json::parse(text, nullptr, false);
    if (!json.is_discarded()) {
        if (auto value = detail::propertyListFromJSON(json))
            return value;
    }
    return String::withUTF8(text);
}

[[noreturn]] void raiseNilKey(const UserDefaults* defaults, const char* selector)
{
    raise(NSInvalidArgumentException, "*** -[%s %s]: nil string (or other) argument",
        defaults->classObject()->name().c_str(), selector);
}

// An immutable copy of a value for a domain; raises for values outside the property-list kinds.
Ref<Object> checkedCopy(const Object* value, const Object* key)
{
    auto copy = detail::propertyListCopy(value);
    if (!copy)
        raise(NSInvalidArgumentException, "Attempt to insert non-property list object %@ for key %@", value, key);
    return copy;
}

} // namespace

namespace detail {

Ref<Dictionary> argumentDomainFromArguments(const std::vector<std::string>& arguments)
{
    auto domain = make<MutableDictionary>();
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        bool isKey = argument.size() >= 2 && argument[0] == '-' && argument[1] != '-';
        if (!isKey || i + 1 == arguments.size())
            continue;
        domain->setObject(argumentValue(arguments[i + 1]), String::withUTF8(argument.substr(1)));
        ++i;
    }
    return domain->copy();
}

std::vector<std::string> processArguments()
{
    std::string cmdline = readWholeFile("/proc/self/cmdline");
    std::vector<std::string> arguments;
    size_t start = 0;
    while (start < cmdline.size()) {
        size_t end = cmdline.find('\0', start);
        if (end == std::string::npos)
            end = cmdline.size();
        arguments.push_back(cmdline.substr(start, end - start));
        start = end + 1;
    }
    if (!arguments.empty())
        arguments.erase(arguments.begin());
    return arguments;
}

} // namespace detail

UserDefaults* UserDefaults::standardUserDefaults()
{
    auto& state = shared();
    Locker guard(state.lock);
    if (!state.standard) {
        std::string name = state.applicationName.empty() ? programName() : state.applicationName;
        state.standard = make<UserDefaults>(defaultsPathForApplication(name), detail::processArguments());
        if (!state.exitHandlerInstalled) {
            state.exitHandlerInstalled = true;
            std::atexit([] {
                auto& state = shared();
                Ref<UserDefaults> standard;
                {
                    Locker guard(state.lock);
                    standard = state.standard;
                }
                if (standard)
                    standard->synchronize();
            });
        }
    }
    return state.standard.get();
}

void UserDefaults::resetStandardUserDefaults()
{
    auto& state = shared();
    Ref<UserDefaults> old;
    {
        Locker guard(state.lock);
        old = std::move(state.standard);
        state.standard = nullptr;
        if (old)
            state.retired.push_back(old);
    }
    if (old)
        old->synchronize();
}

std::string UserDefaults::applicationName()
{
    auto& state = shared();
    Locker guard(state.lock);
    return state.applicationName.empty() ? programName() : state.applicationName;
}

void UserDefaults::setApplicationName(std::string name)
{
    auto& state = shared();
    Locker guard(state.lock);
    state.applicationName = std::move(name);
}

fs::path UserDefaults::defaultsPathForApplication(std::string_view applicationName)
{
    return configHome() / applicationName / "defaults.json";
}

UserDefaults::UserDefaults(fs::path file, std::vector<std::string> arguments)
    : _path(std::move(file))
    , _argumentDomain(detail::argumentDomainFromArguments(arguments)->mutableCopy())
    , _persistentDomain(make<MutableDictionary>())
    , _registrationDomain(make<MutableDictionary>())
{
    Locker guard(_lock);
    readFileLocked();
}

UserDefaults::~UserDefaults()
{
    // Quietly: the shared defaults die during static destruction, when the log may be gone.
    Locker guard(_lock);
    if (_dirty)
        writeFileLocked(false);
}

void UserDefaults::readFileLocked()
{
    _persistentDomain->removeAllObjects();
    _fileTime = modificationTime(_path);
    if (!_fileTime)
        return;
    Json json = Json::parse(readWholeFile(_path), nullptr, false);
    if (json.is_discarded() || !json.is_object()) {
        log("UserDefaults: ignoring the malformed defaults file %s", _path.c_str());
        return;
    }
    _persistentDomain->addEntriesFromDictionary(detail::dictionaryFromJSONObject(json, [this](const std::string& key) {
        log("UserDefaults: ignoring the value of \"%s\" in %s", key.c_str(), _path.c_str());
    }).get());
}

bool UserDefaults::writeFileLocked(bool reportFailure)
{
    auto json = detail::jsonFromPropertyList(_persistentDomain.get());
    if (!json)
        return false;
    std::string text = json->dump(4) + "\n";

    std::error_code error;
    fs::create_directories(_path.parent_path(), error);
    std::string temporary = _path.string() + ".XXXXXX";
    int fd = mkstemp(temporary.data());
    if (fd < 0) {
        if (reportFailure)
            log("UserDefaults: cannot write %s: %s", _path.c_str(), std::strerror(errno));
        return false;
    }
    size_t written = 0;
    while (written < text.size()) {
        ssize_t n = ::write(fd, text.data() + written, text.size() - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        written += static_cast<size_t>(n);
    }
    bool ok = written == text.size() && ::fsync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    if (!ok || ::rename(temporary.c_str(), _path.c_str()) != 0) {
        if (reportFailure)
            log("UserDefaults: cannot write %s: %s", _path.c_str(), std::strerror(errno));
        ::unlink(temporary.c_str());
        return false;
    }
    _dirty = false;
    _fileTime = modificationTime(_path);
    return true;
}

bool UserDefaults::synchronize()
{
    Locker guard(_lock);
    if (_dirty)
        return writeFileLocked();
    if (modificationTime(_path) != _fileTime)
        readFileLocked();
    return true;
}

Ref<Object> UserDefaults::lookUp(const Object* key) const
{
    Locker guard(_lock);
    for (const auto* domain : { _argumentDomain.get(), _persistentDomain.get(), _registrationDomain.get() }) {
        if (auto value = domain->objectForKey(key))
            return value;
    }
    return nullptr;
}

Ref<Object> UserDefaults::objectForKey(const String* key) const
{
    return key ? lookUp(key) : nullptr;
}

Ref<Object> UserDefaults::objectForKey(std::string_view key) const
{
    return lookUp(String::withUTF8(key).get());
}

void UserDefaults::setObject(const Object* value, const String* key)
{
    if (!key)
        raiseNilKey(this, "setObject:forKey:");
    if (!value) {
        removeObject(key);
        return;
    }
    auto copy = checkedCopy(value, key);
    Locker guard(_lock);
    _persistentDomain->setObject(std::move(copy), key->copy());
    _dirty = true;
}

void UserDefaults::setObject(const Object* value, std::string_view key)
{
    setObject(value, String::withUTF8(key).get());
}

void UserDefaults::setArgumentObject(const Object* value, std::string_view key)
{
    auto keyString = String::withUTF8(key);
    Ref<Object> copy;
    if (value)
        copy = checkedCopy(value, keyString.get());
    Locker guard(_lock);
    if (copy)
        _argumentDomain->setObject(std::move(copy), keyString);
    else
        _argumentDomain->removeObjectForKey(keyString.get());
}

void UserDefaults::removeObject(const String* key)
{
    if (!key)
        raiseNilKey(this, "removeObjectForKey:");
    Locker guard(_lock);
    if (!_persistentDomain->containsKey(key))
        return;
    _persistentDomain->removeObjectForKey(key);
    _dirty = true;
}

void UserDefaults::removeObject(std::string_view key)
{
    removeObject(String::withUTF8(key).get());
}

namespace {

template <typename T>
Ref<T> ofClass(Ref<Object> value)
{
    if (!value || !value->isKindOfClass(T::staticClass()))
        return nullptr;
    return Ref<T>(static_cast<T*>(value.get()));
}

// Reads a Number or String with the matching accessor; anything else gives the fallback.
template <typename R, typename NumberRead, typename StringRead>
R readScalar(const Ref<Object>& value, NumberRead numberRead, StringRead stringRead)
{
    if (auto number = ofClass<Number>(value))
        return numberRead(number.get());
    if (auto string = ofClass<String>(value))
        return stringRead(string.get());
    return R {};
}

} // namespace

Ref<String> UserDefaults::stringForKey(const String* key) const
{
    auto value = objectForKey(key);
    if (auto number = ofClass<Number>(value))
        return number->stringValue();
    return ofClass<String>(value);
}

int64_t UserDefaults::integerForKey(const String* key) const
{
    return readScalar<int64_t>(objectForKey(key), [](const Number* n) { return n->integerValue(); },
        [](const String* s) { return s->integerValue(); });
}

bool UserDefaults::boolForKey(const String* key) const
{
    return readScalar<bool>(objectForKey(key), [](const Number* n) { return n->boolValue(); },
        [](const String* s) { return s->boolValue(); });
}

float UserDefaults::floatForKey(const String* key) const
{
    return readScalar<float>(objectForKey(key), [](const Number* n) { return n->floatValue(); },
        [](const String* s) { return s->floatValue(); });
}

double UserDefaults::doubleForKey(const String* key) const
{
    return readScalar<double>(objectForKey(key), [](const Number* n) { return n->doubleValue(); },
        [](const String* s) { return s->doubleValue(); });
}

Ref<Data> UserDefaults::dataForKey(const String* key) const
{
    return ofClass<Data>(objectForKey(key));
}

Ref<Array> UserDefaults::arrayForKey(const String* key) const
{
    return ofClass<Array>(objectForKey(key));
}

Ref<Dictionary> UserDefaults::dictionaryForKey(const String* key) const
{
    return ofClass<Dictionary>(objectForKey(key));
}

Ref<String> UserDefaults::stringForKey(std::string_view key) const { return stringForKey(String::withUTF8(key).get()); }
int64_t UserDefaults::integerForKey(std::string_view key) const { return integerForKey(String::withUTF8(key).get()); }
bool UserDefaults::boolForKey(std::string_view key) const { return boolForKey(String::withUTF8(key).get()); }
float UserDefaults::floatForKey(std::string_view key) const { return floatForKey(String::withUTF8(key).get()); }
double UserDefaults::doubleForKey(std::string_view key) const { return doubleForKey(String::withUTF8(key).get()); }
Ref<Data> UserDefaults::dataForKey(std::string_view key) const { return dataForKey(String::withUTF8(key).get()); }
Ref<Array> UserDefaults::arrayForKey(std::string_view key) const { return arrayForKey(String::withUTF8(key).get()); }
Ref<Dictionary> UserDefaults::dictionaryForKey(std::string_view key) const { return dictionaryForKey(String::withUTF8(key).get()); }

void UserDefaults::setInteger(int64_t value, std::string_view key)
{
    setObject(Number::numberWithInteger(value).get(), key);
}

void UserDefaults::setBool(bool value, std::string_view key)
{
    setObject(Number::numberWithBool(value).get(), key);
}

void UserDefaults::setDouble(double value, std::string_view key)
{
    setObject(Number::numberWithDouble(value).get(), key);
}

void UserDefaults::registerDefaults(const Dictionary* registrationDictionary)
{
    if (!registrationDictionary)
        return;
    auto copy = make<MutableDictionary>();
    for (const auto& [key, value] : *registrationDictionary) {
        if (!key->isKindOfClass(String::staticClass()))
            raise(NSInvalidArgumentException, "Attempt to insert non-property list object %@ for key %@", value.get(), key.get());
        copy->setObject(checkedCopy(value.get(), key.get()), key);
    }
    Locker guard(_lock);
    _registrationDomain->addEntriesFromDictionary(copy.get());
}

Ref<Dictionary> UserDefaults::dictionaryRepresentation() const
{
    Locker guard(_lock);
    auto result = _registrationDomain->mutableCopy();
    result->addEntriesFromDictionary(_persistentDomain.get());
    result->addEntriesFromDictionary(_argumentDomain.get());
    return result->copy();
}

Ref<Dictionary> UserDefaults::argumentDomain() const
{
    Locker guard(_lock);
    return _argumentDomain->copy();
}

Ref<Dictionary> UserDefaults::persistentDomain() const
{
    Locker guard(_lock);
    return _persistentDomain->copy();
}

Ref<Dictionary> UserDefaults::registrationDomain() const
{
    Locker guard(_lock);
    return _registrationDomain->copy();
}

} // namespace yk
