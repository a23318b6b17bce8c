// The Yarkit demo: a mail client's building blocks at work. A background thread fetches a
// "mailbox" and reports back through a notification; the messages arrive in whatever Japanese
// encoding their senders used, and the text functions name the encoding, repair damaged bytes
// and decode them.
//
//     demo [EXAMPLES-FOLDER] [-DefaultBase64LineLength N]

#include "DemoParts.h"

#include <Yarkit/Yarkit.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

const char MailboxDidFetchNotification[] = "MailboxDidFetchNotification";

std::vector<unsigned char> readFile(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>() };
}

// Fetches on a thread of its own and posts what it found; the folder comes as the argument.
class MailboxFetcher : public yk::Object {
    YK_OBJECT(MailboxFetcher, yk::Object)
public:
    const yk::Ref<yk::ConditionLock> done { yk::make<yk::ConditionLock>(0) };

    void fetch(yk::String* folder)
    {
        std::vector<std::filesystem::path> messages = demo::listSamples(folder->utf8());
        auto userInfo = yk::MutableDictionary::dictionaryWithCapacity(1);
        userInfo->setObject(yk::Number::numberWithUnsignedInt(static_cast<uint32_t>(messages.size())), yk::String::withUTF8("count"));
        yk::NotificationCenter::defaultCenter()->postNotificationName(MailboxDidFetchNotification, this, userInfo.get());
        _messages = std::move(messages);
        done->lock();
        done->unlockWithCondition(1);
    }

    const std::vector<std::filesystem::path>& messages() const { return _messages; }

private:
    std::vector<std::filesystem::path> _messages;
};

YK_DEFINE_CLASS(MailboxFetcher, [](yk::MethodListBuilder& c) { c.method("fetch:", &MailboxFetcher::fetch); });

// The application's controller: it observes the fetcher by selector.
class MailController : public yk::Object {
    YK_OBJECT(MailController, yk::Object)
public:
    void mailboxDidFetch(yk::Notification* notification)
    {
        auto count = notification->userInfo()->objectForKey("count");
        std::printf("  %s: %s messages (observer called %s the main thread)\n", notification->name()->utf8().c_str(),
            count->description()->utf8().c_str(), yk::Thread::isMainThread() ? "on" : "off");
    }
};

YK_DEFINE_CLASS(MailController, [](yk::MethodListBuilder& c) { c.method("mailboxDidFetch:", &MailController::mailboxDidFetch); });

// Repairs the bytes in the encoding they were detected in; the repaired copy replaces them.
bool repairInPlace(std::vector<unsigned char>& bytes, CFStringEncoding encoding)
{
    unsigned char* repaired = nullptr;
    uint32_t repairedLength = 0;
    const auto length = static_cast<uint32_t>(bytes.size());
    bool fixed = false;
    switch (encoding) {
    case kCFStringEncodingUTF8:
        fixed = YKFixUTF8Bytes(bytes.data(), length, &repaired, &repairedLength);
        break;
    case kCFStringEncodingShiftJIS:
    case kCFStringEncodingDOSJapanese:
        fixed = YKFixShiftJISBytes(bytes.data(), length, &repaired, &repairedLength, encoding == kCFStringEncodingDOSJapanese ? 2 : 0);
        break;
    case kCFStringEncodingEUC_JP:
        fixed = YKFixEUCJPBytes(bytes.data(), length, &repaired, &repairedLength);
        break;
    default:
        return false;
    }
    if (fixed) {
        bytes.assign(repaired, repaired + repairedLength);
        std::free(repaired);
    }
    return fixed;
}

// For bytes no encoding accepts as they are: the encoding whose repair replaces the fewest
// sequences with "?", with the bytes repaired in it.
CFStringEncoding repairInLikeliestEncoding(std::vector<unsigned char>& bytes)
{
    CFStringEncoding best = kCFStringEncodingInvalidId;
    std::vector<unsigned char> bestBytes;
    long fewestMarks = 0;
    for (CFStringEncoding candidate : { kCFStringEncodingUTF8, kCFStringEncodingShiftJIS, kCFStringEncodingEUC_JP }) {
        auto repaired = bytes;
        repairInPlace(repaired, candidate);
        const long marks = std::count(repaired.begin(), repaired.end(), '?');
        if (best == kCFStringEncodingInvalidId || marks < fewestMarks) {
            best = candidate;
            bestBytes = std::move(repaired);
            fewestMarks = marks;
        }
    }
    bytes = std::move(bestBytes);
    return best;
}

void showMessage(const std::filesystem::path& path)
{
    auto bytes = readFile(path);
    CFStringEncoding encoding = YKDetectJapaneseEncoding(bytes.data(), static_cast<int32_t>(bytes.size()), false, false);
    const char* note = "";
    if (encoding == kCFStringEncodingInvalidId) {
        encoding = repairInLikeliestEncoding(bytes);
        note = " (repaired)";
    }
    auto text = yk::String::stringWithBytes(bytes.data(), bytes.size(), encoding);
    std::string firstLine = text ? text->utf8() : "(does not decode)";
    firstLine = firstLine.substr(0, firstLine.find('\n'));
    const char* name = yk::stringEncodingName(encoding);
    std::printf("  %-22s %-12s%-11s %s\n", path.filename().c_str(), name ? name : "unknown", note, firstLine.c_str());
}

// The line length comes from the user defaults: the command line (-DefaultBase64LineLength 40),
// the user's defaults file, or 76.
void showBase64(const std::filesystem::path& path)
{
    const int32_t lineLength = yk::integerForKey(yk::UserDefaults::standardUserDefaults(), "DefaultBase64LineLength", 76);
    const auto bytes = readFile(path);
    // Room for every group and a CR LF after each line, however short the lines are.
    std::string encoded(8 * ((bytes.size() + 2) / 3) + 2, '\0');
    const int32_t length = yk_encode_base64(encoded.data(), bytes.data(), static_cast<uint32_t>(bytes.size()), lineLength);
    encoded.resize(static_cast<size_t>(length));
    std::printf("  DefaultBase64LineLength = %d; %s as a mail body part:\n", lineLength, path.filename().c_str());
    size_t lineStart = 0;
    for (int line = 0; line < 3 && lineStart < encoded.size(); ++line) {
        const size_t lineEnd = encoded.find("\r\n", lineStart);
        std::printf("    %s\n", encoded.substr(lineStart, lineEnd - lineStart).c_str());
        lineStart = lineEnd == std::string::npos ? encoded.size() : lineEnd + 2;
    }
}

void showAbstractMethodError()
{
    auto fetcher = yk::make<MailboxFetcher>();
    try {
        yk::subclassResponsibility(fetcher.get(), "fetch:");
    } catch (const yk::Exception& exception) {
        std::printf("  %s: %s\n", exception.name()->utf8().c_str(), exception.reason()->utf8().c_str());
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::filesystem::path examples = argc > 1 ? argv[1] : "examples";
    std::printf("Yarkit demo\n\n");

    std::printf("A background thread fetches the mailbox and reports back:\n");
    auto controller = yk::make<MailController>();
    auto fetcher = yk::make<MailboxFetcher>();
    yk::NotificationCenter::defaultCenter()->addObserver(controller.get(), "mailboxDidFetch:", MailboxDidFetchNotification, fetcher.get());
    yk::Thread::detachNewThreadSelector("fetch:", fetcher.get(), yk::String::withUTF8((examples / "samples").string()).get());
    fetcher->done->lockWhenCondition(1);
    fetcher->done->unlock();
    yk::NotificationCenter::defaultCenter()->removeObserver(controller.get());

    std::printf("\nEach message, its encoding as detected, and its first line decoded:\n");
    for (const auto& message : fetcher->messages())
        showMessage(message);

    std::printf("\nSettings come from the user defaults:\n");
    showBase64(examples / "samples" / "iso-2022-jp.txt");

    std::printf("\nFiles: the messages saved as UTF-8 with CR LF lines:\n");
    demo::showFiles(examples);

    std::printf("\nErrors carry the framework's exact messages:\n");
    showAbstractMethodError();
}
