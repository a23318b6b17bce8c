// The Yarkit demo: a mail client's building blocks at work. Background jobs fetch a "mailbox"
// and decode its messages, two at a time, reporting to the main thread's run loop; the messages
// arrive in whatever Japanese encoding their senders used, and the text functions name the
// encoding, repair damaged bytes and decode them.
//
//     demo [EXAMPLES-FOLDER] [-DefaultBase64LineLength N]

#include "DemoParts.h"

#include <Yarkit/Yarkit.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

// A mailbox whose fetching is left to subclasses.
class Mailbox : public yk::Object {
    YK_OBJECT(Mailbox, yk::Object)
};

YK_DEFINE_CLASS(Mailbox);

// The line length comes from the user defaults: the command line (-DefaultBase64LineLength 40),
// the user's defaults file, or 76.
void showBase64(const std::filesystem::path& path)
{
    const int32_t lineLength = yk::integerForKey(yk::UserDefaults::standardUserDefaults(), "DefaultBase64LineLength", 76);
    const auto bytes = demo::readFile(path);
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
    auto mailbox = yk::make<Mailbox>();
    try {
        yk::subclassResponsibility(mailbox.get(), "fetch:");
    } catch (const yk::Exception& exception) {
        std::printf("  %s: %s\n", exception.name()->utf8().c_str(), exception.reason()->utf8().c_str());
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::filesystem::path examples = argc > 1 ? argv[1] : "examples";
    std::printf("Yarkit demo\n\n");

    std::printf("Jobs fetch the mailbox and decode each message (its encoding as detected, its first line):\n");
    bool ok = demo::showJobs(examples / "samples");

    std::printf("\nSettings come from the user defaults:\n");
    showBase64(examples / "samples" / "iso-2022-jp.txt");

    std::printf("\nStreams: an attachment through base64 and back, and a message with mixed line ends:\n");
    ok = demo::showStreams(examples) && ok;

    std::printf("\nFiles: the messages saved as UTF-8 with CR LF lines:\n");
    ok = demo::showFiles(examples) && ok;

    std::printf("\nErrors carry the framework's exact messages:\n");
    showAbstractMethodError();

    std::printf("\n");
    ok = demo::showText() && ok;

    std::printf("\nPasswords in the keychain, and digests:\n");
    ok = demo::showCredentials() && ok;

    std::printf("\nThe message list:\n");
    ok = demo::showMessageList(examples / "samples") && ok;
    return ok ? 0 : 1;
}
