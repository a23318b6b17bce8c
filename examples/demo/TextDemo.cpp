// The demo's text part: IMAP mailbox names in modified UTF-7, a UTF-7 mail body, host names
// to ASCII and back, a regular-expression search, and a subject split into East Asian and other
// runs with the shared character sets.

#include "DemoParts.h"

#include <Yarkit/Yarkit.h>

#include <cstdio>
#include <string>

namespace demo {

namespace {

std::string utf8(const yk::Ref<yk::String>& string)
{
    return string ? string->utf8() : "(null)";
}

void showMailboxNames()
{
    const std::string list = R"(* LIST (\HasNoChildren) "/" "Inbox/&kAFP4W4IMH8-")";
    const size_t open = list.rfind('"', list.size() - 2) + 1;
    const std::string encoded = list.substr(open, list.size() - 1 - open);
    std::printf("  %s\n    mailbox: %s\n", list.c_str(), yk::stringWithModifiedUTF7String(encoded.c_str())->utf8().c_str());
    auto folder = yk::String::withUTF8("下書き/2026年 & メモ");
    std::printf("  a1 CREATE \"%s\"   (%s)\n", yk::modifiedUTF7String(folder.get()).c_str(), folder->utf8().c_str());
    const char* body = "Hi Mom -+Jjo--+ACE +ZeVnLDCSMOEw/DDrMGc-.";
    std::printf("  UTF-7 body %s\n    decodes to %s\n", body, yk::stringWithUTF7String(body)->utf8().c_str());
}

void showHostNames()
{
    for (const char* name : { "faß.de", "日本語.jp", "😀.com", "WWW.Example.COM" }) {
        auto host = yk::String::withUTF8(name);
        auto ascii = yk::YK_IDNToASCIIWithOptions(host.get(), 1);
        auto back = ascii ? yk::YK_IDNToUnicodeWithOptions(ascii.get(), 1) : nullptr;
        std::printf("  %-16s -> %-20s -> %-16s UTS #46: %s\n", name, utf8(ascii).c_str(), utf8(back).c_str(),
            utf8(yk::YK_UTS46ToASCII(host.get())).c_str());
    }
}

void showSearch()
{
    auto subject = yk::String::withUTF8("会議は 10:30 から、昼食は 12:15。");
    auto times = yk::rangeValuesOfPatternString(subject.get(), yk::String::withUTF8("\\d+:\\d\\d").get(), 0, { 0, subject->length() });
    std::printf("  times in \"%s\":", subject->utf8().c_str());
    for (uint32_t i = 0; i < times->count(); ++i) {
        const yk::Range range = static_cast<yk::Value*>(times->objectAtIndex(i).get())->rangeValue();
        std::printf(" %s at %u", subject->substringWithRange(range)->utf8().c_str(), range.location);
    }
    std::printf("\n");
}

// Alternates between the East Asian set and its complement, one run at a time.
void showRuns(const char* text)
{
    auto subject = yk::String::withUTF8(text);
    std::printf("  \"%s\"\n", text);
    uint32_t start = 0;
    while (start < subject->length()) {
        const yk::Range rest { start, subject->length() - start };
        const bool eastAsian = subject->rangeOfCharacterFromSet(yk::yk_eastAsianCharacterSet(), yk::AnchoredSearch, rest).location != yk::NotFound;
        const yk::CharacterSet* other = eastAsian ? yk::yk_nonEastAsianCharacterSet() : yk::yk_eastAsianCharacterSet();
        const uint32_t end = subject->rangeOfCharacterFromSet(other, 0, rest).location;
        const uint32_t runEnd = end == yk::NotFound ? subject->length() : end;
        auto run = subject->substringWithRange({ start, runEnd - start })->stringByTrimmingCharactersInSet(yk::CharacterSet::whitespaceCharacterSet());
        if (run->length())
            std::printf("    %-10s [%s]\n", eastAsian ? "East Asian" : "other", run->utf8().c_str());
        start = runEnd;
    }
}

} // namespace

bool showText()
{
    std::printf("IMAP mailbox names and mail bodies in UTF-7:\n");
    showMailboxNames();
    std::printf("\nHost names to ASCII (IDNA2003, unassigned allowed) and back, with the UTS #46 answer:\n");
    showHostNames();
    std::printf("\nA regular-expression search, in UTF-16 indices:\n");
    showSearch();
    std::printf("\nA mixed subject split into East Asian and other runs:\n");
    showRuns("Re: 来週の会議 (meeting) について、よろしく! Thanks");
    return true;
}

} // namespace demo
