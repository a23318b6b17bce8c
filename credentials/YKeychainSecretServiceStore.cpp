#include <Yarkit/YKeychainSecretServiceStore.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>

#include <array>
#include <memory>
#include <string>

#define SECRET_API_SUBJECT_TO_CHANGE
#include <libsecret/secret.h>

namespace yk {

const char YKeychainSecretServiceStore::schemaName[] = "org.yarkit.InternetPassword";

namespace {

// The item a find hands out: its D-Bus object path.
class YKeychainSecretServiceItem final : public YKeychainItem {
    YK_OBJECT(YKeychainSecretServiceItem, YKeychainItem)
public:
    explicit YKeychainSecretServiceItem(std::string path)
        : path(std::move(path))
    {
    }

    const std::string path;
};

const SecretSchema& schema()
{
    static const SecretSchema schema = {
        YKeychainSecretServiceStore::schemaName,
        SECRET_SCHEMA_NONE,
        {
            { "server", SECRET_SCHEMA_ATTRIBUTE_STRING },
            { "security-domain", SECRET_SCHEMA_ATTRIBUTE_STRING },
            { "account", SECRET_SCHEMA_ATTRIBUTE_STRING },
            { "path", SECRET_SCHEMA_ATTRIBUTE_STRING },
            { "port", SECRET_SCHEMA_ATTRIBUTE_INTEGER },
            { "protocol", SECRET_SCHEMA_ATTRIBUTE_INTEGER },
            { "authentication-type", SECRET_SCHEMA_ATTRIBUTE_INTEGER },
            { nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING },
        },
        0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    };
    return schema;
}

// RAII owners of GLib's and libsecret's results.
struct StrvDeleter {
    void operator()(gchar** strings) const { g_strfreev(strings); }
};
struct StringDeleter {
    void operator()(gchar* string) const { g_free(string); }
};
struct HashTableDeleter {
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};
struct ValueDeleter {
    void operator()(SecretValue* value) const { secret_value_unref(value); }
};
struct ObjectDeleter {
    void operator()(gpointer object) const { g_object_unref(object); }
};

// Collects a GError from a call and owns it afterwards.
class ErrorSlot {
public:
    GError** out() { return &_error; }
    GError* get() const { return _error; }
    ~ErrorSlot()
    {
        if (_error)
            g_error_free(_error);
    }

private:
    GError* _error { nullptr };
};

bool isRemoteError(const GError* error, const char* name)
{
    if (!g_dbus_error_is_remote_error(error))
        return false;
    std::unique_ptr<gchar, StringDeleter> remote { g_dbus_error_get_remote_error(error) };
    return remote && g_str_equal(remote.get(), name);
}

bool isMissingService(const GError* error)
{
    return error->domain == G_IO_ERROR
        || g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN)
        || g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER)
        || g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_SERVER)
        || g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_SPAWN_SERVICE_NOT_FOUND)
        || g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_DISCONNECTED);
}

bool isLocked(const GError* error)
{
    return g_error_matches(error, SECRET_ERROR, SECRET_ERROR_IS_LOCKED) || isRemoteError(error, "org.freedesktop.Secret.Error.IsLocked");
}

bool isNoSuchObject(const GError* error)
{
    return g_error_matches(error, SECRET_ERROR, SECRET_ERROR_NO_SUCH_OBJECT)
        || g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD)
        || g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_OBJECT)
        || isRemoteError(error, "org.freedesktop.Secret.Error.NoSuchObject");
}

// The status of a failed call; `noSuchObject` is what a missing object means for this call.
YKeychainStoreResult resultForError(const GError* error, OSStatus noSuchObject = errSecNotAvailable)
{
    std::string message = error ? error->message : "the Secret Service gave no reason";
    if (!error)
        return { errSecNotAvailable, std::move(message) };
    if (isMissingService(error))
        return { errSecNoDefaultKeychain, std::move(message) };
    if (isLocked(error))
        return { userCanceledErr, std::move(message) };
    if (isNoSuchObject(error))
        return { noSuchObject, std::move(message) };
    return { errSecNotAvailable, std::move(message) };
}

// The attribute table of a query (null texts, port 0 and protocol 0 left out, so they match
// anything) or of an item to store (every field, null texts as empty ones).
class AttributeTable {
public:
    AttributeTable(const YKeychainItemAttributes& attributes, bool forStoring)
        : _table(g_hash_table_new(g_str_hash, g_str_equal))
    {
        addText("server", attributes.server, forStoring);
        addText("security-domain", attributes.securityDomain, forStoring);
        addText("account", attributes.account, forStoring);
        addText("path", attributes.path, forStoring);
        addNumber("port", attributes.port, forStoring);
        addNumber("protocol", attributes.protocol, forStoring);
        addNumber("authentication-type", attributes.authenticationType, forStoring);
    }

    GHashTable* get() const { return _table.get(); }

    // The same as the a{ss} variant of an item's Attributes property, schema name included.
    GVariant* variant() const
    {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("a{ss}"));
        g_variant_builder_add(&builder, "{ss}", "xdg:schema", YKeychainSecretServiceStore::schemaName);
        GHashTableIter iterator;
        gpointer key, value;
        g_hash_table_iter_init(&iterator, _table.get());
        while (g_hash_table_iter_next(&iterator, &key, &value))
            g_variant_builder_add(&builder, "{ss}", static_cast<const char*>(key), static_cast<const char*>(value));
        return g_variant_builder_end(&builder);
    }

private:
    void addText(const char* name, const std::optional<std::string>& text, bool forStoring)
    {
        if (!text && !forStoring)
            return;
        insert(name, text.value_or(""));
    }
    void addNumber(const char* name, uint32_t number, bool forStoring)
    {
        if (!number && !forStoring)
            return;
        // Integer attributes travel as decimal text of a signed 32-bit value.
        insert(name, std::to_string(static_cast<int32_t>(number)));
    }
    void insert(const char* name, std::string value)
    {
        _values[_count] = std::move(value);
        g_hash_table_insert(_table.get(), const_cast<char*>(name), _values[_count].data());
        ++_count;
    }

    std::unique_ptr<GHashTable, HashTableDeleter> _table;
    std::array<std::string, 7> _values;
    size_t _count { 0 };
};

// The paths of the items that match, unlocked ones first. Locked items are unlocked (which may
// prompt the user); when none can be, the search answers userCanceledErr.
YKeychainStoreResult searchPaths(SecretService* service, const AttributeTable& attributes, std::unique_ptr<gchar*, StrvDeleter>& paths)
{
    gchar** unlocked = nullptr;
    gchar** locked = nullptr;
    ErrorSlot error;
    const bool searched = secret_service_search_for_dbus_paths_sync(service, &schema(), attributes.get(), nullptr,
        &unlocked, &locked, error.out());
    std::unique_ptr<gchar*, StrvDeleter> ownedUnlocked { unlocked };
    std::unique_ptr<gchar*, StrvDeleter> ownedLocked { locked };
    if (!searched)
        return resultForError(error.get());
    if (unlocked && unlocked[0]) {
        paths = std::move(ownedUnlocked);
        return {};
    }
    if (!locked || !locked[0])
        return { errSecItemNotFound, {} };

    gchar** nowUnlocked = nullptr;
    const gint count = secret_service_unlock_dbus_paths_sync(service, const_cast<const gchar**>(locked), nullptr,
        &nowUnlocked, error.out());
    std::unique_ptr<gchar*, StrvDeleter> ownedNowUnlocked { nowUnlocked };
    if (count < 0 || error.get())
        return resultForError(error.get());
    if (count == 0 || !nowUnlocked || !nowUnlocked[0])
        return { userCanceledErr, "the matching items are locked and were not unlocked" };
    paths = std::move(ownedNowUnlocked);
    return {};
}

std::unique_ptr<SecretValue, ValueDeleter> secretValue(std::string_view password)
{
    return std::unique_ptr<SecretValue, ValueDeleter> { secret_value_new(password.data(), static_cast<gssize>(password.size()), "text/plain") };
}

} // namespace

YK_DEFINE_CLASS(YKeychainSecretServiceItem);
YK_DEFINE_CLASS(YKeychainSecretServiceStore);

YKeychainSecretServiceStore::~YKeychainSecretServiceStore()
{
    Locker guard(_lock);
    if (_service)
        g_object_unref(_service);
}

SecretService* YKeychainSecretServiceStore::service(YKeychainStoreResult& failure)
{
    Locker guard(_lock);
    if (_service)
        return _service;
    ErrorSlot error;
    _service = secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, nullptr, error.out());
    if (!_service)
        failure = { errSecNoDefaultKeychain, error.get() ? error.get()->message : "no Secret Service" };
    return _service;
}

SecretService* YKeychainSecretServiceStore::serviceForItem(const YKeychainItem* item, const char*& path, YKeychainStoreResult& failure)
{
    if (!item || !item->isKindOfClass(YKeychainSecretServiceItem::staticClass())) {
        failure = { errSecInvalidItemRef, {} };
        return nullptr;
    }
    path = static_cast<const YKeychainSecretServiceItem*>(item)->path.c_str();
    return service(failure);
}

YKeychainStoreResult YKeychainSecretServiceStore::findInternetPassword(const YKeychainItemAttributes& attributes,
    std::string* password, Ref<YKeychainItem>* item)
{
    YKeychainStoreResult failure;
    SecretService* connection = service(failure);
    if (!connection)
        return failure;
    std::unique_ptr<gchar*, StrvDeleter> paths;
    if (auto result = searchPaths(connection, AttributeTable(attributes, false), paths); result.status != errSecSuccess)
        return result;
    const char* path = paths.get()[0];
    if (password) {
        ErrorSlot error;
        std::unique_ptr<SecretValue, ValueDeleter> value { secret_service_get_secret_for_dbus_path_sync(connection, path, nullptr, error.out()) };
        if (!value)
            return error.get() ? resultForError(error.get(), errSecItemNotFound) : YKeychainStoreResult { userCanceledErr, "the item is locked" };
        gsize length = 0;
        const gchar* bytes = secret_value_get(value.get(), &length);
        password->assign(bytes, length);
    }
    if (item)
        *item = make<YKeychainSecretServiceItem>(path);
    return {};
}

YKeychainStoreResult YKeychainSecretServiceStore::addInternetPassword(const YKeychainItemAttributes& attributes,
    std::string_view password, std::string_view label)
{
    YKeychainStoreResult failure;
    SecretService* connection = service(failure);
    if (!connection)
        return failure;
    const AttributeTable stored(attributes, true);

    // An item with exactly these attributes (locked or not) is a duplicate.
    {
        gchar** unlocked = nullptr;
        gchar** locked = nullptr;
        ErrorSlot error;
        const bool searched = secret_service_search_for_dbus_paths_sync(connection, &schema(), stored.get(), nullptr,
            &unlocked, &locked, error.out());
        std::unique_ptr<gchar*, StrvDeleter> ownedUnlocked { unlocked }, ownedLocked { locked };
        if (!searched)
            return resultForError(error.get());
        if ((unlocked && unlocked[0]) || (locked && locked[0]))
            return { errSecDuplicateItem, {} };
    }

    ErrorSlot error;
    std::unique_ptr<gchar, StringDeleter> collection { secret_service_read_alias_dbus_path_sync(connection, "default", nullptr, error.out()) };
    if (!collection)
        return { errSecNoDefaultKeychain, error.get() ? error.get()->message : "there is no default collection" };
    const gchar* collectionPaths[] = { collection.get(), nullptr };
    gchar** unlocked = nullptr;
    const gint count = secret_service_unlock_dbus_paths_sync(connection, collectionPaths, nullptr, &unlocked, error.out());
    std::unique_ptr<gchar*, StrvDeleter> ownedUnlocked { unlocked };
    if (count < 0 || error.get())
        return resultForError(error.get(), errSecNoDefaultKeychain);
    if (count == 0)
        return { userCanceledErr, "the default collection is locked and was not unlocked" };

    std::unique_ptr<GHashTable, HashTableDeleter> properties { g_hash_table_new_full(g_str_hash, g_str_equal, nullptr,
        reinterpret_cast<GDestroyNotify>(g_variant_unref)) };
    const std::string labelText(label);
    g_hash_table_insert(properties.get(), const_cast<char*>("org.freedesktop.Secret.Item.Label"),
        g_variant_ref_sink(g_variant_new_string(labelText.c_str())));
    g_hash_table_insert(properties.get(), const_cast<char*>("org.freedesktop.Secret.Item.Attributes"),
        g_variant_ref_sink(stored.variant()));
    auto value = secretValue(password);
    std::unique_ptr<gchar, StringDeleter> created { secret_service_create_item_dbus_path_sync(connection, collection.get(),
        properties.get(), value.get(), SECRET_ITEM_CREATE_NONE, nullptr, error.out()) };
    if (!created)
        return resultForError(error.get(), errSecNoDefaultKeychain);
    return {};
}

YKeychainStoreResult YKeychainSecretServiceStore::modifyItemData(YKeychainItem* item, std::string_view password)
{
    const char* path = nullptr;
    YKeychainStoreResult failure;
    SecretService* connection = serviceForItem(item, path, failure);
    if (!connection)
        return failure;
    // Changing a secret has no path-based call; the item proxy is made for this one change.
    ErrorSlot error;
    std::unique_ptr<SecretItem, ObjectDeleter> proxy { secret_item_new_for_dbus_path_sync(connection, path,
        SECRET_ITEM_NONE, nullptr, error.out()) };
    if (!proxy)
        return resultForError(error.get(), errSecInvalidItemRef);
    auto value = secretValue(password);
    if (!secret_item_set_secret_sync(proxy.get(), value.get(), nullptr, error.out()))
        return resultForError(error.get(), errSecInvalidItemRef);
    return {};
}

YKeychainStoreResult YKeychainSecretServiceStore::deleteItem(YKeychainItem* item)
{
    const char* path = nullptr;
    YKeychainStoreResult failure;
    SecretService* connection = serviceForItem(item, path, failure);
    if (!connection)
        return failure;
    ErrorSlot error;
    if (!secret_service_delete_item_dbus_path_sync(connection, path, nullptr, error.out()))
        return resultForError(error.get(), errSecInvalidItemRef);
    return {};
}

} // namespace yk
