// The demo's message list: relative dates, sizes, interned header names, the fetch timed, and a
// failure logged with its cause and a symbolic trace.

#include "DemoParts.h"

#include <Yarkit/Yarkit.h>

#include <clocale>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace demo {

namespace {

struct Message {
    std::string subject;
    uint64_t size;
    yk::Ref<yk::Date> received;
    std::vector<const char*> headerNames; // pooled
};

// The header names of a message, as a parser would find them: the same few names again and
// again, each interned so all messages share one copy.
std::vector<const char*> internedHeaderNames(int index)
{
    static const char* const names[] = { "Received", "Received", "From", "To", "Subject", "Date", "Message-ID", "Content-Type" };
    std::vector<const char*> pooled;
    for (int i = 0; i < 8 + index % 3; ++i) {
        std::string name = names[i % 8]; // a fresh copy, as read from the wire
        pooled.push_back(yk::YCStringPool::defaultPooledCString(name.c_str()));
    }
    return pooled;
}

[[gnu::noinline]] void openMailbox(const std::filesystem::path& path)
{
    if (!std::ifstream(path))
        yk::raise("NSFileHandleOperationException", "No such file: %s", path.c_str());
}

void logFailureWithCause(const std::filesystem::path& folder)
{
    try {
        try {
            openMailbox(folder / "Drafts.mbox");
        } catch (const yk::Exception& cause) {
            yk::raiseWithPreviousException(yk::String::withUTF8("MailboxException").get(), &cause, "could not open the Drafts mailbox");
        }
    } catch (const yk::Exception& failure) {
        auto trace = yk::YK_stackTrace(yk::previousException(&failure).get());
        std::printf("  %s\n    because: %s\n    where (first frames):\n", failure.reason()->utf8().c_str(),
            yk::previousReason(&failure)->utf8().c_str());
        std::string text = trace ? trace->utf8() : "";
        for (size_t start = 0, line = 0; start < text.size() && line < 4; ++line) {
            size_t end = text.find('\n', start);
            std::printf("      %s\n", text.substr(start, end - start).c_str());
            start = end == std::string::npos ? text.size() : end + 1;
        }
    }
}

} // namespace

bool showMessageList(const std::filesystem::path& samples)
{
    // The application, not the library, adopts the user's locale: day names and sizes follow
    // LANGUAGE and LC_MESSAGES.
    std::setlocale(LC_ALL, "");

    auto watch = yk::YStopwatch::watch();
    watch->start();
    std::vector<Message> messages;
    const double now = yk::Date::timeIntervalSinceReferenceDateNow();
    const double ages[] = { 600, 86400 + 3600, 5 * 86400, -86400, 40 };
    int index = 0;
    for (const auto& entry : std::filesystem::directory_iterator(samples)) {
        if (entry.path().extension() != ".txt")
            continue;
        const double age = ages[index % 5];
        messages.push_back({ entry.path().filename().string(), entry.file_size() * (1ull << (index * 4)),
            yk::Date::dateWithTimeIntervalSinceReferenceDate(now - age), internedHeaderNames(index) });
        ++index;
    }
    watch->stop();

    std::printf("  %-22s %-26s %s\n", "message", "received", "size");
    for (const auto& message : messages) {
        auto when = yk::dateTimeDescriptionWithDateForm(message.received.get(), 9, 1, nullptr, nullptr, nullptr);
        std::printf("  %-22s %-26s %s\n", message.subject.c_str(), when->utf8().c_str(), yk::YKByteFormatter::stringForBytes(message.size)->utf8().c_str());
    }
    size_t names = 0;
    for (const auto& message : messages)
        names += message.headerNames.size();
    const uint32_t distinct = yk::YCStringPool::defaultCStringPool()->count();
    std::printf("  %zu header names share %u pooled strings: %zu copies saved\n", names, distinct, names - distinct);
    std::printf("  fetched in %s\n", watch->description()->utf8().c_str());

    std::printf("\nA failure is logged with its cause and where it happened:\n");
    logFailureWithCause(samples);
    return !messages.empty();
}

} // namespace demo
