#pragma once

#include <Yarkit/core/runtime/Imp.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/RecursiveMutex.h>
#include <Yarkit/core/runtime/SharedMutex.h>

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace yk {

class Class;

// One method of a method list: a selector and its implementation, which
// YKReplaceInstanceMethod and its kin may swap at run time.
class Method {
public:
    Method(Selector selector, Imp imp)
        : _selector(selector)
        , _imp(imp.body())
    {
    }
    Selector selector() const { return _selector; }
    Imp implementation() const { return Imp(_imp.load(std::memory_order_acquire)); }
    // Stores a new implementation and returns the previous one.
    Imp setImplementation(Imp imp) { return Imp(_imp.exchange(imp.body(), std::memory_order_acq_rel)); }

private:
    Selector _selector;
    std::atomic<const detail::ImpBody*> _imp;
};

// The methods a class gets from one place: the class itself (an empty name) or a category.
struct MethodList {
    std::string categoryName;
    std::vector<std::unique_ptr<Method>> methods;
};

namespace detail {
// Called when a selector literal's colons do not match the function's arguments; not constexpr,
// so the mistake stops the compilation with this name in the message.
void selectorColonCountDiffersFromTheFunctionArgumentCount();
} // namespace detail

// The selector of a method being registered, for a function of Arity arguments. A string
// literal is checked when compiling: its colons must match the arity. A selector made at run
// time is checked when the method is registered.
template <uint32_t Arity>
class MethodSelector {
public:
    template <size_t N>
    consteval MethodSelector(const char (&text)[N])
        : _text(text, N - 1)
    {
        uint32_t colons = 0;
        for (char c : _text)
            colons += c == ':';
        if (colons != Arity)
            detail::selectorColonCountDiffersFromTheFunctionArgumentCount();
    }
    MethodSelector(std::string_view text)
        : _text(text)
    {
    }
    MethodSelector(const std::string& text)
        : _text(text)
    {
    }

    std::string_view text() const { return _text; }

private:
    std::string_view _text;
};

// Collects the methods of one method list of a class, on its instance side (method) and its
// class side (classMethod); the class gets them all at once when the setup function returns.
// An implementation is a member function of the class or a function whose first parameter is
// the receiver; its signature is deduced from its type:
//     c.method("jobDidEnd:", &Delegate::jobDidEnd);
//     c.method<void(yk::String*)>("setName:", &Delegate::set);   // one of several overloads
//     c.classMethod("postLoad", &Delegate::postLoad);   // static void postLoad(yk::Class*)
// Raises NSInvalidArgumentException when a selector's colons do not match the arguments.
class MethodListBuilder {
public:
    explicit MethodListBuilder(std::string_view className)
        : _className(className)
    {
    }

    template <typename F>
    MethodListBuilder& method(MethodSelector<detail::ArityOf<F>::value> selector, F function)
    {
        add(false, selector.text(), Imp::fromFunction(function));
        return *this;
    }
    // Picks the overload of a member function whose type, without the receiver, is Signature.
    template <typename Signature, typename T>
    MethodListBuilder& method(MethodSelector<detail::ArityOf<Signature>::value> selector, std::type_identity_t<Signature> T::*function)
    {
        add(false, selector.text(), Imp::fromFunction(function));
        return *this;
    }
    template <typename Signature, typename T>
    MethodListBuilder& method(MethodSelector<detail::ArityOf<Signature>::value> selector, detail::ConstSignature<Signature> T::*function)
    {
        add(false, selector.text(), Imp::fromFunction(function));
        return *this;
    }
    template <typename F>
    MethodListBuilder& classMethod(MethodSelector<detail::ArityOf<F>::value> selector, F function)
    {
        add(true, selector.text(), Imp::fromFunction(function));
        return *this;
    }

    struct Entry {
        bool classSide;
        Selector selector;
        Imp imp;
    };
    const std::vector<Entry>& entries() const { return _entries; }

private:
    void add(bool classSide, std::string_view selector, Imp imp);

    std::string _className;
    std::vector<Entry> _entries;
};

// A class of the object runtime: its name, superclass, method lists (its own and its
// categories') on both sides, and a factory when the C++ type is default-constructible. A
// class is itself an object, so it can be the target of a message; its class-side methods live
// in its metaclass, whose superclass is the superclass's metaclass.
class Class final : public Object {
public:
    using SuperClass = Object;
    using Factory = Ref<Object> (*)();
    using Setup = void (*)(MethodListBuilder&);

    // Registers a class once with the methods of setup; called by YK_DEFINE_CLASS. Raises
    // NSInternalInconsistencyException when another class of the same name exists, and
    // NSInvalidArgumentException when a method's selector does not match its arguments; then
    // nothing is registered.
    // imageAddress is an address in the code of the module that defines the class (see
    // imageAddress()), or 0.
    static Class* registerClass(std::string_view name, Class* superclass, Factory factory, Setup setup, uintptr_t imageAddress = 0);
    template <typename T>
    static Class* registerClassOf(std::string_view name, Setup setup = nullptr);

    static Class* staticClass();

    // Adds a category's methods, all or none; called by YK_DEFINE_CATEGORY. Raises like
    // registerClass.
    void addCategory(std::string_view categoryName, Setup setup);

    // Changes whenever a method list of any class changes; a cached lookup made under another
    // generation is stale.
    static uint64_t methodTablesGeneration() { return _methodTablesGeneration.load(std::memory_order_acquire); }

    // Looks a class up by name, or null.
    static Class* named(std::string_view name);
    // Every registered class, in registration order.
    static std::vector<Class*> allClasses();

    const std::string& name() const { return _name; }
    Class* superclass() const { return _superclass; }
    bool isMetaClass() const { return _isMetaClass; }
    // The class whose instance methods are this class's class methods.
    Class* metaClass() const { return _metaClass; }
    bool isSubclassOfClass(const Class* other) const;
    // An address in the code of the module (the library, the program or a plug-in) that defines
    // the class, for dladdr; 0 when unknown. Bundle::bundleForClass tells modules apart by it.
    uintptr_t imageAddress() const { return _imageAddress; }

    // The method this class uses for a selector (the newest category wins over the class's own
    // list, and the class over its superclasses), or null.
    Method* lookupMethod(Selector selector) const;
    Method* lookupClassMethod(Selector selector) const { return _metaClass->lookupMethod(selector); }
    bool instancesRespondToSelector(Selector selector) const { return lookupMethod(selector); }
    Imp instanceMethodForSelector(Selector selector) const;
    Ref<MethodSignature> instanceMethodSignatureForSelector(Selector selector) const;

    // The method lists of this class (not its superclasses), own list first. The snapshot stays
    // valid: lists are never removed.
    std::vector<const MethodList*> methodLists() const;
    // Every method of this class's own lists (not its superclasses') with the selector, in list
    // order: the class's own list first, then its categories in the order they were added.
    std::vector<Method*> methodsWithSelector(Selector selector) const;

    // Runs the class-side "initialize" method once, superclasses first. Another thread that asks
    // meanwhile waits until it has run; the initialising thread itself may ask again (from inside
    // initialize) and goes on at once.
    void ensureInitialized();

    // Creates an instance with the registered factory; null for classes without one.
    Ref<Object> createInstance() const;

    // A class is the target of messages to its class side.
    Class* classObject() const override;
    bool isClass() const override { return true; }
    Ref<String> description() const override;

private:
    Class(std::string name, Class* superclass, Class* metaClass, Factory factory, bool isMetaClass);

    MethodList& methodListNamed(std::string_view categoryName) YK_REQUIRES(runtimeLock());
    void addMethod(std::string_view categoryName, Selector selector, Imp imp) YK_REQUIRES(runtimeLock());
    void addMethods(std::string_view categoryName, const MethodListBuilder& builder) YK_REQUIRES(runtimeLock());

    // Every method this class uses, by selector, flattened from its lists and its superclasses';
    // rebuilt after any method list of any class changed.
    struct LookupTable;
    const LookupTable* currentLookupTable() const;
    const LookupTable* rebuildLookupTable() const;

    // The registry's and every method list's lock; initialisation's lock, one for every class.
    struct Registry;
    static Registry& registry();
    static SharedMutex& runtimeLock();
    static RecursiveMutex& initializationLock();

    static std::atomic<uint64_t> _methodTablesGeneration;

    const std::string _name;
    Class* _superclass;
    Class* _metaClass;
    const Factory _factory;
    const bool _isMetaClass;
    uintptr_t _imageAddress { 0 };
    std::atomic<bool> _initialized { false };
    bool _initializing YK_GUARDED_BY(initializationLock()) { false };
    std::vector<std::unique_ptr<MethodList>> _methodLists YK_GUARDED_BY(runtimeLock());
    // Read without the lock; tables are immutable and live as long as the process.
    mutable std::atomic<const LookupTable*> _lookupTable { nullptr };
};

template <typename T>
Class* Class::registerClassOf(std::string_view name, Setup setup)
{
    Class* superclass = nullptr;
    if constexpr (!std::is_void_v<typename T::SuperClass>)
        superclass = T::SuperClass::staticClass();
    Factory factory = nullptr;
    if constexpr (std::is_default_constructible_v<T> && !std::is_abstract_v<T>)
        factory = [] { return Ref<Object>(make<T>()); };
    // The class's own staticClass() is compiled into the module that defines the class.
    return registerClass(name, superclass, factory, setup, reinterpret_cast<uintptr_t>(&T::staticClass));
}

namespace detail {

// Runs a registration when the program or library loads. Registration raises on mistakes that
// cannot be caught when compiling; here that would end the process before main, so the reason
// is written to standard error instead, and the class or category stays unregistered (its
// staticClass() raises the same reason when called).
struct ClassRegistration {
    explicit ClassRegistration(Class* (*registration)()) noexcept;
    ClassRegistration(Class* (*staticClass)(), std::string_view categoryName, Class::Setup setup) noexcept;
};

// "Mailbox" for "app::Mailbox": the name a class registers under by default.
constexpr std::string_view unqualifiedName(std::string_view name)
{
    const size_t end = name.find('<');
    const size_t colons = name.rfind("::", end);
    return colons == std::string_view::npos ? name : name.substr(colons + 2);
}

} // namespace detail

} // namespace yk

#define YK_CONCAT_INNER(a, b) a##b
#define YK_CONCAT(a, b) YK_CONCAT_INNER(a, b)

// Defines the runtime class of Type (declared with YK_OBJECT) and registers it when the
// program or library loads, under its name without namespaces. The optional argument adds
// methods:
//     YK_DEFINE_CLASS(Delegate, [](yk::MethodListBuilder& c) { c.method("jobDidEnd:", &Delegate::jobDidEnd); })
#define YK_DEFINE_CLASS(Type, ...) YK_DEFINE_CLASS_NAMED(Type, ::yk::detail::unqualifiedName(#Type) __VA_OPT__(, ) __VA_ARGS__)

// The same, under a name of the caller's choice: the name Class::named finds and archives carry.
//     YK_DEFINE_CLASS_NAMED(app::Mailbox, "AppMailbox")
#define YK_DEFINE_CLASS_NAMED(Type, Name, ...)                                                     \
    ::yk::Class* Type::staticClass()                                                               \
    {                                                                                              \
        static ::yk::Class* const cls = ::yk::Class::registerClassOf<Type>(Name __VA_OPT__(, ) __VA_ARGS__); \
        return cls;                                                                                \
    }                                                                                              \
    static const ::yk::detail::ClassRegistration YK_CONCAT(ykClassRegistration_, __LINE__) { &Type::staticClass }

// Adds a named category of methods to Type when the program or library loads.
#define YK_DEFINE_CATEGORY(Type, CategoryName, setup) \
    static const ::yk::detail::ClassRegistration YK_CONCAT(ykCategoryRegistration_, __LINE__) { &Type::staticClass, CategoryName, setup }
