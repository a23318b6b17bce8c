#include <Yarkit/YInternetConfig.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Log.h>

#include "files/MimeApps.h"
#include "files/SharedMimeInfo.h"

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

bool mapFileName(YKMapEntry* entry, const std::string& fileName, Ref<String> extension)
{
    const auto& database = detail::MimeDatabase::forCurrentEnvironment();
    std::string type = database.mimeTypeForFileName(fileName);
    if (type.empty())
        return false; // icPrefNotFoundErr: quiet
    if (entry) {
        entry->MIMEType = String::withUTF8(type);
        entry->extension = std::move(extension);
        entry->description = String::withUTF8(database.descriptionOfType(type));
    }
    return true;
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
    // A quoted HFS type code: no extension to map by.
    if (fileType->length() == 6 && fileType->characterAtIndex(0) == u'\'' && fileType->characterAtIndex(5) == u'\'')
        return getMapEntry(entry, 0, 0, nullptr);
    return mapFileName(entry, "a." + fileType->fileSystemRepresentation(), fileType->copy());
}

bool YInternetConfig::getMapEntry(YKMapEntry* entry, uint32_t, uint32_t, const String* extension) const
{
    if (String::isEmpty(extension))
        return false;
    return mapFileName(entry, "a." + extension->fileSystemRepresentation(), extension->copy());
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
