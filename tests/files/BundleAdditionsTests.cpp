#include <Yarkit/BundleAdditions.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Notification.h>
#include <Yarkit/core/system/NotificationCenter.h>
#include <Yarkit/core/values/Array.h>

#include <filesystem>
#include <fstream>

#include "files/FilesTestSupport.h"

namespace fs = std::filesystem;
using namespace yk;
using yk::test::str;

// Hears NSBundleDidLoadNotification.
class LoadObserver : public Object {
    YK_OBJECT(LoadObserver, Object)
public:
    std::vector<std::string> loadedClasses;
    void bundleDidLoad(Notification* notification)
    {
        auto names = notification->userInfo()->objectForKey(std::string_view("NSLoadedClasses"));
        for (auto& name : *static_cast<Array*>(names.get()))
            loadedClasses.push_back(name->description()->utf8());
    }
};
YK_DEFINE_CLASS(LoadObserver, [](MethodListBuilder& c) { c.method("bundleDidLoad:", &LoadObserver::bundleDidLoad); });

// A class of the program itself, which no plug-in may answer for.
class ProgramClass : public Object {
    YK_OBJECT(ProgramClass, Object)
};
YK_DEFINE_CLASS(ProgramClass);

namespace {

TEST(BundleAdditions, PlugInLoadsRunsItsHooksAndAnswersForItsOwnClasses)
{
    auto observer = make<LoadObserver>();
    NotificationCenter::defaultCenter()->addObserver(observer.get(), "bundleDidLoad:", NSBundleDidLoadNotification, nullptr);
    auto bundle = pluginBundleNamed(str("Sample").get());
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(bundle->bundleIdentifier()->utf8(), "org.yarkit.test.Sample");
    EXPECT_EQ(YK_objectForInfoDictionaryKey(bundle.get(), str("CFBundleExecutable").get())->description()->utf8(), "Sample.so");
    EXPECT_FALSE(bundle->isLoaded());
    EXPECT_EQ(YK_functionPointerForName(bundle.get(), str("ykSamplePlugInAnswer").get()), nullptr);

    Class* cls = pluginClassNamed(str("SamplePlugInClass").get(), str("Sample").get());
    ASSERT_NE(cls, nullptr);
    EXPECT_EQ(cls->name(), "SamplePlugInClass");
    EXPECT_TRUE(bundle->isLoaded());
    EXPECT_EQ(observer->loadedClasses, std::vector<std::string> { "SamplePlugInClass" });
    auto* hookRuns = static_cast<int*>(YK_functionPointerForName(bundle.get(), str("ykSamplePlugInHookRuns").get()));
    ASSERT_NE(hookRuns, nullptr);
    EXPECT_EQ(*hookRuns, 1);
    auto answer = reinterpret_cast<int (*)()>(YK_functionPointerForName(bundle.get(), str("ykSamplePlugInAnswer").get()));
    EXPECT_EQ(answer(), 42);

    EXPECT_TRUE(bundle->load()); // once only: the hook does not run again
    EXPECT_EQ(*hookRuns, 1);
    EXPECT_EQ(bundle->classNamed(str("ProgramClass").get()), nullptr);
    EXPECT_EQ(bundle->classNamed(str("String").get()), nullptr);
    EXPECT_EQ(Bundle::mainBundle()->classNamed(str("ProgramClass").get()), ProgramClass::staticClass());
    EXPECT_EQ(Bundle::mainBundle()->classNamed(str("SamplePlugInClass").get()), nullptr);
    EXPECT_EQ(Bundle::mainBundle()->executablePath()->utf8(), fs::read_symlink("/proc/self/exe").string());
    EXPECT_EQ(YK_localizedInfoDictionary(Bundle::mainBundle().get())->count(), 0u); // no files_tests.Info.json
    NotificationCenter::defaultCenter()->removeObserver(observer.get());
}

TEST(BundleAdditions, PlugInsArePreferredWithoutThenWithPluginThenBundle)
{
    fs::path plugIns = Bundle::mainBundle()->builtInPlugInsPath()->utf8();
    const char* folders[] = { "Order", "Order.plugin", "Order.bundle" };
    for (const char* folder : folders) {
        fs::create_directories(plugIns / folder);
        std::ofstream(plugIns / folder / "Info.json") << "{\"CFBundleIdentifier\": \"" << folder << "\"}";
    }
    for (const char* folder : folders) {
        auto bundle = pluginBundleNamed(str("Order").get());
        ASSERT_NE(bundle, nullptr);
        EXPECT_EQ(bundle->bundleIdentifier()->utf8(), folder);
        fs::remove_all(plugIns / folder);
    }
    EXPECT_EQ(pluginBundleNamed(str("Order").get()), nullptr);
    EXPECT_EQ(pluginClassNamed(str("X").get(), str("Missing").get()), nullptr);
}

} // namespace
