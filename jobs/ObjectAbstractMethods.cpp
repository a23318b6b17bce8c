#include <Yarkit/ObjectAbstractMethods.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Exception.h>

namespace yk {
namespace {

const char* classNameOf(const Object* receiver)
{
    if (!receiver)
        return "(nil)";
    if (receiver->isClass())
        return static_cast<const Class*>(receiver)->name().c_str();
    return receiver->classObject()->name().c_str();
}

const char* receiverKind(const Object* receiver)
{
    return receiver && receiver->isClass() ? "class" : "instance";
}

} // namespace

void notImplemented(const Object* receiver, Selector selector)
{
    raise(NSGenericException, "method %s not implemented in %s (%s)", selector.name(), classNameOf(receiver), receiverKind(receiver));
}

void shouldNotImplement(const Object* receiver, Selector selector)
{
    raise(NSGenericException, "%s (%s) should not implement %s", classNameOf(receiver), receiverKind(receiver), selector.name());
}

void subclassResponsibility(const Object* receiver, Selector selector)
{
    raise(NSGenericException, "subclass %s (%s) should override %s", classNameOf(receiver), receiverKind(receiver), selector.name());
}

YK_DEFINE_CATEGORY(Object, "YSCategories", [](MethodListBuilder& c) {
    c.method("notImplemented:", [](Object* self, Selector selector) { notImplemented(self, selector); });
    c.method("shouldNotImplement:", [](Object* self, Selector selector) { shouldNotImplement(self, selector); });
    c.method("subclassResponsibility:", [](Object* self, Selector selector) { subclassResponsibility(self, selector); });
});

} // namespace yk
