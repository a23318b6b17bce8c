#include <Yarkit/core/runtime/Selector.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_set>

namespace yk {
namespace {

// Interned selector names; entries are never removed, so their pointers stay valid.
class SelectorTable {
public:
    const char* intern(std::string_view name)
    {
        {
            std::shared_lock lock(_lock);
            if (auto found = _names.find(name); found != _names.end())
                return found->data();
        }
        std::unique_lock lock(_lock);
        auto [entry, inserted] = _names.emplace(name);
        return entry->data();
    }

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
    std::shared_mutex _lock;
    std::unordered_set<std::string, Hash, std::equal_to<>> _names; // guarded by _lock
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
