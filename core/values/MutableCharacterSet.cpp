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
    updateBMPTable();
}

void MutableCharacterSet::addCharactersInRange(Range range)
{
    int32_t first, last;
    if (!codePointsOfRange(range, first, last))
        return;
    _set->add(first, last);
    updateBMPTable();
}

void MutableCharacterSet::removeCharactersInRange(Range range)
{
    int32_t first, last;
    if (!codePointsOfRange(range, first, last))
        return;
    _set->remove(first, last);
    updateBMPTable();
}

void MutableCharacterSet::addCharactersInString(const String* string)
{
    if (!string)
        detail::raiseNilArgument(this, "addCharactersInString:");
    addCodePointsOfString(*_set, *string);
    updateBMPTable();
}

void MutableCharacterSet::formUnionWithCharacterSet(const CharacterSet* other)
{
    if (!other)
        detail::raiseNilArgument(this, "formUnionWithCharacterSet:");
    _set->addAll(other->unicodeSet());
    updateBMPTable();
}

void MutableCharacterSet::formIntersectionWithCharacterSet(const CharacterSet* other)
{
    if (!other)
        detail::raiseNilArgument(this, "formIntersectionWithCharacterSet:");
    _set->retainAll(other->unicodeSet());
    updateBMPTable();
}

void MutableCharacterSet::invert()
{
    _set->complement();
    updateBMPTable();
}

} // namespace yk
