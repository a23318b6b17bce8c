#include <Yarkit/UserDefaultsAdditions.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/Number.h>

#include <gtest/gtest.h>

#include "core/CoreTestSupport.h"
#include "core/TemporaryFolder.h"

using yk::Ref;
using yk::test::str;

TEST(UserDefaultsAdditions, ReadsWithADefaultForAbsentKeysAndWithoutATypeTestOtherwise)
{
    yk::test::TemporaryFolder folder;
    yk::UserDefaults defaults(folder.path() / "defaults.json", {});
    // A null value is absent; an unrecognized one makes the integer and float reads raise.
    struct Row { Ref<yk::Object> value; bool recognized; int32_t integer; float floating; bool boolean; } rows[] = {
        { nullptr, true, 76, 0.5f, true },
        { str("42"), true, 42, 42.0f, true },
        { str("no"), true, 0, 0.0f, false },
        { yk::Number::numberWithDouble(2.5), true, 2, 2.5f, true },
        { yk::Number::numberWithBool(false), true, 0, 0.0f, false },
        // Values without intValue answer as unrecognized selectors; the boolean read gives the default.
        { yk::Date::dateWithTimeIntervalSinceReferenceDate(10), false, 0, 0, true },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value ? row.value->classObject()->name() : "absent");
        defaults.setObject(row.value.get(), "Key");
        EXPECT_EQ(yk::boolForKey(&defaults, "Key", true), row.boolean);
        if (row.recognized) {
            EXPECT_EQ(yk::integerForKey(&defaults, "Key", 76), row.integer);
            EXPECT_FLOAT_EQ(yk::floatForKey(&defaults, "Key", 0.5f), row.floating);
            continue;
        }
        const std::string prefix = "-[" + std::string(row.value->classObject()->name()) + " ";
        yk::test::expectRaise([&] { (void)yk::integerForKey(&defaults, "Key", 76); }, yk::NSInvalidArgumentException,
            prefix + "intValue]: unrecognized selector sent to instance");
        yk::test::expectRaise([&] { (void)yk::floatForKey(&defaults, "Key", 0.5f); }, yk::NSInvalidArgumentException,
            prefix + "floatValue]: unrecognized selector sent to instance");
    }
}

TEST(UserDefaultsAdditions, CodingObjectsAreStoredAsArchives)
{
    yk::test::TemporaryFolder folder;
    yk::UserDefaults defaults(folder.path() / "defaults.json", {});
    auto value = yk::Dictionary::dictionaryWithEntries({ { yk::Number::numberWithInt(1), str("number keys are fine in an archive") } });
    yk::setCodingObject(&defaults, value.get(), "Archived");
    defaults.setObject(str("plain").get(), "Plain");
    auto restored = yk::codingObjectForKey(&defaults, "Archived");
    EXPECT_TRUE(restored && restored->isEqual(value.get()));
    EXPECT_FALSE(yk::codingObjectForKey(&defaults, "Plain") || yk::codingObjectForKey(&defaults, "Absent"));
}
