#include "CoreTestSupport.h"

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/values/MutableSet.h>
#include <Yarkit/core/values/MutableString.h>
#include <Yarkit/core/values/Null.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/Value.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace yk;
using yk::test::expectRaise;
using yk::test::str;

namespace {

std::string nilMessage(const char* receiver, const char* selector)
{
    return std::string("*** -[") + receiver + " " + selector + "]: nil string (or other) argument";
}

std::string boundsMessage(const char* receiver, const char* selector)
{
    return std::string("*** -[") + receiver + " " + selector + "]: Range or index out of bounds";
}

} // namespace

TEST(Collections, NullInsertionRaisesWithTheReceiverAndSelector)
{
    auto array = make<MutableArray>();
    auto dictionary = make<MutableDictionary>();
    auto set = make<MutableSet>();
    struct Case {
        std::function<void()> body;
        std::string reason;
    } cases[] = {
        { [&] { array->addObject(nullptr); }, nilMessage("MutableArray", "addObject:") },
        { [&] { array->insertObject(nullptr, 0); }, nilMessage("MutableArray", "insertObject:atIndex:") },
        { [&] { dictionary->setObject(nullptr, str("key")); }, nilMessage("MutableDictionary", "setObject:forKey:") },
        { [&] { dictionary->setObject(str("value"), nullptr); }, nilMessage("MutableDictionary", "setObject:forKey:") },
        { [&] { dictionary->setObject(nullptr, nullptr); }, nilMessage("MutableDictionary", "setObject:forKey:") },
        { [&] { set->addObject(nullptr); }, nilMessage("MutableSet", "addObject:") },
        { [&] { (void)Array::arrayWithObjects({ str("a"), nullptr }); }, nilMessage("Array", "initWithObjects:count:") },
        { [&] { (void)Dictionary::dictionaryWithEntries({ { str("k"), nullptr } }); }, nilMessage("Dictionary", "initWithObjects:forKeys:count:") },
    };
    for (const auto& c : cases)
        expectRaise(c.body, NSInvalidArgumentException, c.reason);
    EXPECT_EQ(array->count(), 0u);
    EXPECT_EQ(dictionary->count(), 0u);
    EXPECT_EQ(set->count(), 0u);
}

TEST(Collections, IndicesOutOfBoundsRaiseRangeException)
{
    auto array = MutableArray::arrayWithCapacity(2);
    array->addObject(str("a"));
    struct Case {
        std::function<void()> body;
        std::string reason;
    } cases[] = {
        { [&] { (void)array->objectAtIndex(1); }, boundsMessage("MutableArray", "objectAtIndex:") },
        { [&] { array->insertObject(str("x"), 2); }, boundsMessage("MutableArray", "insertObject:atIndex:") },
        { [&] { array->removeObjectAtIndex(1); }, boundsMessage("MutableArray", "removeObjectAtIndex:") },
        { [&] { array->replaceObjectAtIndex(5, str("x")); }, boundsMessage("MutableArray", "replaceObjectAtIndex:withObject:") },
        { [&] { (void)array->subarrayWithRange({ 1, 1 }); }, boundsMessage("MutableArray", "subarrayWithRange:") },
        { [&] { (void)Array::arrayWithObjects({})->objectAtIndex(0); }, boundsMessage("Array", "objectAtIndex:") },
        { [&] { make<MutableArray>()->removeLastObject(); }, boundsMessage("MutableArray", "removeLastObject") },
    };
    for (const auto& c : cases)
        expectRaise(c.body, NSRangeException, c.reason);
}

TEST(Array, EqualityHashAndEditing)
{
    auto a = Array::arrayWithObjects({ str("x"), Number::numberWithInt(1), Null::null() });
    auto b = MutableArray::arrayWithCapacity(3);
    b->addObject(MutableString::stringWithString(str("x").get()));
    b->addObject(Number::numberWithDouble(1.0));
    b->addObject(Null::null());
    EXPECT_TRUE(a->isEqual(b.get()));
    EXPECT_TRUE(b->isEqual(a.get()));
    EXPECT_EQ(a->hash(), b->hash());
    EXPECT_EQ(a->indexOfObject(Number::numberWithLongLong(1).get()), 1u);
    EXPECT_EQ(a->indexOfObject(str("y").get()), NotFound);

    b->insertObject(str("x"), 0);
    b->removeObject(str("x").get()); // every equal object goes
    EXPECT_EQ(b->count(), 2u);
    b->replaceObjectAtIndex(0, str("z"));
    b->addObjectsFromArray(b.get());
    EXPECT_EQ(b->componentsJoinedByString(str(",").get())->utf8(), "z,<null>,z,<null>");
    Ref<Array> frozen = b->copy();
    b->removeAllObjects();
    EXPECT_EQ(frozen->count(), 4u);
    EXPECT_FALSE(frozen->isEqual(b.get()));
}

TEST(Dictionary, KeysCompareByValueAndKeepInsertionOrder)
{
    auto dictionary = make<MutableDictionary>();
    dictionary->setObject(str("one"), Number::numberWithInt(1));
    dictionary->setObject(str("b"), str("b"));
    dictionary->setObject(str("a"), str("a"));
    // 1.0 is the same key as the int 1: the value is replaced in place.
    dictionary->setObject(str("uno"), Number::numberWithDouble(1.0));
    EXPECT_EQ(dictionary->count(), 3u);
    EXPECT_EQ(dictionary->allKeys()->componentsJoinedByString(str(",").get())->utf8(), "1,b,a");
    EXPECT_EQ(dictionary->allValues()->componentsJoinedByString(str(",").get())->utf8(), "uno,b,a");
    EXPECT_TRUE(dictionary->objectForKey(Number::numberWithBool(true).get())->isEqual(str("uno").get()));
    EXPECT_TRUE(dictionary->objectForKey("a"));
    EXPECT_FALSE(dictionary->objectForKey("c"));
    EXPECT_FALSE(dictionary->objectForKey(static_cast<const Object*>(nullptr)));

    dictionary->removeObjectForKey(str("b").get());
    dictionary->setObject(str("b2"), str("b"));
    EXPECT_EQ(dictionary->allKeys()->componentsJoinedByString(str(",").get())->utf8(), "1,a,b");
    EXPECT_TRUE(dictionary->objectForKey("a")->isEqual(str("a").get()));
    EXPECT_EQ(dictionary->description()->utf8(), "{\n    1 = uno;\n    a = a;\n    b = b2;\n}");
}

TEST(Dictionary, MutableKeysAreCopied)
{
    auto key = MutableString::stringWithString(str("key").get());
    auto dictionary = make<MutableDictionary>();
    dictionary->setObject(str("value"), key);
    key->appendString(str("-changed").get());
    EXPECT_TRUE(dictionary->objectForKey("key"));
    EXPECT_FALSE(dictionary->objectForKey("key-changed"));
    EXPECT_FALSE(dictionary->allKeys()->objectAtIndex(0)->isKindOfClass(MutableString::staticClass()));
}

TEST(Dictionary, EqualityIgnoresOrder)
{
    auto a = Dictionary::dictionaryWithEntries({ { str("x"), Number::numberWithInt(1) }, { str("y"), str("why") } });
    auto b = make<MutableDictionary>();
    b->setObject(str("why"), str("y"));
    b->setObject(Number::numberWithFloat(1.0f), str("x"));
    EXPECT_TRUE(a->isEqual(b.get()));
    EXPECT_EQ(a->hash(), b->hash());
    b->setObject(str("other"), str("y"));
    EXPECT_FALSE(a->isEqual(b.get()));
    Ref<MutableDictionary> copy = a->mutableCopy();
    copy->removeObjectsForKeys(Array::arrayWithObjects({ str("x"), str("absent") }).get());
    EXPECT_EQ(copy->count(), 1u);
    EXPECT_EQ(a->count(), 2u);
    copy->addEntriesFromDictionary(a.get());
    EXPECT_TRUE(copy->isEqualToDictionary(a.get()));
    EXPECT_EQ(a->copy().get(), a.get());
    EXPECT_NE(copy->copy().get(), copy.get());
}

TEST(Set, MembershipByValue)
{
    auto set = make<MutableSet>();
    set->addObject(str("a"));
    set->addObject(MutableString::stringWithString(str("a").get()));
    set->addObject(Number::numberWithInt(2));
    set->addObject(Number::numberWithDouble(2.0));
    EXPECT_EQ(set->count(), 2u);
    EXPECT_TRUE(set->containsObject(str("a").get()));
    auto other = Set::setWithObjects({ Number::numberWithLongLong(2), str("a") });
    EXPECT_TRUE(set->isEqual(other.get()));
    EXPECT_EQ(set->hash(), other->hash());
    set->minusSet(Set::setWithObjects({ str("a") }).get());
    EXPECT_EQ(set->count(), 1u);
    EXPECT_TRUE(set->isSubsetOfSet(other.get()));
    set->intersectSet(Set::setWithObjects({ str("b") }).get());
    EXPECT_EQ(set->count(), 0u);
}

TEST(Number, EqualityAndOrderAcrossKinds)
{
    struct Case {
        Ref<Number> a;
        Ref<Number> b;
        ComparisonResult expected;
    } cases[] = {
        { Number::numberWithInt(1), Number::numberWithDouble(1.0), OrderedSame },
        { Number::numberWithBool(true), Number::numberWithInt(1), OrderedSame },
        { Number::numberWithInt(-1), Number::numberWithUnsignedInt(0xFFFFFFFFu), OrderedAscending },
        { Number::numberWithLongLong(-1), Number::numberWithUnsignedLongLong(UINT64_MAX), OrderedAscending },
        { Number::numberWithUnsignedLongLong(UINT64_MAX), Number::numberWithDouble(18446744073709551616.0), OrderedAscending },
        { Number::numberWithLongLong(9007199254740993LL), Number::numberWithDouble(9007199254740992.0), OrderedDescending },
        { Number::numberWithFloat(0.5f), Number::numberWithDouble(0.5), OrderedSame },
        { Number::numberWithFloat(0.1f), Number::numberWithDouble(0.1), OrderedDescending },
        { Number::numberWithShort(-3), Number::numberWithLongLong(-3), OrderedSame },
        { Number::numberWithDouble(NAN), Number::numberWithDouble(NAN), OrderedSame },
        { Number::numberWithDouble(NAN), Number::numberWithInt(0), OrderedAscending },
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        const auto& c = cases[i];
        EXPECT_EQ(c.a->compare(c.b.get()), c.expected) << "row " << i;
        EXPECT_EQ(c.b->compare(c.a.get()), -c.expected) << "row " << i;
        EXPECT_EQ(c.a->isEqual(c.b.get()), c.expected == OrderedSame) << "row " << i;
        if (c.expected == OrderedSame) {
            EXPECT_EQ(c.a->hash(), c.b->hash()) << "row " << i;
        }
    }
    EXPECT_FALSE(Number::numberWithInt(1)->isEqual(str("1").get()));
}

TEST(Number, AccessorsConvert)
{
    auto big = Number::numberWithDouble(1e10);
    EXPECT_EQ(big->intValue(), INT32_MAX);
    EXPECT_EQ(big->longLongValue(), 10000000000LL);
    EXPECT_EQ(Number::numberWithDouble(-1e300)->longLongValue(), INT64_MIN);
    EXPECT_EQ(Number::numberWithDouble(-2.7)->intValue(), -2);
    EXPECT_EQ(Number::numberWithInt(-1)->unsignedIntValue(), 0xFFFFFFFFu);
    EXPECT_EQ(Number::numberWithInt(70000)->shortValue(), static_cast<int16_t>(70000));
    EXPECT_EQ(Number::numberWithInt(-1)->unsignedShortValue(), 0xFFFFu);
    EXPECT_TRUE(Number::numberWithDouble(0.1)->boolValue());
    EXPECT_FALSE(Number::numberWithUnsignedLongLong(0)->boolValue());
    EXPECT_FLOAT_EQ(Number::numberWithInt(3)->floatValue(), 3.0f);

    struct Case {
        Ref<Number> number;
        const char* text;
    } descriptions[] = {
        { Number::numberWithInt(-42), "-42" },
        { Number::numberWithUnsignedLongLong(UINT64_MAX), "18446744073709551615" },
        { Number::numberWithDouble(0.1), "0.1" },
        { Number::numberWithFloat(0.1f), "0.1" },
        { Number::numberWithDouble(2.0), "2" },
        { Number::numberWithBool(true), "1" },
    };
    for (const auto& c : descriptions)
        EXPECT_EQ(c.number->description()->utf8(), c.text);
}

TEST(Value, BoxesRangesAndPointers)
{
    int anchor = 0;
    EXPECT_TRUE(Value::valueWithRange({ 2, 3 })->isEqual(Value::valueWithRange({ 2, 3 }).get()));
    EXPECT_FALSE(Value::valueWithRange({ 2, 3 })->isEqual(Value::valueWithRange({ 2, 4 }).get()));
    EXPECT_EQ(Value::valueWithRange({ 2, 3 })->rangeValue(), (Range { 2, 3 }));
    EXPECT_EQ(Value::valueWithPointer(&anchor)->pointerValue(), &anchor);
    EXPECT_FALSE(Value::valueWithPointer(nullptr)->isEqual(Value::valueWithRange({ 0, 0 }).get()));
    EXPECT_EQ(Value::valueWithRange({ 2, 3 })->description()->utf8(), "NSRange: {2, 3}");
    EXPECT_EQ(Null::null(), Null::null());
    EXPECT_EQ(Null::null()->description()->utf8(), "<null>");
}

TEST(Date, ReferenceDateAndOrdering)
{
    auto reference = Date::dateWithTimeIntervalSinceReferenceDate(0);
    EXPECT_EQ(reference->description()->utf8(), "2001-01-01 00:00:00 +0000");
    EXPECT_DOUBLE_EQ(Date::dateWithTimeIntervalSince1970(0)->timeIntervalSinceReferenceDate(), -978307200.0);
    auto later = reference->dateByAddingTimeInterval(86400.5);
    EXPECT_EQ(later->description()->utf8(), "2001-01-02 00:00:00 +0000");
    EXPECT_EQ(reference->compare(later.get()), OrderedAscending);
    EXPECT_DOUBLE_EQ(later->timeIntervalSinceDate(reference.get()), 86400.5);
    EXPECT_TRUE(reference->isEqual(Date::dateWithTimeIntervalSinceReferenceDate(0).get()));
    EXPECT_GT(Date::date()->timeIntervalSinceReferenceDate(), 7e8); // after 2023
}
