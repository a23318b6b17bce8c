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
using yk::test::describe;
using yk::test::expectRaise;
using yk::test::str;

namespace {

std::string joined(const Array* array)
{
    return array->componentsJoinedByString(str(",").get())->utf8();
}

} // namespace

TEST(Collections, BadArgumentsRaiseWithTheReceiverAndSelector)
{
    auto array = MutableArray::arrayWithCapacity(2);
    auto dictionary = make<MutableDictionary>();
    auto set = make<MutableSet>();
    array->addObject(str("a"));
    struct Case {
        const char *receiver, *selector;
        std::function<void()> body;
    } nils[] = {
        { "MutableArray", "addObject:", [&] { array->addObject(nullptr); } },
        { "MutableDictionary", "setObject:forKey:", [&] { dictionary->setObject(str("value"), nullptr); } },
        { "MutableSet", "addObject:", [&] { set->addObject(nullptr); } },
        { "Array", "initWithObjects:count:", [&] { (void)Array::arrayWithObjects({ str("a"), nullptr }); } },
        { "Dictionary", "initWithObjects:forKeys:count:", [&] { (void)Dictionary::dictionaryWithEntries({ { str("k"), nullptr } }); } },
    }, bounds[] = {
        { "MutableArray", "objectAtIndex:", [&] { (void)array->objectAtIndex(1); } },
        { "MutableArray", "insertObject:atIndex:", [&] { array->insertObject(str("x"), 2); } },
        { "MutableArray", "replaceObjectAtIndex:withObject:", [&] { array->replaceObjectAtIndex(5, str("x")); } },
        { "Array", "objectAtIndex:", [&] { (void)Array::arrayWithObjects({})->objectAtIndex(0); } },
        { "MutableArray", "removeLastObject", [&] { make<MutableArray>()->removeLastObject(); } },
    };
    const std::string prefix = "*** -[";
    for (const auto& c : nils)
        expectRaise(c.body, NSInvalidArgumentException, prefix + c.receiver + " " + c.selector + "]: nil string (or other) argument");
    for (const auto& c : bounds)
        expectRaise(c.body, NSRangeException, prefix + c.receiver + " " + c.selector + "]: Range or index out of bounds");
    EXPECT_EQ(array->count(), 1u);
    EXPECT_EQ(dictionary->count(), 0u);
    EXPECT_EQ(set->count(), 0u);
}

TEST(Collections, EqualityCrossesClassesAndKindsAndEqualObjectsHashAlike)
{
    auto mutableX = MutableString::stringWithString(str("x").get());
    struct Case {
        const char* name;
        Ref<Object> a, b;
        bool equal;
    } cases[] = {
        { "arrays", Array::arrayWithObjects({ str("x"), Number::numberWithInt(1), Null::null() }),
            Array::arrayWithObjects({ mutableX, Number::numberWithDouble(1.0), Null::null() })->mutableCopy(), true },
        { "dictionaries in another order", Dictionary::dictionaryWithEntries({ { str("x"), Number::numberWithInt(1) }, { str("y"), str("why") } }),
            Dictionary::dictionaryWithEntries({ { str("y"), str("why") }, { mutableX, Number::numberWithFloat(1.0f) } })->mutableCopy(), true },
        { "sets", Set::setWithObjects({ str("a"), mutableX, Number::numberWithInt(2), Number::numberWithDouble(2.0) }),
            Set::setWithObjects({ Number::numberWithLongLong(2), str("x"), str("a") }), true },
        { "number and string", Number::numberWithInt(1), str("1"), false },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.a->isEqual(c.b.get()), c.equal);
        EXPECT_EQ(c.b->isEqual(c.a.get()), c.equal);
        EXPECT_TRUE(!c.equal || c.a->hash() == c.b->hash());
    }
}

TEST(Collections, EditsRemoveEveryEqualObjectCopyMutableKeysAndLeaveCopiesAlone)
{
    auto array = Array::arrayWithObjects({ str("x"), Number::numberWithInt(1), str("x"), Null::null() })->mutableCopy();
    EXPECT_EQ(array->indexOfObject(Number::numberWithDouble(1.0).get()), 1u);
    array->removeObject(MutableString::stringWithString(str("x").get()).get());
    array->addObjectsFromArray(array.get());
    EXPECT_EQ(joined(array.get()), "1,<null>,1,<null>");
    Ref<Array> frozen = array->copy();
    array->removeAllObjects();
    EXPECT_EQ(frozen->count(), 4u);
    EXPECT_EQ(frozen->copy().get(), frozen.get());

    auto key = MutableString::stringWithString(str("key").get());
    auto dictionary = make<MutableDictionary>();
    dictionary->setObject(str("value"), key);
    key->appendString(str("-changed").get());
    EXPECT_TRUE(dictionary->objectForKey("key"));
    EXPECT_FALSE(dictionary->allKeys()->objectAtIndex(0)->isKindOfClass(MutableString::staticClass()));
    Ref<Dictionary> copy = dictionary->copy();
    dictionary->removeObjectsForKeys(Array::arrayWithObjects({ str("key"), str("absent") }).get());
    EXPECT_EQ(copy->count() - dictionary->count(), 1u);
}

TEST(Dictionary, EqualNumbersAreOneKeyAndKeysKeepInsertionOrder)
{
    auto dictionary = make<MutableDictionary>();
    dictionary->setObject(str("one"), Number::numberWithInt(1));
    dictionary->setObject(str("b"), str("b"));
    dictionary->setObject(str("a"), str("a"));
    dictionary->setObject(str("uno"), Number::numberWithDouble(1.0)); // replaces in place
    EXPECT_EQ(joined(dictionary->allKeys().get()), "1,b,a");
    EXPECT_EQ(joined(dictionary->allValues().get()), "uno,b,a");
    EXPECT_EQ(describe(dictionary->objectForKey(Number::numberWithBool(true).get()).get()), "uno");
    EXPECT_FALSE(dictionary->objectForKey(static_cast<const Object*>(nullptr)));

    dictionary->removeObjectForKey(str("b").get());
    dictionary->setObject(str("b2"), str("b"));
    EXPECT_EQ(dictionary->description()->utf8(), "{\n    1 = uno;\n    a = a;\n    b = b2;\n}");
}

TEST(Number, EqualityAndOrderAcrossKindsAccessorsSaturateAndDescriptionsAreShortest)
{
    struct Case {
        Ref<Number> a, b;
        ComparisonResult expected;
    } cases[] = {
        { Number::numberWithInt(1), Number::numberWithDouble(1.0), OrderedSame },
        { Number::numberWithBool(true), Number::numberWithInt(1), OrderedSame },
        { Number::numberWithLongLong(-1), Number::numberWithUnsignedLongLong(UINT64_MAX), OrderedAscending },
        { Number::numberWithUnsignedLongLong(UINT64_MAX), Number::numberWithDouble(18446744073709551616.0), OrderedAscending },
        { Number::numberWithLongLong(9007199254740993LL), Number::numberWithDouble(9007199254740992.0), OrderedDescending },
        { Number::numberWithFloat(0.1f), Number::numberWithDouble(0.1), OrderedDescending },
        { Number::numberWithDouble(NAN), Number::numberWithDouble(NAN), OrderedSame },
        { Number::numberWithDouble(NAN), Number::numberWithInt(0), OrderedAscending },
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        const auto& c = cases[i];
        SCOPED_TRACE(testing::Message() << "row " << i);
        EXPECT_EQ(c.a->compare(c.b.get()), c.expected);
        EXPECT_EQ(c.b->compare(c.a.get()), -c.expected);
        EXPECT_EQ(c.a->isEqual(c.b.get()), c.expected == OrderedSame);
        EXPECT_TRUE(c.expected != OrderedSame || c.a->hash() == c.b->hash());
    }

    EXPECT_EQ(Number::numberWithDouble(1e10)->intValue(), INT32_MAX);
    EXPECT_EQ(Number::numberWithDouble(-1e300)->longLongValue(), INT64_MIN);
    EXPECT_EQ(Number::numberWithDouble(-2.7)->intValue(), -2);
    EXPECT_TRUE(Number::numberWithDouble(0.1)->boolValue());

    const struct {
        Ref<Object> object;
        const char* text;
    } descriptions[] = {
        { Number::numberWithInt(-42), "-42" }, { Number::numberWithUnsignedLongLong(UINT64_MAX), "18446744073709551615" },
        { Number::numberWithDouble(0.1), "0.1" }, { Number::numberWithFloat(0.1f), "0.1" },
        { Number::numberWithDouble(2.0), "2" }, { Number::numberWithBool(true), "1" },
        { Value::valueWithRange({ 2, 3 }), "NSRange: {2, 3}" }, { Null::null(), "<null>" },
    };
    for (const auto& c : descriptions)
        EXPECT_EQ(c.object->description()->utf8(), c.text);
}

TEST(Date, CountsFromTheReferenceDateInUTC)
{
    EXPECT_EQ(Date::dateWithTimeIntervalSinceReferenceDate(0)->description()->utf8(), "2001-01-01 00:00:00 +0000");
    EXPECT_DOUBLE_EQ(Date::dateWithTimeIntervalSince1970(0)->timeIntervalSinceReferenceDate(), -978307200.0);
    // A fraction of a second is dropped from the description, not rounded.
    EXPECT_EQ(Date::dateWithTimeIntervalSinceReferenceDate(86399.5)->description()->utf8(), "2001-01-01 23:59:59 +0000");
    EXPECT_GT(Date::date()->timeIntervalSinceReferenceDate(), 7e8); // after 2023
}
