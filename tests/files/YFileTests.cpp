#include <Yarkit/YFile.h>

#include <Yarkit/YDefaultHandler.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Archiver.h>
#include <Yarkit/core/system/URL.h>
#include <Yarkit/core/system/FileManager.h>
#include <Yarkit/core/system/Unarchiver.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Dictionary.h>

#include <filesystem>
#include <tuple>

#include "core/LogCapture.h"
#include "files/FilesTestSupport.h"

namespace fs = std::filesystem;
using namespace yk;
using yk::test::str;

// A subclass, to check that files made from a file keep its class and that equality is
// one-sided.
class MailFile : public YFile {
    YK_OBJECT(MailFile, YFile)
public:
    using YFile::YFile;
};
YK_DEFINE_CLASS(MailFile);

// A handler whose answer and behaviour the test chooses.
class ScriptedHandler : public Object {
    YK_OBJECT(ScriptedHandler, Object)
public:
    bool answer = false;
    std::function<void()> onError;
    int errors = 0;

    bool shouldProceed(FileManager*, Dictionary*)
    {
        ++errors;
        if (onError)
            onError();
        return answer;
    }
};
YK_DEFINE_CLASS(ScriptedHandler, [](MethodListBuilder& c) {
    c.method("fileManager:shouldProceedAfterError:", &ScriptedHandler::shouldProceed);
});

namespace {

// Restores the default handler when the test ends.
struct HandlerScope {
    explicit HandlerScope(Object* handler) { YFile::setHandler(handler); }
    ~HandlerScope() { YFile::setHandler(nullptr); }
};

std::string pathOf(const Ref<String>& path)
{
    return path ? path->utf8() : "(nil)";
}

// The stored path is the normalised one (the path fuzz target pins that for every input).
TEST(YFile, NilPathsAndTheParentLadder)
{
    EXPECT_EQ(YFile::fileWithPath(nullptr), nullptr);
    EXPECT_EQ(make<YFile>()->path()->utf8(), "");
    EXPECT_EQ(YFile::fileWithParentPath(nullptr, str("n").get())->path()->utf8(), "n");
    EXPECT_EQ(YFile::fileWithParentPath(str("/p//").get(), nullptr)->path()->utf8(), "/p");
    EXPECT_EQ(YFile::fileWithParentPath(nullptr, nullptr), nullptr);

    // parentPath repeatedly until nil.
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        { "/a/b", { "/a", "/", "(nil)" } },
        { "a/b", { "a", "", "(nil)" } },
        { "a", { "", "(nil)" } },
        { "/", { "(nil)" } },
        { "", { "(nil)" } },
    };
    for (const auto& [path, expected] : cases) {
        std::vector<std::string> ladder;
        for (auto file = YFile::fileWithPath(str(path).get());;) {
            auto parent = file->parentPath();
            ladder.push_back(pathOf(parent));
            if (!parent)
                break;
            file = YFile::fileWithPath(parent.get());
        }
        EXPECT_EQ(ladder, expected) << path;
    }
    auto typed = make<MailFile>(str("/m/x").get());
    EXPECT_TRUE(typed->parentFile()->isMemberOfClass(MailFile::staticClass()));
}

TEST(YFile, HashAndEqualityAreByteExact)
{
    EXPECT_EQ(YFile::fileWithPath(str("/a").get())->hash(), 1554u);
    EXPECT_EQ(YFile::fileWithPath(str("/ab").get())->hash(), 1554u * 31 + 'b');
    // A byte above 0x7F counts unsigned: "\xE9" is the UTF-8 of U+00E9 here, two bytes.
    EXPECT_EQ(YFile::fileWithPath(str("\xC3\xA9").get())->hash(), 0xC3u * 31 + 0xA9);

    // A lone high surrogate has no file-system bytes; the two messages differ on purpose.
    auto bad = make<String>(std::u16string(u"x\xD800"));
    auto a = YFile::fileWithPath(bad.get());
    LogCapture capture;
    EXPECT_EQ(a->hash(), 0u);
    EXPECT_FALSE(a->isEqualToFile(YFile::fileWithPath(bad.get()).get()));
    EXPECT_TRUE(a->isEqualToFile(a.get()));
    const std::string text = capture.text();
    EXPECT_NE(text.find("Could not interpret x\xEF\xBF\xBD as a system-independent path\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Could not interpret 'x\xEF\xBF\xBD' as system-independent path\n"), std::string::npos) << text;

    auto plain = YFile::fileWithPath(str("/a/b").get());
    auto mail = make<MailFile>(str("/a//b/").get());
    EXPECT_TRUE(plain->isEqual(mail.get()));
    EXPECT_FALSE(mail->isEqual(plain.get()));
    EXPECT_FALSE(plain->isEqual(nullptr));
    EXPECT_FALSE(plain->isEqual(str("/a/b").get()));
    EXPECT_FALSE(plain->isEqual(YFile::fileWithPath(str("/A/b").get()).get()));
    EXPECT_FALSE(YFile::fileWithPath(str("a").get())->isEqual(YFile::fileWithPath(str("/a").get()).get()));
    EXPECT_EQ(plain->copy().get(), plain.get());

    auto decoded = Unarchiver::unarchiveObjectWithData(Archiver::archivedDataWithRootObject(plain.get()).get());
    auto* copy = dynamic_cast<YFile*>(decoded.get());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->path()->utf8(), "/a/b");
    EXPECT_EQ(copy->hash(), plain->hash());
    EXPECT_TRUE(copy->isEqual(plain.get()));
}

TEST(YFile, AncestryAndRelativePaths)
{
    const std::tuple<const char*, const char*, bool, const char*> cases[] = {
        { "/a/b/c", "/a", true, "b/c" },
        { "/a/b/c", "/a/b/c", true, "" },
        { "/a/b/c", "/x", false, "(nil)" },
        { "/a/b/c", "/", true, "a/b/c" },
        { "a/b", "a", false, "b" }, // relative: never a descendant, but the walk still finds it
        { "/ab/c", "/a", false, "(nil)" },
    };
    for (auto [path, ancestorPath, descendant, relative] : cases) {
        auto file = YFile::fileWithPath(str(path).get());
        auto ancestor = YFile::fileWithPath(str(ancestorPath).get());
        EXPECT_EQ(file->isDescendantOfFile(ancestor.get()), descendant) << path << " in " << ancestorPath;
        EXPECT_EQ(pathOf(file->relativePathToFile(ancestor.get())), relative) << path << " to " << ancestorPath;
    }
}

TEST(YFile, CreatesDeletesListsAndNamesURLs)
{
    yk::test::TemporaryFolder folder;
    const auto root = folder.path();
    auto deep = YFile::fileWithPath(yk::test::pathIn(folder, "x/y").get());
    EXPECT_TRUE(deep->createDirectories());
    EXPECT_TRUE(fs::is_directory(root / "x/y"));

    // A relative path whose first component is missing ends at the empty path and fails.
    auto cwd = fs::current_path();
    fs::current_path(root);
    EXPECT_FALSE(YFile::fileWithPath(str("p/q").get())->createDirectories());
    EXPECT_FALSE(fs::exists(root / "p"));
    fs::current_path(cwd);

    auto note = YFile::fileWithPath(yk::test::pathIn(folder, "x/note.txt").get());
    EXPECT_TRUE(note->createFile());
    folder.write("x/note.txt", "kept");
    EXPECT_FALSE(note->createFile());
    EXPECT_EQ(folder.read(root / "x/note.txt"), "kept");
    EXPECT_EQ(note->contents()->stringView(), "kept");

    EXPECT_TRUE(note->hasName(str("note.txt").get()));
    EXPECT_FALSE(note->hasName(str("NOTE.txt").get()));

    // Listings with a filter are checked with the filter's own tests.
    auto x = YFile::fileWithPath(yk::test::pathIn(folder, "x").get());
    auto names = x->directoryContents();
    ASSERT_NE(names, nullptr);
    EXPECT_EQ(names->count(), 2u);

    // A folder's URL ends with a slash; one for a missing file does not.
    fs::create_directory(root / "a b");
    auto folderFile = YFile::fileWithPath(yk::test::pathIn(folder, "a b").get());
    EXPECT_EQ(folderFile->URL()->absoluteString()->utf8(), "file://" + root.string() + "/a%20b/");
    auto missing = YFile::fileWithPath(yk::test::pathIn(folder, "a b/new").get());
    EXPECT_EQ(missing->URL()->path()->utf8(), (root / "a b/new").string());

    LogCapture capture;
    EXPECT_FALSE(x->deleteFile());
    EXPECT_TRUE(fs::exists(root / "x"));
    EXPECT_TRUE(x->deleteAll());
    EXPECT_FALSE(fs::exists(root / "x"));
    EXPECT_FALSE(x->deleteAll());
    EXPECT_NE(capture.text().find("Error occurred during file operation: 'No such file or directory' with path: '"),
        std::string::npos);
}

TEST(YFile, DefaultHandlerLogsOneOfFiveLines)
{
    auto e = str("E"), p = str("P"), t = str("T");
    const std::pair<Ref<Dictionary>, const char*> cases[] = {
        { Dictionary::dictionaryWithEntries({ { str("Error"), e }, { str("Path"), p }, { str("ToPath"), t } }),
            "Error occurred during file operation: 'E' with path: 'P' to path: 'T'\n" },
        { Dictionary::dictionaryWithEntries({ { str("Error"), e }, { str("Path"), p } }),
            "Error occurred during file operation: 'E' with path: 'P'\n" },
        { Dictionary::dictionaryWithEntries({ { str("Error"), e }, { str("ToPath"), t } }),
            "Error occurred during file operation: 'E'\n" },
        { Dictionary::dictionaryWithEntries({ { str("Path"), p }, { str("ToPath"), t } }),
            "Error occurred during file operation with path 'P'\n" },
        { make<Dictionary>(), "Error occurred during file operation\n" },
        { nullptr, "" },
    };
    for (const auto& [info, line] : cases) {
        LogCapture capture;
        EXPECT_FALSE(YDefaultHandler::handler()->fileManagerShouldProceedAfterError(nullptr, info.get()));
        EXPECT_EQ(capture.text(), line);
    }
    EXPECT_EQ(YFile::handler().get(), YDefaultHandler::handler());
}

TEST(YFile, HandlerDecidesRenameAndLeavesTheClassLockFree)
{
    yk::test::TemporaryFolder folder;
    auto missing = YFile::fileWithPath(yk::test::pathIn(folder, "missing").get());
    auto target = YFile::fileWithPath(yk::test::pathIn(folder, "target").get());
    auto handler = make<ScriptedHandler>();
    HandlerScope scope(handler.get());
    EXPECT_FALSE(missing->renameToFile(target.get()));
    handler->answer = true;
    EXPECT_TRUE(missing->renameToFile(target.get()));
    EXPECT_EQ(handler->errors, 2);
    handler->answer = false;

    handler->onError = [&] { (void)missing->contents(); }; // a locked operation: the lock raises
    yk::test::expectRaise([&] { missing->deleteAll(); }, NSInternalInconsistencyException, "deadlock", true);
    handler->onError = [] { yk::raise("Custom", "from the handler"); };
    yk::test::expectRaise([&] { missing->deleteAll(); }, "Custom", "from the handler");
    handler->onError = nullptr;
    EXPECT_EQ(missing->contents(), nullptr); // would raise "deadlock" if the lock were still held
    EXPECT_FALSE(missing->deleteAll());
}

} // namespace
