#include <Yarkit/YFileFilter.h>

#include <Yarkit/ArrayAdditions.h>
#include <Yarkit/YFile.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/MutableArray.h>

#include <algorithm>
#include <dirent.h>

namespace yk {

YK_DEFINE_CLASS(YFileFilter);

namespace {

bool isASCII(std::u16string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; });
}

char16_t lowered(char16_t c)
{
    return c >= u'A' && c <= u'Z' ? c + (u'a' - u'A') : c;
}

// ASCII comparison of equal-length runs, folding case unless caseSensitive.
bool sameASCII(const char16_t* a, const char16_t* b, size_t length, bool caseSensitive)
{
    if (caseSensitive)
        return std::equal(a, a + length, b);
    for (size_t i = 0; i < length; ++i) {
        if (lowered(a[i]) != lowered(b[i]))
            return false;
    }
    return true;
}

} // namespace

YFileFilter::YFileFilter()
    : YFileFilter(0)
{
}

YFileFilter::YFileFilter(int32_t type)
    : YFileFilter(type, String::withUTF8("%").get(), false, nullptr, true)
{
}

YFileFilter::YFileFilter(int32_t type, const String* pattern, bool caseSensitive, const Array* filterTypes, bool listHidden)
    : _type(type)
    , _pattern(pattern ? pattern->copy() : nullptr)
    , _caseSensitive(caseSensitive)
    , _filterTypes(filterTypes ? Array::arrayWithArray(filterTypes) : nullptr)
    , _listHidden(listHidden)
{
    compilePattern();
}

void YFileFilter::compilePattern()
{
    if (!_pattern)
        return;
    _patternIsASCII = isASCII(_pattern->view());
    if (_pattern->isEqualToString(std::string_view("%")) || _pattern->isEqualToString(std::string_view("*"))) {
        _patternIsPercent = true;
        return;
    }
    auto pieces = _pattern->componentsSeparatedByString(String::withUTF8("%").get());
    if (pieces->count() < 2)
        return;
    _patternPrefix = Ref<String>(static_cast<String*>(pieces->firstObject().get()));
    _patternSuffix = Ref<String>(static_cast<String*>(pieces->lastObject().get()));
    if (pieces->count() == 2)
        return;
    auto components = make<MutableArray>();
    for (uint32_t i = 1; i + 1 < pieces->count(); ++i)
        components->addObject(pieces->objectAtIndex(i));
    _patternComponents = components;
}

bool YFileFilter::acceptWithFile(const YFile* file) const
{
    return file && acceptWithFile(file, file->name().get(), DT_UNKNOWN);
}

bool YFileFilter::acceptsKind(const YFile* file, unsigned char entryType) const
{
    if (entryType == DT_UNKNOWN) {
        return ((_type & Directories) && file->isDirectory()) || ((_type & RegularFiles) && file->isRegular())
            || ((_type & SymbolicLinks) && file->isSymbolicLink());
    }
    return ((_type & Directories) && entryType == DT_DIR) || ((_type & RegularFiles) && entryType == DT_REG)
        || ((_type & SymbolicLinks) && entryType == DT_LNK);
}

bool YFileFilter::acceptWithFile(const YFile* file, const String* name, unsigned char entryType) const
{
    if (!file)
        return false;
    if (_type && !acceptsKind(file, entryType))
        return false;
    if (_filterTypes
        && YK_indexOfString(_filterTypes.get(), file->pathExtension().get(), _caseSensitive ? StringCompareOptions(0) : StringCompareOptions(CaseInsensitiveSearch)) == NotFound)
        return false;
    if (!_listHidden && file->isHidden())
        return false;
    return _matchesName(name);
}

bool YFileFilter::_matchesName(const String* name) const
{
    if (_patternIsASCII && name) {
        bool handled = false;
        bool matches = matchesASCIIName(name->view(), handled);
        if (handled)
            return matches;
    }
    return matchesNameUsingStringSearch(name);
}

bool YFileFilter::matchesNameUsingStringSearch(const String* name) const
{
    // 1-3: empty name or pattern, "%" alone, no "%" at all.
    if (String::isEmpty(name) || String::isEmpty(_pattern.get()))
        return false;
    if (_patternIsPercent)
        return true;
    StringCompareOptions options = _caseSensitive ? StringCompareOptions(0) : StringCompareOptions(CaseInsensitiveSearch);
    if (!_patternPrefix && !_patternSuffix && !_patternComponents)
        return _pattern->compare(name, options) == OrderedSame;

    // 4-6: the search range lies after the prefix and shrinks by the suffix's length; prefix
    // and suffix may overlap (ab%ba matches aba).
    const int64_t nameLength = name->length();
    int64_t start = 0;
    int64_t length = nameLength;
    if (_patternPrefix->length()) {
        Range found = name->rangeOfString(_patternPrefix.get(), options | AnchoredSearch);
        if (found.location == NotFound)
            return false;
        start = int64_t(found.location) + found.length;
        length = nameLength - _patternPrefix->length();
    }
    if (_patternSuffix->length()) {
        Range found = name->rangeOfString(_patternSuffix.get(), options | AnchoredSearch | BackwardsSearch);
        if (found.location == NotFound)
            return false;
        length -= _patternSuffix->length();
    }

    // 7-9: each component in order; the range then starts at the match's end and its length
    // drops by that absolute end, not by the distance moved.
    if (!_patternComponents)
        return true;
    for (auto& piece : *_patternComponents) {
        auto* component = static_cast<String*>(piece.get());
        if (!component->length())
            continue;
        if (length < 0 || start + length > nameLength)
            return false;
        Range found = name->rangeOfString(component, options, Range { uint32_t(start), uint32_t(length) });
        if (found.location == NotFound)
            return false;
        int64_t end = int64_t(found.location) + found.length;
        length -= end;
        start = end;
    }
    return true;
}

bool YFileFilter::matchesASCIIName(std::u16string_view name, bool& handled) const
{
    handled = isASCII(name);
    if (!handled)
        return false;
    if (name.empty() || !_pattern->length())
        return false;
    if (_patternIsPercent)
        return true;
    const char16_t* text = name.data();
    const int64_t nameLength = static_cast<int64_t>(name.size());
    if (!_patternPrefix && !_patternSuffix && !_patternComponents)
        return name.size() == _pattern->length() && sameASCII(text, _pattern->view().data(), name.size(), _caseSensitive);

    int64_t start = 0;
    int64_t length = nameLength;
    if (auto prefix = _patternPrefix->view(); !prefix.empty()) {
        if (prefix.size() > name.size() || !sameASCII(text, prefix.data(), prefix.size(), _caseSensitive))
            return false;
        start = static_cast<int64_t>(prefix.size());
        length = nameLength - start;
    }
    if (auto suffix = _patternSuffix->view(); !suffix.empty()) {
        if (suffix.size() > name.size() || !sameASCII(text + name.size() - suffix.size(), suffix.data(), suffix.size(), _caseSensitive))
            return false;
        length -= static_cast<int64_t>(suffix.size());
    }
    if (!_patternComponents)
        return true;
    for (auto& piece : *_patternComponents) {
        auto component = static_cast<String*>(piece.get())->view();
        if (component.empty())
            continue;
        if (length < 0 || start + length > nameLength)
            return false;
        int64_t size = static_cast<int64_t>(component.size());
        int64_t found = -1;
        for (int64_t at = start; at + size <= start + length; ++at) {
            if (sameASCII(text + at, component.data(), component.size(), _caseSensitive)) {
                found = at;
                break;
            }
        }
        if (found < 0)
            return false;
        int64_t end = found + size;
        length -= end;
        start = end;
    }
    return true;
}

} // namespace yk
