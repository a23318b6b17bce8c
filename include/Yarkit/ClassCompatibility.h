#pragma once

// The class addition of the YarkitCompatibilityWith10_1 group, registered on yk::Object's class
// side as that category.

#include <Yarkit/core/runtime/Class.h>

namespace yk {

// +YK_isSubclassOfClass: — whether cls is other or inherits from it. The core has the platform's
// own test, so this forwards to Class::isSubclassOfClass.
bool YK_isSubclassOfClass(const Class* cls, const Class* other);

} // namespace yk
