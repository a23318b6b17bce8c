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

std::string raw(const Ref<Data>& data)
{
    return std::string(reinterpret_cast<const char*>(data->bytes()), data->length());
}

// The oracles: libcrypto's one-shot calls in the application's own context (the raw bytes;
// none when they fail).
std::string oracleDigest(const std::string& name, const std::string& data)
{
    unsigned char result[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(data.data(), data.size(), result, &length, EVP_get_digestbyname(name.c_str()), nullptr);
    return std::string(reinterpret_cast<char*>(result), length);
}

std::string oracleHMAC(const std::string& name, const std::string& key, const std::string& data)
{
    unsigned char result[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    HMAC(EVP_get_digestbyname(name.c_str()), key.data(), static_cast<int>(key.size()),
        reinterpret_cast<const unsigned char*>(data.data()), data.size(), result, &length);
    return std::string(reinterpret_cast<char*>(result), length);
}

// Published vectors pin the hexadecimal form; the names are libcrypto's, in any case.
TEST(MessageDigests, PublishedVectors)
{
    const struct {
        const char* algorithm;
        std::string key; // "-": a digest, not an HMAC
        std::string data;
        const char* expected;
    } rows[] = {
        { "MD5", "-", "", "d41d8cd98f00b204e9800998ecf8427e" }, // RFC 1321
        { "md5", "-", "abc", "900150983cd24fb0d6963f7d28e17f72" },
        { "sha1", "-", "abc", "a9993e364706816aba3e25717850c26c9cd0d89d" }, // RFC 3174
        { "MD5", std::string(16, '\x0b'), "Hi There", "9294727a3638bb1c13f48ef8158bfc9d" }, // RFC 2202
        { "SHA256", "Jefe", "what do ya want for nothing?", "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843" }, // RFC 4231
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
    // The legacy digests are listed too: the oracles need them in the application's context.
    ASSERT_TRUE(OSSL_PROVIDER_load(nullptr, "default") && OSSL_PROVIDER_load(nullptr, "legacy"));
    const std::string message = "The quick brown fox jumps over the lazy dog";
    auto names = messageDigestAlgorithmNames();
    ASSERT_GT(names->count(), 20u);
    for (uint32_t i = 0; i < names->count(); ++i) {
        auto name = static_cast<String*>(names->objectAtIndex(i).get());
        const std::string text = name->utf8();
        SCOPED_TRACE(text);
        const EVP_MD* md = EVP_get_digestbyname(text.c_str());
        ASSERT_TRUE(md);
        auto digest = digestUsingAlgorithm(bytes(message).get(), name);
        EXPECT_EQ(raw(digest), oracleDigest(text, message));
        EXPECT_EQ(hexDigestUsingAlgorithm(bytes(message).get(), name)->length(), digest->length() * 2);

        if (EVP_MD_get_flags(md) & EVP_MD_FLAG_XOF) {
            test::expectRaise([&] { (void)HMACWithKey(bytes(message).get(), bytes("k").get(), name); },
                NSInvalidArgumentException, "Algorithm '" + text + "' cannot be used for an HMAC");
            continue;
        }
        const int block = EVP_MD_get_block_size(md);
        for (int keyLength : { 0, 1, block - 1, block, block + 1, 200 }) {
            const std::string key(static_cast<size_t>(keyLength), static_cast<char>('a' + keyLength % 26));
            EXPECT_EQ(raw(HMACWithKey(bytes(message).get(), bytes(key).get(), name)), oracleHMAC(text, key, message))
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
// key or algorithm, nor for another thread's.
TEST(MessageDigests, CachedContextsFollowEveryChangeOfKeyAlgorithmAndThread)
{
    const struct {
        const char* algorithm;
        std::string key;
    } sequence[] = {
        { "SHA256", "first" }, { "SHA256", "second" }, { "SHA256", "first" }, { "SHA256", "" },
        { "SHA256", "first" }, { "SHA1", "first" }, { "SHA256", "first" }, { "MD5", "" },
        { "SHA256", "" }, { "SHA256", std::string(100, 'k') }, { "SHA256", std::string(99, 'k') },
    };
    std::vector<int> failures(8, 0);
    auto runSequence = [&](int thread, int rounds) {
        const std::string message = "message of thread " + std::to_string(thread);
        for (int round = 0; round < rounds; ++round) {
            for (const auto& step : sequence) {
                const std::string key = thread % 2 ? step.key + "x" : step.key;
                failures[thread] += raw(HMACWithKey(bytes(message).get(), bytes(key).get(), str(step.algorithm).get()))
                    != oracleHMAC(step.algorithm, key, message);
                failures[thread] += raw(digestUsingAlgorithm(bytes(key).get(), str(step.algorithm).get())) != oracleDigest(step.algorithm, key);
            }
        }
    };
    runSequence(0, 2);
    std::vector<std::jthread> threads;
    for (int t = 1; t < 8; ++t)
        threads.emplace_back(runSequence, t, 30);
    threads.clear(); // joins them
    EXPECT_EQ(failures, std::vector<int>(8, 0));
}

} // namespace
} // namespace yk
