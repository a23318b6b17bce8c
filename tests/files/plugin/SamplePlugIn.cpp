// A plug-in the bundle tests load: one class with a load-time hook, and a C symbol.

#include <Yarkit/core/runtime/Class.h>

extern "C" {
int ykSamplePlugInHookRuns = 0;
int ykSamplePlugInAnswer() { return 42; }
}

class SamplePlugInClass : public yk::Object {
    YK_OBJECT(SamplePlugInClass, yk::Object)
public:
    static void postLoad(yk::Class*) { ++ykSamplePlugInHookRuns; }
};

YK_DEFINE_CLASS(SamplePlugInClass, [](yk::MethodListBuilder& c) { c.classMethod("postLoad", &SamplePlugInClass::postLoad); });
