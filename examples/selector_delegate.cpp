// A user's own class whose methods the framework reaches by selector: a download delegate.
// The framework asks respondsToSelector and sends the message with yk::send; the class
// registers its methods in one line each.

#include <Yarkit/Yarkit.h>

#include <cstdio>

class Download : public yk::Object {
    YK_OBJECT(Download, yk::Object)
public:
    explicit Download(const char* name)
        : name(name)
    {
    }
    const char* name;
};

class DownloadDelegate : public yk::Object {
    YK_OBJECT(DownloadDelegate, yk::Object)
public:
    // download:shouldResume:afterBytes:
    bool downloadShouldResume(Download* download, bool partial, uint32_t bytes)
    {
        std::printf("%s: resume %s after %u bytes? yes\n", download->name, partial ? "partial" : "whole", bytes);
        return true;
    }
    // Two overloads of one C++ name, registered under two selectors.
    void progress(int32_t percent) { std::printf("progress %d%%\n", percent); }
    void progress(Download* download) { std::printf("%s finished\n", download->name); }
};

YK_DEFINE_CLASS(DownloadDelegate, [](yk::MethodListBuilder& c) {
    c.method("download:shouldResume:afterBytes:", &DownloadDelegate::downloadShouldResume);
    c.method<void(int32_t)>("downloadDidProgress:", &DownloadDelegate::progress);
    c.method<void(Download*)>("downloadDidFinish:", &DownloadDelegate::progress);
});
YK_DEFINE_CLASS(Download);

int main()
{
    auto delegate = yk::make<DownloadDelegate>();
    auto download = yk::make<Download>("inbox.mbox");

    // Knowing the delegate's class or not, the call is one line and returns the method's bool.
    bool resume = yk::send<bool>(delegate, "download:shouldResume:afterBytes:", download, true, 4096u);

    // What a framework class does with a delegate it does not know the type of.
    yk::Object* unknown = delegate.get();
    if (unknown->respondsToSelector("download:shouldResume:afterBytes:"))
        resume = yk::send<bool>(unknown, "download:shouldResume:afterBytes:", download, false, 0u);
    if (resume && unknown->respondsToSelector("downloadDidProgress:"))
        yk::send(unknown, "downloadDidProgress:", 50);
    if (unknown->respondsToSelector("downloadDidFinish:"))
        yk::send(unknown, "downloadDidFinish:", download);
    std::printf("responds to downloadDidFail:? %s\n", unknown->respondsToSelector("downloadDidFail:") ? "yes" : "no");
}
