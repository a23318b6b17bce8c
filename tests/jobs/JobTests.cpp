#include <Yarkit/YConcreteJob.h>
#include <Yarkit/YJob.h>
#include <Yarkit/core/runtime/Invocation.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/String.h>

#include "JobsTestSupport.h"
#include "core/CoreTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>

namespace {

using namespace yk;
using yk::test::EventLog;
using yk::test::JobTarget;

TEST(YJob, ThePlaceholderMakesTheClassThatFitsTheArgumentsAndEachRunsItsMessage)
{
    EXPECT_EQ(YJob::alloc(), YJob::alloc());
    EventLog log;
    auto target = make<JobTarget>(&log);
    auto a = test::str("a"), b = test::str("b"), c = test::str("c");
    struct Row {
        Ref<YJob> job;
        const char* className;
        const char* ran;
    };
    const Row rows[] = {
        { YJob::jobWithTarget(target.get(), "work"), "YTargetSelectorJob", "work" },
        { YJob::jobWithTarget(target.get(), "object:", a.get()), "YObjectArgJob", "object a" },
        { YJob::jobWithTarget(target.get(), "objects:and:", a.get(), b.get()), "YObjectObjectArgJob", "objects a b" },
        { YJob::jobWithTarget(target.get(), "three:and:and:", a.get(), b.get(), c.get()), "YObjectObjectObjectArgJob", "three a b c" },
        { YJob::jobWithTargetWithObjects(target.get(), "objects:and:", Array::arrayWithObjects({ a }).get()), "YObjectsArgJob", "objects a nil" },
        { YJob::jobWithTargetWithObjects(target.get(), "objects:and:", Array::arrayWithObjects({ a, b, c }).get()), "YObjectsArgJob", "objects a b" },
        { YJob::jobWithTargetWithBool(target.get(), "flag:", true), "YBoolArgJob", "flag YES" },
        { YJob::jobWithTargetWithInt(target.get(), "number:", -7), "YIntArgJob", "int -7" },
        { YJob::jobWithTargetWithInt(target.get(), "pair:and:", 1, 2), "YIntIntArgJob", "ints 1 2" },
        { YJob::jobWithTargetWithFloat(target.get(), "single:", 0.5f), "YFloatArgJob", "float 0.500000" },
        { YJob::jobWithTargetWithFloat(target.get(), "real:", 0.25f), "YFloatArgJob", "double 0.250000" },
        { YJob::jobWithTargetWithDouble(target.get(), "real:", 1.5), "YDoubleArgJob", "double 1.500000" },
        { YJob::jobWithInvocation(Invocation::invocationWithTarget(target.get(), "number:", 3).get()), "YInvocationJob", "int 3" },
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.job->classObject()->name(), row.className) << row.ran;
        log.clear();
        row.job->invoke();
        EXPECT_EQ(log.events(), std::vector<std::string> { row.ran });
    }

    // A class object as target gets its class-side method.
    const int before = JobTarget::classCalls.load();
    YJob::jobWithTarget(JobTarget::staticClass(), "classWork")->invoke();
    EXPECT_EQ(JobTarget::classCalls.load(), before + 1);

    // A kind the method does not take is refused, never passed as a garbage value.
    test::expectRaise([&] { YJob::jobWithTargetWithDouble(target.get(), "number:", 2.0)->invoke(); }, NSInvalidArgumentException, "does not convert", true);
    test::expectRaise([&] { YJob::jobWithTarget(target.get(), "missing")->invoke(); }, NSInvalidArgumentException, "unrecognized selector", true);
    test::expectRaise([&] { YJob::alloc()->target(); }, NSGenericException, "subclass YConcreteJob (instance) should override target");
}

TEST(YJob, EqualityIsPerClassAndANilValueNeverMatches)
{
    auto target = make<JobTarget>();
    auto other = make<JobTarget>();
    auto a = test::str("a");
    auto a2 = test::str("a");
    const float nan = std::numeric_limits<float>::quiet_NaN();
    struct Row {
        const char* what;
        Ref<YJob> left;
        Ref<YJob> right;
        bool equal;
    };
    const Row rows[] = {
        { "same target and selector", YJob::jobWithTarget(target.get(), "work"), YJob::jobWithTarget(target.get(), "work"), true },
        { "other target", YJob::jobWithTarget(target.get(), "work"), YJob::jobWithTarget(other.get(), "work"), false },
        { "nil targets", YJob::jobWithTarget(nullptr, "work"), YJob::jobWithTarget(nullptr, "work"), false },
        { "equal strings", YJob::jobWithTarget(target.get(), "object:", a.get()), YJob::jobWithTarget(target.get(), "object:", a2.get()), true },
        { "nil objects", YJob::jobWithTarget(target.get(), "object:", nullptr), YJob::jobWithTarget(target.get(), "object:", nullptr), false },
        { "int against plain", YJob::jobWithTargetWithInt(target.get(), "work", 0), YJob::jobWithTarget(target.get(), "work"), false },
        { "plain against int", YJob::jobWithTarget(target.get(), "work"), YJob::jobWithTargetWithInt(target.get(), "work", 0), false },
        { "ints", YJob::jobWithTargetWithInt(target.get(), "pair:and:", 1, 2), YJob::jobWithTargetWithInt(target.get(), "pair:and:", 1, 3), false },
        { "bools", YJob::jobWithTargetWithBool(target.get(), "flag:", true), YJob::jobWithTargetWithBool(target.get(), "flag:", true), true },
        { "NaN floats", YJob::jobWithTargetWithFloat(target.get(), "single:", nan), YJob::jobWithTargetWithFloat(target.get(), "single:", nan), false },
        { "zero and minus zero", YJob::jobWithTargetWithDouble(target.get(), "real:", 0.0), YJob::jobWithTargetWithDouble(target.get(), "real:", -0.0), true },
        { "arrays", YJob::jobWithTargetWithObjects(target.get(), "objects:and:", Array::arrayWithObjects({ a }).get()),
            YJob::jobWithTargetWithObjects(target.get(), "objects:and:", Array::arrayWithObjects({ a2 }).get()), true },
        { "invocations with other arguments", YJob::jobWithInvocation(Invocation::invocationWithTarget(target.get(), "number:", 1).get()),
            YJob::jobWithInvocation(Invocation::invocationWithTarget(target.get(), "number:", 2).get()), true },
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.left->isEqual(row.right.get()), row.equal) << row.what;
    EXPECT_FALSE(rows[0].left->isEqual(nullptr));
}

TEST(YJob, AnAbortBeforeTheStartPreventsItAndOneAfterSendsTheAbortMessageEachTime)
{
    EventLog log;
    auto target = make<JobTarget>(&log);
    struct Row {
        bool startFirst;
        const char* abortSelector;
        int aborts;
        std::vector<std::string> events;
    };
    const Row rows[] = {
        { false, "stop", 2, {} },
        { true, "stop", 2, { "work", "stop on main", "stop on main" } },
        { true, nullptr, 1, { "work" } },
    };
    for (const auto& row : rows) {
        log.clear();
        auto job = YJob::jobWithTarget(target.get(), "work");
        job->setAbortSelector(row.abortSelector);
        if (row.startFirst)
            job->invoke();
        for (int i = 0; i < row.aborts; ++i)
            job->abort();
        job->invoke(); // a no-op once aborted
        EXPECT_EQ(log.events(), row.events);
        EXPECT_TRUE(job->hasAborted());
        EXPECT_EQ(job->hasExecuted(), row.startFirst);
    }
}

TEST(YJob, AnAbortRacingTheStartEitherPreventsItOrSendsTheAbortMessage)
{
    auto target = make<JobTarget>();
    for (int round = 0; round < 2000; ++round) {
        EventLog log;
        target->log = &log;
        auto job = YJob::jobWithTarget(target.get(), "work");
        job->setAbortSelector("stop");
        std::thread runner([&] { job->invoke(); });
        job->abort();
        runner.join();
        const auto events = log.events();
        const bool ran = std::count(events.begin(), events.end(), "work") == 1;
        const bool stopped = std::count(events.begin(), events.end(), "stop on main") == 1;
        ASSERT_EQ(ran, stopped) << "round " << round;
        ASSERT_EQ(events.size(), ran ? 2u : 0u);
    }
    target->log = nullptr;
}

} // namespace
