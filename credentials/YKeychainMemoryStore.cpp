#include <Yarkit/YKeychainMemoryStore.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>

#include <algorithm>

namespace yk {
namespace {

// The item a find hands out: the stored item's identifier and the store it came from.
class YKeychainMemoryItem final : public YKeychainItem {
    YK_OBJECT(YKeychainMemoryItem, YKeychainItem)
public:
    YKeychainMemoryItem(const YKeychainMemoryStore* store, uint64_t identifier)
        : store(store)
        , identifier(identifier)
    {
    }

    const YKeychainMemoryStore* const store; // not retained: compared only
    const uint64_t identifier;
};

bool textMatches(const std::optional<std::string>& query, const std::optional<std::string>& stored)
{
    return !query || *query == stored.value_or("");
}

bool matches(const YKeychainItemAttributes& query, const YKeychainItemAttributes& stored)
{
    return textMatches(query.server, stored.server) && textMatches(query.securityDomain, stored.securityDomain)
        && textMatches(query.account, stored.account) && textMatches(query.path, stored.path)
        && (!query.port || query.port == stored.port) && (!query.protocol || query.protocol == stored.protocol)
        && (!query.authenticationType || query.authenticationType == stored.authenticationType);
}

// Null texts are stored as empty ones.
YKeychainItemAttributes storedForm(YKeychainItemAttributes attributes)
{
    for (auto* text : { &attributes.server, &attributes.securityDomain, &attributes.account, &attributes.path })
        *text = text->value_or("");
    return attributes;
}

} // namespace

YK_DEFINE_CLASS(YKeychainMemoryItem);
YK_DEFINE_CLASS(YKeychainMemoryStore);

std::optional<YKeychainStoreResult> YKeychainMemoryStore::beginCall(Operation operation)
{
    const auto index = static_cast<size_t>(operation);
    ++_callCounts[index];
    if (_injected[index].empty())
        return std::nullopt;
    YKeychainStoreResult result = std::move(_injected[index].front());
    _injected[index].pop_front();
    return result;
}

YKeychainMemoryStore::StoredItem* YKeychainMemoryStore::storedItem(const YKeychainItem* item)
{
    if (!item || !item->isKindOfClass(YKeychainMemoryItem::staticClass()))
        return nullptr;
    auto* memoryItem = static_cast<const YKeychainMemoryItem*>(item);
    if (memoryItem->store != this)
        return nullptr;
    auto found = std::find_if(_items.begin(), _items.end(),
        [&](const StoredItem& stored) { return stored.identifier == memoryItem->identifier; });
    return found == _items.end() ? nullptr : &*found;
}

YKeychainStoreResult YKeychainMemoryStore::findInternetPassword(const YKeychainItemAttributes& attributes,
    std::string* password, Ref<YKeychainItem>* item)
{
    Locker guard(_lock);
    if (auto injected = beginCall(Operation::Find))
        return *injected;
    auto found = std::find_if(_items.begin(), _items.end(),
        [&](const StoredItem& stored) { return matches(attributes, stored.attributes); });
    if (found == _items.end())
        return { errSecItemNotFound, {} };
    if (password)
        *password = found->password;
    if (item)
        *item = make<YKeychainMemoryItem>(this, found->identifier);
    return {};
}

YKeychainStoreResult YKeychainMemoryStore::addInternetPassword(const YKeychainItemAttributes& attributes,
    std::string_view password, std::string_view)
{
    Locker guard(_lock);
    if (auto injected = beginCall(Operation::Add))
        return *injected;
    YKeychainItemAttributes stored = storedForm(attributes);
    if (std::any_of(_items.begin(), _items.end(), [&](const StoredItem& item) { return item.attributes == stored; }))
        return { errSecDuplicateItem, {} };
    _items.push_back({ _nextIdentifier++, std::move(stored), std::string(password) });
    return {};
}

YKeychainStoreResult YKeychainMemoryStore::modifyItemData(YKeychainItem* item, std::string_view password)
{
    Locker guard(_lock);
    if (auto injected = beginCall(Operation::Modify))
        return *injected;
    StoredItem* stored = storedItem(item);
    if (!stored)
        return { errSecInvalidItemRef, {} };
    stored->password = password;
    return {};
}

YKeychainStoreResult YKeychainMemoryStore::deleteItem(YKeychainItem* item)
{
    Locker guard(_lock);
    if (auto injected = beginCall(Operation::Delete))
        return *injected;
    StoredItem* stored = storedItem(item);
    if (!stored)
        return { errSecInvalidItemRef, {} };
    _items.erase(_items.begin() + (stored - _items.data()));
    return {};
}

void YKeychainMemoryStore::injectStatus(Operation operation, OSStatus status, std::string message)
{
    Locker guard(_lock);
    _injected[static_cast<size_t>(operation)].push_back({ status, std::move(message) });
}

uint32_t YKeychainMemoryStore::callCount(Operation operation) const
{
    Locker guard(_lock);
    return _callCounts[static_cast<size_t>(operation)];
}

uint32_t YKeychainMemoryStore::itemCount() const
{
    Locker guard(_lock);
    return static_cast<uint32_t>(_items.size());
}

void YKeychainMemoryStore::reset()
{
    Locker guard(_lock);
    _items.clear();
    _callCounts = {};
    for (auto& queue : _injected)
        queue.clear();
}

} // namespace yk
