#include <Yarkit/DictionaryAdditions.h>
#include <Yarkit/MutableDictionaryAdditions.h>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/values/MutableString.h>
#include <Yarkit/core/values/Number.h>

#include <gtest/gtest.h>

#include "core/CoreTestSupport.h"
#include "core/LogCapture.h"

#include <functional>
#include <string>
#include <vector>

using yk::Ref;
using yk::test::describe;
using yk::test::str;

TEST(DictionaryAdditions, TypedGettersReadNumbersAndStringsElseTheDefault)
{
    // A null value: the key is absent.
    struct Row {
        Ref<yk::Object> value;
        int16_t shortValue; uint16_t unsignedShortValue; int32_t intValue; uint32_t unsignedIntValue;
        float floatValue; double doubleValue; bool boolValue;
    } rows[] = {
        // Absent and unsuitable values give the defaults: 7 for the numbers, true for the boolean.
        { nullptr, 7, 7, 7, 7, 7.0f, 7.0, true },
        { yk::Date::date(), 7, 7, 7, 7, 7.0f, 7.0, true },
        // Numbers use their own accessors.
        { yk::Number::numberWithInt(70000), 4464, 4464, 70000, 70000, 70000.0f, 70000.0, true },
        { yk::Number::numberWithInt(-1), -1, 65535, -1, 4294967295u, -1.0f, -1.0, true },
        { yk::Number::numberWithBool(false), 0, 0, 0, 0, 0.0f, 0.0, false },
        // Strings use intValue (cut to 16 bits, or its bit pattern), floatValue, doubleValue, YK_boolValue.
        { str("42"), 42, 42, 42, 42, 42.0f, 42.0, true },
        { str("-1"), -1, 65535, -1, 4294967295u, -1.0f, -1.0, true },
        { str("70000"), 4464, 4464, 70000, 70000, 70000.0f, 70000.0, true },
        { str("YES"), 0, 0, 0, 0, 0.0f, 0.0, true },
        { str("no"), 0, 0, 0, 0, 0.0f, 0.0, false },
    };
    auto key = str("key");
    for (const auto& row : rows) {
        SCOPED_TRACE(describe(row.value.get()));
        auto dictionary = yk::make<yk::MutableDictionary>();
        if (row.value)
            dictionary->setObject(row.value, key);
        EXPECT_EQ(yk::shortForKey(dictionary.get(), key.get(), 7), row.shortValue);
        EXPECT_EQ(yk::unsignedShortForKey(dictionary.get(), key.get(), 7), row.unsignedShortValue);
        EXPECT_EQ(yk::intForKey(dictionary.get(), key.get(), 7), row.intValue);
        EXPECT_EQ(yk::unsignedIntForKey(dictionary.get(), key.get(), 7), row.unsignedIntValue);
        EXPECT_FLOAT_EQ(yk::floatForKey(dictionary.get(), key.get(), 7.0f), row.floatValue);
        EXPECT_DOUBLE_EQ(yk::doubleForKey(dictionary.get(), key.get(), 7.0), row.doubleValue);
        EXPECT_EQ(yk::boolForKey(dictionary.get(), key.get(), true), row.boolValue);
    }
    EXPECT_EQ(yk::intForKey(nullptr, key.get(), 5), 5);
}

TEST(DictionaryAdditions, ObjectForStringComparesKeysUnderTheOptions)
{
    // Keys of other classes are skipped; the first equal key in enumeration order wins.
    auto dictionary = yk::make<yk::MutableDictionary>();
    dictionary->setObject(str("number key"), yk::Number::numberWithInt(1));
    dictionary->setObject(str("first"), str("Subject"));
    dictionary->setObject(str("second"), str("SUBJECT"));
    dictionary->setObject(str("decomposed"), str("Cafe\u0301"));

    struct Row { const char* asked; yk::StringCompareOptions options; const char* expected; } rows[] = {
        { "Subject", 0, "first" }, { "SUBJECT", 0, "second" }, { "subject", 0, "(null)" },
        { "subject", yk::CaseInsensitiveSearch, "first" }, { "SUBJECT", yk::CaseInsensitiveSearch, "first" },
        { "Subj", yk::CaseInsensitiveSearch, "(null)" }, { "Café", 0, "decomposed" }, { "Café", yk::LiteralSearch, "(null)" },
        { "1", 0, "(null)" },
    };
    for (const auto& row : rows) {
        auto value = yk::objectForString(dictionary.get(), str(row.asked).get(), row.options);
        EXPECT_EQ(describe(value.get()), row.expected) << row.asked << " options " << row.options;
    }
    EXPECT_FALSE(yk::objectForString(yk::make<yk::Dictionary>().get(), str("a").get(), 0));

    // Nil logs the receiver's class and gives nil.
    LogCapture log;
    EXPECT_FALSE(yk::objectForString(dictionary.get(), nullptr, 0));
    EXPECT_FALSE(yk::objectForString(dictionary->copy().get(), nullptr, 0));
    EXPECT_EQ(log.text(), "-[MutableDictionary objectForString:options:] with nil\n-[Dictionary objectForString:options:] with nil\n");
}

TEST(DictionaryAdditions, EqualityExceptForKeys)
{
    auto dictionary = [](const char* b, const char* date) {
        auto entries = yk::Dictionary::dictionaryWithEntries({ { str("a"), str("1") }, { str("b"), str(b) } })->mutableCopy();
        if (date)
            entries->setObject(str(date), str("date"));
        return entries;
    };
    auto base = dictionary("2", "Mon");
    // date null: absent; keys comma-separated, null: compare the whole dictionaries.
    struct Row { const char* b; const char* date; const char* keys; bool expected; } rows[] = {
        { "2", "Mon", nullptr, true }, { "2", "Tue", nullptr, false }, { "2", "Tue", "date", true },
        { "2", nullptr, "date", true }, { "2", "Tue", "x,y", false }, { "2", "Mon", "x", true },
        { "3", "Tue", "date", false }, { "3", "Tue", "date,b", true },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.b << " " << (row.date ? row.date : "-") << " except " << (row.keys ? row.keys : "nil"));
        auto other = dictionary(row.b, row.date);
        auto keys = row.keys ? str(row.keys)->componentsSeparatedByString(str(",").get()) : nullptr;
        EXPECT_EQ(yk::isEqualToDictionaryExceptForKeys(base.get(), other.get(), keys.get()), row.expected);
        if (keys && keys->count() == 1) {
            EXPECT_EQ(yk::isEqualToDictionaryExceptForKey(base.get(), other.get(), keys->objectAtIndex(0).get()), row.expected);
        }
    }
    EXPECT_FALSE(yk::isEqualToDictionaryExceptForKey(base.get(), nullptr, str("date").get()));
}

TEST(DictionaryAdditions, ContainsCountAndGetObjectsAndKeys)
{
    auto one = yk::Number::numberWithInt(1);
    auto dictionary = yk::Dictionary::dictionaryWithEntries({ { str("a"), one }, { str("b"), yk::Number::numberWithDouble(1.0) }, { str("c"), str("x") } });
    EXPECT_TRUE(yk::YK_containsObject(dictionary.get(), str("x").get()));
    EXPECT_FALSE(yk::YK_containsObject(dictionary.get(), str("a").get())); // a key, not a value
    EXPECT_EQ(yk::YK_countForObject(dictionary.get(), one.get()), 2u); // 1 and 1.0 are equal numbers
    EXPECT_EQ(yk::YK_countForObject(dictionary.get(), nullptr), 0u);

    std::vector<yk::Object*> objects(3), keys(3);
    yk::YK_getObjects(dictionary.get(), objects, keys);
    for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(dictionary->objectForKey(keys[i]).get(), objects[i]) << i;
    std::vector<yk::Object*> tooSmall(2);
    EXPECT_THROW(yk::YK_getObjects(dictionary.get(), tooSmall, {}), yk::Exception);
}

TEST(MutableDictionaryAdditions, SettersStoreNumbersOfTheirKindAddOnlyWhenAbsentReplaceOnlyWhenPresent)
{
    auto dictionary = yk::make<yk::MutableDictionary>();
    using Kind = yk::Number::Kind;
    // A value of 0: the row is only called with a nil key.
    struct Row { Kind kind; double value; std::function<void(const yk::Object*)> set; } rows[] = {
        { Kind::Short, -2, [&](auto key) { yk::setShort(dictionary.get(), -2, key); } },
        { Kind::UnsignedShort, 65535, [&](auto key) { yk::setUnsignedShort(dictionary.get(), 65535, key); } },
        { Kind::Int, -70000, [&](auto key) { yk::setInt(dictionary.get(), -70000, key); } },
        { Kind::UnsignedInt, 4e9, [&](auto key) { yk::setUnsignedInt(dictionary.get(), 4000000000u, key); } },
        { Kind::Float, 0.5, [&](auto key) { yk::setFloat(dictionary.get(), 0.5f, key); } },
        { Kind::Double, 0.1, [&](auto key) { yk::setDouble(dictionary.get(), 0.1, key); } },
        { Kind::Bool, 1, [&](auto key) { yk::setBool(dictionary.get(), true, key); } },
        // The core dictionary's add and replace operations raise the same error for nil arguments.
        { Kind::Int, 0, [&](auto) { yk::YK_addObject(dictionary.get(), str("v"), nullptr); } },
        { Kind::Int, 0, [&](auto) { yk::YK_replaceObject(dictionary.get(), nullptr, str("k").get()); } },
    };
    auto key = str("k");
    for (size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(testing::Message() << "row " << i);
        yk::test::expectRaise([&] { rows[i].set(nullptr); }, yk::NSInvalidArgumentException,
            "*** -[MutableDictionary setObject:forKey:]: nil string (or other) argument");
        if (!rows[i].value)
            continue;
        rows[i].set(key.get());
        auto number = yk::objectOfClass<yk::Number>(dictionary.get(), key.get());
        ASSERT_TRUE(number);
        EXPECT_EQ(number->kind(), rows[i].kind);
        EXPECT_EQ(number->doubleValue(), rows[i].value);
    }
    EXPECT_EQ(dictionary->count(), 1u);

    // Add only when absent, replace only when present.
    dictionary->removeObjectForKey(key.get());
    yk::YK_replaceObject(dictionary.get(), str("replaced early"), key.get());
    yk::YK_addObject(dictionary.get(), str("added"), key.get());
    yk::YK_addObject(dictionary.get(), str("added again"), key.get());
    EXPECT_EQ(describe(dictionary.get()), "{\n    k = added;\n}");
    yk::YK_replaceObject(dictionary.get(), str("replaced"), key.get());
    EXPECT_EQ(describe(dictionary.get()), "{\n    k = replaced;\n}");
}

TEST(MutableDictionaryAdditions, CodingObjectsGoThroughTheArchiver)
{
    auto dictionary = yk::make<yk::MutableDictionary>();
    auto value = yk::Array::arrayWithObjects({ str("a"), yk::Number::numberWithFloat(1.5f) });
    yk::setCodingObject(dictionary.get(), value.get(), str("archived").get());
    EXPECT_TRUE(yk::objectOfClass<yk::Data>(dictionary.get(), str("archived").get()));
    auto restored = yk::codingObjectForKey(dictionary.get(), str("archived").get());
    EXPECT_TRUE(restored && restored->isEqual(value.get()));
    dictionary->setObject(str("not data"), str("text"));
    EXPECT_FALSE(yk::codingObjectForKey(dictionary.get(), str("text").get()));
    dictionary->setObject(yk::Data::dataWithString("garbage"), str("garbage"));
    EXPECT_THROW((void)yk::codingObjectForKey(dictionary.get(), str("garbage").get()), yk::Exception);
}
