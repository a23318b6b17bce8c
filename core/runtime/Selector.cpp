#include <Yarkit/core/runtime/Selector.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <unordered_set>

#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/SharedMutex.h>

namespace yk {
namespace {

// Interned selector names; entries are never removed, so their pointers stay valid.
class SelectorTable {
public:
    const char* intern(std::string_view name)
    {
        {
            SharedLocker guard(_lock);
            if (auto found = _names.find(name); found != _names.end())
                return found->data();
        }
        Locker guard(_lock);
        auto [entry, inserted] = _names.emplace(name);
        return entry->data();
    }

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
    SharedMutex _lock;
    std::unordered_set<std::string, Hash, std::equal_to<>> _names YK_GUARDED_BY(_lock);
};

SelectorTable& selectorTable()
{
    static auto* table = std::make_unique<SelectorTable>().release(); // lives for the whole process
    return *table;
}

// The names this thread interned last, by the address and length of the text it passed: a call
// site that names its selector with a literal finds it here, without the table's shared lock or
// a hash of the text. An entry counts only while the text at that address still matches, as a
// buffer may hold another name later.
struct RecentName {
    const char* text;
    size_t length;
    const char* interned;
};
thread_local std::array<RecentName, 64> recentNames {};

const char* internName(std::string_view name)
{
    const auto address = reinterpret_cast<uintptr_t>(name.data());
    RecentName& recent = recentNames[((address >> 3) ^ name.size()) % recentNames.size()];
    if (recent.text == name.data() && recent.length == name.size() && !std::memcmp(recent.interned, name.data(), name.size()))
        return recent.interned;
    const char* interned = selectorTable().intern(name);
    recent = { name.data(), name.size(), interned };
    return interned;
}

} // namespace

Selector::Selector(std::string_view name)
    : _name(name.empty() ? nullptr : internName(name))
{
}

uint32_t Selector::argumentCount() const
{
    const auto text = view();
    return static_cast<uint32_t>(std::count(text.begin(), text.end(), ':'));
}

} // namespace yk
