#pragma once

// Internationalized domain names (the additions "NSString(YarkitIDN)"): a host name between its
// Unicode form and its ASCII form ("xn--" labels), by ICU on the whole string. No Punycode,
// label splitting or case mapping of our own. docs/idn.md says when to use which pair.
//
// Each function returns the receiver itself for the empty string, null for more than 2048
// UTF-16 units (without calling ICU) or when ICU fails (warnings count as success, output that
// would not fit in 2048 units as failure), a copy of the receiver when ICU changed nothing, and
// otherwise a new string. A null receiver gives null. Safe on any thread; no heap allocation
// but the result.

#include <Yarkit/core/values/String.h>

#include <cstdint>

namespace yk {

// The longest name, in UTF-16 units, that the functions convert.
inline constexpr uint32_t IDNMaximumLength = 2048;

// -YK_IDNToASCIIWithOptions: and -YK_IDNToUnicodeWithOptions: IDNA2003 through ICU's
// uidna_IDNToASCII and uidna_IDNToUnicode, with the option bits passed unchanged (0 the
// defaults, 1 allow unassigned code points, 2 the STD3 host-name rules).
[[nodiscard]] Ref<String> YK_IDNToASCIIWithOptions(const String* string, int32_t options);
[[nodiscard]] Ref<String> YK_IDNToUnicodeWithOptions(const String* string, int32_t options);

// UTS #46 (IDNA2008 with its compatibility mapping), non-transitional, with the BiDi and
// CONTEXTJ checks, through one shared ICU object. Null as above, and also when ICU reports
// processing errors; `errors`, when given, receives ICU's UIDNA_ERROR_* bits (0 on success or
// when ICU was not called).
[[nodiscard]] Ref<String> YK_UTS46ToASCII(const String* string, uint32_t* errors = nullptr);
[[nodiscard]] Ref<String> YK_UTS46ToUnicode(const String* string, uint32_t* errors = nullptr);

} // namespace yk
