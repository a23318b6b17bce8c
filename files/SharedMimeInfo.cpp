#include "files/SharedMimeInfo.h"

#include "files/XDGDirectories.h"

#include <algorithm>
#include <fnmatch.h>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <set>

namespace yk::detail {
namespace {

std::string lowered(std::string_view text)
{
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c + ('a' - 'A'));
    }
    return result;
}

bool hasWildcard(std::string_view text)
{
    return text.find_first_of("*?[") != std::string_view::npos;
}

std::string readWhole(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// Splits at ':' into at most four fields.
std::vector<std::string_view> fields(std::string_view line)
{
    std::vector<std::string_view> parts;
    while (parts.size() < 3) {
        size_t colon = line.find(':');
        if (colon == std::string_view::npos)
            break;
        parts.push_back(line.substr(0, colon));
        line.remove_prefix(colon + 1);
    }
    parts.push_back(line);
    return parts;
}

} // namespace

std::vector<MimeGlob> parseGlobs2(std::string_view text)
{
    std::vector<MimeGlob> globs;
    while (!text.empty()) {
        size_t newline = text.find('\n');
        std::string_view line = text.substr(0, newline);
        text.remove_prefix(newline == std::string_view::npos ? text.size() : newline + 1);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        if (line.empty() || line.front() == '#')
            continue;
        auto parts = fields(line);
        if (parts.size() < 3 || parts[1].empty() || parts[2].empty())
            continue;
        // A weight is one to three digits (0-100 in use); anything else skips the line.
        std::string_view weightText = parts[0];
        if (weightText.empty() || weightText.size() > 3
            || !std::all_of(weightText.begin(), weightText.end(), [](char c) { return c >= '0' && c <= '9'; }))
            continue;
        MimeGlob glob;
        glob.weight = 0;
        for (char c : weightText)
            glob.weight = glob.weight * 10 + (c - '0');
        glob.mimeType = parts[1];
        glob.pattern = parts[2];
        if (parts.size() > 3) {
            // Flags are a comma-separated list; only "cs" is known.
            std::string_view flags = parts[3];
            while (!flags.empty()) {
                size_t comma = flags.find(',');
                if (flags.substr(0, comma) == "cs")
                    glob.caseSensitive = true;
                flags.remove_prefix(comma == std::string_view::npos ? flags.size() : comma + 1);
            }
        }
        globs.push_back(std::move(glob));
    }
    return globs;
}

std::string parseMimeComment(std::string_view xml)
{
    size_t at = 0;
    while ((at = xml.find("<comment", at)) != std::string_view::npos) {
        size_t close = xml.find('>', at);
        if (close == std::string_view::npos)
            return "";
        std::string_view tag = xml.substr(at, close - at);
        at = close + 1;
        if (tag.size() > 8 && tag[8] != ' ' && tag[8] != '\t' && tag[8] != '\n')
            continue; // another element, such as <commentary>
        if (tag.find("xml:lang") != std::string_view::npos)
            continue;
        size_t end = xml.find("</comment>", at);
        if (end == std::string_view::npos)
            return "";
        std::string text(xml.substr(at, end - at));
        // The few entities the database uses.
        static const std::pair<const char*, const char*> entities[] = {
            { "&lt;", "<" }, { "&gt;", ">" }, { "&quot;", "\"" }, { "&apos;", "'" }, { "&amp;", "&" } };
        for (auto [entity, character] : entities) {
            for (size_t found = text.find(entity); found != std::string::npos; found = text.find(entity, found + 1))
                text.replace(found, std::char_traits<char>::length(entity), character);
        }
        return text;
    }
    return "";
}

MimeDatabase::MimeDatabase(std::vector<std::string> mimeFolders)
    : _mimeFolders(std::move(mimeFolders))
{
    std::vector<std::vector<MimeGlob>> folders;
    for (auto& folder : _mimeFolders)
        folders.push_back(parseGlobs2(readWhole(folder + "/globs2")));
    index(std::move(folders));
}

MimeDatabase::MimeDatabase(std::vector<std::vector<MimeGlob>> folders, std::vector<std::string> mimeFolders)
    : _mimeFolders(std::move(mimeFolders))
{
    index(std::move(folders));
}

void MimeDatabase::index(std::vector<std::vector<MimeGlob>> folders)
{
    std::set<std::string> withoutGlobs; // types a more important folder cleared
    for (auto& globs : folders) {
        std::set<std::string> clearedHere;
        for (auto& glob : globs) {
            if (glob.pattern == "__NOGLOBS__") {
                clearedHere.insert(glob.mimeType);
                continue;
            }
            if (withoutGlobs.count(glob.mimeType))
                continue;
            std::string_view pattern = glob.pattern;
            if (!hasWildcard(pattern))
                _literals[lowered(pattern)].push_back(glob);
            else if (pattern.front() == '*' && !hasWildcard(pattern.substr(1)) && pattern.size() > 1)
                addSuffix(glob);
            else
                _others.push_back(glob);
        }
        withoutGlobs.insert(clearedHere.begin(), clearedHere.end());
    }
}

void MimeDatabase::addSuffix(const MimeGlob& glob)
{
    uint32_t node = 0;
    const std::string suffix = lowered(std::string_view(glob.pattern).substr(1));
    for (auto c = suffix.rbegin(); c != suffix.rend(); ++c) {
        auto& children = _suffixes[node].children;
        auto child = std::find_if(children.begin(), children.end(), [&](auto& entry) { return entry.first == *c; });
        if (child != children.end()) {
            node = child->second;
            continue;
        }
        uint32_t added = static_cast<uint32_t>(_suffixes.size());
        children.emplace_back(*c, added);
        _suffixes.emplace_back();
        node = added;
    }
    _suffixes[node].globs.push_back(glob);
}

void MimeDatabase::consider(const MimeGlob& glob, const MimeGlob*& best)
{
    if (!best || glob.weight > best->weight || (glob.weight == best->weight && glob.pattern.size() > best->pattern.size()))
        best = &glob;
}

std::string MimeDatabase::mimeTypeForFileName(std::string_view name) const
{
    if (name.empty())
        return "";
    // Each kind of glob is tried on the name as it is, then, when nothing matched, ignoring
    // case (globs flagged "cs" take no part in that).
    const std::string lower = lowered(name);
    const MimeGlob* exact = nullptr;
    const MimeGlob* folded = nullptr;
    if (auto found = _literals.find(lower); found != _literals.end()) {
        for (auto& glob : found->second) {
            if (glob.pattern == name)
                consider(glob, exact);
            else if (!glob.caseSensitive)
                consider(glob, folded);
        }
    }
    if (exact || folded)
        return (exact ? exact : folded)->mimeType;
    // Suffixes: walking back from the end, each node reached ends a suffix of the name.
    uint32_t node = 0;
    for (size_t start = lower.size(); start-- > 0;) {
        auto& children = _suffixes[node].children;
        auto child = std::find_if(children.begin(), children.end(), [&](auto& entry) { return entry.first == lower[start]; });
        if (child == children.end())
            break;
        node = child->second;
        for (auto& glob : _suffixes[node].globs) {
            if (name.substr(start) == std::string_view(glob.pattern).substr(1))
                consider(glob, exact);
            else if (!glob.caseSensitive)
                consider(glob, folded);
        }
    }
    if (exact || folded)
        return (exact ? exact : folded)->mimeType;
    std::string text(name);
    for (auto& glob : _others) {
        if (fnmatch(glob.pattern.c_str(), text.c_str(), 0) == 0)
            consider(glob, exact);
        else if (!glob.caseSensitive && fnmatch(glob.pattern.c_str(), text.c_str(), FNM_CASEFOLD) == 0)
            consider(glob, folded);
    }
    return exact ? exact->mimeType : folded ? folded->mimeType : "";
}

std::string MimeDatabase::descriptionOfType(const std::string& mimeType) const
{
    if (mimeType.empty() || mimeType.find("..") != std::string::npos || std::count(mimeType.begin(), mimeType.end(), '/') != 1)
        return "";
    std::lock_guard guard(_descriptionsLock);
    auto [cached, isNew] = _descriptions.try_emplace(mimeType);
    if (!isNew)
        return cached->second;
    for (auto& folder : _mimeFolders) {
        std::string xml = readWhole(folder + "/" + mimeType + ".xml");
        if (xml.empty())
            continue;
        std::string comment = parseMimeComment(xml);
        if (!comment.empty())
            return cached->second = comment;
    }
    return "";
}

const MimeDatabase& MimeDatabase::forCurrentEnvironment()
{
    // Each thread remembers the database of the environment it last saw; the databases live
    // for the process, one per set of folders.
    thread_local std::string lastEnvironment;
    thread_local const MimeDatabase* lastDatabase = nullptr;
    std::string environment = xdgEnvironment();
    if (lastDatabase && environment == lastEnvironment)
        return *lastDatabase;

    std::vector<std::string> folders { xdgDataHome() + "/mime" };
    for (auto& folder : xdgDataDirs())
        folders.push_back(folder + (folder.back() == '/' ? "mime" : "/mime"));
    std::string key;
    for (auto& folder : folders)
        key += folder + ":";

    static std::mutex lock;
    static std::map<std::string, std::unique_ptr<MimeDatabase>>* databases = new std::map<std::string, std::unique_ptr<MimeDatabase>>;
    std::lock_guard guard(lock);
    auto& database = (*databases)[key];
    if (!database)
        database = std::make_unique<MimeDatabase>(std::move(folders));
    lastEnvironment = std::move(environment);
    lastDatabase = database.get();
    return *database;
}

} // namespace yk::detail
