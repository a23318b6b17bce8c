// A user's own class whose methods the framework reaches by selector: a download delegate.
// The framework asks respondsToSelector and sends the message; the class registers its methods
// in one line each.

#include <Yarkit/Yarkit.h>

#include <cstdio>

class DownloadDelegate : public yk::Object {
    YK_OBJECT(DownloadDelegate, yk::Object)
public:
    void downloadDidFinish(yk::String* name) { std::printf("finished %s\n", name->utf8().c_str()); }
    void progress(int32_t percent) { std::printf("progress %d%%\n", percent); }
};

YK_DEFINE_CLASS(DownloadDelegate, [](yk::MethodListBuilder& c) {
    c.method("downloadDidFinish:", &DownloadDelegate::downloadDidFinish);
    c.method("downloadDidProgress:", &DownloadDelegate::progress);
});

int main()
{
    auto delegate = yk::make<DownloadDelegate>();
    auto name = yk::String::withUTF8("inbox.mbox");

    // What a framework class does with a delegate it does not know the type of.
    yk::Object* unknown = delegate.get();
    if (unknown->respondsToSelector("downloadDidProgress:")) {
        auto invocation = yk::Invocation::invocationWithMethodSignature(unknown->methodSignatureForSelector("downloadDidProgress:"));
        invocation->setSelector("downloadDidProgress:");
        invocation->setArgument(int32_t { 50 }, 2);
        invocation->invokeWithTarget(unknown);
    }
    if (unknown->respondsToSelector("downloadDidFinish:"))
        unknown->performSelector("downloadDidFinish:", name.get());
    std::printf("responds to downloadDidFail:? %s\n", unknown->respondsToSelector("downloadDidFail:") ? "yes" : "no");
}
