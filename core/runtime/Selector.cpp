#include <Yarkit/core/runtime/Selector.h>

#include <algorithm>
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

} // namespace

Selector::Selector(std::string_view name)
    : _name(name.empty() ? nullptr : selectorTable().intern(name))
{
}

uint32_t Selector::argumentCount() const
{
    const auto text = view();
    return static_cast<uint32_t>(std::count(text.begin(), text.end(), ':'));
}

} // namespace yk
