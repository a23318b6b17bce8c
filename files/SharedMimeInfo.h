#pragma once

// Readers of the freedesktop shared-mime-info database: the globs2 files (weight, type,
// pattern, flags) and the types' XML descriptions, and the lookup of a file name's type.

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace yk::detail {

struct MimeGlob {
    int weight { 50 };
    std::string mimeType;
    std::string pattern;
    bool caseSensitive { false };
};

// The globs of one globs2 text, in file order. Comment lines ("#"), blank lines and lines
// without three fields are skipped; a pattern "__NOGLOBS__" is kept (it drops the type's globs
// of less important folders when folders are merged).
std::vector<MimeGlob> parseGlobs2(std::string_view text);

// The untranslated <comment> of a type's XML file, or "".
std::string parseMimeComment(std::string_view xml);

// The globs of several mime folders merged, most important first, and indexed for lookup.
class MimeDatabase {
public:
    // mimeFolders: ".../mime" folders, most important first.
    explicit MimeDatabase(std::vector<std::string> mimeFolders);
    // The same from globs already read, for tests and fuzzing: one list per folder.
    MimeDatabase(std::vector<std::vector<MimeGlob>> folders, std::vector<std::string> mimeFolders = {});

    // The type of a file name: literal names first, then "*.suffix" globs, then the other
    // globs; within each, the highest weight, then the longest pattern. Globs flagged "cs"
    // match case-sensitively, the others ignoring ASCII case. "" when nothing matches.
    std::string mimeTypeForFileName(std::string_view name) const;
    // The description from the type's XML in the first folder that has one; "" when none.
    std::string descriptionOfType(const std::string& mimeType) const;

    // The database for the current XDG data folders, read once per set of folders.
    static const MimeDatabase& forCurrentEnvironment();

private:
    struct TextHash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
    // The "*.suffix" globs in a tree of their lowercased suffixes read from the end, so one
    // walk back from a name's end meets every suffix it has.
    struct SuffixNode {
        std::vector<std::pair<char, uint32_t>> children; // by character, node indices
        std::vector<MimeGlob> globs; // whose suffix ends here
    };

    void index(std::vector<std::vector<MimeGlob>> folders);
    void addSuffix(const MimeGlob& glob);
    static void consider(const MimeGlob& glob, const MimeGlob*& best);

    std::vector<std::string> _mimeFolders;
    mutable std::mutex _descriptionsLock;
    mutable std::unordered_map<std::string, std::string> _descriptions; // read once per type
    std::unordered_map<std::string, std::vector<MimeGlob>, TextHash, std::equal_to<>> _literals; // by lowercased name
    std::vector<SuffixNode> _suffixes { SuffixNode() }; // the root first
    std::vector<MimeGlob> _others;
};

} // namespace yk::detail
