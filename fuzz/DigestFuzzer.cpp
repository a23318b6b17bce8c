// Digests and HMACs against libcrypto's one-shot EVP_Digest and HMAC(), with names and keys
// rotating from call to call so the per-thread caches are exercised: the first byte picks the
// name, the second splits the rest into key and message.
#include <Yarkit/DataMessageDigests.h>
#include <Yarkit/core/values/Exception.h>

#include <cstdlib>
#include <cstring>

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/provider.h>

namespace {

const char* const names[] = { "MD5", "sha1", "SHA-256", "SHA224", "sha384", "SHA512", "SHA512-256", "SHA3-256",
    "sha3-512", "RSA-SHA256", "ssl3-md5", "md5-sha1", "BLAKE2b512", "blake2s256", "SM3", "RIPEMD160", "MD4",
    "whirlpool", "SHAKE128", "shake256" };

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // The oracle's context needs the legacy digests too.
    OSSL_PROVIDER_load(nullptr, "default");
    OSSL_PROVIDER_load(nullptr, "legacy");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const char* name = names[data[0] % (sizeof names / sizeof names[0])];
    const size_t keyLength = std::min<size_t>(data[1], size - 2);
    const uint8_t* key = data + 2;
    const uint8_t* message = key + keyLength;
    const size_t messageLength = size - 2 - keyLength;

    const EVP_MD* md = EVP_get_digestbyname(name);
    auto algorithm = yk::String::withUTF8(name);
    auto messageData = yk::Data::dataWithBytes(message, static_cast<uint32_t>(messageLength));
    auto keyData = yk::Data::dataWithBytes(key, static_cast<uint32_t>(keyLength));

    unsigned char expected[EVP_MAX_MD_SIZE];
    unsigned int expectedLength = 0;
    if (!EVP_Digest(message, messageLength, expected, &expectedLength, md, nullptr))
        std::abort();
    auto digest = yk::digestUsingAlgorithm(messageData.get(), algorithm.get());
    if (digest->length() != expectedLength || std::memcmp(digest->bytes(), expected, expectedLength) != 0)
        std::abort();

    if (EVP_MD_get_flags(md) & EVP_MD_FLAG_XOF) {
        try {
            (void)yk::HMACWithKey(messageData.get(), keyData.get(), algorithm.get());
            std::abort();
        } catch (const yk::Exception&) {
        }
        return 0;
    }
    if (!HMAC(md, key, static_cast<int>(keyLength), message, messageLength, expected, &expectedLength))
        std::abort();
    auto hmac = yk::HMACWithKey(messageData.get(), keyData.get(), algorithm.get());
    if (hmac->length() != expectedLength || std::memcmp(hmac->bytes(), expected, expectedLength) != 0)
        std::abort();
    return 0;
}
