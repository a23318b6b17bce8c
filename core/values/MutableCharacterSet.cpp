#include <Yarkit/core/values/MutableCharacterSet.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/String.h>

#include <unicode/uniset.h>

#include "core/runtime/RuntimeErrors.h"

namespace yk {

YK_DEFINE_CLASS(MutableCharacterSet);

MutableCharacterSet::MutableCharacterSet()
    : MutableCharacterSet(std::make_unique<icu::UnicodeSet>())
{
}

// The base class froze the set; a mutable set works on a thawed one.
MutableCharacterSet::MutableCharacterSet(std::unique_ptr<icu::UnicodeSet> set)
{
    _set = std::move(set);
    updateLatin1();
}

void MutableCharacterSet::addCharactersInRange(Range range)
{
    int32_t first, last;
    if (!codePointsOfRange(range, first, last))
        return;
    _set->add(first, last);
    updateLatin1();
}

void MutableCharacterSet::removeCharactersInRange(Range range)
{
    int32_t first, last;
    if (!codePointsOfRange(range, first, last))
        return;
    _set->remove(first, last);
    updateLatin1();
}

void MutableCharacterSet::addCharactersInString(const String* string)
{
    if (!string)
        detail::raiseNilArgument(this, "addCharactersInString:");
    addCodePointsOfString(*_set, *string);
    updateLatin1();
}

void MutableCharacterSet::formUnionWithCharacterSet(const CharacterSet* other)
{
    if (!other)
        detail::raiseNilArgument(this, "formUnionWithCharacterSet:");
    _set->addAll(other->unicodeSet());
    updateLatin1();
}

void MutableCharacterSet::formIntersectionWithCharacterSet(const CharacterSet* other)
{
    if (!other)
        detail::raiseNilArgument(this, "formIntersectionWithCharacterSet:");
    _set->retainAll(other->unicodeSet());
    updateLatin1();
}

void MutableCharacterSet::invert()
{
    _set->complement();
    updateLatin1();
}

} // namespace yk
