#include <Yarkit/DataBase64.h>

#include <Yarkit/Base64.h>
#include <Yarkit/UserDefaultsAdditions.h>
#include <Yarkit/core/system/UserDefaults.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Exception.h>

#include <cstdint>

namespace yk {

namespace {

// What the codec's int32_t counts can hold.
constexpr uint64_t countLimit = INT32_MAX;

} // namespace

int32_t defaultBase64LineLength()
{
    return integerForKey(UserDefaults::standardUserDefaults(), "DefaultBase64LineLength", 76);
}

Ref<Data> dataWithBase64Data(const Data* base64)
{
    if (!base64 || !base64->length())
        return make<Data>();
    uint32_t length = base64->length();
    uint64_t capacity = uint64_t(length) * 6 / 8;
    if (capacity > countLimit)
        raise(NSRangeException, "*** -[NSData initWithBase64Data:]: Range or index out of bounds");
    int32_t result = 0;
    Ref<Data> data = Data::dataByFilling(static_cast<uint32_t>(capacity), [&](uint8_t* bytes) {
        result = yk_decode_base64(bytes, reinterpret_cast<const char*>(base64->bytes()), length);
        return result > 0 && uint64_t(result) <= capacity ? static_cast<uint32_t>(result) : 0;
    });
    if (result == -1)
        return nullptr;
    if (result < 0 || uint64_t(result) > capacity)
        raise(NSInternalInconsistencyException, "-[NSData initWithBase64Data:]: decoded length = %d", result);
    return data;
}

Ref<Data> base64DataWithLineLength(const Data* data, uint32_t lineLength)
{
    if (!lineLength)
        raise(NSInvalidArgumentException, "*** -[NSData base64DataWithLineLength:]: line length is 0");
    if (!data || !data->length())
        return make<Data>();
    uint64_t groups = (uint64_t(data->length()) - 1) / 3;
    uint64_t capacity = 4 * groups + 4 + 2 * ((4 * groups + 4) / lineLength);
    if (capacity > countLimit)
        raise(NSRangeException, "*** -[NSData base64DataWithLineLength:]: Range or index out of bounds");
    // A line length beyond the int32_t range never ends a line, as a negative one does not.
    auto codecLineLength = static_cast<int32_t>(lineLength > countLimit ? 0 : lineLength);
    int32_t result = 0;
    Ref<Data> encoded = Data::dataByFilling(static_cast<uint32_t>(capacity), [&](uint8_t* bytes) {
        result = yk_encode_base64(reinterpret_cast<char*>(bytes), data->bytes(), data->length(), codecLineLength);
        return result > 0 && uint64_t(result) <= capacity ? static_cast<uint32_t>(result) : 0;
    });
    if (result < 0 || uint64_t(result) > capacity)
        raise(NSInternalInconsistencyException, "-[NSData base64DataWithLineLength:]: encoded length = %d", result);
    return encoded;
}

Ref<Data> base64Data(const Data* data)
{
    int32_t lineLength = defaultBase64LineLength();
    return base64DataWithLineLength(data, lineLength > 0 ? static_cast<uint32_t>(lineLength) : 0);
}

} // namespace yk
