#include "core/CoreTestSupport.h"
#include "core/LanguageScope.h"
#include "core/TemporaryFolder.h"

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Bundle.h>
#include <Yarkit/core/values/String.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using yk::test::str;

// A class of the test program, not of the framework.
class ProgramClass : public yk::Object {
    YK_OBJECT(ProgramClass, yk::Object)
};
YK_DEFINE_CLASS(ProgramClass);

TEST(Bundle, EachBundleIsOneObjectWhicheverWayItIsReached)
{
    auto framework = yk::Bundle::frameworkBundle();
    EXPECT_EQ(yk::Bundle::bundleWithIdentifier(str("org.yarkit.Yarkit").get()), framework);
    EXPECT_EQ(yk::Bundle::bundleForClass(yk::String::staticClass()), framework);
    EXPECT_EQ(yk::Bundle::bundleForClass(yk::Bundle::staticClass()), framework);
    EXPECT_EQ(framework->bundleIdentifier()->utf8(), "org.yarkit.Yarkit");
    EXPECT_EQ(yk::Bundle::bundleWithPath(framework->bundlePath().get()), framework);

    // The program's classes belong to the main bundle, which its folder reaches too, also
    // through a symbolic link.
    auto main = yk::Bundle::mainBundle();
    EXPECT_NE(main, framework);
    EXPECT_FALSE(main->bundleIdentifier());
    EXPECT_EQ(yk::Bundle::bundleForClass(ProgramClass::staticClass()), main);
    EXPECT_EQ(yk::Bundle::bundleWithPath(main->bundlePath().get()), main);
    yk::test::TemporaryFolder folder;
    std::filesystem::create_directory_symlink(main->bundlePath()->utf8(), folder.path() / "link");
    EXPECT_EQ(yk::Bundle::bundleWithPath(str((folder.path() / "link/.").c_str()).get()), main);

    EXPECT_FALSE(yk::Bundle::bundleWithIdentifier(str("org.example.Other").get()));
    EXPECT_FALSE(yk::Bundle::bundleForClass(nullptr));
}

TEST(Bundle, ResourcesLieBesideTheLibraryAsInstalled)
{
    auto framework = yk::Bundle::frameworkBundle();
    std::filesystem::path library = framework->executablePath()->utf8();
    auto prefix = std::filesystem::canonical(library).parent_path().parent_path();
    EXPECT_EQ(std::filesystem::path(framework->localeDirectory()), prefix / "share/locale");
    EXPECT_TRUE(std::filesystem::exists(prefix / "share/locale/ja/LC_MESSAGES/yarkit.mo"));
    EXPECT_EQ(framework->pathForAuxiliaryExecutable(str("tool").get())->utf8(), (prefix / "libexec/yarkit/tool").string());
}

struct LookupRow {
    const char* language;
    const char* key; // null for nil
    const char* value; // null for nil
    const char* table; // null for nil
    const char* expected;
};

TEST(Bundle, LocalizedStringFallsBackToTheValueThenTheKey)
{
    const LookupRow rows[] = {
        { "ja", "today", "", "Date", "今日" },
        { "ja", "nextday", nullptr, "Date", "明後日" },
        { "ja", "%.0f bytes", "", "Formatter", "%.0f バイト" },
        // KB to PB stay untranslated: the key.
        { "ja", "%.1f KB", "", "Formatter", "%.1f KB" },
        // The table is the message context: the same key in another table is not found.
        { "ja", "today", "", "Formatter", "today" },
        { "ja", "today", "", nullptr, "today" },
        // Without a table only "Localizable" is consulted, so a key of another table falls back.
        { "ja", "today", nullptr, "", "today" },
        { "ja", "unknown", "fallback", "Date", "fallback" },
        { "ja", nullptr, "v", nullptr, "v" },
        { "ja", "unknown", nullptr, "Date", "unknown" },
        { "en", "today", "", "Date", "today" },
        { "C", "today", "", "Date", "today" },
    };
    auto framework = yk::Bundle::frameworkBundle();
    for (const auto& row : rows) {
        yk::test::LanguageScope language(row.language);
        auto key = row.key ? str(row.key) : nullptr;
        auto value = row.value ? str(row.value) : nullptr;
        auto table = row.table ? str(row.table) : nullptr;
        auto result = framework->localizedStringForKey(key.get(), value.get(), table.get());
        EXPECT_EQ(result->utf8(), row.expected) << row.language << " " << (row.key ? row.key : "(nil)") << " in " << (row.table ? row.table : "(nil)");
    }
}

} // namespace
