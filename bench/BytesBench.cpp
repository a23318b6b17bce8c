// The bytes functions side by side with their peers: base64 against OpenSSL's EVP encoder
// and decoder, y_memmem against glibc's memmem. Each case runs as <case>/yarkit and
// <case>/<peer>; after the run a table gives how many times faster yarkit is.
#include <Yarkit/Base64.h>
#include <Yarkit/MemoryFunctions.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/RatioReporter.h"
#include <openssl/evp.h>

#include "bench/RatioReporter.h"

namespace {

constexpr size_t DataSize = 1 << 20;

const std::vector<uint8_t>& randomData()
{
    static const std::vector<uint8_t> data = [] {
        std::vector<uint8_t> bytes(DataSize);
        std::mt19937 rng(1);
        for (auto& b : bytes)
            b = static_cast<uint8_t>(rng());
        return bytes;
    }();
    return data;
}

std::string encoded(int lineLength)
{
    const auto& data = randomData();
    std::string text(4 * (data.size() + 2) / 3 + 2 * data.size() / 57 + 8, '\0');
    text.resize(static_cast<size_t>(yk_encode_base64(text.data(), data.data(), static_cast<uint32_t>(data.size()), lineLength)));
    return text;
}

// Folded mail text: CR LF lines of 76 characters, each continuation starting with a space.
const std::string& foldedText()
{
    static const std::string text = [] {
        std::string lines = encoded(76), folded;
        for (char c : lines) {
            folded += c;
            if (c == '\n')
                folded += ' ';
        }
        return folded;
    }();
    return text;
}

const std::string& unbrokenText()
{
    static const std::string text = encoded(0);
    return text;
}

void encodeYarkit(benchmark::State& state)
{
    const auto& data = randomData();
    std::string out(4 * (data.size() + 2) / 3 + 2 * data.size() / 57 + 8, '\0');
    for (auto _ : state)
        benchmark::DoNotOptimize(yk_encode_base64(out.data(), data.data(), static_cast<uint32_t>(data.size()), 76));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}

void encodeOpenSSL(benchmark::State& state)
{
    const auto& data = randomData();
    std::string out(2 * data.size() + 1024, '\0');
    EVP_ENCODE_CTX* context = EVP_ENCODE_CTX_new();
    for (auto _ : state) {
        int length = 0, total = 0;
        EVP_EncodeInit(context);
        EVP_EncodeUpdate(context, reinterpret_cast<unsigned char*>(out.data()), &length, data.data(), static_cast<int>(data.size()));
        total += length;
        EVP_EncodeFinal(context, reinterpret_cast<unsigned char*>(out.data()) + total, &length);
        benchmark::DoNotOptimize(total + length);
    }
    EVP_ENCODE_CTX_free(context);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}

void decodeYarkit(benchmark::State& state, const std::string& text)
{
    std::vector<uint8_t> out(text.size() * 3 / 4);
    for (auto _ : state)
        benchmark::DoNotOptimize(yk_decode_base64(out.data(), text.data(), static_cast<uint32_t>(text.size())));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void decodeFoldedYarkit(benchmark::State& state) { decodeYarkit(state, foldedText()); }
void decodeUnbrokenYarkit(benchmark::State& state) { decodeYarkit(state, unbrokenText()); }

void decodeFoldedOpenSSL(benchmark::State& state)
{
    const auto& text = foldedText();
    std::vector<unsigned char> out(text.size());
    EVP_ENCODE_CTX* context = EVP_ENCODE_CTX_new();
    for (auto _ : state) {
        int length = 0, total = 0;
        EVP_DecodeInit(context);
        if (EVP_DecodeUpdate(context, out.data(), &length, reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size())) < 0)
            state.SkipWithError("EVP_DecodeUpdate failed");
        total += length;
        EVP_DecodeFinal(context, out.data() + total, &length);
        benchmark::DoNotOptimize(total + length);
    }
    EVP_ENCODE_CTX_free(context);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void decodeUnbrokenOpenSSL(benchmark::State& state)
{
    const auto& text = unbrokenText();
    std::vector<unsigned char> out(text.size());
    for (auto _ : state)
        benchmark::DoNotOptimize(EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size())));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

// Haystacks of 64 KiB with the needle only at the very end.
struct SearchCase {
    std::string haystack;
    std::string needle;
};

SearchCase makeSearchCase(const std::string& kind)
{
    constexpr size_t size = 64 * 1024;
    SearchCase c;
    if (kind == "text") {
        const char* words[] = { "the", "message", "server", "reply", "header", "quoted", "printable", "encoding", "and", "of",
            "mailbox", "folder", "subject", "date", "received", "from", "to", "with", "content", "type", "text", "plain" };
        std::mt19937 rng(3);
        while (c.haystack.size() < size) {
            c.haystack += words[rng() % std::size(words)];
            c.haystack += rng() % 9 ? " " : ".\r\n";
        }
        c.needle = "content-transfer-encoding";
    } else if (kind == "rare_first_byte") {
        c.haystack = makeSearchCase("text").haystack;
        c.needle = "Xref: news.example";
    } else if (kind == "periodic") {
        // Every position passes a first-and-last-byte test and fails in the middle.
        c.haystack.assign(size, 'a');
        c.needle = std::string(16, 'a') + "b" + std::string(16, 'a');
    } else if (kind == "tail") {
        // Every position passes a first-byte test and fails at the last byte.
        c.haystack.assign(size, 'a');
        c.needle = std::string(31, 'a') + "b";
    } else {
        // Every other position passes any two-byte test and fails late: y_memmem hands over to
        // glibc's linear search.
        for (size_t i = 0; i < size / 2; ++i)
            c.haystack += "ab";
        for (int i = 0; i < 16; ++i)
            c.needle += "ab";
        c.needle += "bb";
    }
    // Cut on an even length so the "abab" text cannot complete an occurrence early.
    c.haystack.resize((size - c.needle.size()) & ~size_t { 1 });
    c.haystack += c.needle;
    return c;
}

template<bool yarkit>
void search(benchmark::State& state, const std::string& kind)
{
    SearchCase c = makeSearchCase(kind);
    for (auto _ : state) {
        const void* found = yarkit ? y_memmem(c.haystack.data(), c.haystack.size(), c.needle.data(), c.needle.size())
                                   : memmem(c.haystack.data(), c.haystack.size(), c.needle.data(), c.needle.size());
        if (found != c.haystack.data() + c.haystack.size() - c.needle.size())
            state.SkipWithError("wrong position");
        benchmark::DoNotOptimize(found);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * c.haystack.size()));
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::RegisterBenchmark("base64_encode_crlf/yarkit", encodeYarkit);
    benchmark::RegisterBenchmark("base64_encode_crlf/EVP_EncodeUpdate", encodeOpenSSL);
    benchmark::RegisterBenchmark("base64_decode_folded/yarkit", decodeFoldedYarkit);
    benchmark::RegisterBenchmark("base64_decode_folded/EVP_DecodeUpdate", decodeFoldedOpenSSL);
    benchmark::RegisterBenchmark("base64_decode_unbroken/yarkit", decodeUnbrokenYarkit);
    benchmark::RegisterBenchmark("base64_decode_unbroken/EVP_DecodeBlock", decodeUnbrokenOpenSSL);
    const char* kinds[] = { "text", "rare_first_byte", "periodic", "tail", "fallback" };
    for (const char* kind : kinds) {
        std::string name = std::string("memmem_") + kind;
        benchmark::RegisterBenchmark((name + "/yarkit").c_str(), search<true>, std::string(kind));
        benchmark::RegisterBenchmark((name + "/glibc").c_str(), search<false>, std::string(kind));
    }

    return yk::bench::runAndPrintRatios(argc, argv,
        { { "base64_encode_crlf", "EVP_EncodeUpdate" }, { "base64_decode_folded", "EVP_DecodeUpdate" },
            { "base64_decode_unbroken", "EVP_DecodeBlock" }, { "memmem_text", "glibc" }, { "memmem_rare_first_byte", "glibc" },
            { "memmem_periodic", "glibc" }, { "memmem_tail", "glibc" }, { "memmem_fallback", "glibc" } },
        { { "base64_encode_crlf", 2 }, { "base64_decode_folded", 5 }, { "base64_decode_unbroken", 1 }, { "memmem_text", 1 },
            { "memmem_rare_first_byte", 1 }, { "memmem_periodic", 1 }, { "memmem_tail", 1 }, { "memmem_fallback", 1 } });
}
