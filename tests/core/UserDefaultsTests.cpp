#include <Yarkit/core/system/UserDefaults.h>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/MutableString.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/Value.h>

#include <gtest/gtest.h>

#include "CoreTestSupport.h"
#include "TemporaryFolder.h"
#include "LogCapture.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <optional>

namespace fs = std::filesystem;
using yk::Ref;
using yk::test::describe;
using yk::test::str;

namespace {

using yk::test::TemporaryFolder;

// Sets an environment variable for the life of the object.
struct ScopedEnvironment {
    ScopedEnvironment(const char* name, const std::string& value)
        : name(name)
        , saved(std::getenv(name) ? std::optional<std::string>(std::getenv(name)) : std::nullopt)
    {
        setenv(name, value.c_str(), 1);
    }
    ~ScopedEnvironment() { saved ? setenv(name, saved->c_str(), 1) : unsetenv(name); }
    const char* name;
    std::optional<std::string> saved;
};

// Each test gets a defaults file of its own in a fresh folder.
class UserDefaults : public testing::Test {
protected:
    TemporaryFolder folder;
    fs::path file = folder.path() / "defaults.json";
};

} // namespace

TEST_F(UserDefaults, ArgumentsBecomePairsOfKeyAndValue)
{
    struct Row {
        std::vector<std::string> arguments;
        const char* key;
        Ref<yk::Object> expected; // null: the key is absent
    } rows[] = {
        { { "-Flag", "true" }, "Flag", yk::Number::numberWithBool(true) }, { { "-Flag", "YES" }, "Flag", str("YES") },
        { { "-Zip", "007" }, "Zip", str("007") }, { { "-Quoted", "\"42\"" }, "Quoted", str("42") },
        { { "-Nothing", "null" }, "Nothing", str("null") },
        { { "-List", "[1.5, \"a\"]" }, "List", yk::Array::arrayWithObjects({ yk::Number::numberWithDouble(1.5), str("a") }) },
        { { "-Bytes", "{\"$data\": \"AAE=\"}" }, "Bytes", yk::Data::dataWithBytes("\x00\x01", 2) },
        { { "-BadBytes", "{\"$data\": \"A\"}" }, "BadBytes", str("{\"$data\": \"A\"}") },
        { { "file.txt", "-Key", "1", "-Key", "-2" }, "Key", yk::Number::numberWithInt(-2) },
        { { "-Next", "-Other", "x" }, "Next", str("-Other") }, { { "-Next", "-Other", "x" }, "Other", nullptr },
        { { "--gtest_filter=x", "y" }, "-gtest_filter=x", nullptr }, { { "-", "x" }, "", nullptr }, { { "-Trailing" }, "Trailing", nullptr },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.arguments[0] << " ... key " << row.key);
        auto value = yk::detail::argumentDomainFromArguments(row.arguments)->objectForKey(std::string_view(row.key));
        EXPECT_EQ(describe(value.get()), describe(row.expected.get()));
        EXPECT_EQ(value ? value->classObject() : nullptr, row.expected ? row.expected->classObject() : nullptr);
    }
}

TEST_F(UserDefaults, ArgumentsBeatTheFileWhichBeatsRegistrations)
{
    folder.write(file, R"({"InFile": "file", "InFileAndArguments": "file", "InAll": "file", "InFileAndRegistration": "file"})");
    yk::UserDefaults defaults(file, { "-InArguments", "argument", "-InFileAndArguments", "argument", "-InAll", "argument" });
    defaults.registerDefaults(yk::Dictionary::dictionaryWithEntries({
        { str("InRegistration"), str("registration") },
        { str("InFileAndRegistration"), str("registration") },
        { str("InAll"), str("registration") },
    }).get());

    struct Row {
        const char *key, *expected;
    } rows[] = {
        { "InArguments", "argument" }, { "InFile", "file" }, { "InRegistration", "registration" },
        { "InFileAndArguments", "argument" }, { "InFileAndRegistration", "file" }, { "InAll", "argument" },
        { "Nowhere", "(null)" },
    };
    for (const auto& row : rows)
        EXPECT_EQ(describe(defaults.stringForKey(row.key).get()), row.expected) << row.key;
    EXPECT_EQ(defaults.dictionaryRepresentation()->count(), 6u);

    // Removing from the application domain uncovers the registration.
    defaults.removeObject("InFileAndRegistration");
    EXPECT_EQ(defaults.stringForKey("InFileAndRegistration")->utf8(), "registration");
    // Setting a key the arguments hold is stored but stays hidden behind them.
    defaults.setObject(str("set").get(), "InArguments");
    EXPECT_EQ(defaults.stringForKey("InArguments")->utf8(), "argument");
    EXPECT_TRUE(defaults.persistentDomain()->objectForKey(std::string_view("InArguments"))->isEqual(str("set").get()));
}

TEST_F(UserDefaults, EveryKindSurvivesAReloadFromTheFile)
{
    file = folder.path() / "nested" / "app" / "defaults.json";
    auto date = yk::Date::dateWithTimeIntervalSinceReferenceDate(123456.75);
    std::vector<std::pair<const char*, Ref<yk::Object>>> values = {
        { "string", str("日本語 \"quoted\" \\ text") }, { "int", yk::Number::numberWithInt(-42) },
        { "big", yk::Number::numberWithUnsignedLongLong(18446744073709551615ull) },
        { "double", yk::Number::numberWithDouble(0.1) }, { "wholeDouble", yk::Number::numberWithDouble(3.0) },
        { "infinity", yk::Number::numberWithDouble(HUGE_VAL) }, { "bool", yk::Number::numberWithBool(true) },
        { "data", yk::Data::dataWithBytes("\x00\xff\x10", 3) }, { "emptyData", yk::Data::dataWithBytes(nullptr, 0) }, { "date", date },
        { "array", yk::Array::arrayWithObjects({ str("a"), yk::Number::numberWithInt(1), date }) },
        { "dictionary", yk::Dictionary::dictionaryWithEntries({ { str("$data"), str("not data") }, { str("$$x"), str("y") } }) },
        { "$date", str("a key that looks like a tag") },
    };
    {
        yk::UserDefaults defaults(file, {});
        for (const auto& [key, value] : values)
            defaults.setObject(value.get(), key);
        ASSERT_TRUE(defaults.synchronize());
    }
    // The write left no temporary file behind.
    EXPECT_EQ(std::distance(fs::directory_iterator(file.parent_path()), fs::directory_iterator()), 1);

    yk::UserDefaults reloaded(file, {});
    for (const auto& [key, value] : values) {
        auto read = reloaded.objectForKey(key);
        ASSERT_TRUE(read) << key;
        EXPECT_TRUE(read->isEqual(value.get())) << key << ": " << describe(read.get());
        EXPECT_TRUE(read->isKindOfClass(value->classObject())) << key;
    }
    // Integers, floating values and booleans keep their kinds in the file.
    EXPECT_EQ(static_cast<yk::Number*>(reloaded.objectForKey("bool").get())->kind(), yk::Number::Kind::Bool);
    EXPECT_FALSE(static_cast<yk::Number*>(reloaded.objectForKey("int").get())->isFloatingPoint());
    std::string text = TemporaryFolder::read(file);
    EXPECT_NE(text.find("\"data\": {\n        \"$data\": \"AP8Q\""), std::string::npos) << text;
    EXPECT_NE(text.find("\"wholeDouble\": 3.0"), std::string::npos) << text;
}

TEST_F(UserDefaults, MalformedFileIsAnEmptyDomainThatTheNextSaveReplaces)
{
    folder.write(file, "{ not json");
    LogCapture log;
    yk::UserDefaults defaults(file, {});
    EXPECT_EQ(defaults.persistentDomain()->count(), 0u);
    EXPECT_EQ(log.text(), "UserDefaults: ignoring the malformed defaults file " + file.string() + "\n");

    defaults.setInteger(7, "Answer");
    ASSERT_TRUE(defaults.synchronize());
    EXPECT_EQ(yk::UserDefaults(file, {}).integerForKey("Answer"), 7);

    // Values that stand for nothing are skipped, the rest kept.
    folder.write(file, R"({"good": 1, "null": null, "badData": {"$data": "!!"}, "nested": [1, null]})");
    EXPECT_EQ(yk::UserDefaults(file, {}).persistentDomain()->count(), 1u);
    EXPECT_NE(log.text().find("ignoring the value of \"badData\""), std::string::npos) << log.text();
}

TEST_F(UserDefaults, SynchronizeReadsAnotherWritersChangesAndKeepsItsOwnWhenItCannotWrite)
{
    folder.write(file, R"({"Mode": "old"})");
    yk::UserDefaults defaults(file, {});
    EXPECT_EQ(defaults.stringForKey("Mode")->utf8(), "old");

    folder.write(file, R"({"Mode": "new"})");
    fs::last_write_time(file, fs::last_write_time(file) + std::chrono::seconds(5));
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_EQ(defaults.stringForKey("Mode")->utf8(), "new");

    // With a regular file where the folder should be, changes stay unsaved but kept.
    folder.write(folder.path() / "blocker", "");
    LogCapture log;
    yk::UserDefaults blocked(folder.path() / "blocker" / "defaults.json", {});
    blocked.setBool(true, "Flag");
    EXPECT_FALSE(blocked.synchronize());
    EXPECT_TRUE(blocked.boolForKey("Flag"));
    EXPECT_NE(log.text().find("UserDefaults: cannot write"), std::string::npos);
}

TEST_F(UserDefaults, TypedGettersConvertNumbersAndStrings)
{
    yk::UserDefaults defaults(file, {});
    struct Row {
        Ref<yk::Object> value;
        int64_t integer;
        double floating;
        bool boolean;
        const char* string;
    } rows[] = {
        { yk::Number::numberWithDouble(2.5), 2, 2.5, true, "2.5" },
        { yk::Number::numberWithBool(false), 0, 0.0, false, "0" },
        { str("YES"), 0, 0.0, true, "YES" },
        { str("-3.75"), -3, -3.75, true, "-3.75" },
        { yk::Data::dataWithBytes("1", 1), 0, 0.0, false, "(null)" },
        { yk::Array::arrayWithObjects({ str("1") }), 0, 0.0, false, "(null)" },
    };
    for (const auto& row : rows) {
        defaults.setObject(row.value.get(), "key");
        SCOPED_TRACE(describe(row.value.get()));
        EXPECT_EQ(defaults.integerForKey("key"), row.integer);
        EXPECT_DOUBLE_EQ(defaults.doubleForKey("key"), row.floating);
        EXPECT_EQ(defaults.boolForKey("key"), row.boolean);
        EXPECT_EQ(describe(defaults.stringForKey("key").get()), row.string);
    }
    EXPECT_FALSE(defaults.dictionaryForKey("key") || defaults.dataForKey("key"));
}

TEST_F(UserDefaults, StoresImmutableCopiesOfPropertyListsOnly)
{
    yk::UserDefaults defaults(file, {});
    auto text = yk::MutableString::stringWithString(str("before").get());
    defaults.setObject(text.get(), "text");
    text->setString(str("after").get());
    EXPECT_EQ(defaults.objectForKey("text")->classObject(), yk::String::staticClass());
    EXPECT_EQ(defaults.stringForKey("text")->utf8(), "before");

    yk::test::expectRaise([&] { defaults.setObject(str("x").get(), static_cast<const yk::String*>(nullptr)); },
        yk::NSInvalidArgumentException, "*** -[UserDefaults setObject:forKey:]: nil string (or other) argument");
    auto value = yk::Value::valueWithRange({ 1, 2 });
    yk::test::expectRaise([&] { defaults.setObject(value.get(), "range"); },
        yk::NSInvalidArgumentException, "Attempt to insert non-property list object NSRange: {1, 2} for key range");
    auto numberKeys = yk::Dictionary::dictionaryWithEntries({ { yk::Number::numberWithInt(1), str("x") } });
    EXPECT_THROW(defaults.setObject(numberKeys.get(), "numberKeys"), yk::Exception);
    EXPECT_FALSE(defaults.objectForKey("range"));

    // A null value removes the key.
    defaults.setObject(nullptr, "text");
    EXPECT_FALSE(defaults.objectForKey("text"));
}

TEST_F(UserDefaults, StandardDefaultsLiveUnderTheConfigurationFolder)
{
    std::optional<ScopedEnvironment> configuration(std::in_place, "XDG_CONFIG_HOME", folder.path().string());
    ScopedEnvironment home("HOME", folder.path().string());
    yk::UserDefaults::setApplicationName("yarkit-defaults-test");
    yk::UserDefaults::resetStandardUserDefaults();

    auto* defaults = yk::UserDefaults::standardUserDefaults();
    EXPECT_EQ(defaults->path(), folder.path() / "yarkit-defaults-test" / "defaults.json");
    EXPECT_EQ(defaults, yk::UserDefaults::standardUserDefaults());
    defaults->setInteger(3, "Runs");
    yk::UserDefaults::resetStandardUserDefaults(); // saves
    EXPECT_EQ(yk::UserDefaults::standardUserDefaults()->integerForKey("Runs"), 3);

    // A relative configuration folder is ignored for the one under the home folder.
    configuration.emplace("XDG_CONFIG_HOME", "relative/path");
    EXPECT_EQ(yk::UserDefaults::defaultsPathForApplication("app"), folder.path() / ".config" / "app" / "defaults.json");
    yk::UserDefaults::setApplicationName("");
    yk::UserDefaults::resetStandardUserDefaults();
}

