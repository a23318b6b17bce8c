#pragma once

#include <libintl.h>

#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>

namespace yk::test {

// Sets the process's messages language for the scope: LC_ALL "C.UTF-8" (glibc translates nothing
// in the "C" locale) and LANGUAGE. glibc caches translations by locale name, not by LANGUAGE,
// so the cache is flushed on the way in and out. Not for tests that run threads meanwhile.
class LanguageScope {
public:
    explicit LanguageScope(const char* language)
    {
        if (const char* saved = std::getenv("LANGUAGE"))
            _savedLanguage = saved;
        _savedLocale = std::setlocale(LC_ALL, nullptr);
        std::setlocale(LC_ALL, "C.UTF-8");
        setenv("LANGUAGE", language, 1);
        flush();
    }
    ~LanguageScope()
    {
        if (_savedLanguage)
            setenv("LANGUAGE", _savedLanguage->c_str(), 1);
        else
            unsetenv("LANGUAGE");
        std::setlocale(LC_ALL, _savedLocale.c_str());
        flush();
    }
    LanguageScope(const LanguageScope&) = delete;
    LanguageScope& operator=(const LanguageScope&) = delete;

private:
    static void flush() { textdomain(textdomain(nullptr)); }

    std::optional<std::string> _savedLanguage;
    std::string _savedLocale;
};

} // namespace yk::test
