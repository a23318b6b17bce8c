#include <Yarkit/MethodReplacement.h>

#include <Yarkit/core/values/Log.h>

namespace {

yk::Method* findMethodOrLog(yk::Class* cls, yk::Selector selector, bool classSide)
{
    yk::Method* method = nullptr;
    if (cls && selector)
        method = classSide ? cls->lookupClassMethod(selector) : cls->lookupMethod(selector);
    if (!method) {
        yk::log("%c[%s %s] not found", classSide ? '+' : '-', cls ? cls->name().c_str() : "(Nil)",
            selector ? selector.name() : "(NULL)");
    }
    return method;
}

IMP replaceMethod(yk::Class* cls, yk::Selector selector, yk::Selector otherSelector, bool classSide)
{
    yk::Method* method = findMethodOrLog(cls, selector, classSide);
    if (!method)
        return nullptr;
    yk::Method* other = findMethodOrLog(cls, otherSelector, classSide);
    if (!other)
        return nullptr;
    // Lookups are not cached, so storing the implementation is all a swap needs.
    return method->setImplementation(other->implementation()).body();
}

yk::Class* classImplementingMethod(yk::Class* cls, yk::Selector selector, bool classSide)
{
    auto lookup = [&](yk::Class* c) { return classSide ? c->lookupClassMethod(selector) : c->lookupMethod(selector); };
    if (!cls || !selector)
        return nullptr;
    const yk::Method* method = lookup(cls);
    if (!method)
        return nullptr;
    while (cls->superclass() && lookup(cls->superclass()) == method)
        cls = cls->superclass();
    return cls;
}

} // namespace

IMP YKReplaceInstanceMethod(yk::Class* cls, yk::Selector selector, yk::Selector otherSelector)
{
    return replaceMethod(cls, selector, otherSelector, false);
}

IMP YKReplaceClassMethod(yk::Class* cls, yk::Selector selector, yk::Selector otherSelector)
{
    return replaceMethod(cls, selector, otherSelector, true);
}

yk::Class* YKGetClassImplementingInstanceMethod(yk::Class* cls, yk::Selector selector)
{
    return classImplementingMethod(cls, selector, false);
}

yk::Class* YKGetClassImplementingClassMethod(yk::Class* cls, yk::Selector selector)
{
    return classImplementingMethod(cls, selector, true);
}
