#pragma once

// UTF-7 and the modified UTF-7 of IMAP mailbox names (the additions "NSString(UTF7Extensions)").
// Both work on a string's UTF-16 code units, so unpaired surrogates survive a round trip.
//
// UTF-7 (mail bodies): letters, digits, ' ( ) , - . / : ? space, tab, CR and LF are written as
// they are; every other unit, "+" included, goes into a run "+<base64>" of big-endian units
// without padding. A run is closed with "-" only when the next direct character is a base64
// character or "-"; a run at the end stays open.
//
// Modified UTF-7 (mailbox names): 0x20-0x7E are written as they are, "&" as "&-"; other runs
// become "&<base64>-" with "," in place of "/".
//
// The decoders never fail: shifted text that does not decode to a whole number of units is
// kept as literal text, starting with the shift character; bytes 0x80-0xFF become U+0080 to
// U+00FF. The encoders raise NSInternalInconsistencyException
// "*** BASE64-encoded length: <got> (<expected> expected)" only if the base64 codec wrote
// another length than a run needs. A null string encodes to null (or an empty C string).

#include <Yarkit/core/values/MutableData.h>
#include <Yarkit/core/values/String.h>

#include <cstdint>
#include <string>

namespace yk {

// -_UTF7Data: the UTF-7 encoder.
[[nodiscard]] Ref<MutableData> encodeUTF7Data(const String* string);
// -UTF7Data
[[nodiscard]] Ref<Data> UTF7Data(const String* string);
// -UTF7String: the UTF-7 text (which holds no NUL) as a C++ string.
[[nodiscard]] std::string UTF7String(const String* string);

// -_modifiedUTF7Data: the modified UTF-7 encoder.
[[nodiscard]] Ref<MutableData> encodeModifiedUTF7Data(const String* string);
// -modifiedUTF7Data
[[nodiscard]] Ref<Data> modifiedUTF7Data(const String* string);
// -modifiedUTF7String
[[nodiscard]] std::string modifiedUTF7String(const String* string);

// -initWithUTF7Bytes:length: and -initWithUTF7String: (a null C string is the empty string).
[[nodiscard]] Ref<String> stringWithUTF7Bytes(const void* bytes, uint32_t length);
[[nodiscard]] Ref<String> stringWithUTF7String(const char* string);
// -initWithModifiedUTF7Bytes:length: and -initWithModifiedUTF7String:.
[[nodiscard]] Ref<String> stringWithModifiedUTF7Bytes(const void* bytes, uint32_t length);
[[nodiscard]] Ref<String> stringWithModifiedUTF7String(const char* string);

} // namespace yk
