#include <Yarkit/CharacterSetAdditions.h>

#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/threads/SpinLock.h>
#include <Yarkit/core/values/MutableCharacterSet.h>

#include <atomic>
#include <span>

namespace yk {
namespace {

// Serialises the creation of every shared set; never held while another set is fetched.
SpinLock& creationLock()
{
    static SpinLock* const lock = make<SpinLock>().leakRef();
    return *lock;
}

// The set in slot, built under the lock on first use. The unlocked acquire load pairs with the
// release store, so a thread that sees the pointer sees the finished set.
template <typename Build>
CharacterSet* sharedSet(std::atomic<CharacterSet*>& slot, Build build)
{
    if (CharacterSet* set = slot.load(std::memory_order_acquire))
        return set;
    Locker locker(creationLock());
    CharacterSet* set = slot.load(std::memory_order_relaxed);
    if (!set) {
        set = build().leakRef();
        slot.store(set, std::memory_order_release);
    }
    return set;
}

// The complement of base, which is fetched before the lock is taken: the lock is not recursive.
CharacterSet* invertedSharedSet(std::atomic<CharacterSet*>& slot, CharacterSet* base)
{
    return sharedSet(slot, [base] { return base->invertedSet(); });
}

struct EastAsianRange {
    uint32_t first;
    uint32_t length;
};

// In the order they are added. Two ranges are cut short on purpose (U+3200 stops before U+32FE,
// U+3300 takes the first half of its block), and the extension ranges keep the extents they
// had when the list was drawn up.
constexpr EastAsianRange eastAsianRanges[] = {
    { 0x4E00, 20992 }, // CJK unified ideographs
    { 0x3400, 6592 }, // CJK extension A
    { 0x20000, 42711 }, // CJK extension B
    { 0x2A700, 4149 }, // CJK extension C
    { 0x2B740, 224 }, // CJK extension D
    { 0xF900, 472 }, // CJK compatibility ideographs
    { 0x2F800, 542 }, // CJK compatibility ideographs supplement
    { 0xE0100, 240 }, // variation selectors supplement
    { 0x2F00, 214 }, // Kangxi radicals
    { 0x2E80, 115 }, // CJK radicals supplement
    { 0x31C0, 36 }, // CJK strokes
    { 0x2FF0, 12 }, // ideographic description characters
    { 0x1100, 256 }, // Hangul Jamo
    { 0xA960, 32 }, // Hangul Jamo extended A
    { 0xD7B0, 80 }, // Hangul Jamo extended B
    { 0x3130, 96 }, // Hangul compatibility Jamo
    { 0xAC00, 11184 }, // Hangul syllables
    { 0x3040, 96 }, // Hiragana
    { 0x30A0, 96 }, // Katakana
    { 0x31F0, 16 }, // Katakana phonetic extensions
    { 0x1B000, 256 }, // Kana supplement
    { 0xFF00, 240 }, // halfwidth and fullwidth forms
    { 0x3190, 16 }, // Kanbun
    { 0x3100, 48 }, // Bopomofo
    { 0x31A0, 32 }, // Bopomofo extended
    { 0xA4D0, 48 }, // Lisu
    { 0x16F00, 160 }, // Miao
    { 0xA000, 1168 }, // Yi syllables
    { 0xA490, 64 }, // Yi radicals
    { 0x3000, 64 }, // CJK symbols and punctuation
    { 0x3200, 254 }, // enclosed CJK letters and months
    { 0x3300, 128 }, // CJK compatibility, first half only
    { 0xFE30, 32 }, // CJK compatibility forms
};

Ref<CharacterSet> makeEastAsianSet()
{
    const auto& first = eastAsianRanges[0];
    auto set = CharacterSet::characterSetWithRange({ first.first, first.length })->mutableCopy();
    for (const auto& range : std::span(eastAsianRanges).subspan(1))
        set->addCharactersInRange({ range.first, range.length });
    return set->copy();
}

Ref<CharacterSet> makeDelimiterSet()
{
    auto set = CharacterSet::whitespaceAndNewlineCharacterSet()->mutableCopy();
    set->formUnionWithCharacterSet(CharacterSet::punctuationCharacterSet());
    return set->copy();
}

Ref<CharacterSet> makeHyphenSet()
{
    auto set = make<MutableCharacterSet>();
    for (uint32_t c : { 0x2D, 0xAD, 0x58A, 0x1806, 0x2010, 0x2011 })
        set->addCharactersInRange({ c, 1 });
    return set->copy();
}

std::atomic<CharacterSet*> s_ASCII;
std::atomic<CharacterSet*> s_nonASCII;
std::atomic<CharacterSet*> s_eastAsian;
std::atomic<CharacterSet*> s_nonEastAsian;
std::atomic<CharacterSet*> s_delimiter;
std::atomic<CharacterSet*> s_hyphen;
std::atomic<CharacterSet*> s_nonNewline;
std::atomic<CharacterSet*> s_nonWhitespaceAndNewline;
std::atomic<CharacterSet*> s_nonWhitespace;

} // namespace

CharacterSet* YK_ASCIICharacterSet()
{
    return sharedSet(s_ASCII, [] { return CharacterSet::characterSetWithRange({ 0, 128 }); });
}

CharacterSet* YK_nonASCIICharacterSet()
{
    return invertedSharedSet(s_nonASCII, YK_ASCIICharacterSet());
}

CharacterSet* yk_eastAsianCharacterSet()
{
    return sharedSet(s_eastAsian, makeEastAsianSet);
}

CharacterSet* yk_nonEastAsianCharacterSet()
{
    return invertedSharedSet(s_nonEastAsian, yk_eastAsianCharacterSet());
}

CharacterSet* YK_delimiterCharacterSet()
{
    return sharedSet(s_delimiter, makeDelimiterSet);
}

CharacterSet* YK_hyphenCharacterSet()
{
    return sharedSet(s_hyphen, makeHyphenSet);
}

CharacterSet* YK_newlineCharacterSet()
{
    return CharacterSet::newlineCharacterSet();
}

CharacterSet* YK_nonNewlineCharacterSet()
{
    return invertedSharedSet(s_nonNewline, YK_newlineCharacterSet());
}

CharacterSet* YK_nonWhitespaceAndNewlineCharacterSet()
{
    return invertedSharedSet(s_nonWhitespaceAndNewline, CharacterSet::whitespaceAndNewlineCharacterSet());
}

CharacterSet* YK_nonWhitespaceCharacterSet()
{
    return invertedSharedSet(s_nonWhitespace, CharacterSet::whitespaceCharacterSet());
}

} // namespace yk
