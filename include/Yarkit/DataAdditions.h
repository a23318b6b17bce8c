#pragma once

// NSData(Yarkit), NSData(YKNSExtendedData), NSData(YKNSDataCreation), NSMutableData(Yarkit) and
// NSMutableData(YKNSExtendedMutableData): byte text kept as bytes. Searches for bytes and byte
// classes, prefix and suffix tests, trimming, lines with LF, CR and CR LF as terminators,
// newline detection and conversion, and writing a file with a "~" backup.
//
// Free functions that take the data first. Searches never raise: an index out of range gives
// NotFound or false, and every index is into the whole data. Backward searches look at bytes
// 0 .. index inclusive. Range faults raise NSRangeException "*** -[<class> <selector>]: Range
// or index out of bounds" where noted.

#include <Yarkit/ByteClasses.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Error.h>
#include <Yarkit/core/values/MutableData.h>

#include <cstdint>

namespace yk {

class Array;

// Byte searches; the forms without an index start at 0 (at length - 1 backwards).
uint32_t indexOfCharacter(const Data* data, unsigned char c, uint32_t fromIndex = 0);
uint32_t indexOfNonCharacter(const Data* data, unsigned char c, uint32_t fromIndex = 0);
uint32_t lastIndexOfCharacter(const Data* data, unsigned char c);
uint32_t lastIndexOfCharacter(const Data* data, unsigned char c, uint32_t fromIndex);
uint32_t lastIndexOfNonCharacter(const Data* data, unsigned char c);
uint32_t lastIndexOfNonCharacter(const Data* data, unsigned char c, uint32_t fromIndex);
uint32_t indexOfCharacterUsingFunction(const Data* data, YByteClassFunction function, uint32_t fromIndex = 0);
uint32_t indexOfNonCharacterUsingFunction(const Data* data, YByteClassFunction function, uint32_t fromIndex = 0);
uint32_t lastIndexOfCharacterUsingFunction(const Data* data, YByteClassFunction function);
uint32_t lastIndexOfCharacterUsingFunction(const Data* data, YByteClassFunction function, uint32_t fromIndex);
uint32_t lastIndexOfNonCharacterUsingFunction(const Data* data, YByteClassFunction function);
uint32_t lastIndexOfNonCharacterUsingFunction(const Data* data, YByteClassFunction function, uint32_t fromIndex);
// The first occurrence in fromIndex .. end.
uint32_t indexOfBytes(const Data* data, const void* bytes, uint32_t length, uint32_t fromIndex = 0);
// The last occurrence lying wholly within 0 .. fromIndex.
uint32_t lastIndexOfBytes(const Data* data, const void* bytes, uint32_t length);
uint32_t lastIndexOfBytes(const Data* data, const void* bytes, uint32_t length, uint32_t fromIndex);
// Whether the bytes from fromIndex on begin with the pattern / bytes 0 .. fromIndex end with it.
bool startsWithBytes(const Data* data, const void* bytes, uint32_t length, uint32_t fromIndex = 0);
bool endsWithBytes(const Data* data, const void* bytes, uint32_t length);
bool endsWithBytes(const Data* data, const void* bytes, uint32_t length, uint32_t fromIndex);

[[nodiscard]] Ref<Data> subdataFromIndex(const Data* data, uint32_t index);
[[nodiscard]] Ref<Data> subdataToIndex(const Data* data, uint32_t index);
// Leading and trailing bytes of the class stripped. The receiver itself when nothing was
// stripped (or it is empty); an empty data when every byte is of the class.
[[nodiscard]] Ref<Data> subdataByTrimmingUsingFunction(const Data* data, YByteClassFunction function);
[[nodiscard]] Ref<Data> subdataByTrimmingWhitespace(const Data* data);
[[nodiscard]] Ref<Data> subdataByTrimmingNewline(const Data* data);
[[nodiscard]] Ref<Data> subdataByTrimmingWhitespaceAndNewline(const Data* data);

// -getLineStart:end:contentsEnd:forRange: as the string method, on bytes, with LF, CR and CR LF
// (one terminator, never split: a location between CR and LF is inside that line). Any out
// pointer may be null. Raises NSRangeException for a range beyond the data.
void getLineStart(const Data* data, uint32_t* start, uint32_t* end, uint32_t* contentsEnd, Range range);
Range lineRangeForRange(const Data* data, Range range);
[[nodiscard]] Ref<Data> subdataByCuttingLineForRange(const Data* data, Range range);
// Every line as a Data of its own, without its terminator when trim; a last line without
// terminator counts, so data ending in a terminator has no empty last line.
[[nodiscard]] Ref<Array> lines(const Data* data, bool trim);

// Newline codes of checkNewline (which differ from the kinds of dataByConvertingNewlineTo on
// purpose).
enum : int {
    YKNoNewline = 0,
    YKOnlyCR = 1,
    YKOnlyLF = 2,
    YKOnlyCRLF = 3,
    YKMixedNewlines = 4,
};
int checkNewline(const Data* data);
// Newline kinds of dataByConvertingNewlineTo.
enum : int {
    YKNewlineCR = 0,
    YKNewlineLF = 1,
    YKNewlineCRLF = 2,
};
// Every terminator replaced by the kind's; a last line without one gets none. The receiver
// itself for empty data or an unknown kind.
[[nodiscard]] Ref<Data> dataByConvertingNewlineTo(const Data* data, int kind);

// Keeps the file at path (not a folder; links not followed) as YK_backupPath's "~" name, by
// hard link or else by copy, then writes (the write replaces the path's entry, so the backup
// keeps the old bytes). NO with "Couldn't create backup file '<path>'" when no backup could
// be made, or when the write fails.
bool writeWithBackupToFile(const Data* data, const String* path, bool atomically);
// writeToFile:options:error: with a POSIX error: 14 for a null path, 2 for an empty one.
bool YK_writeToFile(const Data* data, const String* path, uint32_t options, Ref<Error>* error);
[[nodiscard]] Ref<Data> YK_dataWithBytesNoCopy(void* bytes, uint32_t length, bool freeWhenDone);
[[nodiscard]] Ref<Data> YK_dataWithContentsOfFile(const String* path, uint32_t options, Ref<Error>* error);

// Appends the range of other; raises NSRangeException when it lies beyond other.
void appendData(MutableData* data, const Data* other, Range range);
// Every byte `from` in the range (clamped to the data) becomes `to`; never raises.
void replaceCharacter(MutableData* data, unsigned char from, unsigned char to);
void replaceCharacter(MutableData* data, unsigned char from, Range range, unsigned char to);
void YK_replaceBytesInRange(MutableData* data, Range range, const void* bytes, uint32_t length);

} // namespace yk
