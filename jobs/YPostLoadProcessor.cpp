#include <Yarkit/YPostLoadProcessor.h>

#include <Yarkit/core/system/Bundle.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/system/Notification.h>
#include <Yarkit/core/system/NotificationCenter.h>
#include <Yarkit/core/threads/RecursiveLock.h>
#include <Yarkit/core/values/String.h>

#include <memory>
#include <unordered_set>

namespace yk {
namespace {

struct ProcessorState {
    Ref<RecursiveLock> lock { make<RecursiveLock>() };
    // Implementations already called, by identity; guarded by lock, which process() holds
    // around every pass.
    std::unordered_set<const detail::ImpBody*> called;
};

ProcessorState& state()
{
    static auto* instance = std::make_unique<ProcessorState>().release(); // lives for the whole process
    return *instance;
}

const Selector postLoadSelector("postLoad");

} // namespace

YK_DEFINE_CLASS(YPostLoadProcessor, [](MethodListBuilder& c) {
    c.classMethod("initialize", &YPostLoadProcessor::initialize);
    c.classMethod("process", [](Class*) { YPostLoadProcessor::process(); });
    c.classMethod("_bundleDidLoad:", &YPostLoadProcessor::bundleDidLoad);
});

void YPostLoadProcessor::initialize(Class* self)
{
    if (self != YPostLoadProcessor::staticClass())
        return;
    state();
    NotificationCenter::defaultCenter()->addObserver(self, "_bundleDidLoad:", NSBundleDidLoadNotification, nullptr);
}

void YPostLoadProcessor::bundleDidLoad(Class*, Notification*)
{
    process();
}

void YPostLoadProcessor::process()
{
    YPostLoadProcessor::staticClass()->ensureInitialized();
    Locker locker(*state().lock);
    processClassesWithSelector(postLoadSelector, true);
}

bool YPostLoadProcessor::processClassesWithSelector(Selector selector, bool initialize)
{
    // Hooks may register new classes, so passes repeat until one runs nothing.
    bool ranAny = false;
    for (;;) {
        bool ranInPass = false;
        for (Class* cls : Class::allClasses()) {
            if (processClass(cls, selector, initialize))
                ranInPass = true;
        }
        if (!ranInPass)
            return ranAny;
        ranAny = true;
    }
}

bool YPostLoadProcessor::processClass(Class* cls, Selector selector, bool initialize)
{
    // Categories share the selector, so each implementation is marked as called the moment it
    // is collected: every hook runs once per process, even when processing re-enters.
    std::vector<Imp> collected;
    collected.reserve(256);
    for (const Method* method : cls->metaClass()->methodsWithSelector(selector)) {
        const Imp imp = method->implementation();
        if (state().called.insert(imp.body()).second)
            collected.push_back(imp);
    }
    if (collected.empty())
        return false;
    if (initialize)
        cls->ensureInitialized();
    for (const Imp& imp : collected) {
        try {
            imp.function<void()>()(cls);
        } catch (const Exception& exception) {
            log("Exception raised during invoking +[%s %s].  Ignored.  Exception: %@", cls->name().c_str(), selector.name(),
                exception.reason().get());
        }
    }
    return true;
}

} // namespace yk
