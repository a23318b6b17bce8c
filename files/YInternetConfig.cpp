#include <Yarkit/YInternetConfig.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/system/FileManager.h>
#include <Yarkit/core/values/Log.h>

#include "files/MimeApps.h"
#include "files/SharedMimeInfo.h"

#include <map>
#include <string>
#include <utility>

namespace yk {

YK_DEFINE_CLASS(YInternetConfig);

namespace {

constexpr uint32_t maximumHelperNameLength = 63;

// The x-scheme-handler type of a scheme, ASCII-lowercased as MIME types are.
std::string schemeType(const String* scheme)
{
    std::string text = scheme->utf8();
    for (char& c : text)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    return "x-scheme-handler/" + text;
}

// The type and description of a type as strings, made once per database and type.
YKMapEntry stringsOfType(const detail::MimeDatabase& database, const std::string& type)
{
    static Mutex lock;
    static auto* made = new std::map<std::pair<const detail::MimeDatabase*, std::string>, YKMapEntry>;
    Locker guard(lock);
    auto [strings, isNew] = made->try_emplace({ &database, type });
    if (isNew) {
        strings->second.MIMEType = String::withUTF8(type);
        strings->second.description = String::withUTF8(database.descriptionOfType(type));
    }
    return strings->second;
}

bool mapFileName(YKMapEntry* entry, const std::string& fileName, Ref<String> extension)
{
    const auto& database = detail::MimeDatabase::forCurrentEnvironment();
    std::string type = database.mimeTypeForFileName(fileName);
    if (type.empty())
        return false; // icPrefNotFoundErr: quiet
    if (entry) {
        *entry = stringsOfType(database, type);
        entry->extension = std::move(extension);
    }
    return true;
}

// The classic Mac OS file types and the MIME types (with their usual extension) they stand
// for; a type with several rows is told apart by the extension asked about, else its first row
// applies.
struct HFSTypeMapping {
    char type[5];
    const char* extension;
    const char* MIMEType;
};

constexpr HFSTypeMapping hfsTypeMappings[] = {
    { "TEXT", "txt", "text/plain" },
    { "TEXT", "html", "text/html" },
    { "TEXT", "htm", "text/html" },
    { "TEXT", "eml", "message/rfc822" },
    { "TEXT", "csv", "text/csv" },
    { "ttro", "txt", "text/plain" },
    { "utxt", "txt", "text/plain" },
    { "HTML", "html", "text/html" },
    { "RTF ", "rtf", "application/rtf" },
    { "PDF ", "pdf", "application/pdf" },
    { "EPSF", "eps", "image/x-eps" },
    { "JPEG", "jpg", "image/jpeg" },
    { "GIFf", "gif", "image/gif" },
    { "PNGf", "png", "image/png" },
    { "TIFF", "tif", "image/tiff" },
    { "BMPf", "bmp", "image/bmp" },
    { "PICT", "pict", "image/x-pict" },
    { "MooV", "mov", "video/quicktime" },
    { "MPEG", "mpg", "video/mpeg" },
    { "MPG3", "mp3", "audio/mpeg" },
    { "AIFF", "aiff", "audio/x-aiff" },
    { "WAVE", "wav", "audio/x-wav" },
    { "ZIP ", "zip", "application/zip" },
    { "SIT!", "sit", "application/x-stuffit" },
    { "W8BN", "doc", "application/msword" },
    { "XLS8", "xls", "application/vnd.ms-excel" },
    { "BINA", "bin", "application/octet-stream" },
};

uint32_t codeOf(const char* type)
{
    return uint32_t(uint8_t(type[0])) << 24 | uint32_t(uint8_t(type[1])) << 16 | uint32_t(uint8_t(type[2])) << 8 | uint8_t(type[3]);
}

// The row for an HFS type, the extension choosing among the type's rows; null for a type
// without rows.
const HFSTypeMapping* mappingOfHFSType(uint32_t type, const String* extension)
{
    const HFSTypeMapping* first = nullptr;
    for (const auto& mapping : hfsTypeMappings) {
        if (codeOf(mapping.type) != type)
            continue;
        if (!first)
            first = &mapping;
        if (extension && extension->caseInsensitiveCompare(String::withUTF8(mapping.extension).get()) == OrderedSame)
            return &mapping;
    }
    return first;
}

} // namespace

Ref<YInternetConfig> YInternetConfig::internetConfig()
{
    return make<YInternetConfig>();
}

uint32_t YInternetConfig::applicationSignature()
{
    return 0x3F3F3F3F;
}

bool YInternetConfig::getMapEntry(YKMapEntry* entry, const String* fileType) const
{
    if (String::isEmpty(fileType))
        return false;
    if (uint32_t type = NSHFSTypeCodeFromFileType(fileType))
        return getMapEntry(entry, type, 0, nullptr);
    return mapFileName(entry, "a." + fileType->fileSystemRepresentation(), fileType->copy());
}

bool YInternetConfig::getMapEntry(YKMapEntry* entry, uint32_t type, uint32_t, const String* extension) const
{
    const HFSTypeMapping* mapping = type ? mappingOfHFSType(type, extension) : nullptr;
    if (!mapping) {
        if (String::isEmpty(extension))
            return false; // icPrefNotFoundErr: quiet
        return mapFileName(entry, "a." + extension->fileSystemRepresentation(), extension->copy());
    }
    if (entry) {
        *entry = stringsOfType(detail::MimeDatabase::forCurrentEnvironment(), mapping->MIMEType);
        entry->extension = String::withUTF8(mapping->extension);
    }
    return true;
}

bool YInternetConfig::getMapEntryForFileName(YKMapEntry* entry, const String* fileName) const
{
    if (String::isEmpty(fileName))
        return false;
    return mapFileName(entry, fileName->fileSystemRepresentation(), fileName->pathExtension());
}

bool YInternetConfig::getApplicationCreator(uint32_t* creator, Ref<String>* name, const String* scheme) const
{
    if (!scheme)
        return false;
    std::string id = detail::defaultApplicationForType(schemeType(scheme));
    if (id.empty())
        return false; // icPrefNotFoundErr: quiet
    if (creator)
        *creator = 0;
    if (name)
        *name = String::withUTF8(id);
    return true;
}

bool YInternetConfig::setApplicationCreator(uint32_t, const String* name, const String* scheme)
{
    if (!scheme || String::isEmpty(name) || name->length() > maximumHelperNameLength)
        return false;
    int code = detail::setDefaultApplicationForType(schemeType(scheme), name->utf8());
    if (code) {
        log("ICSetPref() returned error %d while setting key '%@'", code, _helperKeyForScheme(scheme).get());
        return false;
    }
    return true;
}

Ref<String> YInternetConfig::_helperKeyForScheme(const String* scheme)
{
    auto key = String::withUTF8("Helper\xE2\x80\xA2");
    return scheme ? key->stringByAppendingString(scheme) : key;
}

} // namespace yk
