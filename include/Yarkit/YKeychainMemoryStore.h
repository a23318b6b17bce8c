#pragma once

// A YKeychainStore that keeps its items in memory, in insertion order, for tests and for
// applications that must not touch the user's store. It counts the calls of each operation
// and can be told to answer the next call of an operation with any status (without doing the
// work), so every failure path of YKeychain can be driven. Safe to use from any thread.

#include <Yarkit/YKeychainStore.h>
#include <Yarkit/core/runtime/Mutex.h>

#include <array>
#include <deque>
#include <vector>

namespace yk {

class YKeychainMemoryStore final : public YKeychainStore {
    YK_OBJECT(YKeychainMemoryStore, YKeychainStore)
public:
    enum class Operation { Find, Add, Modify, Delete };

    YKeychainMemoryStore() = default;

    YKeychainStoreResult findInternetPassword(const YKeychainItemAttributes& attributes,
        std::string* password, Ref<YKeychainItem>* item) override;
    YKeychainStoreResult addInternetPassword(const YKeychainItemAttributes& attributes,
        std::string_view password, std::string_view label) override;
    YKeychainStoreResult modifyItemData(YKeychainItem* item, std::string_view password) override;
    YKeychainStoreResult deleteItem(YKeychainItem* item) override;

    // The next call of the operation answers with this status and message and changes nothing;
    // several injections for one operation answer in turn.
    void injectStatus(Operation operation, OSStatus status, std::string message = {});
    // How often the operation was called, injected answers included.
    uint32_t callCount(Operation operation) const;
    // The number of items stored.
    uint32_t itemCount() const;
    // Forgets every item, counter and pending injection.
    void reset();

private:
    struct StoredItem {
        uint64_t identifier;
        YKeychainItemAttributes attributes;
        std::string password;
    };

    // Counts the call and, when a status was injected for it, takes that answer.
    std::optional<YKeychainStoreResult> beginCall(Operation operation) YK_REQUIRES(_lock);
    StoredItem* storedItem(const YKeychainItem* item) YK_REQUIRES(_lock);

    mutable Mutex _lock;
    std::vector<StoredItem> _items YK_GUARDED_BY(_lock);
    uint64_t _nextIdentifier YK_GUARDED_BY(_lock) { 1 };
    std::array<uint32_t, 4> _callCounts YK_GUARDED_BY(_lock) {};
    std::array<std::deque<YKeychainStoreResult>, 4> _injected YK_GUARDED_BY(_lock);
};

} // namespace yk
