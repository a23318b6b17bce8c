#include "JobsTestSupport.h"

namespace yk::test {

YK_DEFINE_CLASS(JobTarget, [](MethodListBuilder& c) {
    c.method("work", &JobTarget::work);
    c.method("object:", &JobTarget::object);
    c.method("objects:and:", &JobTarget::objects);
    c.method("three:and:and:", &JobTarget::three);
    c.method("flag:", &JobTarget::flag);
    c.method("number:", &JobTarget::number);
    c.method("pair:and:", &JobTarget::pair);
    c.method("real:", &JobTarget::real);
    c.method("single:", &JobTarget::single);
    c.method("stop", &JobTarget::stop);
    c.classMethod("classWork", &JobTarget::classWork);
});

YK_DEFINE_CLASS(JobWatcher, [](MethodListBuilder& c) {
    c.method("jobCenter:shouldAddJob:withWaitingJobs:runningJobs:", &JobWatcher::shouldAdd);
    c.method("jobCenter:shouldExecuteJob:withRunningJobs:", &JobWatcher::shouldExecute);
    for (const char* notice : { "jobWillBegin:", "jobDidEnd:", "jobDidCancel:", "jobExceptionDidOccur:", "jobCenterDidActivate:", "jobCenterDidDeactivate:" })
        c.method(std::string_view(notice), &JobWatcher::notice);
});

YK_DEFINE_CLASS(Gatekeeper, [](MethodListBuilder& c) { c.method("jobCenter:shouldExecuteJob:withRunningJobs:", &Gatekeeper::shouldExecute); });

} // namespace yk::test
