#pragma once

#include "core/TemporaryFolder.h"

#include <clocale>
#include <cstdlib>
#include <string>

namespace yk::test {

// Switches LC_NUMERIC to de_DE.UTF-8 (a comma before the decimals) for the scope. The locale is
// compiled with localedef into a temporary folder that LOCPATH points at, so no root is needed.
// ok() is false when the locale could not be made (no locale sources installed).
class CommaDecimalLocale {
public:
    CommaDecimalLocale()
    {
        const std::string command = "localedef -c -i de_DE -f UTF-8 '" + (_folder.path() / "de_DE.UTF-8").string() + "' >/dev/null 2>&1";
        if (std::system(command.c_str()) != 0 && !std::filesystem::exists(_folder.path() / "de_DE.UTF-8" / "LC_NUMERIC"))
            return;
        if (const char* saved = std::getenv("LOCPATH"))
            _savedLocpath = saved;
        setenv("LOCPATH", _folder.path().c_str(), 1);
        _savedNumeric = std::setlocale(LC_NUMERIC, nullptr);
        _ok = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr;
    }
    ~CommaDecimalLocale()
    {
        if (_savedNumeric.empty())
            return;
        std::setlocale(LC_NUMERIC, _savedNumeric.c_str());
        if (_savedLocpath.empty())
            unsetenv("LOCPATH");
        else
            setenv("LOCPATH", _savedLocpath.c_str(), 1);
    }
    CommaDecimalLocale(const CommaDecimalLocale&) = delete;
    CommaDecimalLocale& operator=(const CommaDecimalLocale&) = delete;

    bool ok() const { return _ok; }

private:
    TemporaryFolder _folder;
    std::string _savedLocpath;
    std::string _savedNumeric;
    bool _ok { false };
};

} // namespace yk::test
