// Digests, HMACs and keychain finds side by side with libcrypto and libsecret used directly.
// Each case runs as <case>/yarkit and <case>/<peer>; a table of ratios follows the run. The
// keychain cases run only on the private keyring of scripts/with-keyring:
//     scripts/with-keyring build-bench/bench/credentials_bench
#include <Yarkit/DataMessageDigests.h>
#include <Yarkit/YKeychain.h>
#include <Yarkit/YKeychainSecretServiceStore.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#define SECRET_API_SUBJECT_TO_CHANGE
#include <libsecret/secret.h>

#include "bench/RatioReporter.h"

namespace {

std::vector<uint8_t> randomBytes(size_t size, unsigned seed)
{
    std::vector<uint8_t> bytes(size);
    std::mt19937 rng(seed);
    for (auto& byte : bytes)
        byte = static_cast<uint8_t>(rng());
    return bytes;
}

const std::vector<uint8_t>& large()
{
    static const auto bytes = randomBytes(16 << 20, 1);
    return bytes;
}

const std::vector<uint8_t>& small()
{
    static const auto bytes = randomBytes(64, 2);
    return bytes;
}

yk::Ref<yk::Data> borrowed(const std::vector<uint8_t>& bytes)
{
    return yk::Data::dataWithBytesNoCopy(const_cast<uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()), false);
}

void digestYarkit(benchmark::State& state, const char* name, const std::vector<uint8_t>* input)
{
    auto data = borrowed(*input);
    auto algorithm = yk::String::withUTF8(name);
    for (auto _ : state)
        benchmark::DoNotOptimize(yk::digestUsingAlgorithm(data.get(), algorithm.get()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input->size()));
}

// The fastest direct use: a fetched digest and one context, reused.
void digestReusedContext(benchmark::State& state, const char* name, const std::vector<uint8_t>* input)
{
    EVP_MD* md = EVP_MD_fetch(nullptr, name, nullptr);
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    for (auto _ : state) {
        EVP_DigestInit_ex(context, md, nullptr);
        EVP_DigestUpdate(context, input->data(), input->size());
        EVP_DigestFinal_ex(context, out, &length);
        benchmark::DoNotOptimize(out);
    }
    EVP_MD_CTX_free(context);
    EVP_MD_free(md);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input->size()));
}

void digestOneShotPrefetched(benchmark::State& state, const char* name, const std::vector<uint8_t>* input)
{
    EVP_MD* md = EVP_MD_fetch(nullptr, name, nullptr);
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    for (auto _ : state) {
        EVP_Digest(input->data(), input->size(), out, &length, md, nullptr);
        benchmark::DoNotOptimize(out);
    }
    EVP_MD_free(md);
}

// What the original framework did per call: look the name up, then digest.
void digestLookupPerCall(benchmark::State& state, const char* name, const std::vector<uint8_t>* input)
{
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    for (auto _ : state) {
        EVP_DigestInit(context, EVP_get_digestbyname(name));
        EVP_DigestUpdate(context, input->data(), input->size());
        EVP_DigestFinal(context, out, &length);
        benchmark::DoNotOptimize(out);
    }
    EVP_MD_CTX_free(context);
}

const std::vector<uint8_t> keyA = randomBytes(32, 3);
const std::vector<uint8_t> keyB = randomBytes(32, 4);

void hmacYarkit(benchmark::State& state, bool alternate)
{
    auto data = borrowed(small());
    auto a = borrowed(keyA), b = borrowed(keyB);
    auto algorithm = yk::String::withUTF8("SHA256");
    bool second = false;
    for (auto _ : state) {
        benchmark::DoNotOptimize(yk::HMACWithKey(data.get(), second ? b.get() : a.get(), algorithm.get()));
        second = alternate && !second;
    }
}

void hmacOneShot(benchmark::State& state, bool alternate)
{
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    bool second = false;
    for (auto _ : state) {
        const auto& key = second ? keyB : keyA;
        HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), small().data(), small().size(), out, &length);
        benchmark::DoNotOptimize(out);
        second = alternate && !second;
    }
}

const SecretSchema& schema()
{
    static const SecretSchema schema = { yk::YKeychainSecretServiceStore::schemaName, SECRET_SCHEMA_NONE,
        { { "server", SECRET_SCHEMA_ATTRIBUTE_STRING }, { "account", SECRET_SCHEMA_ATTRIBUTE_STRING },
            { "path", SECRET_SCHEMA_ATTRIBUTE_STRING }, { "protocol", SECRET_SCHEMA_ATTRIBUTE_INTEGER },
            { nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING } },
        0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr };
    return schema;
}

void keychainFindYarkit(benchmark::State& state)
{
    auto url = yk::URL::URLWithString("imap://tim@bench.example/");
    for (auto _ : state)
        benchmark::DoNotOptimize(yk::YKeychain::defaultKeychain()->internetPasswordForURL(url.get()));
}

// The same query through libsecret's own convenience call.
void keychainFindLibsecret(benchmark::State& state)
{
    for (auto _ : state) {
        gchar* password = secret_password_lookup_sync(&schema(), nullptr, nullptr, "server", "bench.example", "account", "tim",
            "path", "/", "protocol", 0x696D6170, nullptr);
        benchmark::DoNotOptimize(password);
        secret_password_free(password);
    }
}

} // namespace

int main(int argc, char** argv)
{
    for (const char* name : { "SHA256", "SHA1", "MD5" }) {
        const std::string big = std::string("digest_16MiB_") + name;
        benchmark::RegisterBenchmark((big + "/yarkit").c_str(), digestYarkit, name, &large());
        benchmark::RegisterBenchmark((big + "/EVP_reused").c_str(), digestReusedContext, name, &large());
    }
    benchmark::RegisterBenchmark("digest_64B_SHA256/yarkit", digestYarkit, "SHA256", &small());
    benchmark::RegisterBenchmark("digest_64B_SHA256/EVP_Digest", digestOneShotPrefetched, "SHA256", &small());
    benchmark::RegisterBenchmark("digest_64B_SHA256/get_by_name", digestLookupPerCall, "SHA256", &small());
    benchmark::RegisterBenchmark("hmac_64B_same_key/yarkit", hmacYarkit, false);
    benchmark::RegisterBenchmark("hmac_64B_same_key/HMAC", hmacOneShot, false);
    benchmark::RegisterBenchmark("hmac_64B_alternating_keys/yarkit", hmacYarkit, true);
    benchmark::RegisterBenchmark("hmac_64B_alternating_keys/HMAC", hmacOneShot, true);

    const char* keyring = std::getenv("YK_PRIVATE_KEYRING");
    const bool withKeyring = keyring && std::string(keyring) == "running";
    if (withKeyring) {
        yk::YKeychain::defaultKeychain()->setInternetPassword(yk::String::withUTF8("benchmark").get(),
            yk::URL::URLWithString("imap://tim@bench.example/").get());
        benchmark::RegisterBenchmark("keychain_find/yarkit", keychainFindYarkit);
        benchmark::RegisterBenchmark("keychain_find/secret_password_lookup", keychainFindLibsecret);
    }

    // Goals: at least these speed-ups (a find at most 1.2 times libsecret's time is 1/1.2).
    const int status = yk::bench::runAndPrintRatios(argc, argv, { { "digest_16MiB_SHA256", "EVP_reused" }, { "digest_16MiB_SHA1", "EVP_reused" },
                             { "digest_16MiB_MD5", "EVP_reused" }, { "digest_64B_SHA256", "EVP_Digest" },
                             { "digest_64B_SHA256", "get_by_name" }, { "hmac_64B_same_key", "HMAC" },
                             { "hmac_64B_alternating_keys", "HMAC" }, { "keychain_find", "secret_password_lookup" } },
        { { "digest_16MiB_SHA256", 0.95 }, { "digest_16MiB_SHA1", 0.95 }, { "digest_16MiB_MD5", 0.95 }, { "digest_64B_SHA256", 0.8 },
            { "hmac_64B_same_key", 2 }, { "hmac_64B_alternating_keys", 1 }, { "keychain_find", 1 / 1.2 } });
    if (!withKeyring)
        std::printf("\n(keychain cases skipped: run under scripts/with-keyring)\n");
    return status;
}
