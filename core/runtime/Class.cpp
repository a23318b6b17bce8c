#include <Yarkit/core/runtime/Class.h>

#include <algorithm>
#include <cstdio>
#include <unordered_map>

#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/values/String.h> // reaches up: a class describes itself by its name

#include "core/runtime/RuntimeErrors.h"

namespace yk {

// The class registry. Classes live for the whole process.
struct Class::Registry {
    std::vector<Ref<Class>> classes YK_GUARDED_BY(runtimeLock()); // registration order
    std::unordered_map<std::string, Class*> classesByName YK_GUARDED_BY(runtimeLock());
};

// Bumped, under the runtime's lock, by every change to a method list; lookup tables of older
// generations are rebuilt on their next use. Constant-initialised: classes register while the
// program loads.
constinit std::atomic<uint64_t> Class::_methodTablesGeneration { 1 };

Class::Registry& Class::registry()
{
    static auto* instance = std::make_unique<Registry>().release(); // lives for the whole process
    return *instance;
}

SharedMutex& Class::runtimeLock()
{
    static auto* lock = std::make_unique<SharedMutex>().release(); // lives for the whole process
    return *lock;
}

RecursiveMutex& Class::initializationLock()
{
    // Recursive, so that an initialize method can use other classes.
    static auto* lock = std::make_unique<RecursiveMutex>().release(); // lives for the whole process
    return *lock;
}

Class::Class(std::string name, Class* superclass, Class* metaClass, Factory factory, bool isMetaClass)
    : _name(std::move(name))
    , _superclass(superclass)
    , _metaClass(metaClass)
    , _factory(factory)
    , _isMetaClass(isMetaClass)
{
}

YK_DEFINE_CLASS(Class);

Class* Class::registerClass(std::string_view name, Class* superclass, Factory factory, Setup setup, uintptr_t imageAddress)
{
    // The methods are collected first, so that a mistake in them leaves nothing registered.
    MethodListBuilder builder(name);
    if (setup)
        setup(builder);
    auto& rt = registry();
    Locker guard(runtimeLock());
    if (rt.classesByName.contains(std::string(name)))
        detail::raiseInternalInconsistency("class " + std::string(name) + " is registered twice");
    // The metaclass's superclass is the superclass's metaclass; the root's is the root class.
    auto meta = Ref<Class>::adopt(new Class(std::string(name), nullptr, nullptr, nullptr, true));
    auto created = Ref<Class>::adopt(new Class(std::string(name), superclass, meta.get(), factory, false));
    meta->_superclass = superclass ? superclass->_metaClass : created.get();
    meta->_metaClass = superclass ? superclass->_metaClass->_metaClass : meta.get();
    Class* cls = created.get();
    cls->_imageAddress = imageAddress;
    rt.classes.push_back(created);
    rt.classes.push_back(meta);
    rt.classesByName.emplace(name, cls);
    cls->addMethods({}, builder);
    return cls;
}

void Class::addCategory(std::string_view categoryName, Setup setup)
{
    MethodListBuilder builder(_name);
    setup(builder);
    Locker guard(runtimeLock());
    methodListNamed(categoryName);
    _metaClass->methodListNamed(categoryName);
    addMethods(categoryName, builder);
}

Class* Class::named(std::string_view name)
{
    auto& rt = registry();
    SharedLocker guard(runtimeLock());
    auto found = rt.classesByName.find(std::string(name));
    return found == rt.classesByName.end() ? nullptr : found->second;
}

std::vector<Class*> Class::allClasses()
{
    auto& rt = registry();
    SharedLocker guard(runtimeLock());
    std::vector<Class*> result;
    for (const auto& cls : rt.classes) {
        if (!cls->_isMetaClass)
            result.push_back(cls.get());
    }
    return result;
}

bool Class::isSubclassOfClass(const Class* other) const
{
    for (const Class* c = this; c; c = c->_superclass) {
        if (c == other)
            return true;
    }
    return false;
}

struct Class::LookupTable {
    uint64_t generation;
    std::unordered_map<const char*, Method*> methods; // by interned selector name
};

Method* Class::lookupMethod(Selector selector) const
{
    if (!selector)
        return nullptr;
    const auto& methods = currentLookupTable()->methods;
    auto found = methods.find(selector.name());
    return found == methods.end() ? nullptr : found->second;
}

const Class::LookupTable* Class::currentLookupTable() const
{
    const LookupTable* table = _lookupTable.load(std::memory_order_acquire);
    if (table && table->generation == methodTablesGeneration())
        return table;
    return rebuildLookupTable();
}

const Class::LookupTable* Class::rebuildLookupTable() const
{
    Locker guard(runtimeLock());
    auto table = std::make_unique<LookupTable>();
    table->generation = _methodTablesGeneration.load(std::memory_order_relaxed);
    for (const Class* c = this; c; c = c->_superclass) {
        // Categories come after the class's own list; the newest category wins, and a class
        // wins over its superclasses: the first method found for a selector stays.
        for (auto list = c->_methodLists.rbegin(); list != c->_methodLists.rend(); ++list) {
            for (const auto& method : (*list)->methods)
                table->methods.emplace(method->selector().name(), method.get());
        }
    }
    // Every table ever built stays, guarded by the runtime's lock: a reader may still hold an
    // old one. Tables are rebuilt only after methods were added, which is rare after loading.
    static auto* tables = std::make_unique<std::vector<std::unique_ptr<const LookupTable>>>().release();
    const LookupTable* built = tables->emplace_back(std::move(table)).get();
    _lookupTable.store(built, std::memory_order_release);
    return built;
}

Imp Class::instanceMethodForSelector(Selector selector) const
{
    const Method* method = lookupMethod(selector);
    return method ? method->implementation() : Imp();
}

Ref<MethodSignature> Class::instanceMethodSignatureForSelector(Selector selector) const
{
    return Ref<MethodSignature>(instanceMethodForSelector(selector).signature());
}

std::vector<const MethodList*> Class::methodLists() const
{
    SharedLocker guard(runtimeLock());
    std::vector<const MethodList*> lists;
    for (const auto& list : _methodLists)
        lists.push_back(list.get());
    return lists;
}

std::vector<Method*> Class::methodsWithSelector(Selector selector) const
{
    SharedLocker guard(runtimeLock());
    std::vector<Method*> found;
    for (const auto& list : _methodLists) {
        for (const auto& method : list->methods) {
            if (method->selector() == selector)
                found.push_back(method.get());
        }
    }
    return found;
}

void Class::ensureInitialized()
{
    if (_isMetaClass || _initialized.load(std::memory_order_acquire))
        return;
    Locker guard(initializationLock());
    if (_initialized.load(std::memory_order_relaxed) || _initializing)
        return;
    _initializing = true;
    if (_superclass)
        _superclass->ensureInitialized();
    if (const Method* initialize = lookupClassMethod("initialize"))
        initialize->implementation().function<void()>()(this);
    _initialized.store(true, std::memory_order_release);
}

Ref<Object> Class::createInstance() const
{
    return _factory ? _factory() : nullptr;
}

Class* Class::classObject() const
{
    return _metaClass;
}

Ref<String> Class::description() const
{
    return String::withUTF8(_name);
}

MethodList& Class::methodListNamed(std::string_view categoryName)
{
    auto found = std::find_if(_methodLists.begin(), _methodLists.end(),
        [&](const auto& list) { return list->categoryName == categoryName; });
    if (found != _methodLists.end())
        return **found;
    auto list = std::make_unique<MethodList>();
    list->categoryName = std::string(categoryName);
    _methodTablesGeneration.fetch_add(1, std::memory_order_acq_rel);
    // The class's own list always comes first, so categories override it.
    if (categoryName.empty())
        return **_methodLists.insert(_methodLists.begin(), std::move(list));
    return *_methodLists.emplace_back(std::move(list));
}

void Class::addMethods(std::string_view categoryName, const MethodListBuilder& builder)
{
    for (const auto& entry : builder.entries())
        (entry.classSide ? _metaClass : this)->addMethod(categoryName, entry.selector, entry.imp);
}

void Class::addMethod(std::string_view categoryName, Selector selector, Imp imp)
{
    auto& list = methodListNamed(categoryName);
    for (auto& method : list.methods) {
        if (method->selector() == selector) {
            method->setImplementation(imp);
            return;
        }
    }
    list.methods.push_back(std::make_unique<Method>(selector, imp));
    _methodTablesGeneration.fetch_add(1, std::memory_order_acq_rel);
}

void MethodListBuilder::add(bool classSide, std::string_view selector, Imp imp)
{
    const Selector interned(selector);
    const uint32_t takes = imp.signature()->numberOfArguments() - 2;
    if (interned.argumentCount() != takes) {
        detail::raiseInvalidArgument("method " + std::string(selector) + " of class " + _className + ": the selector has "
            + std::to_string(interned.argumentCount()) + " colons, the function takes " + std::to_string(takes) + " arguments");
    }
    _entries.push_back({ classSide, interned, imp });
}

namespace detail {

void selectorColonCountDiffersFromTheFunctionArgumentCount()
{
}

ClassRegistration::ClassRegistration(Class* (*registration)()) noexcept
{
    try {
        registration();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "*** A class was not registered: %s\n", error.what());
    }
}

ClassRegistration::ClassRegistration(Class* (*staticClass)(), std::string_view categoryName, Class::Setup setup) noexcept
{
    try {
        staticClass()->addCategory(categoryName, setup);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "*** Category %.*s was not added: %s\n", static_cast<int>(categoryName.size()), categoryName.data(), error.what());
    }
}

} // namespace detail

} // namespace yk
