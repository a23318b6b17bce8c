#include <Yarkit/YFileFilter.h>

#include <Yarkit/YFile.h>
#include <Yarkit/core/values/MutableArray.h>

#include <filesystem>
#include <set>
#include <string>
#include <tuple>

#include "files/FilesTestSupport.h"

namespace fs = std::filesystem;
using namespace yk;
using yk::test::str;

namespace {

Ref<YFileFilter> patternFilter(const char* pattern, bool caseSensitive)
{
    return make<YFileFilter>(0, str(pattern).get(), caseSensitive, nullptr, true);
}

TEST(YFileFilter, MatchesNames)
{
    const std::tuple<const char*, bool, const char*, bool> cases[] = {
        { "%", false, "anything", true },
        { "*", false, "anything", true },
        { "%", false, "", false },
        { "", false, "a", false },
        { "*.txt", false, "a.txt", false }, // "*" is a wildcard only alone
        { "*.txt", false, "*.TXT", true },
        { "%.txt", false, "A.TXT", true },
        { "%.txt", true, "A.TXT", false },
        { "%.txt", true, ".txt", true },
        { "a%b%c%d", false, "abcd", false }, // the range shrinks by the absolute end
        { "a%b%c%d", false, "abxxxxcd", false }, // c lies beyond the shrunk range
        { "a%b%c%d", false, "abcxxxxd", true },
        { "%a%b%c%", false, "abc", false },
        { "%a%b%c%", false, "zzzazbc", false }, // the range would go below zero
        { "%a%b%", false, "zzzab", true },
        { "ab%ba", false, "aba", true }, // prefix and suffix may overlap
        { "%x%y", false, "xy", true },
        { "%%", false, "x", true },
        { "re%%port", false, "report", true },
        { "mail", false, "MAIL", true },
        { "mail", true, "MAIL", false },
        { "%.eml", false, "\xE5\xA0\xB1\xE5\x91\x8A.EML", true }, // non-ASCII name: the string searches
        { "\xC3\xA9t\xC3\xA9%", false, "\xC3\x89T\xC3\x89.txt", true },
        { "%stra\xC3\x9F" "e", false, "Hauptstrasse", true }, // full case folding
        { "%strasse", false, "HAUPTSTRA\xC3\x9F" "E", true },
    };
    for (auto [pattern, caseSensitive, name, matches] : cases) {
        auto filter = patternFilter(pattern, caseSensitive);
        EXPECT_EQ(filter->_matchesName(str(name).get()), matches) << pattern << " on " << name;
        EXPECT_EQ(filter->matchesNameUsingStringSearch(str(name).get()), matches) << pattern << " on " << name;
    }
    EXPECT_FALSE(patternFilter("%", false)->_matchesName(nullptr));
    EXPECT_FALSE(make<YFileFilter>(0, nullptr, false, nullptr, true)->_matchesName(str("a").get()));
}

TEST(YFileFilter, AcceptsByKindExtensionAndVisibility)
{
    yk::test::TemporaryFolder folder;
    const auto root = folder.path();
    fs::create_directory(root / "dir");
    folder.write("notes.TXT", "");
    folder.write(".hidden.txt", "");
    fs::create_symlink(root / "dir", root / "dirlink");
    fs::create_symlink(root / "notes.TXT", root / "filelink.txt");
    auto txt = Array::arrayWithObjects({ str("txt") });

    // Type, extensions, case-sensitive, list hidden files; the name and whether it is accepted.
    const std::tuple<int32_t, const Array*, bool, bool, const char*, bool> cases[] = {
        { 0, nullptr, false, true, "dir", true },
        { 1, nullptr, false, true, "dir", true },
        { 2, nullptr, false, true, "dir", false },
        { 1, nullptr, false, true, "dirlink", false }, // a link to a folder is no folder
        { 4, nullptr, false, true, "dirlink", true },
        { 2, nullptr, false, true, "filelink.txt", false },
        { 6, nullptr, false, true, "filelink.txt", true },
        { 2, txt.get(), false, true, "notes.TXT", true },
        { 2, txt.get(), true, true, "notes.TXT", false },
        { 0, txt.get(), false, true, "dir", false },
        { 0, nullptr, false, false, ".hidden.txt", false },
        { 0, nullptr, false, true, ".hidden.txt", true },
    };
    auto listed = [](const Array* files) {
        std::set<std::string> paths;
        for (auto& file : *files)
            paths.insert(static_cast<YFile*>(file.get())->path()->utf8());
        return paths;
    };
    auto folderFile = YFile::fileWithPath(str(root.c_str()).get());
    auto all = folderFile->directoryFiles();
    for (auto [type, extensions, caseSensitive, listHidden, name, accepted] : cases) {
        auto filter = make<YFileFilter>(type, str("%").get(), caseSensitive, extensions, listHidden);
        auto file = YFile::fileWithPath(yk::test::pathIn(folder, name).get());
        EXPECT_EQ(filter->acceptWithFile(file.get()), accepted) << name << " type " << type;
        // A listing takes the kinds from readdir: it keeps what acceptWithFile keeps.
        auto expected = make<MutableArray>();
        for (auto& entry : *all) {
            if (filter->acceptWithFile(static_cast<YFile*>(entry.get())))
                expected->addObject(entry);
        }
        EXPECT_EQ(listed(folderFile->directoryFilesWithFileFilter(filter.get()).get()), listed(expected.get())) << "type " << type;
    }
    EXPECT_TRUE(make<YFileFilter>()->acceptWithFile(YFile::fileWithPath(yk::test::pathIn(folder, ".hidden.txt").get()).get()));
}

} // namespace
