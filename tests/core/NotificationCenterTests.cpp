#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/MutableString.h>
#include <Yarkit/core/system/Notification.h>
#include <Yarkit/core/system/NotificationCenter.h>
#include <Yarkit/core/values/String.h>

#include "CoreTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <set>
#include <stdexcept>
#include <tuple>
#include <string>
#include <thread>
#include <vector>

namespace {

// Writes "tag:name" into a shared log for each notification it hears; an optional action runs
// inside the call (to remove or add observers, or raise).
class Listener : public yk::Object {
    YK_OBJECT(Listener, yk::Object)
public:
    Listener(std::string tag, std::vector<std::string>* log)
        : tag(std::move(tag))
        , log(log)
    {
    }
    void heard(yk::Notification* notification)
    {
        log->push_back(tag + ":" + notification->name()->utf8());
        if (action)
            action(notification);
    }
    // A method of another type: reached through the runtime's generic send.
    void heardObject(yk::Object* object) { log->push_back(tag + "(object):" + static_cast<yk::Notification*>(object)->name()->utf8()); }

    std::string tag;
    std::vector<std::string>* log;
    std::function<void(yk::Notification*)> action;
};

YK_DEFINE_CLASS(Listener, [](yk::MethodListBuilder& c) {
    c.method("heard:", &Listener::heard);
    c.method("heardObject:", &Listener::heardObject);
});

yk::Ref<yk::String> nameOrNull(const char* name)
{
    return name ? yk::String::withUTF8(name) : nullptr;
}

// A center and the log its listeners write into.
class NotificationCenterTest : public testing::Test {
protected:
    yk::Ref<Listener> listener(const char* tag) { return yk::make<Listener>(tag, &log); }
    // Posts `name` about nothing and returns what the listeners heard.
    std::vector<std::string> post(const char* name)
    {
        log.clear();
        center->postNotificationName(name, nullptr);
        return log;
    }
    // Five registrations, each by a listener tagged with its name and object ("any", "*": null).
    void addRegistrations()
    {
        const std::tuple<const char*, const char*, char> registrations[] = { { "Ping/a", "Ping", 'a' }, { "Ping/*", "Ping", 0 }, { "any/a", nullptr, 'a' }, { "受信/*", "受信", 0 }, { "any/*", nullptr, 0 } };
        for (const auto& [tag, name, object] : registrations) {
            listeners.push_back(listener(tag));
            center->addObserver(listeners.back().get(), "heard:", nameOrNull(name).get(), sender(object));
        }
    }
    // The tags of the listeners that heard since the log was last cleared.
    std::set<std::string> heardTags() const
    {
        std::set<std::string> tags;
        for (const auto& line : log)
            tags.insert(line.substr(0, line.find(':')));
        return tags;
    }

    yk::Ref<yk::NotificationCenter> center = yk::make<yk::NotificationCenter>();
    std::vector<std::string> log;
    std::vector<yk::Ref<Listener>> listeners;
    // Two distinct objects a notification can be about, 'a' and 'b' (0: none).
    yk::Ref<yk::Object> a = yk::String::withUTF8("sender a");
    yk::Ref<yk::Object> b = yk::String::withUTF8("sender b");
    yk::Object* sender(char which) const { return which == 'a' ? a.get() : which == 'b' ? b.get() : nullptr; }
};

using Heard = std::vector<std::string>;
using Tags = std::set<std::string>;

TEST_F(NotificationCenterTest, MatchesByNameAndObjectWithNullAsAny)
{
    addRegistrations();
    const std::tuple<const char*, char, Tags> rows[] = {
        { "Ping", 'a', { "Ping/a", "Ping/*", "any/a", "any/*" } },
        { "Ping", 'b', { "Ping/*", "any/*" } },
        { "Ping", 0, { "Ping/*", "any/*" } },
        { "受信", 'a', { "any/a", "受信/*", "any/*" } },
        { "Other", 'b', { "any/*" } },
    };
    for (const auto& [name, object, heard] : rows) {
        log.clear();
        center->postNotificationName(name, sender(object));
        EXPECT_EQ(heardTags(), heard) << "posted " << name << "/" << (object ? object : '*');
    }
}

TEST_F(NotificationCenterTest, TellsWhetherAPostWouldReachAnyone)
{
    auto one = listener("Ping/a");
    center->addObserver(one.get(), "heard:", yk::String::withUTF8("Ping").get(), a.get());
    const std::tuple<const char*, char, bool> rows[] = { { "Ping", 'a', true }, { "Ping", 'b', false }, { "Ping", 0, false }, { "Other", 'a', false } };
    for (const auto& [name, object, reached] : rows)
        EXPECT_EQ(center->hasObserverFor(yk::String::withUTF8(name).get(), sender(object)), reached) << name << "/" << (object ? object : '*');
    center->removeObserver(one.get());
    EXPECT_FALSE(center->hasObserverFor(yk::String::withUTF8("Ping").get(), a.get()));
}

TEST_F(NotificationCenterTest, RemovesOnlyTheRegistrationsThatMatchNameAndObject)
{
    // Each row removes with a name and object, then posts enough to reach every registration left.
    const std::tuple<const char*, char, Tags> rows[] = {
        { nullptr, 0, {} },
        { "Ping", 0, { "any/a", "受信/*", "any/*" } },
        { "Ping", 'a', { "Ping/*", "any/a", "受信/*", "any/*" } },
        { nullptr, 'a', { "Ping/*", "受信/*", "any/*" } },
        { "Nothing", 0, { "Ping/a", "Ping/*", "any/a", "受信/*", "any/*" } },
    };
    for (const auto& [name, object, left] : rows) {
        center = yk::make<yk::NotificationCenter>();
        log.clear();
        listeners.clear();
        addRegistrations();
        for (const auto& one : listeners)
            center->removeObserver(one.get(), nameOrNull(name).get(), sender(object));
        center->postNotificationName("Ping", a.get());
        center->postNotificationName("受信", a.get());
        EXPECT_EQ(heardTags(), left) << "removed " << (name ? name : "(any)") << "/" << (object ? object : '*');
    }
}

TEST_F(NotificationCenterTest, CallsInRegistrationOrderWhileObserversAreRemovedAndAddedDuringAPost)
{
    auto self = listener("self"), remover = listener("remover"), victim = listener("victim"), adder = listener("adder"), late = listener("late");
    self->action = [&](yk::Notification*) { center->removeObserver(self.get()); };
    remover->action = [&](yk::Notification*) { center->removeObserver(victim.get()); };
    adder->action = [&](yk::Notification*) {
        center->addObserver(late.get(), "heard:", nullptr, nullptr);
        adder->action = nullptr;
    };
    for (auto* one : { self.get(), remover.get(), victim.get(), adder.get() })
        center->addObserver(one, "heard:", nullptr, nullptr);
    // A second registration is a second call; a method of another type is reached too.
    center->addObserver(remover.get(), "heardObject:", nullptr, nullptr);
    // In registration order: the victim was removed before its turn; the late observer arrived
    // during the post and hears the next one.
    EXPECT_EQ(post("First"), (Heard { "self:First", "remover:First", "adder:First", "remover(object):First" }));
    EXPECT_EQ(post("Second"), (Heard { "remover:Second", "adder:Second", "remover(object):Second", "late:Second" }));
}

TEST_F(NotificationCenterTest, AnExceptionFromAnObserverReachesThePosterAndLeavesTheCenterUsable)
{
    auto thrower = listener("thrower");
    auto after = listener("after");
    thrower->action = [](yk::Notification*) { throw std::runtime_error("observer failed"); };
    center->addObserver(thrower.get(), "heard:", nullptr, nullptr);
    center->addObserver(after.get(), "heard:", nullptr, nullptr);
    EXPECT_THROW(post("Ping"), std::runtime_error);
    EXPECT_EQ(log, (Heard { "thrower:Ping" }));
    // The failed call is over: removing the thrower on another thread does not wait for it.
    std::thread([&] { center->removeObserver(thrower.get()); }).join();
    EXPECT_EQ(post("Ping"), (Heard { "after:Ping" }));
}

TEST_F(NotificationCenterTest, RejectsMissingArgumentsAndUnknownMethods)
{
    auto one = listener("L");
    const char* nilArgument = "*** -[NotificationCenter addObserver:selector:name:object:]: nil string (or other) argument";
    yk::test::expectRaise([&] { center->addObserver(nullptr, "heard:", nullptr, nullptr); }, yk::NSInvalidArgumentException, nilArgument);
    yk::test::expectRaise([&] { center->addObserver(one.get(), yk::Selector(), nullptr, nullptr); }, yk::NSInvalidArgumentException, nilArgument);
    yk::test::expectRaise([&] { center->postNotification(nullptr); }, yk::NSInvalidArgumentException,
        "*** -[NotificationCenter postNotification:]: nil string (or other) argument");
    center->removeObserver(nullptr);
    center->addObserver(one.get(), "noSuchMethod:", nullptr, nullptr);
    yk::test::expectRaise([&] { post("Ping"); }, yk::NSInvalidArgumentException, "-[Listener noSuchMethod:]: unrecognized selector sent to instance");
}

TEST_F(NotificationCenterTest, DeliversTheUserInfoAndKeepsItsOwnCopyOfAMutableName)
{
    auto one = listener("L");
    std::string mailbox;
    one->action = [&](yk::Notification* notification) { mailbox = yk::test::describe(notification->userInfo()->objectForKey("mailbox").get()); };
    auto name = yk::MutableString::stringWithString(yk::String::withUTF8("DidReceive").get());
    center->addObserver(one.get(), "heard:", name.get(), nullptr);
    name->appendUTF8("Mail");
    auto userInfo = yk::Dictionary::dictionaryWithEntries({ { yk::String::withUTF8("mailbox"), yk::String::withUTF8("受信箱") } });
    center->postNotificationName("DidReceiveMail", nullptr);
    center->postNotificationName("DidReceive", nullptr, userInfo.get());
    EXPECT_EQ(log, (Heard { "L:DidReceive" }));
    EXPECT_EQ(mailbox, "受信箱");
}

// Counts calls and catches a call that arrives after removeObserver returned.
class Watcher : public yk::Object {
    YK_OBJECT(Watcher, yk::Object)
public:
    void heard(yk::Notification*)
    {
        if (removed.load(std::memory_order_acquire))
            lateCalls.fetch_add(1, std::memory_order_relaxed);
        calls.fetch_add(1, std::memory_order_relaxed);
        // A plain field that only the destructor writes: TSan reports a call that is not
        // ordered before the destructor by the center.
        if (alive != 1)
            lateCalls.fetch_add(1, std::memory_order_relaxed);
    }
    ~Watcher() override { alive = 0; }
    std::atomic<bool> removed { false };
    std::atomic<int> calls { 0 };
    static std::atomic<int> lateCalls;
    int alive { 1 };
};
std::atomic<int> Watcher::lateCalls { 0 };

YK_DEFINE_CLASS(Watcher, [](yk::MethodListBuilder& c) { c.method("heard:", &Watcher::heard); });

TEST(NotificationCenter, ObserverRemovedOnAnotherThreadIsNeverCalledAfterwards)
{
    // Posters keep posting while another thread adds observers, removes them and destroys them
    // at once. Run under ThreadSanitizer/AddressSanitizer, a late call is also a use after free.
    auto center = yk::make<yk::NotificationCenter>();
    std::atomic<bool> stop { false };
    std::vector<std::thread> posters;
    for (int t = 0; t < 2; ++t) {
        posters.emplace_back([&] {
            auto name = yk::String::withUTF8("Tick");
            while (!stop.load(std::memory_order_relaxed))
                center->postNotificationName(name.get(), nullptr);
        });
    }
    for (int round = 0; round < 150; ++round) {
        auto watcher = yk::make<Watcher>(), other = yk::make<Watcher>();
        center->addObserver(watcher.get(), "heard:", "Tick", nullptr);
        center->addObserver(other.get(), "heard:", nullptr, nullptr);
        while (watcher->calls.load() == 0)
            std::this_thread::yield();
        center->removeObserver(watcher.get(), "Tick", nullptr);
        watcher->removed.store(true, std::memory_order_release);
        center->removeObserver(other.get());
        other->removed.store(true, std::memory_order_release);
    }
    stop = true;
    for (auto& poster : posters)
        poster.join();
    EXPECT_EQ(Watcher::lateCalls.load(), 0);
}

} // namespace
