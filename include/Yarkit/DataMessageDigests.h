#pragma once

// The YarkitMessageDigests additions to Data: message digests and HMACs of a data object's
// bytes, by the names libcrypto's digest table knows ("MD5", "sha1", "SHA-256", "RSA-SHA256",
// "whirlpool", ...), as raw bytes or as lower-case hexadecimal text. Every function may be
// called from any thread.
//
// The digest table is registered by initializeYarkitMessageDigests, which the framework runs
// when the library loads (a postLoad of this group), so a valid name never fails for want of
// registration. Digests that the default provider lacks (MD4, Whirlpool, ...) come from the
// legacy provider, loaded into a library context of the framework's own; the application's
// context is never touched.
//
// An unknown name (the empty one included) raises NSInvalidArgumentException
// "Unknown algorithm '<name>'". An HMAC over an extendable-output digest (SHAKE) raises
// NSInvalidArgumentException "Algorithm '<name>' cannot be used for an HMAC".

#include <Yarkit/core/runtime/Ref.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/String.h>

namespace yk {

// +initializeYarkitMessageDigests: registers libcrypto's digests once; later calls do nothing.
void initializeYarkitMessageDigests();

// -digestUsingAlgorithm:
[[nodiscard]] Ref<Data> digestUsingAlgorithm(const Data* data, const String* algorithm);
// -hexDigestUsingAlgorithm: two lower-case hex digits per byte.
[[nodiscard]] Ref<String> hexDigestUsingAlgorithm(const Data* data, const String* algorithm);
// -HMACWithKey:usingAlgorithm: HMAC(key, data); an empty key is a key like any other.
[[nodiscard]] Ref<Data> HMACWithKey(const Data* data, const Data* key, const String* algorithm);
// -hexHMACWithKey:usingAlgorithm:
[[nodiscard]] Ref<String> hexHMACWithKey(const Data* data, const Data* key, const String* algorithm);

// The digest names libcrypto's table knows, aliases included, sorted (what `yarkit digest
// --list` prints).
[[nodiscard]] Ref<Array> messageDigestAlgorithmNames();

} // namespace yk
