// Encoding detection against uchardet, and UTF-8 repair against GLib's g_utf8_make_valid, on
// 1 MiB of Japanese text in each encoding. Each pair runs side by side in one program; compare
// the bytes-per-second columns.

#include <Yarkit/ByteSequenceRepair.h>
#include <Yarkit/JapaneseEncodingDetection.h>

#include <benchmark/benchmark.h>
#include <glib.h>
#include <uchardet/uchardet.h>
#include <unicode/ucnv.h>

#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>

namespace {

constexpr size_t textSize = 1 << 20;

const char* const paragraphs[] = {
    "日本語の電子メールは、長いあいだ ISO-2022-JP で送られてきました。"
    "いまでは UTF-8 が主流ですが、古いメールや掲示板のログには Shift_JIS や EUC-JP が残っています。",
    "吾輩は猫である。名前はまだ無い。どこで生れたかとんと見当がつかぬ。"
    "何でも薄暗いじめじめした所でニャーニャー泣いていた事だけは記憶している。",
    "会議の議事録を添付いたします。ご確認のほど、よろしくお願い申し上げます。"
    "次回の打ち合わせは来週の火曜日、午後三時から第二会議室で行います。",
    "カタカナ語の多い文章：コンピュータ、ネットワーク、サーバー、メールボックス、パスワード。",
    "東京都千代田区丸の内一丁目。電話番号は〇三の一二三四の五六七八です。\r\n",
};

const char* const romaji[] = {
    "Nihongo no denshi meeru wa, nagai aida ISO-2022-JP de okurarete kimashita. ",
    "Wagahai wa neko de aru. Namae wa mada nai. Doko de umareta ka tonto kentou ga tsukanu. ",
    "Kaigi no gijiroku wo tenpu itashimasu. Go-kakunin no hodo, yoroshiku onegai moushiagemasu.\r\n",
};

std::string convert(const std::string& utf8, const char* converterName)
{
    UErrorCode status = U_ZERO_ERROR;
    std::string out(utf8.size() * 2 + 64, '\0');
    int32_t length = ucnv_convert(converterName, "UTF-8", out.data(),
        static_cast<int32_t>(out.size()), utf8.data(), static_cast<int32_t>(utf8.size()), &status);
    if (U_FAILURE(status))
        throw std::runtime_error(std::string("ICU cannot convert to ") + converterName);
    out.resize(static_cast<size_t>(length));
    return out;
}

// Whole paragraphs, converted one by one, until the text reaches 1 MiB.
std::string japaneseText(const char* converterName)
{
    std::string text;
    for (size_t n = 0; text.size() < textSize; ++n) {
        const char* paragraph = paragraphs[n % std::size(paragraphs)];
        text += converterName ? convert(paragraph, converterName) : paragraph;
    }
    return text;
}

std::string asciiText()
{
    std::string text;
    for (size_t n = 0; text.size() < textSize; ++n)
        text += romaji[n % std::size(romaji)];
    return text;
}

// Valid UTF-8 with one sequence cut short every 4 KiB or so.
std::string lightlyBrokenUTF8()
{
    std::string text = japaneseText(nullptr);
    for (size_t at = 4096; at + 3 < text.size(); at += 4096) {
        while ((static_cast<unsigned char>(text[at]) & 0xC0) != 0xC0)
            ++at;
        text.erase(at + 1, 1);
    }
    return text;
}

const std::string& sample(const std::string& name)
{
    static const std::map<std::string, std::string> samples = {
        { "UTF-8", japaneseText(nullptr) },
        { "Shift_JIS", japaneseText("Shift_JIS") },
        { "EUC-JP", japaneseText("EUC-JP") },
        { "ISO-2022-JP", japaneseText("ISO_2022,locale=ja,version=0") },
        { "ASCII", asciiText() },
        { "broken UTF-8", lightlyBrokenUTF8() },
    };
    return samples.at(name);
}

void detectWithYarkit(benchmark::State& state, const char* name, CFStringEncoding expected)
{
    const std::string& text = sample(name);
    for (auto _ : state) {
        CFStringEncoding encoding = YKDetectJapaneseEncoding(
            reinterpret_cast<const unsigned char*>(text.data()), static_cast<int32_t>(text.size()),
            false, false);
        benchmark::DoNotOptimize(encoding);
        if (encoding != expected)
            state.SkipWithError("detected the wrong encoding");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void detectWithUchardet(benchmark::State& state, const char* name)
{
    const std::string& text = sample(name);
    uchardet_t detector = uchardet_new();
    for (auto _ : state) {
        uchardet_reset(detector);
        uchardet_handle_data(detector, text.data(), text.size());
        uchardet_data_end(detector);
        benchmark::DoNotOptimize(uchardet_get_charset(detector));
    }
    state.SetLabel(uchardet_get_charset(detector));
    uchardet_delete(detector);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void repairWithYarkit(benchmark::State& state, const char* name)
{
    const std::string& text = sample(name);
    for (auto _ : state) {
        unsigned char* out = nullptr;
        uint32_t outLength = 0;
        bool repaired = YKFixUTF8Bytes(reinterpret_cast<const unsigned char*>(text.data()),
            static_cast<uint32_t>(text.size()), &out, &outLength);
        benchmark::DoNotOptimize(repaired);
        benchmark::DoNotOptimize(out);
        std::free(out);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void repairWithGLib(benchmark::State& state, const char* name)
{
    const std::string& text = sample(name);
    for (auto _ : state) {
        gchar* valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
        benchmark::DoNotOptimize(valid);
        g_free(valid);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

const struct {
    const char* name;
    CFStringEncoding expected;
} detectionSamples[] = {
    { "UTF-8", kCFStringEncodingUTF8 },
    { "Shift_JIS", kCFStringEncodingShiftJIS },
    { "EUC-JP", kCFStringEncodingEUC_JP },
    { "ISO-2022-JP", kCFStringEncodingISO_2022_JP },
    { "ASCII", kCFStringEncodingASCII },
};

int registerBenchmarks()
{
    for (const auto& s : detectionSamples) {
        benchmark::RegisterBenchmark((std::string("Detect/Yarkit/") + s.name).c_str(),
            detectWithYarkit, s.name, s.expected);
        benchmark::RegisterBenchmark((std::string("Detect/uchardet/") + s.name).c_str(),
            detectWithUchardet, s.name);
    }
    for (const char* name : { "UTF-8", "broken UTF-8" }) {
        benchmark::RegisterBenchmark((std::string("FixUTF8/Yarkit/") + name).c_str(),
            repairWithYarkit, name);
        benchmark::RegisterBenchmark((std::string("FixUTF8/GLib/") + name).c_str(),
            repairWithGLib, name);
    }
    return 0;
}

const int registered = registerBenchmarks();

} // namespace

BENCHMARK_MAIN();
