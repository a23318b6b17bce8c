#include <Yarkit/DataMessageDigests.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/SharedMutex.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/MutableArray.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/provider.h>

namespace yk {
namespace {

std::atomic<bool> digestsRegistered { false };

// The framework's own library context, with the default and legacy providers, and the digests
// fetched from it by canonical name. Lives for the whole process: fetched digests and the
// per-thread HMAC contexts refer to it.
struct DigestRegistry {
    OSSL_LIB_CTX* context { OSSL_LIB_CTX_new() };
    OSSL_PROVIDER* defaultProvider { context ? OSSL_PROVIDER_load(context, "default") : nullptr };
    // Null when the legacy provider is not installed; its digests then fail to fetch.
    OSSL_PROVIDER* legacyProvider { context ? OSSL_PROVIDER_load(context, "legacy") : nullptr };
    EVP_MAC* hmac { context ? EVP_MAC_fetch(context, OSSL_MAC_NAME_HMAC, nullptr) : nullptr };

    SharedMutex lock;
    // Keyed by the name as given, so aliases are judged once each.
    std::unordered_map<std::string, EVP_MD*> digestsByName YK_GUARDED_BY(lock);
};

DigestRegistry& registry()
{
    static auto* instance = std::make_unique<DigestRegistry>().release(); // lives for the whole process
    return *instance;
}

[[noreturn]] void raiseUnknownAlgorithm(const String* algorithm)
{
    raise(NSInvalidArgumentException, "Unknown algorithm '%@'", algorithm);
}

[[noreturn]] void raiseLibcryptoFailure(const char* operation)
{
    char message[256] = "no detail";
    if (unsigned long code = ERR_get_error())
        ERR_error_string_n(code, message, sizeof message);
    ERR_clear_error();
    raise(NSInternalInconsistencyException, "libcrypto failed in %s: %s", operation, message);
}

// The table judges the name (so "RSA-SHA256" is SHA-256, and names it does not list are
// unknown); the digest itself is fetched once from the framework's context by the canonical
// name of what the table found.
EVP_MD* fetchDigest(const std::string& name)
{
    const EVP_MD* known = EVP_get_digestbyname(name.c_str());
    if (!known)
        return nullptr;
    DigestRegistry& state = registry();
    if (!state.context)
        return nullptr;
    EVP_MD* fetched = EVP_MD_fetch(state.context, OBJ_nid2sn(EVP_MD_get_type(known)), nullptr);
    if (!fetched)
        fetched = EVP_MD_fetch(state.context, EVP_MD_get0_name(known), nullptr);
    ERR_clear_error();
    return fetched;
}

// The digest for an algorithm name, or raises. A one-entry cache per thread answers the
// common case of one name used again and again without touching the shared table.
const EVP_MD* digestNamed(const String* algorithm)
{
    if (!digestsRegistered.load(std::memory_order_acquire) || !algorithm)
        raiseUnknownAlgorithm(algorithm);
    thread_local std::u16string lastName;
    thread_local const EVP_MD* lastDigest = nullptr;
    if (lastDigest && algorithm->units() == lastName)
        return lastDigest;

    const std::string name = algorithm->utf8();
    DigestRegistry& state = registry();
    EVP_MD* digest = nullptr;
    {
        SharedLocker reader(state.lock);
        if (auto found = state.digestsByName.find(name); found != state.digestsByName.end())
            digest = found->second;
    }
    if (!digest) {
        EVP_MD* fetched = fetchDigest(name);
        if (!fetched)
            raiseUnknownAlgorithm(algorithm);
        Locker writer(state.lock);
        auto [entry, inserted] = state.digestsByName.emplace(name, fetched);
        if (!inserted)
            EVP_MD_free(fetched);
        digest = entry->second;
    }
    lastName = algorithm->units();
    lastDigest = digest;
    return digest;
}

struct DigestContextDeleter {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

struct MACContextDeleter {
    void operator()(EVP_MAC_CTX* context) const { EVP_MAC_CTX_free(context); }
};

// One digest context per thread, reinitialised for each digest.
EVP_MD_CTX* threadDigestContext()
{
    thread_local std::unique_ptr<EVP_MD_CTX, DigestContextDeleter> context { EVP_MD_CTX_new() };
    if (!context)
        raiseLibcryptoFailure("EVP_MD_CTX_new");
    return context.get();
}

// An HMAC context of this thread for one digest, with the key it was last given.
struct HMACSlot {
    std::unique_ptr<EVP_MAC_CTX, MACContextDeleter> context;
    std::vector<uint8_t> key;
    bool keyed { false };
};

// Readies this thread's HMAC context for the digest and key. The key is given to libcrypto only
// when it differs from the last one: a null key to EVP_MAC_init keeps the previous key, so the
// empty key is passed as a non-null pointer of length 0.
EVP_MAC_CTX* threadHMACContext(const EVP_MD* digest, const String* algorithm, std::span<const uint8_t> key)
{
    if (EVP_MD_get_flags(digest) & EVP_MD_FLAG_XOF)
        raise(NSInvalidArgumentException, "Algorithm '%@' cannot be used for an HMAC", algorithm);
    thread_local std::unordered_map<const EVP_MD*, HMACSlot> slots;
    HMACSlot& slot = slots[digest];
    if (!slot.context) {
        DigestRegistry& state = registry();
        if (!state.hmac)
            raiseLibcryptoFailure("EVP_MAC_fetch");
        std::unique_ptr<EVP_MAC_CTX, MACContextDeleter> context { EVP_MAC_CTX_new(state.hmac) };
        if (!context)
            raiseLibcryptoFailure("EVP_MAC_CTX_new");
        OSSL_PARAM parameters[] = {
            OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, const_cast<char*>(EVP_MD_get0_name(digest)), 0),
            OSSL_PARAM_construct_end(),
        };
        if (!EVP_MAC_CTX_set_params(context.get(), parameters)) {
            ERR_clear_error();
            raise(NSInvalidArgumentException, "Algorithm '%@' cannot be used for an HMAC", algorithm);
        }
        slot.context = std::move(context);
    }

    static const uint8_t emptyKey[1] = { 0 };
    const bool sameKey = slot.keyed && std::equal(key.begin(), key.end(), slot.key.begin(), slot.key.end());
    const uint8_t* keyBytes = sameKey ? nullptr : (key.empty() ? emptyKey : key.data());
    slot.keyed = false;
    if (!EVP_MAC_init(slot.context.get(), keyBytes, sameKey ? 0 : key.size(), nullptr))
        raiseLibcryptoFailure("EVP_MAC_init");
    if (!sameKey)
        slot.key.assign(key.begin(), key.end());
    slot.keyed = true;
    return slot.context.get();
}

std::span<const uint8_t> bytesOf(const Data* data)
{
    return data ? data->span() : std::span<const uint8_t> {};
}

// Two lower-case hex digits per byte, in order.
Ref<String> hexString(const Data* bytes)
{
    static const char16_t digits[] = u"0123456789abcdef";
    std::u16string text;
    text.reserve(bytes->length() * 2);
    for (uint8_t byte : bytes->span()) {
        text.push_back(digits[byte >> 4]);
        text.push_back(digits[byte & 0xF]);
    }
    return make<String>(std::move(text));
}

void postLoad(Class*)
{
    initializeYarkitMessageDigests();
}

} // namespace

YK_DEFINE_CATEGORY(Data, "YarkitMessageDigests", [](MethodListBuilder& c) {
    c.classMethod("postLoad", &postLoad);
});

void initializeYarkitMessageDigests()
{
    if (digestsRegistered.load(std::memory_order_acquire))
        return;
    OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
    registry();
    digestsRegistered.store(true, std::memory_order_release);
}

Ref<Data> digestUsingAlgorithm(const Data* data, const String* algorithm)
{
    const EVP_MD* digest = digestNamed(algorithm);
    EVP_MD_CTX* context = threadDigestContext();
    const auto bytes = bytesOf(data);
    uint8_t result[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (!EVP_DigestInit_ex(context, digest, nullptr))
        raiseLibcryptoFailure("EVP_DigestInit_ex");
    if (!EVP_DigestUpdate(context, bytes.data(), bytes.size()))
        raiseLibcryptoFailure("EVP_DigestUpdate");
    if (!EVP_DigestFinal_ex(context, result, &length))
        raiseLibcryptoFailure("EVP_DigestFinal_ex");
    return Data::dataWithBytes(result, length);
}

Ref<String> hexDigestUsingAlgorithm(const Data* data, const String* algorithm)
{
    return hexString(digestUsingAlgorithm(data, algorithm).get());
}

Ref<Data> HMACWithKey(const Data* data, const Data* key, const String* algorithm)
{
    const EVP_MD* digest = digestNamed(algorithm);
    EVP_MAC_CTX* context = threadHMACContext(digest, algorithm, bytesOf(key));
    const auto bytes = bytesOf(data);
    uint8_t result[EVP_MAX_MD_SIZE];
    size_t length = 0;
    if (!EVP_MAC_update(context, bytes.data(), bytes.size()))
        raiseLibcryptoFailure("EVP_MAC_update");
    if (!EVP_MAC_final(context, result, &length, sizeof result))
        raiseLibcryptoFailure("EVP_MAC_final");
    return Data::dataWithBytes(result, static_cast<uint32_t>(length));
}

Ref<String> hexHMACWithKey(const Data* data, const Data* key, const String* algorithm)
{
    return hexString(HMACWithKey(data, key, algorithm).get());
}

Ref<Array> messageDigestAlgorithmNames()
{
    initializeYarkitMessageDigests();
    std::vector<std::string> names;
    EVP_MD_do_all_sorted(
        [](const EVP_MD*, const char* from, const char*, void* argument) {
            if (from)
                static_cast<std::vector<std::string>*>(argument)->emplace_back(from);
        },
        &names);
    auto array = MutableArray::arrayWithCapacity(static_cast<uint32_t>(names.size()));
    for (const auto& name : names)
        array->addObject(String::withUTF8(name));
    return array;
}

} // namespace yk
