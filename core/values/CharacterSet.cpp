#include <Yarkit/core/values/CharacterSet.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/MutableCharacterSet.h>
#include <Yarkit/core/values/String.h>

#include <algorithm>
#include <unicode/uchar.h>
#include <unicode/uniset.h>
#include <unicode/unistr.h>

#include "core/runtime/RuntimeErrors.h"

namespace yk {

YK_DEFINE_CLASS(CharacterSet);

namespace {

constexpr UChar32 lastCodePoint = 0x10FFFF;

// A set made from a general-category mask plus explicit code points.
Ref<CharacterSet> setOfCategories(uint32_t categoryMask, std::initializer_list<std::pair<UChar32, UChar32>> extra)
{
    auto set = std::make_unique<icu::UnicodeSet>();
    UErrorCode status = U_ZERO_ERROR;
    set->applyIntPropertyValue(UCHAR_GENERAL_CATEGORY_MASK, static_cast<int32_t>(categoryMask), status);
    for (auto [first, last] : extra)
        set->add(first, last);
    return make<CharacterSet>(std::move(set));
}

// Keeps a set made once for the whole process; the Ref is never released.
CharacterSet* keep(Ref<CharacterSet> set)
{
    return set.leakRef();
}

} // namespace

CharacterSet::CharacterSet()
    : CharacterSet(std::make_unique<icu::UnicodeSet>())
{
}

CharacterSet::CharacterSet(std::unique_ptr<icu::UnicodeSet> set)
    : _set(std::move(set))
{
    _set->freeze();
    updateBMPTable();
}

CharacterSet::~CharacterSet() = default;

void CharacterSet::updateBMPTable()
{
    std::array<uint64_t, 0x10000 / 64> bits {};
    for (int32_t i = 0; i < _set->getRangeCount(); ++i) {
        const UChar32 first = _set->getRangeStart(i);
        if (first > 0xFFFF)
            break;
        const UChar32 last = std::min<UChar32>(_set->getRangeEnd(i), 0xFFFF);
        for (UChar32 c = first; c <= last;) {
            if (!(c & 63) && c + 63 <= last) {
                bits[c >> 6] = ~uint64_t(0);
                c += 64;
            } else {
                bits[c >> 6] |= uint64_t(1) << (c & 63);
                ++c;
            }
        }
    }
    _bmpBlocks.clear();
    for (size_t block = 0; block < _bmpBlockIndex.size(); ++block) {
        const std::array<uint64_t, 4> blockBits { bits[4 * block], bits[4 * block + 1], bits[4 * block + 2], bits[4 * block + 3] };
        auto found = std::find(_bmpBlocks.begin(), _bmpBlocks.end(), blockBits);
        if (found == _bmpBlocks.end())
            found = _bmpBlocks.insert(found, blockBits);
        _bmpBlockIndex[block] = static_cast<uint8_t>(found - _bmpBlocks.begin());
    }
}

bool CharacterSet::isSupplementaryMember(char32_t character) const
{
    return _set->contains(static_cast<UChar32>(character));
}

bool CharacterSet::codePointsOfRange(Range range, int32_t& first, int32_t& last)
{
    if (!range.length || range.location > static_cast<uint32_t>(lastCodePoint))
        return false;
    first = static_cast<int32_t>(range.location);
    last = static_cast<int32_t>(std::min<uint64_t>(uint64_t(range.location) + range.length - 1, lastCodePoint));
    return true;
}

void CharacterSet::addCodePointsOfString(icu::UnicodeSet& set, const String& string)
{
    std::u16string_view units = string.view();
    set.addAll(icu::UnicodeString(false, units.data(), static_cast<int32_t>(units.size())));
}

Ref<CharacterSet> CharacterSet::characterSetWithRange(Range range)
{
    auto set = std::make_unique<icu::UnicodeSet>();
    int32_t first, last;
    if (codePointsOfRange(range, first, last))
        set->add(first, last);
    return make<CharacterSet>(std::move(set));
}

Ref<CharacterSet> CharacterSet::characterSetWithCharactersInString(const String* string)
{
    if (!string)
        detail::raiseNilArgument(staticClass(), "characterSetWithCharactersInString:");
    auto set = std::make_unique<icu::UnicodeSet>();
    addCodePointsOfString(*set, *string);
    return make<CharacterSet>(std::move(set));
}

CharacterSet* CharacterSet::whitespaceCharacterSet()
{
    static CharacterSet* const set = keep(setOfCategories(U_GC_ZS_MASK, { { 0x09, 0x09 } }));
    return set;
}

CharacterSet* CharacterSet::whitespaceAndNewlineCharacterSet()
{
    static CharacterSet* const set = keep(setOfCategories(U_GC_Z_MASK, { { 0x09, 0x0D }, { 0x85, 0x85 } }));
    return set;
}

CharacterSet* CharacterSet::newlineCharacterSet()
{
    static CharacterSet* const set = keep(setOfCategories(0, { { 0x0A, 0x0D }, { 0x85, 0x85 }, { 0x2028, 0x2029 } }));
    return set;
}

CharacterSet* CharacterSet::punctuationCharacterSet()
{
    static CharacterSet* const set = keep(setOfCategories(U_GC_P_MASK, {}));
    return set;
}

Ref<CharacterSet> CharacterSet::invertedSet() const
{
    auto set = std::unique_ptr<icu::UnicodeSet>(_set->cloneAsThawed());
    set->complement();
    return make<CharacterSet>(std::move(set));
}

Ref<CharacterSet> CharacterSet::copy() const
{
    if (!dynamic_cast<const MutableCharacterSet*>(this))
        return Ref<CharacterSet>(const_cast<CharacterSet*>(this));
    return make<CharacterSet>(std::unique_ptr<icu::UnicodeSet>(_set->cloneAsThawed()));
}

Ref<MutableCharacterSet> CharacterSet::mutableCopy() const
{
    return make<MutableCharacterSet>(std::unique_ptr<icu::UnicodeSet>(_set->cloneAsThawed()));
}

bool CharacterSet::isEqual(const Object* other) const
{
    const auto* set = dynamic_cast<const CharacterSet*>(other);
    return set && *set->_set == *_set;
}

size_t CharacterSet::hash() const
{
    return static_cast<size_t>(_set->hashCode());
}

Ref<String> CharacterSet::description() const
{
    icu::UnicodeString pattern;
    _set->toPattern(pattern, true);
    return make<String>(std::u16string(pattern.getBuffer(), static_cast<size_t>(pattern.length())));
}

} // namespace yk
