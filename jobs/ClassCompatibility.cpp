#include <Yarkit/ClassCompatibility.h>

namespace yk {

bool YK_isSubclassOfClass(const Class* cls, const Class* other)
{
    return cls && cls->isSubclassOfClass(other);
}

YK_DEFINE_CATEGORY(Object, "YarkitCompatibilityWith10_1", [](MethodListBuilder& c) {
    c.classMethod("YK_isSubclassOfClass:", [](Class* self, Class* other) { return YK_isSubclassOfClass(self, other); });
});

} // namespace yk
