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
    void heardAgain(yk::Notification* notification) { log->push_back(tag + "+:" + notification->name()->utf8()); }
    // A method of another type: reached through the runtime's generic send.
    void heardObject(yk::Object* object) { log->push_back(tag + "(object):" + static_cast<yk::Notification*>(object)->name()->utf8()); }

    std::string tag;
    std::vector<std::string>* log;
    std::function<void(yk::Notification*)> action;
};

YK_DEFINE_CLASS(Listener, [](yk::MethodListBuilder& c) {
    c.method("heard:", &Listener::heard);
    c.method("heardAgain:", &Listener::heardAgain);
    c.method("heardObject:", &Listener::heardObject);
});

// Two distinct objects a notification can be about.
struct Senders {
    yk::Ref<yk::Object> a = yk::String::withUTF8("sender a");
    yk::Ref<yk::Object> b = yk::String::withUTF8("sender b");
    yk::Object* get(char which) const { return which == 'a' ? a.get() : which == 'b' ? b.get() : nullptr; }
};

yk::Ref<yk::String> nameOrNull(const char* name)
{
    return name ? yk::String::withUTF8(name) : nullptr;
}

TEST(NotificationCenter, MatchesByNameAndObjectWithNullAsAny)
{
    struct Row {
        const char* observedName; // null: any
        char observedObject; // 'a', 'b' or 0 for any
        const char* postedName;
        char postedObject;
        bool heard;
    };
    const Row rows[] = {
        { "Ping", 0, "Ping", 0, true },
        { "Ping", 0, "Ping", 'a', true },
        { "Ping", 0, "Pong", 'a', false },
        { nullptr, 0, "Anything", 'b', true },
        { nullptr, 'a', "Ping", 'a', true },
        { nullptr, 'a', "Ping", 'b', false },
        { nullptr, 'a', "Ping", 0, false },
        { "Ping", 'a', "Ping", 'a', true },
        { "Ping", 'a', "Ping", 'b', false },
        { "Ping", 'a', "Pong", 'a', false },
        { "受信", 0, "受信", 0, true },
    };
    Senders senders;
    for (const Row& row : rows) {
        auto center = yk::make<yk::NotificationCenter>();
        std::vector<std::string> log;
        auto listener = yk::make<Listener>("L", &log);
        center->addObserver(listener.get(), "heard:", nameOrNull(row.observedName).get(), senders.get(row.observedObject));
        center->postNotificationName(row.postedName, senders.get(row.postedObject));
        EXPECT_EQ(log.size(), row.heard ? 1u : 0u) << (row.observedName ? row.observedName : "(any)") << "/" << (row.observedObject ? row.observedObject : '*') << " for " << row.postedName << "/" << (row.postedObject ? row.postedObject : '*');
    }
}

TEST(NotificationCenter, RemovesOnlyTheRegistrationsThatMatchNameAndObject)
{
    // Four registrations; each row removes with a name and object, then posts enough to reach
    // every registration that is left.
    struct Row {
        const char* removedName;
        char removedObject;
        std::set<std::string> left;
    };
    const Row rows[] = {
        { nullptr, 0, {} },
        { "Ping", 0, { "any/a", "Pong/*" } },
        { "Ping", 'a', { "Ping/*", "any/a", "Pong/*" } },
        { nullptr, 'a', { "Ping/*", "Pong/*" } },
        { "Pong", 'b', { "Ping/a", "Ping/*", "any/a", "Pong/*" } },
        { "Nothing", 0, { "Ping/a", "Ping/*", "any/a", "Pong/*" } },
    };
    Senders senders;
    for (const Row& row : rows) {
        auto center = yk::make<yk::NotificationCenter>();
        std::vector<std::string> log;
        // Four listeners stand for the four registrations; their tags tell them apart.
        struct Registration {
            const char* tag;
            const char* name;
            char object;
        };
        const Registration registrations[] = { { "Ping/a", "Ping", 'a' }, { "Ping/*", "Ping", 0 }, { "any/a", nullptr, 'a' }, { "Pong/*", "Pong", 0 } };
        std::vector<yk::Ref<Listener>> listeners;
        for (const auto& registration : registrations) {
            auto one = yk::make<Listener>(registration.tag, &log);
            center->addObserver(one.get(), "heard:", nameOrNull(registration.name).get(), senders.get(registration.object));
            listeners.push_back(one);
        }
        for (const auto& one : listeners)
            center->removeObserver(one.get(), nameOrNull(row.removedName).get(), senders.get(row.removedObject));
        center->postNotificationName("Ping", senders.a.get());
        center->postNotificationName("Pong", senders.a.get());
        std::set<std::string> left;
        for (const auto& line : log)
            left.insert(line.substr(0, line.find(':')));
        EXPECT_EQ(left, row.left) << "removed " << (row.removedName ? row.removedName : "(any)") << "/" << (row.removedObject ? row.removedObject : '*');
    }
}

TEST(NotificationCenter, CallsObserversInRegistrationOrderOncePerRegistration)
{
    auto center = yk::make<yk::NotificationCenter>();
    std::vector<std::string> log;
    auto first = yk::make<Listener>("1", &log);
    auto second = yk::make<Listener>("2", &log);
    center->addObserver(second.get(), "heard:", nullptr, nullptr);
    center->addObserver(first.get(), "heard:", "Ping", nullptr);
    center->addObserver(second.get(), "heardAgain:", "Ping", nullptr);
    center->addObserver(first.get(), "heardObject:", nullptr, nullptr);
    center->postNotificationName("Ping", nullptr);
    EXPECT_EQ(log, (std::vector<std::string> { "2:Ping", "1:Ping", "2+:Ping", "1(object):Ping" }));

    log.clear();
    center->removeObserver(second.get());
    center->postNotificationName("Ping", nullptr);
    EXPECT_EQ(log, (std::vector<std::string> { "1:Ping", "1(object):Ping" }));
}

TEST(NotificationCenter, ObserversMayRemoveThemselvesAndOthersDuringAPost)
{
    auto center = yk::make<yk::NotificationCenter>();
    std::vector<std::string> log;
    auto self = yk::make<Listener>("self", &log);
    auto remover = yk::make<Listener>("remover", &log);
    auto victim = yk::make<Listener>("victim", &log);
    auto adder = yk::make<Listener>("adder", &log);
    auto late = yk::make<Listener>("late", &log);
    self->action = [&](yk::Notification*) { center->removeObserver(self.get()); };
    remover->action = [&](yk::Notification*) { center->removeObserver(victim.get()); };
    adder->action = [&](yk::Notification*) {
        center->addObserver(late.get(), "heard:", nullptr, nullptr);
        adder->action = nullptr;
    };
    for (auto* listener : { self.get(), remover.get(), victim.get(), adder.get() })
        center->addObserver(listener, "heard:", nullptr, nullptr);

    center->postNotificationName("First", nullptr);
    // The victim was removed before its turn; the late observer arrived during the post.
    EXPECT_EQ(log, (std::vector<std::string> { "self:First", "remover:First", "adder:First" }));
    log.clear();
    center->postNotificationName("Second", nullptr);
    EXPECT_EQ(log, (std::vector<std::string> { "remover:Second", "adder:Second", "late:Second" }));
}

TEST(NotificationCenter, AnExceptionFromAnObserverReachesThePosterAndLeavesTheCenterUsable)
{
    auto center = yk::make<yk::NotificationCenter>();
    std::vector<std::string> log;
    auto thrower = yk::make<Listener>("thrower", &log);
    auto after = yk::make<Listener>("after", &log);
    thrower->action = [](yk::Notification*) { throw std::runtime_error("observer failed"); };
    center->addObserver(thrower.get(), "heard:", nullptr, nullptr);
    center->addObserver(after.get(), "heard:", nullptr, nullptr);
    EXPECT_THROW(center->postNotificationName("Ping", nullptr), std::runtime_error);
    EXPECT_EQ(log, (std::vector<std::string> { "thrower:Ping" }));
    // The failed call is over: removing the thrower on another thread does not wait for it.
    std::thread([&] { center->removeObserver(thrower.get()); }).join();
    log.clear();
    center->postNotificationName("Ping", nullptr);
    EXPECT_EQ(log, (std::vector<std::string> { "after:Ping" }));
}

TEST(NotificationCenter, RejectsMissingArgumentsAndUnknownMethods)
{
    auto center = yk::make<yk::NotificationCenter>();
    std::vector<std::string> log;
    auto listener = yk::make<Listener>("L", &log);
    const char* nilArgument = "*** -[NotificationCenter addObserver:selector:name:object:]: nil string (or other) argument";
    yk::test::expectRaise([&] { center->addObserver(nullptr, "heard:", nullptr, nullptr); }, yk::NSInvalidArgumentException, nilArgument);
    yk::test::expectRaise([&] { center->addObserver(listener.get(), yk::Selector(), nullptr, nullptr); }, yk::NSInvalidArgumentException, nilArgument);
    yk::test::expectRaise([&] { center->postNotification(nullptr); }, yk::NSInvalidArgumentException,
        "*** -[NotificationCenter postNotification:]: nil string (or other) argument");
    EXPECT_THROW(center->postNotificationName(static_cast<const yk::String*>(nullptr), nullptr), yk::Exception);
    center->removeObserver(nullptr);
    center->addObserver(listener.get(), "noSuchMethod:", nullptr, nullptr);
    yk::test::expectRaise([&] { center->postNotificationName("Ping", nullptr); }, yk::NSInvalidArgumentException,
        "-[Listener noSuchMethod:]: unrecognized selector sent to instance");
}

TEST(NotificationCenter, DeliversTheUserInfoAndKeepsItsOwnCopyOfAMutableName)
{
    auto center = yk::make<yk::NotificationCenter>();
    std::vector<std::string> log;
    auto listener = yk::make<Listener>("L", &log);
    std::string mailbox;
    listener->action = [&](yk::Notification* notification) {
        auto value = notification->userInfo()->objectForKey("mailbox");
        mailbox = value ? value->description()->utf8() : "(none)";
    };
    auto name = yk::MutableString::stringWithString(yk::String::withUTF8("DidReceive").get());
    center->addObserver(listener.get(), "heard:", name.get(), nullptr);
    name->appendUTF8("Mail");
    auto userInfo = yk::Dictionary::dictionaryWithEntries({ { yk::String::withUTF8("mailbox"), yk::String::withUTF8("受信箱") } });
    center->postNotificationName("DidReceiveMail", nullptr, userInfo.get());
    EXPECT_TRUE(log.empty());
    center->postNotificationName("DidReceive", nullptr, userInfo.get());
    EXPECT_EQ(log, (std::vector<std::string> { "L:DidReceive" }));
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
    int totalCalls = 0;
    for (int round = 0; round < 150; ++round) {
        auto watcher = yk::make<Watcher>();
        auto other = yk::make<Watcher>();
        center->addObserver(watcher.get(), "heard:", "Tick", nullptr);
        center->addObserver(other.get(), "heard:", nullptr, nullptr);
        while (watcher->calls.load() == 0)
            std::this_thread::yield();
        center->removeObserver(watcher.get(), "Tick", nullptr);
        watcher->removed.store(true, std::memory_order_release);
        center->removeObserver(other.get());
        other->removed.store(true, std::memory_order_release);
        totalCalls += watcher->calls.load();
    }
    stop = true;
    for (auto& poster : posters)
        poster.join();
    EXPECT_EQ(Watcher::lateCalls.load(), 0);
    EXPECT_GE(totalCalls, 150);
}

} // namespace
