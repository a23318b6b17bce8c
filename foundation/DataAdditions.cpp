#include <Yarkit/DataAdditions.h>

#include <Yarkit/ByteSearch.h>
#include <Yarkit/MemoryFunctions.h>
#include <Yarkit/PathExtensions.h>
#include <Yarkit/core/system/FileManager.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/MutableArray.h>

#include "core/runtime/RuntimeErrors.h"
#include "foundation/LineBounds.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace yk {
namespace {

constexpr uint8_t CR = '\r';
constexpr uint8_t LF = '\n';

// An index found in bytes starting at `offset`, as an index into the whole data.
uint32_t shifted(uint32_t found, uint32_t offset)
{
    return found == NotFound ? NotFound : found + offset;
}

uint32_t forwardCharacter(const Data* data, unsigned char c, int wanted, uint32_t from)
{
    if (!data || from >= data->length())
        return NotFound;
    return shifted(YIndexOfCharacter(data->bytes() + from, data->length() - from, c, wanted, true), from);
}

uint32_t backwardCharacter(const Data* data, unsigned char c, int wanted, uint32_t from)
{
    if (!data || uint64_t(from) + 1 > data->length())
        return NotFound;
    return YIndexOfCharacter(data->bytes(), from + 1, c, wanted, false);
}

uint32_t forwardFunction(const Data* data, YByteClassFunction function, int wanted, uint32_t from)
{
    if (!data || from >= data->length())
        return NotFound;
    return shifted(YIndexOfCharacterUsingFunction(data->bytes() + from, data->length() - from, function, wanted, true), from);
}

uint32_t backwardFunction(const Data* data, YByteClassFunction function, int wanted, uint32_t from)
{
    if (!data || uint64_t(from) + 1 > data->length())
        return NotFound;
    return YIndexOfCharacterUsingFunction(data->bytes(), from + 1, function, wanted, false);
}

uint32_t lastIndex(const Data* data)
{
    return data && data->length() ? data->length() - 1 : NotFound;
}

uint32_t contentsEndOf(const detail::LineBounds& line)
{
    if (!line.terminatorLength)
        return line.end;
    return std::max(line.start, line.end - std::min(line.end, line.terminatorLength));
}

const char* terminatorOf(int kind, uint32_t& length)
{
    static const char* const terminators[] = { "\r", "\n", "\r\n" };
    length = kind == YKNewlineCRLF ? 2 : 1;
    return terminators[kind];
}

} // namespace

namespace detail {

static bool isTerminator(uint8_t byte)
{
    return byte == LF || byte == CR;
}

LineBounds lineBounds(const uint8_t* bytes, uint32_t length, Range range)
{
    LineBounds line {};
    // A location between CR and LF belongs to the line that CR LF ends.
    uint32_t at = range.location;
    if (at > 0 && at < length && bytes[at] == LF && bytes[at - 1] == CR)
        --at;
    line.start = at;
    while (line.start > 0 && !isTerminator(bytes[line.start - 1]))
        --line.start;

    uint32_t scan = range.length ? range.location + range.length - 1 : range.location;
    while (scan < length && !isTerminator(bytes[scan]))
        ++scan;
    if (scan >= length) {
        line.end = length;
        return line;
    }
    if (bytes[scan] == CR && scan + 1 < length && bytes[scan + 1] == LF) {
        line.end = scan + 2;
        line.terminatorLength = 2;
    } else {
        line.end = scan + 1;
        line.terminatorLength = bytes[scan] == LF && scan > 0 && bytes[scan - 1] == CR ? 2 : 1;
    }
    return line;
}

LineBounds nextLine(const uint8_t* bytes, uint32_t length, uint32_t start)
{
    LineBounds line { start, length, 0 };
    const uint8_t* cursor = bytes + start;
    const uint8_t* limit = bytes + length;
    while (cursor < limit && *cursor != LF && *cursor != CR)
        ++cursor;
    if (cursor == limit)
        return line;
    uint32_t at = static_cast<uint32_t>(cursor - bytes);
    line.terminatorLength = *cursor == CR && at + 1 < length && cursor[1] == LF ? 2 : 1;
    line.end = at + line.terminatorLength;
    return line;
}

LineBounds LineScanner::next(uint32_t start)
{
    if (!_searchedLF || _nextLF < start) {
        auto* found = static_cast<const uint8_t*>(std::memchr(_bytes + start, LF, _length - start));
        _nextLF = found ? static_cast<uint32_t>(found - _bytes) : _length;
        _searchedLF = true;
    }
    LineBounds line { start, _length, 0 };
    auto* cr = static_cast<const uint8_t*>(std::memchr(_bytes + start, CR, _nextLF - start));
    if (cr) {
        uint32_t at = static_cast<uint32_t>(cr - _bytes);
        line.terminatorLength = at + 1 == _nextLF && _nextLF < _length ? 2 : 1;
        line.end = at + line.terminatorLength;
    } else if (_nextLF < _length) {
        line.terminatorLength = 1;
        line.end = _nextLF + 1;
    }
    return line;
}

} // namespace detail

uint32_t indexOfCharacter(const Data* data, unsigned char c, uint32_t fromIndex) { return forwardCharacter(data, c, 1, fromIndex); }
uint32_t indexOfNonCharacter(const Data* data, unsigned char c, uint32_t fromIndex) { return forwardCharacter(data, c, 0, fromIndex); }
uint32_t lastIndexOfCharacter(const Data* data, unsigned char c) { return backwardCharacter(data, c, 1, lastIndex(data)); }
uint32_t lastIndexOfCharacter(const Data* data, unsigned char c, uint32_t fromIndex) { return backwardCharacter(data, c, 1, fromIndex); }
uint32_t lastIndexOfNonCharacter(const Data* data, unsigned char c) { return backwardCharacter(data, c, 0, lastIndex(data)); }
uint32_t lastIndexOfNonCharacter(const Data* data, unsigned char c, uint32_t fromIndex) { return backwardCharacter(data, c, 0, fromIndex); }

uint32_t indexOfCharacterUsingFunction(const Data* data, YByteClassFunction function, uint32_t fromIndex)
{
    return forwardFunction(data, function, 1, fromIndex);
}

uint32_t indexOfNonCharacterUsingFunction(const Data* data, YByteClassFunction function, uint32_t fromIndex)
{
    return forwardFunction(data, function, 0, fromIndex);
}

uint32_t lastIndexOfCharacterUsingFunction(const Data* data, YByteClassFunction function)
{
    return backwardFunction(data, function, 1, lastIndex(data));
}

uint32_t lastIndexOfCharacterUsingFunction(const Data* data, YByteClassFunction function, uint32_t fromIndex)
{
    return backwardFunction(data, function, 1, fromIndex);
}

uint32_t lastIndexOfNonCharacterUsingFunction(const Data* data, YByteClassFunction function)
{
    return backwardFunction(data, function, 0, lastIndex(data));
}

uint32_t lastIndexOfNonCharacterUsingFunction(const Data* data, YByteClassFunction function, uint32_t fromIndex)
{
    return backwardFunction(data, function, 0, fromIndex);
}

uint32_t indexOfBytes(const Data* data, const void* bytes, uint32_t length, uint32_t fromIndex)
{
    if (!data || fromIndex >= data->length())
        return NotFound;
    auto* found = static_cast<const uint8_t*>(y_memmem(data->bytes() + fromIndex, data->length() - fromIndex, bytes, length));
    return found ? static_cast<uint32_t>(found - data->bytes()) : NotFound;
}

uint32_t lastIndexOfBytes(const Data* data, const void* bytes, uint32_t length)
{
    return lastIndexOfBytes(data, bytes, length, lastIndex(data));
}

uint32_t lastIndexOfBytes(const Data* data, const void* bytes, uint32_t length, uint32_t fromIndex)
{
    if (!data || uint64_t(fromIndex) + 1 > data->length())
        return NotFound;
    auto* found = static_cast<const uint8_t*>(y_memrmem(data->bytes(), fromIndex + 1, bytes, length));
    return found ? static_cast<uint32_t>(found - data->bytes()) : NotFound;
}

bool startsWithBytes(const Data* data, const void* bytes, uint32_t length, uint32_t fromIndex)
{
    if (!data || fromIndex >= data->length())
        return false;
    return YStartsWithBytes(data->bytes() + fromIndex, data->length() - fromIndex, bytes, length, true);
}

bool endsWithBytes(const Data* data, const void* bytes, uint32_t length)
{
    return endsWithBytes(data, bytes, length, lastIndex(data));
}

bool endsWithBytes(const Data* data, const void* bytes, uint32_t length, uint32_t fromIndex)
{
    if (!data || uint64_t(fromIndex) + 1 > data->length())
        return false;
    return YStartsWithBytes(data->bytes(), fromIndex + 1, bytes, length, false);
}

Ref<Data> subdataFromIndex(const Data* data, uint32_t index)
{
    return data->subdataWithRange(Range { index, index <= data->length() ? data->length() - index : 0 });
}

Ref<Data> subdataToIndex(const Data* data, uint32_t index)
{
    return data->subdataWithRange(Range { 0, index });
}

Ref<Data> subdataByTrimmingUsingFunction(const Data* data, YByteClassFunction function)
{
    if (!data->length())
        return Ref<Data>(const_cast<Data*>(data));
    uint32_t first = indexOfNonCharacterUsingFunction(data, function);
    if (first == NotFound)
        return make<Data>();
    uint32_t last = lastIndexOfNonCharacterUsingFunction(data, function);
    if (first == 0 && last == data->length() - 1)
        return Ref<Data>(const_cast<Data*>(data));
    return data->subdataWithRange(Range { first, last - first + 1 });
}

Ref<Data> subdataByTrimmingWhitespace(const Data* data) { return subdataByTrimmingUsingFunction(data, is_whitespace); }
Ref<Data> subdataByTrimmingNewline(const Data* data) { return subdataByTrimmingUsingFunction(data, is_crlf); }
Ref<Data> subdataByTrimmingWhitespaceAndNewline(const Data* data) { return subdataByTrimmingUsingFunction(data, is_whitespace_crlf); }

void getLineStart(const Data* data, uint32_t* start, uint32_t* end, uint32_t* contentsEnd, Range range)
{
    if (range.location > data->length() || range.length > data->length() - range.location)
        detail::raiseOutOfBounds(data, "getLineStart:end:contentsEnd:forRange:");
    detail::LineBounds line = detail::lineBounds(data->bytes(), data->length(), range);
    if (start)
        *start = line.start;
    if (end)
        *end = line.end;
    if (contentsEnd)
        *contentsEnd = contentsEndOf(line);
}

Range lineRangeForRange(const Data* data, Range range)
{
    uint32_t start = 0, end = 0;
    getLineStart(data, &start, &end, nullptr, range);
    return Range { start, end - start };
}

Ref<Data> subdataByCuttingLineForRange(const Data* data, Range range)
{
    return data->subdataWithRange(lineRangeForRange(data, range));
}

Ref<Array> lines(const Data* data, bool trim)
{
    auto result = make<MutableArray>();
    const uint8_t* bytes = data->bytes();
    const uint32_t length = data->length();
    detail::LineScanner scanner(bytes, length);
    for (uint32_t index = 0; index < length;) {
        detail::LineBounds line = scanner.next(index);
        uint32_t stop = trim ? line.end - line.terminatorLength : line.end;
        result->addObject(Data::dataWithBytes(bytes + line.start, stop - line.start));
        index = line.end;
    }
    return result;
}

int checkNewline(const Data* data)
{
    uint32_t lone[2] = { 0, 0 }; // CR, LF
    uint32_t pairs = 0;
    const uint8_t* bytes = data->bytes();
    const uint32_t length = data->length();
    for (uint32_t i = 0; i < length; ++i) {
        if (bytes[i] == CR) {
            if (i + 1 < length && bytes[i + 1] == LF) {
                ++pairs;
                ++i;
            } else {
                ++lone[0];
            }
        } else if (bytes[i] == LF) {
            ++lone[1];
        }
    }
    int kinds = (lone[0] > 0) + (lone[1] > 0) + (pairs > 0);
    if (kinds == 0)
        return YKNoNewline;
    if (kinds > 1)
        return YKMixedNewlines;
    return lone[0] ? YKOnlyCR : lone[1] ? YKOnlyLF : YKOnlyCRLF;
}

Ref<Data> dataByConvertingNewlineTo(const Data* data, int kind)
{
    if (!data->length() || kind < YKNewlineCR || kind > YKNewlineCRLF)
        return Ref<Data>(const_cast<Data*>(data));
    uint32_t terminatorLength = 0;
    const char* terminator = terminatorOf(kind, terminatorLength);
    auto converted = MutableData::dataWithCapacity(data->length() + data->length() / 16);
    const uint8_t* bytes = data->bytes();
    const uint32_t length = data->length();
    detail::LineScanner scanner(bytes, length);
    for (uint32_t index = 0; index < length;) {
        detail::LineBounds line = scanner.next(index);
        converted->appendBytes(bytes + line.start, line.end - line.terminatorLength - line.start);
        if (line.terminatorLength)
            converted->appendBytes(terminator, terminatorLength);
        index = line.end;
    }
    return converted;
}

bool writeWithBackupToFile(const Data* data, const String* path, bool atomically)
{
    auto* manager = FileManager::defaultManager();
    std::string bytes = path ? path->fileSystemRepresentation() : std::string();
    struct stat status;
    if (!bytes.empty() && !lstat(bytes.c_str(), &status) && !S_ISDIR(status.st_mode)) {
        auto backup = YK_backupPath(path);
        manager->removeFileAtPath(backup.get(), nullptr);
        if (!manager->linkPath(path, backup.get(), nullptr) && !manager->copyPath(path, backup.get(), nullptr)) {
            log("Couldn't create backup file '%@'", backup.get());
            return false;
        }
    }
    return data->writeToFile(path ? bytes.c_str() : nullptr, atomically);
}

bool YK_writeToFile(const Data* data, const String* path, uint32_t options, Ref<Error>* error)
{
    std::string bytes = path ? path->fileSystemRepresentation() : std::string();
    return data->writeToFile(path ? bytes.c_str() : nullptr, options, error);
}

Ref<Data> YK_dataWithBytesNoCopy(void* bytes, uint32_t length, bool freeWhenDone)
{
    return Data::dataWithBytesNoCopy(bytes, length, freeWhenDone);
}

Ref<Data> YK_dataWithContentsOfFile(const String* path, uint32_t options, Ref<Error>* error)
{
    std::string bytes = path ? path->fileSystemRepresentation() : std::string();
    return Data::dataWithContentsOfFile(path ? bytes.c_str() : nullptr, options, error);
}

void appendData(MutableData* data, const Data* other, Range range)
{
    uint32_t otherLength = other ? other->length() : 0;
    if (range.location > otherLength || range.length > otherLength - range.location)
        detail::raiseOutOfBounds(data, "appendData:range:");
    if (!range.length)
        return;
    if (range.location == 0 && range.length == otherLength)
        data->appendData(other);
    else
        data->appendBytes(other->bytes() + range.location, range.length);
}

void replaceCharacter(MutableData* data, unsigned char from, unsigned char to)
{
    replaceCharacter(data, from, Range { 0, data->length() }, to);
}

void replaceCharacter(MutableData* data, unsigned char from, Range range, unsigned char to)
{
    if (from == to || range.location >= data->length())
        return;
    uint32_t end = uint32_t(std::min<uint64_t>(uint64_t(range.location) + range.length, data->length()));
    uint8_t* bytes = data->mutableBytes();
    std::replace(bytes + range.location, bytes + end, from, to);
}

void YK_replaceBytesInRange(MutableData* data, Range range, const void* bytes, uint32_t length)
{
    data->replaceBytesInRange(range, bytes, length);
}

} // namespace yk
