#pragma once

// NSData(YarkitBase64Encoding): whole data objects to and from base64 text with CR LF line
// breaks, through the codec of Yarkit/Base64.h. Free functions; each result is one allocation
// handed over without copying.

#include <Yarkit/core/runtime/Ref.h>

#include <cstdint>

namespace yk {

class Data;

// +dataWithBase64Data: decodes padded base64 text (lines, folds and the codec's other
// allowances included). Null for invalid text; empty text or null gives empty data. A decoded
// length the codec could not have produced raises NSInternalInconsistencyException
// "-[NSData initWithBase64Data:]: decoded length = %d"; text whose decoded size a 32-bit count
// cannot hold raises NSRangeException.
[[nodiscard]] Ref<Data> dataWithBase64Data(const Data* base64);

// -base64Data: base64DataWithLineLength with the user default "DefaultBase64LineLength", read
// on every call (76 when unset). A default of 0 or less raises as a line length of 0 does.
[[nodiscard]] Ref<Data> base64Data(const Data* data);

// -base64DataWithLineLength: padded base64, CR LF after every line of `lineLength` characters
// (a length that is not a multiple of 4 never breaks). Empty or null data gives empty data.
// A line length of 0 raises NSInvalidArgumentException
// "*** -[NSData base64DataWithLineLength:]: line length is 0"; output a 32-bit count cannot
// hold raises NSRangeException; a codec fault raises NSInternalInconsistencyException
// "-[NSData base64DataWithLineLength:]: encoded length = %d".
[[nodiscard]] Ref<Data> base64DataWithLineLength(const Data* data, uint32_t lineLength);

// The line length "DefaultBase64LineLength" gives now: 76 when unset.
int32_t defaultBase64LineLength();

} // namespace yk
