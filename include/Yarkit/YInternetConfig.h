#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/String.h>

#include <cstdint>

namespace yk {

// What a file-name mapping gives: the MIME type, the extension asked about and the type's
// description.
struct YKMapEntry {
    Ref<String> MIMEType;
    Ref<String> extension;
    Ref<String> description;
};

// The error of a preference or mapping that does not exist.
constexpr int32_t icPrefNotFoundErr = -666;

// File-name mappings and helper applications per URL scheme, over the freedesktop
// shared-mime-info database (globs2 and the types' XML) and mimeapps.list, found through the
// XDG folders as they are when each call is made. A helper's "name" is its desktop-file ID
// ("thunderbird.desktop"), so setting then getting one round-trips; Linux has no creator
// codes, so the creator read is 0 and the creator given is ignored.
//
// Every call answers true on success; a mapping or helper that does not exist (-666) answers
// false without a log line; other failures log one line:
//   "ICMapFilename() returned error %d for filename '%@'",
//   "ICGetPref() returned error %d while getting key '%@'",
//   "ICSetPref() returned error %d while setting key '%@'" (the error is errno's value).
// Any thread.
class YInternetConfig : public Object {
    YK_OBJECT(YInternetConfig, Object)
public:
    // +internetConfig
    [[nodiscard]] static Ref<YInternetConfig> internetConfig();
    // The four bytes of the main bundle's "CFBundleSignature": there is no such key here, so
    // always '????' (0x3F3F3F3F).
    static uint32_t applicationSignature();

    // -getMapEntry:forFileType: the type is an extension ("eml") or a quoted HFS type code
    // ("'TEXT'", see NSHFSTypeCodeFromFileType), mapped as the next method does with no
    // extension. Null or empty: false.
    bool getMapEntry(YKMapEntry* entry, const String* fileType) const;
    // -getMapEntry:forHFSTypeCode:HFSCreatorCode:extension: a classic Mac OS type the framework
    // knows ('TEXT', 'PDF ', 'JPEG', 'MooV'... the table in docs/files.md) gives its MIME type,
    // the extension (case ignored) choosing among the type's rows ('TEXT' with "html" is
    // text/html); the entry's extension is the row's. Any other type, or 0, maps by the extension
    // alone. The creator is ignored.
    bool getMapEntry(YKMapEntry* entry, uint32_t type, uint32_t creator, const String* extension) const;
    // The MIME type and description of a whole file name ("report.EML"); the extension field is
    // the name's path extension.
    bool getMapEntryForFileName(YKMapEntry* entry, const String* fileName) const;

    // -getApplicationCreator:name:forScheme: the default handler of x-scheme-handler/<scheme>.
    bool getApplicationCreator(uint32_t* creator, Ref<String>* name, const String* scheme) const;
    // -setApplicationCreator:name:forScheme: makes the desktop ID the scheme's default in the
    // config home's mimeapps.list. A name longer than 63 characters fails.
    bool setApplicationCreator(uint32_t creator, const String* name, const String* scheme);
    // -_helperKeyForScheme: "Helper•<scheme>" (the bullet is U+2022, 0xA5 in Mac OS Roman).
    [[nodiscard]] static Ref<String> _helperKeyForScheme(const String* scheme);
};

} // namespace yk
