#include <Yarkit/DataMessageDigests.h>

#include "core/CoreTestSupport.h"

#include <string>
#include <thread>
#include <vector>

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/provider.h>

namespace yk {
namespace {

using test::str;

Ref<Data> bytes(const std::string& text)
{
    return Data::dataWithString(text);
}

std::string hex(const unsigned char* bytes, size_t length)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < length; ++i) {
        text.push_back(digits[bytes[i] >> 4]);
        text.push_back(digits[bytes[i] & 0xF]);
    }
    return text;
}

// The oracles: libcrypto's one-shot calls in the application's own context, with the legacy
// digests made available there for the comparison.
void loadLegacyProvidersForOracles()
{
    static const bool loaded = OSSL_PROVIDER_load(nullptr, "default") && OSSL_PROVIDER_load(nullptr, "legacy");
    ASSERT_TRUE(loaded);
}

std::string oracleDigest(const std::string& name, const std::string& data)
{
    unsigned char result[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (!EVP_Digest(data.data(), data.size(), result, &length, EVP_get_digestbyname(name.c_str()), nullptr))
        return "(failed)";
    return hex(result, length);
}

std::string oracleHMAC(const std::string& name, const std::string& key, const std::string& data)
{
    unsigned char result[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (!HMAC(EVP_get_digestbyname(name.c_str()), key.data(), static_cast<int>(key.size()),
            reinterpret_cast<const unsigned char*>(data.data()), data.size(), result, &length))
        return "(failed)";
    return hex(result, length);
}

struct Vector {
    const char* algorithm;
    std::string key; // "-": a digest, not an HMAC
    std::string data;
    const char* expected;
};

TEST(MessageDigests, PublishedVectors)
{
    const std::string eleven16(16, '\x0b'), eleven20(20, '\x0b');
    const Vector rows[] = {
        // RFC 1321
        { "MD5", "-", "", "d41d8cd98f00b204e9800998ecf8427e" },
        { "md5", "-", "abc", "900150983cd24fb0d6963f7d28e17f72" },
        { "MD5", "-", "message digest", "f96b697d7cb7938d525a2f31aaf161d0" },
        // RFC 3174
        { "SHA1", "-", "abc", "a9993e364706816aba3e25717850c26c9cd0d89d" },
        { "sha1", "-", "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", "84983e441c3bd26ebaae4aa1f95129e5e54670f1" },
        // RFC 2202
        { "MD5", eleven16, "Hi There", "9294727a3638bb1c13f48ef8158bfc9d" },
        { "MD5", "Jefe", "what do ya want for nothing?", "750c783e6ab0b503eaa86e310a5db738" },
        { "SHA1", eleven20, "Hi There", "b617318655057264e28bc0b6fb378c8ef146be00" },
        { "SHA1", "Jefe", "what do ya want for nothing?", "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79" },
        // RFC 4231
        { "SHA256", eleven20, "Hi There", "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7" },
        { "SHA256", "Jefe", "what do ya want for nothing?", "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843" },
        { "SHA512", "Jefe", "what do ya want for nothing?",
            "164b7a7bfcf819e2e395fbe73b56e0a387bd64222e831fd610270cd7ea2505549758bf75c05a994a6d034f65f8f0e6fdcaeab1a34d4a6b4b636e070a38bce737" },
        // RFC 2195: CRAM-MD5
        { "MD5", "tanstaaftanstaaf", "<1896.697170952@postoffice.reston.mci.net>", "b913a602c7eda7a495b4e6e7334d3890" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.algorithm) + " " + row.data);
        auto name = str(row.algorithm);
        auto result = row.key == "-" ? hexDigestUsingAlgorithm(bytes(row.data).get(), name.get())
                                     : hexHMACWithKey(bytes(row.data).get(), bytes(row.key).get(), name.get());
        EXPECT_EQ(result->utf8(), row.expected);
    }
}

// Every name the table lists, aliases included, against one-shot EVP_Digest and HMAC() with
// keys around the digest's block size.
TEST(MessageDigests, EveryListedNameAgreesWithLibcrypto)
{
    loadLegacyProvidersForOracles();
    const std::string message = "The quick brown fox jumps over the lazy dog";
    auto names = messageDigestAlgorithmNames();
    ASSERT_GT(names->count(), 20u);
    for (uint32_t i = 0; i < names->count(); ++i) {
        auto name = static_cast<String*>(names->objectAtIndex(i).get());
        const std::string text = name->utf8();
        SCOPED_TRACE(text);
        const EVP_MD* md = EVP_get_digestbyname(text.c_str());
        ASSERT_TRUE(md);
        auto raw = digestUsingAlgorithm(bytes(message).get(), name);
        EXPECT_EQ(hex(raw->bytes(), raw->length()), oracleDigest(text, message));
        EXPECT_EQ(hexDigestUsingAlgorithm(bytes(message).get(), name)->length(), raw->length() * 2);

        if (EVP_MD_get_flags(md) & EVP_MD_FLAG_XOF) {
            test::expectRaise([&] { (void)HMACWithKey(bytes(message).get(), bytes("k").get(), name); },
                NSInvalidArgumentException, "Algorithm '" + text + "' cannot be used for an HMAC");
            continue;
        }
        const int block = EVP_MD_get_block_size(md);
        for (int keyLength : { 0, 1, block - 1, block, block + 1, 200 }) {
            const std::string key(static_cast<size_t>(keyLength), static_cast<char>('a' + keyLength % 26));
            EXPECT_EQ(hexHMACWithKey(bytes(message).get(), bytes(key).get(), name)->utf8(), oracleHMAC(text, key, message))
                << "key length " << keyLength;
        }
    }
}

TEST(MessageDigests, UnknownNamesRaiseShowingTheName)
{
    for (const char* name : { "", "KECCAK-KMAC-128", "SHA-257", "md5 " }) {
        test::expectRaise([&] { (void)digestUsingAlgorithm(bytes("x").get(), str(name).get()); },
            NSInvalidArgumentException, std::string("Unknown algorithm '") + name + "'");
        test::expectRaise([&] { (void)hexHMACWithKey(bytes("x").get(), bytes("k").get(), str(name).get()); },
            NSInvalidArgumentException, std::string("Unknown algorithm '") + name + "'");
    }
}

// The per-thread caches of digests and keyed HMAC contexts must never answer for the previous
// key or algorithm.
TEST(MessageDigests, CachedContextsFollowEveryChangeOfKeyAndAlgorithm)
{
    const std::string message = "cache";
    const struct {
        const char* algorithm;
        std::string key;
    } sequence[] = {
        { "SHA256", "first" }, { "SHA256", "second" }, { "SHA256", "first" }, { "SHA256", "" },
        { "SHA256", "first" }, { "SHA1", "first" }, { "SHA256", "first" }, { "MD5", "" },
        { "SHA256", "" }, { "SHA256", std::string(100, 'k') }, { "SHA256", std::string(99, 'k') },
    };
    for (int round = 0; round < 2; ++round) {
        for (const auto& step : sequence) {
            SCOPED_TRACE(std::string(step.algorithm) + " key '" + step.key + "'");
            EXPECT_EQ(hexHMACWithKey(bytes(message).get(), bytes(step.key).get(), str(step.algorithm).get())->utf8(),
                oracleHMAC(step.algorithm, step.key, message));
            EXPECT_EQ(hexDigestUsingAlgorithm(bytes(step.key).get(), str(step.algorithm).get())->utf8(),
                oracleDigest(step.algorithm, step.key));
        }
    }
}

TEST(MessageDigests, ThreadsWithTheirOwnKeys)
{
    std::vector<std::thread> threads;
    std::vector<int> failures(8, 0);
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([t, &failures] {
            const std::string key = "key of thread " + std::to_string(t);
            const char* algorithm = t % 2 ? "SHA256" : "SHA1";
            for (int i = 0; i < 300; ++i) {
                const std::string message = std::to_string(i);
                if (hexHMACWithKey(bytes(message).get(), bytes(key).get(), str(algorithm).get())->utf8()
                    != oracleHMAC(algorithm, key, message))
                    ++failures[t];
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(failures, std::vector<int>(8, 0));
}

} // namespace
} // namespace yk
