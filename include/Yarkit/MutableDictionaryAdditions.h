#pragma once

// NSMutableDictionary(Yarkit): storing numbers of a given kind and archived objects, and the
// core dictionary's add-if-absent and replace-if-present operations.
//
// Free functions that take the dictionary first; it must not be null.

#include <Yarkit/core/values/MutableDictionary.h>

#include <cstdint>

namespace yk {

// Store a new Number of the matching kind under key ("set<Kind>:forKey:"). A null key calls
// setObject with a null object and a null key, so MutableDictionary raises its own
// NSInvalidArgumentException.
void setShort(MutableDictionary* dictionary, int16_t value, const Object* key);
void setUnsignedShort(MutableDictionary* dictionary, uint16_t value, const Object* key);
void setInt(MutableDictionary* dictionary, int32_t value, const Object* key);
void setUnsignedInt(MutableDictionary* dictionary, uint32_t value, const Object* key);
void setFloat(MutableDictionary* dictionary, float value, const Object* key);
void setDouble(MutableDictionary* dictionary, double value, const Object* key);
void setBool(MutableDictionary* dictionary, bool value, const Object* key);

// setCodingObject:forKey: stores object archived with yk::Archiver (null archives as nil). Raises
// NSInvalidArchiveOperationException for a graph that cannot be archived.
void setCodingObject(MutableDictionary* dictionary, const Object* object, const Object* key);

// YK_addObject:forKey: adds the pair only when the key is absent; YK_replaceObject:forKey:
// replaces the value only when the key is present.
// A null object or key raises NSInvalidArgumentException, as setObject does.
void YK_addObject(MutableDictionary* dictionary, Ref<Object> object, const Object* key);
void YK_replaceObject(MutableDictionary* dictionary, Ref<Object> object, const Object* key);

} // namespace yk
