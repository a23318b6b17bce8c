// UTF-7, IDN, regular expressions and character-set membership, each beside its peer in one
// program: ICU's converters for UTF-7, ICU's uidna (and GLib, libidn2) for host names,
// Oniguruma called directly (and ICU's uregex, PCRE2-16) for searches, and a frozen
// icu::UnicodeSet for membership. Compare the time or bytes-per-second columns of each pair.

#include <Yarkit/CharacterSetAdditions.h>
#include <Yarkit/StringIDN.h>
#include <Yarkit/StringRegex.h>
#include <Yarkit/StringUTF7.h>
#include <Yarkit/core/values/Array.h>

#include <benchmark/benchmark.h>
#include <glib.h>
#include <idn2.h>
#define ONIG_ESCAPE_UCHAR_COLLISION
#include <oniguruma.h>
#include <unicode/ucnv.h>
#include <unicode/uidna.h>
#include <unicode/uniset.h>
#include <unicode/uregex.h>
#define PCRE2_CODE_UNIT_WIDTH 16
#include <pcre2.h>

#include <bit>
#include <memory>
#include <string>

using namespace yk;

namespace {

constexpr size_t textSize = 1 << 20;

// A Japanese mail body of about 1 MiB of UTF-16, with line breaks and some ASCII.
std::u16string japaneseBody()
{
    const std::u16string paragraph = u"会議の議事録を添付いたします。ご確認のほど、よろしくお願い申し上げます。"
                                     u"次回の打ち合わせは来週の火曜日 15:00 から第二会議室 (Room 2) で行います。\r\n";
    std::u16string text;
    while (text.size() * 2 < textSize)
        text += paragraph;
    return text;
}

// An IMAP mailbox list of about 1 MiB: mostly ASCII names with Japanese folders among them.
std::u16string mailboxList()
{
    const std::u16string names[] = { u"INBOX", u"Inbox/送信済み", u"Archive/2026/Project & Notes", u"下書き", u"Lists/yarkit-dev",
        u"Trash", u"お客様/株式会社サンプル" };
    std::u16string text;
    for (size_t i = 0; text.size() * 2 < textSize; ++i)
        text += names[i % std::size(names)] + u"\r\n";
    return text;
}

const std::u16string& input(int which)
{
    static const std::u16string body = japaneseBody(), list = mailboxList();
    return which ? list : body;
}

// ---- UTF-7 ----

struct ConverterClose {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterClose>;

Converter openConverter(bool imap)
{
    UErrorCode status = U_ZERO_ERROR;
    return Converter(ucnv_open(imap ? "IMAP-mailbox-name" : "UTF-7", &status));
}

std::string icuEncode(UConverter* converter, const std::u16string& text)
{
    std::string out(text.size() * 5 + 16, '\0');
    UErrorCode status = U_ZERO_ERROR;
    out.resize(static_cast<size_t>(ucnv_fromUChars(converter, out.data(), static_cast<int32_t>(out.size()), text.data(),
        static_cast<int32_t>(text.size()), &status)));
    return out;
}

void UTF7EncodeYarkit(benchmark::State& state)
{
    const bool imap = state.range(1);
    auto string = make<String>(input(static_cast<int>(state.range(0))));
    for (auto _ : state)
        benchmark::DoNotOptimize(imap ? encodeModifiedUTF7Data(string.get()) : encodeUTF7Data(string.get()));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(string->length()) * 2);
}

void UTF7EncodeICU(benchmark::State& state)
{
    auto converter = openConverter(state.range(1));
    const std::u16string& text = input(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(icuEncode(converter.get(), text));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()) * 2);
}

void UTF7DecodeYarkit(benchmark::State& state)
{
    const bool imap = state.range(1);
    auto string = make<String>(input(static_cast<int>(state.range(0))));
    const std::string encoded = imap ? modifiedUTF7String(string.get()) : UTF7String(string.get());
    const auto length = static_cast<uint32_t>(encoded.size());
    for (auto _ : state)
        benchmark::DoNotOptimize(imap ? stringWithModifiedUTF7Bytes(encoded.data(), length) : stringWithUTF7Bytes(encoded.data(), length));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(string->length()) * 2);
}

void UTF7DecodeICU(benchmark::State& state)
{
    auto converter = openConverter(state.range(1));
    const std::u16string& text = input(static_cast<int>(state.range(0)));
    const std::string encoded = icuEncode(converter.get(), text);
    std::u16string out(text.size() + 16, u'\0');
    for (auto _ : state) {
        UErrorCode status = U_ZERO_ERROR;
        benchmark::DoNotOptimize(ucnv_toUChars(converter.get(), out.data(), static_cast<int32_t>(out.size()), encoded.data(),
            static_cast<int32_t>(encoded.size()), &status));
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()) * 2);
}

// Arguments: {0 the Japanese body, 1 the mailbox list} x {0 UTF-7, 1 modified UTF-7}.
void utf7Arguments(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgsProduct({ { 0, 1 }, { 0, 1 } });
}

BENCHMARK(UTF7EncodeYarkit)->Apply(utf7Arguments);
BENCHMARK(UTF7EncodeICU)->Apply(utf7Arguments);
BENCHMARK(UTF7DecodeYarkit)->Apply(utf7Arguments);
BENCHMARK(UTF7DecodeICU)->Apply(utf7Arguments);

// ---- IDN ----

const char* const hostNames[] = { "www.example.com", "日本語.jp", "faß.de", "メール.例え.テスト", "mail.yarkit-project.org" };

std::vector<Ref<String>> hostNameStrings()
{
    std::vector<Ref<String>> names;
    for (const char* name : hostNames)
        names.push_back(String::withUTF8(name));
    return names;
}

void IDNToASCIIYarkit(benchmark::State& state)
{
    const std::vector<Ref<String>> names = hostNameStrings();
    for (auto _ : state) {
        for (const auto& name : names)
            benchmark::DoNotOptimize(YK_IDNToASCIIWithOptions(name.get(), 1));
    }
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
void IDNToASCIIICU(benchmark::State& state)
{
    const std::vector<Ref<String>> names = hostNameStrings();
    char16_t out[2048];
    for (auto _ : state) {
        for (const auto& name : names) {
            UErrorCode status = U_ZERO_ERROR;
            benchmark::DoNotOptimize(uidna_IDNToASCII(name->units().data(), static_cast<int32_t>(name->length()), out, 2048, 1, nullptr, &status));
        }
    }
}
#pragma GCC diagnostic pop

void IDNToASCIIGLib(benchmark::State& state)
{
    for (auto _ : state) {
        for (const char* name : hostNames)
            g_free(g_hostname_to_ascii(name));
    }
}

void UTS46ToASCIIYarkit(benchmark::State& state)
{
    const std::vector<Ref<String>> names = hostNameStrings();
    for (auto _ : state) {
        for (const auto& name : names)
            benchmark::DoNotOptimize(YK_UTS46ToASCII(name.get()));
    }
}

void UTS46ToASCIILibidn2(benchmark::State& state)
{
    for (auto _ : state) {
        for (const char* name : hostNames) {
            char* out = nullptr;
            benchmark::DoNotOptimize(idn2_to_ascii_8z(name, &out, IDN2_NONTRANSITIONAL));
            idn2_free(out);
        }
    }
}

BENCHMARK(IDNToASCIIYarkit);
BENCHMARK(IDNToASCIIICU);
BENCHMARK(IDNToASCIIGLib);
BENCHMARK(UTS46ToASCIIYarkit);
BENCHMARK(UTS46ToASCIILibidn2);

// ---- Regular expressions ----

const char16_t* const regexPattern = u"\\d+:\\d\\d";

// Argument: 0 the first match in 4 KiB of text, 1 every match in 1 MiB.
const std::u16string& regexSubject(int64_t which)
{
    static const std::u16string small = input(0).substr(0, 2048), large = input(0);
    return which ? large : small;
}

void RegexYarkit(benchmark::State& state)
{
    auto subject = make<String>(regexSubject(state.range(0)));
    auto pattern = make<String>(regexPattern);
    const Range range { 0, subject->length() };
    for (auto _ : state) {
        if (state.range(0))
            benchmark::DoNotOptimize(rangeValuesOfPatternString(subject.get(), pattern.get(), 0, range));
        else
            benchmark::DoNotOptimize(rangeOfPatternString(subject.get(), pattern.get(), 0, range));
    }
}

// Oniguruma as the search functions call it: a compile per call, one region reused.
void RegexOniguruma(benchmark::State& state)
{
    initializeRegexEngine();
    const std::u16string& subject = regexSubject(state.range(0));
    const std::u16string pattern = regexPattern;
    OnigEncoding encoding = std::endian::native == std::endian::little ? ONIG_ENCODING_UTF16_LE : ONIG_ENCODING_UTF16_BE;
    const auto* text = reinterpret_cast<const OnigUChar*>(subject.data());
    const OnigUChar* end = text + 2 * subject.size();
    for (auto _ : state) {
        regex_t* regex = nullptr;
        OnigErrorInfo info;
        const auto* patternBytes = reinterpret_cast<const OnigUChar*>(pattern.data());
        onig_new(&regex, patternBytes, patternBytes + 2 * pattern.size(), ONIG_OPTION_NONE, encoding, OnigDefaultSyntax, &info);
        OnigRegion* region = onig_region_new();
        const OnigUChar* start = text;
        int matches = 0;
        do {
            onig_region_clear(region);
            if (onig_search(regex, text, end, start, end, region, ONIG_OPTION_NONE) < 0)
                break;
            ++matches;
            start = text + region->end[0] + (region->end[0] == region->beg[0] ? 2 : 0);
        } while (state.range(0) && start <= end);
        benchmark::DoNotOptimize(matches);
        onig_region_free(region, 1);
        onig_free(regex);
    }
}

void RegexICU(benchmark::State& state)
{
    const std::u16string& subject = regexSubject(state.range(0));
    for (auto _ : state) {
        UErrorCode status = U_ZERO_ERROR;
        URegularExpression* regex = uregex_open(regexPattern, -1, 0, nullptr, &status);
        uregex_setText(regex, subject.data(), static_cast<int32_t>(subject.size()), &status);
        int matches = 0;
        while (uregex_findNext(regex, &status)) {
            ++matches;
            if (!state.range(0))
                break;
        }
        benchmark::DoNotOptimize(matches);
        uregex_close(regex);
    }
}

void RegexPCRE2(benchmark::State& state)
{
    const bool jit = state.range(1);
    const std::u16string& subject = regexSubject(state.range(0));
    const auto* pattern = reinterpret_cast<PCRE2_SPTR16>(regexPattern);
    const auto* text = reinterpret_cast<PCRE2_SPTR16>(subject.data());
    for (auto _ : state) {
        int error;
        PCRE2_SIZE offset;
        pcre2_code* code = pcre2_compile(pattern, PCRE2_ZERO_TERMINATED, PCRE2_UTF, &error, &offset, nullptr);
        if (jit)
            pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);
        pcre2_match_data* match = pcre2_match_data_create_from_pattern(code, nullptr);
        PCRE2_SIZE start = 0;
        int matches = 0;
        while (pcre2_match(code, text, subject.size(), start, PCRE2_NO_UTF_CHECK, match, nullptr) > 0) {
            ++matches;
            const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(match);
            start = ovector[1] + (ovector[1] == ovector[0]);
            if (!state.range(0) || start > subject.size())
                break;
        }
        benchmark::DoNotOptimize(matches);
        pcre2_match_data_free(match);
        pcre2_code_free(code);
    }
}

BENCHMARK(RegexYarkit)->Arg(0)->Arg(1);
BENCHMARK(RegexOniguruma)->Arg(0)->Arg(1);
BENCHMARK(RegexICU)->Arg(0)->Arg(1);
BENCHMARK(RegexPCRE2)->ArgsProduct({ { 0, 1 }, { 0, 1 } });

// ---- Character-set membership ----

void SetMembershipYarkit(benchmark::State& state)
{
    const std::u16string& text = input(static_cast<int>(state.range(0)));
    const CharacterSet* set = yk_eastAsianCharacterSet();
    for (auto _ : state) {
        uint32_t members = 0;
        for (char16_t c : text)
            members += set->characterIsMember(c);
        benchmark::DoNotOptimize(members);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()) * 2);
}

void SetMembershipICU(benchmark::State& state)
{
    const std::u16string& text = input(static_cast<int>(state.range(0)));
    std::unique_ptr<icu::UnicodeSet> set(yk_eastAsianCharacterSet()->unicodeSet().clone());
    set->freeze();
    for (auto _ : state) {
        uint32_t members = 0;
        for (char16_t c : text)
            members += set->contains(c);
        benchmark::DoNotOptimize(members);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()) * 2);
}

BENCHMARK(SetMembershipYarkit)->Arg(0)->Arg(1);
BENCHMARK(SetMembershipICU)->Arg(0)->Arg(1);

} // namespace

BENCHMARK_MAIN();
