#include <Yarkit/UserDefaultsAdditions.h>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/String.h>

#include <gtest/gtest.h>

#include "core/CoreTestSupport.h"
#include "core/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <limits>

namespace fs = std::filesystem;
using yk::Ref;
using yk::test::str;

namespace {

// A defaults file in a fresh temporary folder.
class DefaultsFile : public yk::test::TemporaryFolder {
public:
    fs::path file() const { return path() / "defaults.json"; }
};

constexpr int32_t unrecognized = std::numeric_limits<int32_t>::min();

} // namespace

TEST(UserDefaultsAdditions, ReadsWithADefaultForAbsentKeys)
{
    DefaultsFile folder;
    yk::UserDefaults defaults(folder.file(), {});
    struct Row {
        Ref<yk::Object> value; // null: absent
        int32_t integer;       // `unrecognized`: raises
        float floating;
        bool boolean;
    } rows[] = {
        { nullptr, 76, 0.5f, true },
        { str("42"), 42, 42.0f, true },
        { str("no"), 0, 0.0f, false },
        { yk::Number::numberWithDouble(2.5), 2, 2.5f, true },
        { yk::Number::numberWithBool(false), 0, 0.0f, false },
        // No type test: values without intValue answer as unrecognized selectors; the boolean
        // read gives the default.
        { yk::Date::dateWithTimeIntervalSinceReferenceDate(10), unrecognized, 0, true },
        { yk::Array::arrayWithObjects({ str("1") }), unrecognized, 0, true },
        { yk::Data::dataWithString("1"), unrecognized, 0, true },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value ? row.value->classObject()->name() : "absent");
        defaults.setObject(row.value.get(), "Key");
        EXPECT_EQ(yk::boolForKey(&defaults, "Key", true), row.boolean);
        if (row.integer != unrecognized) {
            EXPECT_EQ(yk::integerForKey(&defaults, "Key", 76), row.integer);
            EXPECT_FLOAT_EQ(yk::floatForKey(&defaults, "Key", 0.5f), row.floating);
            continue;
        }
        const std::string className = defaults.objectForKey("Key")->classObject()->name();
        for (auto [selector, read] : { std::pair<const char*, std::function<void()>> { "intValue", [&] { (void)yk::integerForKey(&defaults, "Key", 76); } },
                 { "floatValue", [&] { (void)yk::floatForKey(&defaults, "Key", 0.5f); } } }) {
            yk::test::expectRaise(read, yk::NSInvalidArgumentException,
                "-[" + className + " " + selector + "]: unrecognized selector sent to instance");
        }
    }
}

TEST(UserDefaultsAdditions, DefaultsFromTheCommandLineAndRegistration)
{
    DefaultsFile folder;
    yk::UserDefaults defaults(folder.file(), { "-DefaultBase64LineLength", "64", "-atos-path", "/usr/bin/eu-addr2line" });
    defaults.registerDefaults(yk::Dictionary::dictionaryWithEntries({ { str("YKRegexPatternSyntax"), yk::Number::numberWithInt(3) } }).get());
    EXPECT_EQ(yk::integerForKey(&defaults, "DefaultBase64LineLength", 76), 64);
    EXPECT_EQ(yk::integerForKey(&defaults, "YKRegexPatternSyntax", 0), 3);
    EXPECT_EQ(defaults.stringForKey("atos-path")->utf8(), "/usr/bin/eu-addr2line");

    yk::UserDefaults bare(folder.file(), {});
    EXPECT_EQ(yk::integerForKey(&bare, "DefaultBase64LineLength", 76), 76);
}

TEST(UserDefaultsAdditions, CodingObjectsSurviveAReload)
{
    DefaultsFile folder;
    auto value = yk::Dictionary::dictionaryWithEntries({ { yk::Number::numberWithInt(1), str("number keys are fine in an archive") } });
    {
        yk::UserDefaults defaults(folder.file(), {});
        yk::setCodingObject(&defaults, value.get(), "Archived");
        defaults.setObject(str("plain").get(), "Plain");
        ASSERT_TRUE(defaults.synchronize());
    }
    yk::UserDefaults reloaded(folder.file(), {});
    auto restored = yk::codingObjectForKey(&reloaded, "Archived");
    ASSERT_TRUE(restored);
    EXPECT_TRUE(restored->isEqual(value.get()));
    EXPECT_FALSE(yk::codingObjectForKey(&reloaded, "Plain"));
    EXPECT_FALSE(yk::codingObjectForKey(&reloaded, "Absent"));
}
