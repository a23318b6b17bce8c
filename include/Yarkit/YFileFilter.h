#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/String.h>

#include <cstdint>
#include <string>
#include <vector>

namespace yk {

class Array;
class YFile;

// Decides whether a YFile belongs in a listing: by kind of entry, extension, visibility and a
// name pattern whose only wildcard is "%". Immutable after construction; safe to share.
class YFileFilter : public Object {
    YK_OBJECT(YFileFilter, Object)
public:
    // Kinds accepted, or'ed; 0 accepts every kind. Links are not followed: a link to a folder
    // passes only as a link.
    enum : int32_t {
        Directories = 1,
        RegularFiles = 2,
        SymbolicLinks = 4,
    };

    // -init: every kind, pattern "%".
    YFileFilter();
    // -initWithType: pattern "%", case-insensitive, every extension, hidden files listed.
    explicit YFileFilter(int32_t type);
    // -initWithType:pattern:caseSensitive:filterTypes:listHidden: copies the pattern and the
    // list (null accepts every extension). The pattern "%" or "*" alone matches every non-empty
    // name; without "%" the whole name is compared; otherwise the text before the first "%"
    // must start the name, the text after the last must end it, and the texts between must
    // occur in order.
    YFileFilter(int32_t type, const String* pattern, bool caseSensitive, const Array* filterTypes, bool listHidden);

    int32_t type() const { return _type; }
    const Ref<String>& pattern() const { return _pattern; }
    bool caseSensitive() const { return _caseSensitive; }
    const Ref<Array>& filterTypes() const { return _filterTypes; }
    bool listHidden() const { return _listHidden; }

    // The file passes the kind, extension, visibility and name tests, in that order.
    bool acceptWithFile(const YFile* file) const;
    // The same answer for a listed entry whose name and readdir type (DT_DIR, DT_REG, DT_LNK...)
    // are known: the kind test reads the entry only when the type is DT_UNKNOWN.
    bool acceptWithFile(const YFile* file, const String* name, unsigned char entryType) const;

    // Whether the name matches the pattern. Each search after the first piece narrows its
    // range by the absolute end of the last match (a%b%c%d rejects abcd); a range that would
    // become negative does not match. Never raises.
    bool _matchesName(const String* name) const;
    // The same answer through the string searches alone: the portable path that the ASCII fast
    // path of _matchesName is checked against.
    bool matchesNameUsingStringSearch(const String* name) const;

private:
    void compilePattern();
    // The kind test; entryType is readdir's, or DT_UNKNOWN to read the entry.
    bool acceptsKind(const YFile* file, unsigned char entryType) const;
    // The fast path for ASCII names and patterns; false in `handled` otherwise.
    bool matchesASCIIName(std::u16string_view name, bool& handled) const;

    int32_t _type;
    Ref<String> _pattern;
    bool _caseSensitive;
    Ref<Array> _filterTypes;
    bool _listHidden;
    Ref<String> _patternPrefix;
    Ref<String> _patternSuffix;
    Ref<Array> _patternComponents;
    bool _patternIsPercent { false };
    // Whether the pattern is ASCII, so the fast path applies to ASCII names.
    bool _patternIsASCII { false };
};

} // namespace yk
