// The files part of the demo: the samples listed through a file filter, each message saved as
// UTF-8 under a folder made whole, numbered when its name is taken, saved again with a "~"
// backup and CR LF line ends; then the MIME type of ".eml" and the mailto handler.

#include "DemoParts.h"

#include <Yarkit/Yarkit.h>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace demo {
namespace {

const char* newlineName(int code)
{
    static const char* const names[] = { "no line ends", "CR", "LF", "CR LF", "mixed" };
    return code >= 0 && code <= 4 ? names[code] : "?";
}

// The message as UTF-8 bytes; null when its encoding is not recognised.
yk::Ref<yk::Data> asUTF8(const yk::Data* bytes)
{
    CFStringEncoding encoding = YKDetectJapaneseEncoding(bytes->bytes(), static_cast<int32_t>(bytes->length()), false, false);
    if (encoding == kCFStringEncodingInvalidId)
        return nullptr;
    auto text = yk::String::stringWithData(bytes, encoding);
    return text ? text->dataUsingEncoding(kCFStringEncodingUTF8) : nullptr;
}

} // namespace

std::vector<std::filesystem::path> listSamples(const std::string& folder)
{
    auto samples = yk::YFile::fileWithPath(yk::String::withUTF8(folder).get());
    auto filter = yk::make<yk::YFileFilter>(yk::YFileFilter::RegularFiles, yk::String::withUTF8("%.txt").get(), false, nullptr, false);
    std::vector<std::filesystem::path> paths;
    if (auto files = samples->directoryFilesWithFileFilter(filter.get())) {
        for (auto& file : *files)
            paths.emplace_back(static_cast<yk::YFile*>(file.get())->fileSystemRepresentation());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

bool showFiles(const std::filesystem::path& examples)
{
    auto* manager = yk::FileManager::defaultManager();
    auto samples = listSamples((examples / "samples").string());
    std::printf("  %zu samples match \"%%.txt\" (regular files, not hidden)\n", samples.size());

    auto demoFolder = yk::NSTemporaryDirectory()->stringByAppendingPathComponent(
        yk::String::stringWithFormat("yarkit-demo-%d", static_cast<int>(getpid())).get());
    auto converted = demoFolder->stringByAppendingPathComponent(yk::String::withUTF8("converted/utf-8").get());
    yk::Ref<yk::Error> error;
    if (!yk::YK_createPath(manager, converted.get(), nullptr, &error)) {
        std::printf("  cannot make %s: %s\n", converted->utf8().c_str(), error->localizedDescription()->utf8().c_str());
        return false;
    }
    std::printf("  made %s with its parents\n", converted->utf8().c_str());

    bool ok = true;
    int copies = 2;
    for (const auto& sample : samples) {
        auto bytes = yk::Data::dataWithContentsOfFile(sample.c_str());
        auto utf8 = bytes ? asUTF8(bytes.get()) : nullptr;
        if (!utf8)
            continue; // damaged samples: the text part of the demo repairs them
        auto name = yk::String::withUTF8(sample.filename().string());
        auto target = converted->stringByAppendingPathComponent(name.get());
        // The first message is saved twice, so the second copy gets a number.
        for (int copy = 0; copy < copies; ++copy) {
            auto saved = yk::YK_createNumberedFileUsingPath(manager, target.get());
            if (!saved || !utf8->writeToFile(saved->fileSystemRepresentation().c_str(), true)) {
                ok = false;
                continue;
            }
            int before = yk::checkNewline(utf8.get());
            auto crlf = yk::dataByConvertingNewlineTo(utf8.get(), yk::YKNewlineCRLF);
            ok = yk::writeWithBackupToFile(crlf.get(), saved.get(), false) && ok;
            std::printf("  %-28s %s, now %s; backup %s\n", saved->lastPathComponent()->utf8().c_str(), newlineName(before),
                newlineName(yk::checkNewline(crlf.get())), yk::YK_backupPath(saved.get())->lastPathComponent()->utf8().c_str());
        }
        copies = 1;
    }

    auto config = yk::YInternetConfig::internetConfig();
    yk::YKMapEntry entry;
    if (config->getMapEntry(&entry, yk::String::withUTF8("eml").get()))
        std::printf("  .eml is %s (%s)\n", entry.MIMEType->utf8().c_str(), entry.description->utf8().c_str());
    else
        std::printf("  .eml has no MIME type in this system's database\n");
    yk::Ref<yk::String> handler;
    if (config->getApplicationCreator(nullptr, &handler, yk::String::withUTF8("mailto").get()))
        std::printf("  mailto: links open with %s\n", handler->utf8().c_str());
    else
        std::printf("  no application is set for mailto: links\n");

    ok = yk::YFile::fileWithPath(demoFolder.get())->deleteAll() && ok;
    return ok;
}

} // namespace demo
