#include <Yarkit/MutableDictionaryAdditions.h>

#include <Yarkit/core/system/Archiver.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Number.h>

namespace yk {

namespace {

// Stores number under key; a null key goes on to setObject with both null, which raises.
void storeNumber(MutableDictionary* dictionary, Ref<Number> number, const Object* key)
{
    if (!key) {
        dictionary->setObject(nullptr, nullptr);
        return;
    }
    dictionary->setObject(std::move(number), const_cast<Object*>(key));
}

} // namespace

void setShort(MutableDictionary* dictionary, int16_t value, const Object* key)
{
    storeNumber(dictionary, Number::numberWithShort(value), key);
}

void setUnsignedShort(MutableDictionary* dictionary, uint16_t value, const Object* key)
{
    storeNumber(dictionary, Number::numberWithUnsignedShort(value), key);
}

void setInt(MutableDictionary* dictionary, int32_t value, const Object* key)
{
    storeNumber(dictionary, Number::numberWithInt(value), key);
}

void setUnsignedInt(MutableDictionary* dictionary, uint32_t value, const Object* key)
{
    storeNumber(dictionary, Number::numberWithUnsignedInt(value), key);
}

void setFloat(MutableDictionary* dictionary, float value, const Object* key)
{
    storeNumber(dictionary, Number::numberWithFloat(value), key);
}

void setDouble(MutableDictionary* dictionary, double value, const Object* key)
{
    storeNumber(dictionary, Number::numberWithDouble(value), key);
}

void setBool(MutableDictionary* dictionary, bool value, const Object* key)
{
    storeNumber(dictionary, Number::numberWithBool(value), key);
}

void setCodingObject(MutableDictionary* dictionary, const Object* object, const Object* key)
{
    dictionary->setObject(Archiver::archivedDataWithRootObject(object), const_cast<Object*>(key));
}

void YK_addObject(MutableDictionary* dictionary, Ref<Object> object, const Object* key)
{
    if (!object || !key || !dictionary->containsKey(key))
        dictionary->setObject(std::move(object), const_cast<Object*>(key));
}

void YK_replaceObject(MutableDictionary* dictionary, Ref<Object> object, const Object* key)
{
    if (!object || !key || dictionary->containsKey(key))
        dictionary->setObject(std::move(object), const_cast<Object*>(key));
}

} // namespace yk
