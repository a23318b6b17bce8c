// The files subsystem side by side with its peers: name patterns against fnmatch, listings
// against std::filesystem and GIO, temporary files against mkostemps, path creation and removal
// against std::filesystem, MIME and scheme lookups and file replacement against GIO, and lines
// against GDataInputStream and a memchr split. File work runs on /dev/shm. Each case runs as
// <case>/yarkit and <case>/<peer>; a table of speed-ups follows.

#include <Yarkit/DataAdditions.h>
#include <Yarkit/FileManagerAdditions.h>
#include <Yarkit/YFile.h>
#include <Yarkit/YFileFilter.h>
#include <Yarkit/YInternetConfig.h>
#include <Yarkit/core/values/Array.h>

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fnmatch.h>
#include <fstream>
#include <gio/gio.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "bench/RatioReporter.h"

namespace fs = std::filesystem;
using namespace yk;

namespace {

const fs::path& scratch()
{
    static const fs::path folder = [] {
        fs::path path = fs::path(fs::exists("/dev/shm") ? "/dev/shm" : "/tmp") / ("yk-files-bench-" + std::to_string(getpid()));
        fs::create_directories(path);
        return path;
    }();
    return folder;
}

// Names

const std::vector<std::string>& names()
{
    static const std::vector<std::string> list = [] {
        std::vector<std::string> result;
        const char* extensions[] = { ".txt", ".TXT", ".eml", ".pdf", ".tar.gz" };
        for (int i = 0; i < 100000; ++i)
            result.push_back("message-" + std::to_string(i * 7919 % 100003) + extensions[i % 5]);
        return result;
    }();
    return list;
}

void matchYarkit(benchmark::State& state)
{
    std::vector<Ref<String>> strings;
    for (auto& name : names())
        strings.push_back(String::withUTF8(name));
    auto filter = make<YFileFilter>(0, String::withUTF8("%.txt").get(), false, nullptr, true);
    for (auto _ : state) {
        int matched = 0;
        for (auto& name : strings)
            matched += filter->_matchesName(name.get());
        benchmark::DoNotOptimize(matched);
    }
}

void matchFnmatch(benchmark::State& state)
{
    for (auto _ : state) {
        int matched = 0;
        for (auto& name : names())
            matched += fnmatch("*.txt", name.c_str(), FNM_CASEFOLD) == 0;
        benchmark::DoNotOptimize(matched);
    }
}

// Listings

const fs::path& listingFolder()
{
    static const fs::path folder = [] {
        fs::path path = scratch() / "listing";
        fs::create_directories(path);
        for (int i = 0; i < 10000; ++i)
            std::ofstream(path / ("entry-" + std::to_string(i) + ".txt"));
        return path;
    }();
    return folder;
}

void listYarkit(benchmark::State& state)
{
    auto folder = YFile::fileWithPath(String::withUTF8(listingFolder().c_str()).get());
    auto filter = make<YFileFilter>(YFileFilter::RegularFiles);
    for (auto _ : state)
        benchmark::DoNotOptimize(folder->directoryFilesWithFileFilter(filter.get())->count());
}

void listFilesystem(benchmark::State& state)
{
    for (auto _ : state) {
        size_t regular = 0;
        for (auto& entry : fs::directory_iterator(listingFolder()))
            regular += fs::is_regular_file(entry.symlink_status());
        benchmark::DoNotOptimize(regular);
    }
}

void listGIO(benchmark::State& state)
{
    GFile* folder = g_file_new_for_path(listingFolder().c_str());
    for (auto _ : state) {
        size_t regular = 0;
        GFileEnumerator* entries = g_file_enumerate_children(folder, G_FILE_ATTRIBUTE_STANDARD_NAME "," G_FILE_ATTRIBUTE_STANDARD_TYPE,
            G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr);
        while (GFileInfo* info = g_file_enumerator_next_file(entries, nullptr, nullptr)) {
            regular += g_file_info_get_file_type(info) == G_FILE_TYPE_REGULAR;
            g_object_unref(info);
        }
        g_object_unref(entries);
        benchmark::DoNotOptimize(regular);
    }
    g_object_unref(folder);
}

// Temporary files: each iteration creates one and removes it.

void temporaryYarkit(benchmark::State& state)
{
    auto pattern = String::withUTF8((scratch() / "tmpXXXXXX.eml").c_str());
    for (auto _ : state) {
        auto path = YK_createTemporaryFileUsingTemplate(FileManager::defaultManager(), pattern.get(), 4);
        unlink(path->fileSystemRepresentation().c_str());
    }
}

void temporaryMkostemps(benchmark::State& state)
{
    const std::string pattern = (scratch() / "tmpXXXXXX.eml").string();
    for (auto _ : state) {
        std::string path = pattern;
        int fd = mkostemps(path.data(), 4, O_CLOEXEC);
        close(fd);
        unlink(path.c_str());
    }
}

// Paths: create a/b/c/d under a fresh root, then remove the root.

void createPathYarkit(benchmark::State& state)
{
    auto deep = String::withUTF8((scratch() / "tree/a/b/c/d").c_str());
    for (auto _ : state) {
        YK_createPath(FileManager::defaultManager(), deep.get(), nullptr);
        state.PauseTiming();
        fs::remove_all(scratch() / "tree");
        state.ResumeTiming();
    }
}

void createPathFilesystem(benchmark::State& state)
{
    for (auto _ : state) {
        fs::create_directories(scratch() / "tree/a/b/c/d");
        state.PauseTiming();
        fs::remove_all(scratch() / "tree");
        state.ResumeTiming();
    }
}

void makeTree()
{
    for (int i = 0; i < 20; ++i) {
        fs::create_directories(scratch() / "tree" / std::to_string(i));
        for (int j = 0; j < 10; ++j)
            std::ofstream(scratch() / "tree" / std::to_string(i) / std::to_string(j));
    }
}

void deleteAllYarkit(benchmark::State& state)
{
    auto root = YFile::fileWithPath(String::withUTF8((scratch() / "tree").c_str()).get());
    for (auto _ : state) {
        state.PauseTiming();
        makeTree();
        state.ResumeTiming();
        root->deleteAll();
    }
}

void deleteAllFilesystem(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        makeTree();
        state.ResumeTiming();
        fs::remove_all(scratch() / "tree");
    }
}

// Lookups in the system's databases (warm).

const char* const lookupNames[] = { "a.eml", "b.txt", "c.pdf", "d.tar.gz", "e.C", "f.html", "g.png", "h.unknownext" };

void mimeYarkit(benchmark::State& state)
{
    auto config = YInternetConfig::internetConfig();
    std::vector<Ref<String>> names;
    for (const char* name : lookupNames)
        names.push_back(String::withUTF8(name));
    for (auto _ : state) {
        for (auto& name : names) {
            YKMapEntry entry;
            benchmark::DoNotOptimize(config->getMapEntryForFileName(&entry, name.get()));
        }
    }
}

void mimeGIO(benchmark::State& state)
{
    for (auto _ : state) {
        for (const char* name : lookupNames) {
            gchar* type = g_content_type_guess(name, nullptr, 0, nullptr);
            gchar* description = g_content_type_get_description(type);
            g_free(description);
            g_free(type);
        }
    }
}

void schemeYarkit(benchmark::State& state)
{
    auto config = YInternetConfig::internetConfig();
    auto scheme = String::withUTF8("mailto");
    for (auto _ : state) {
        Ref<String> name;
        benchmark::DoNotOptimize(config->getApplicationCreator(nullptr, &name, scheme.get()));
    }
}

void schemeGIO(benchmark::State& state)
{
    for (auto _ : state) {
        GAppInfo* info = g_app_info_get_default_for_uri_scheme("mailto");
        if (info)
            g_object_unref(info);
    }
}

// Lines of 64 MiB of CR LF text.

const Ref<Data>& crlfText()
{
    static const Ref<Data> text = [] {
        std::string line = "Subject: a line of mail text of a typical length, more or less\r\n";
        std::string all;
        all.reserve(64 << 20);
        while (all.size() + line.size() <= (64u << 20))
            all += line;
        return Data::dataWithBytes(all.data(), static_cast<uint32_t>(all.size()));
    }();
    return text;
}

void linesYarkit(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(lines(crlfText().get(), true)->count());
    state.SetBytesProcessed(int64_t(state.iterations()) * crlfText()->length());
}

void linesGIO(benchmark::State& state)
{
    for (auto _ : state) {
        GInputStream* memory = g_memory_input_stream_new_from_data(crlfText()->bytes(), crlfText()->length(), nullptr);
        GDataInputStream* data = g_data_input_stream_new(memory);
        g_data_input_stream_set_newline_type(data, G_DATA_STREAM_NEWLINE_TYPE_ANY);
        size_t count = 0;
        gsize length = 0;
        while (char* line = g_data_input_stream_read_line(data, &length, nullptr, nullptr)) {
            g_free(line);
            ++count;
        }
        g_object_unref(data);
        g_object_unref(memory);
        benchmark::DoNotOptimize(count);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * crlfText()->length());
}

void linesMemchr(benchmark::State& state)
{
    const char* bytes = reinterpret_cast<const char*>(crlfText()->bytes());
    const size_t length = crlfText()->length();
    for (auto _ : state) {
        std::vector<std::string> result;
        for (size_t start = 0; start < length;) {
            const char* found = static_cast<const char*>(std::memchr(bytes + start, '\n', length - start));
            size_t end = found ? size_t(found - bytes) : length;
            size_t contents = end > start && bytes[end - 1] == '\r' ? end - 1 : end;
            result.emplace_back(bytes + start, contents - start);
            start = end + 1;
        }
        benchmark::DoNotOptimize(result.size());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * crlfText()->length());
}

// Rewriting a 4 KiB file with a backup.

void backupYarkit(benchmark::State& state)
{
    auto data = Data::dataWithBytes(std::string(4096, 'm').data(), 4096);
    auto path = String::withUTF8((scratch() / "mbox-yk").c_str());
    data->writeToFile(path->fileSystemRepresentation().c_str(), false);
    for (auto _ : state)
        writeWithBackupToFile(data.get(), path.get(), true);
}

void backupGIO(benchmark::State& state)
{
    std::string data(4096, 'm');
    GFile* file = g_file_new_for_path((scratch() / "mbox-gio").c_str());
    g_file_replace_contents(file, data.data(), data.size(), nullptr, FALSE, G_FILE_CREATE_NONE, nullptr, nullptr, nullptr);
    for (auto _ : state)
        g_file_replace_contents(file, data.data(), data.size(), nullptr, TRUE, G_FILE_CREATE_NONE, nullptr, nullptr, nullptr);
    g_object_unref(file);
}

} // namespace

int main(int argc, char** argv)
{
    struct Case {
        const char* name;
        void (*ours)(benchmark::State&);
        const char* peer;
        void (*theirs)(benchmark::State&);
        double goal;
    } cases[] = {
        { "matchesName_ci", matchYarkit, "fnmatch", matchFnmatch, 1 },
        { "list_10000", listYarkit, "directory_iterator", listFilesystem, 0.8 },
        { "list_10000 ", listYarkit, "g_file_enumerate", listGIO, 1 },
        { "temporary_file", temporaryYarkit, "mkostemps", temporaryMkostemps, 0.9 },
        { "create_path", createPathYarkit, "create_directories", createPathFilesystem, 0.9 },
        { "delete_all", deleteAllYarkit, "remove_all", deleteAllFilesystem, 0.8 },
        { "mime_lookup", mimeYarkit, "g_content_type", mimeGIO, 1 },
        { "scheme_lookup", schemeYarkit, "g_app_info", schemeGIO, 1 },
        { "lines_64MiB", linesYarkit, "GDataInputStream", linesGIO, 2 },
        { "lines_64MiB ", linesYarkit, "memchr_split", linesMemchr, 0.6 },
        { "backup_4KiB", backupYarkit, "g_file_replace", backupGIO, 1 },
    };
    crlfText(); // made before any timing
    std::vector<std::pair<std::string, std::string>> pairs;
    std::map<std::string, double> goals;
    for (const auto& c : cases) {
        benchmark::RegisterBenchmark((std::string(c.name) + "/yarkit").c_str(), c.ours);
        benchmark::RegisterBenchmark((std::string(c.name) + "/" + c.peer).c_str(), c.theirs);
        pairs.emplace_back(c.name, c.peer);
        goals[c.name] = c.goal;
    }
    int status = yk::bench::runAndPrintRatios(argc, argv, pairs, goals);
    fs::remove_all(scratch());
    return status;
}
