// The in-process notification centre: matching, the two kinds of observer, changes during a
// post, and posts racing with registrations. Also the platform exception type.

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/MainLoop.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/NSException.h"
#include "zukit/platform/foundation/NSNotificationCenter.h"
#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace {

using zu::NSNotification;
using Notification = std::shared_ptr<NSNotification>;

class NcSender : public zu::Object {};

// An observer whose "noticed:" method records the notifications sent to it.
class NcListener : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(NcListener, zu::Object, &addMethods)
  std::vector<std::string> seen;

 private:
  static void addMethods(zu::Class* cls);
};

void noticed(zu::Object* self, zu::SEL /*selector*/, const zu::Value& notification) {
  const auto posted = notification.asObject<NSNotification>();
  dynamic_cast<NcListener&>(*self).seen.push_back(posted ? posted->name() : "not a notification");
}

void NcListener::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::sel_registerName("noticed:"), zu::imp(&noticed));
}

// Records which observer saw which notification, in order.
struct Log {
  std::vector<std::string> lines;
  zu::NSNotificationBlock as(const std::string& observer) {
    return [this, observer](const Notification& notification) {
      lines.push_back(observer + ":" + notification->name());
    };
  }
};

TEST(NSNotificationCenter, MatchesByNameAndSenderAndDeliversInRegistrationOrder) {
  zu::NSNotificationCenter center;
  const auto sender = std::make_shared<NcSender>();
  const auto other = std::make_shared<NcSender>();
  Log log;
  center.addObserverForName(zu::Value("A"), nullptr, nullptr, log.as("anyA"));
  center.addObserverForName(zu::Value("A"), sender, nullptr, log.as("senderA"));
  center.addObserverForName(zu::Value(), nullptr, nullptr, log.as("all"));
  center.addObserverForName(zu::Value::null(), sender, nullptr, log.as("allFromSender"));
  center.postNotificationName(zu::Value("A"), sender);
  center.postNotificationName(zu::Value("A"), other);
  center.postNotificationName(zu::Value("B"), sender, zu::Dictionary{{"k", zu::Value(1)}});
  center.postNotificationName(zu::Value("A"), nullptr);
  // No name, no post.
  center.postNotificationName(zu::Value(), sender);
  center.postNotificationName(zu::Value(""), sender);
  center.postNotification(nullptr);
  EXPECT_EQ(log.lines,
            (std::vector<std::string>{"anyA:A", "senderA:A", "all:A", "allFromSender:A", "anyA:A",
                                      "all:A", "all:B", "allFromSender:B", "anyA:A", "all:A"}));
}

TEST(NSNotificationCenter, CarriesTheSenderAndUserInformation) {
  zu::NSNotificationCenter center;
  const auto sender = std::make_shared<NcSender>();
  Notification received;
  center.addObserverForName(zu::Value("N"), nullptr, nullptr,
                            [&](const Notification& notification) { received = notification; });
  center.postNotificationName(zu::Value("N"), sender, zu::Dictionary{{"key", zu::Value("v")}});
  ASSERT_TRUE(received);
  EXPECT_EQ(received->object(), sender);
  EXPECT_EQ(received->userInfo(), zu::Value(zu::Dictionary{{"key", zu::Value("v")}}));
  center.postNotification(NSNotification::notificationWithName("N", nullptr));
  EXPECT_FALSE(received->object());
  EXPECT_TRUE(received->userInfo().isAbsent());
  EXPECT_EQ(received->description(), "NSNotification {name = N}");
}

TEST(NSNotificationCenter, SendsTheSelectorToATargetItHoldsWeakly) {
  zu::NSNotificationCenter center;
  auto listener = std::make_shared<NcListener>();
  const zu::SEL selector = zu::sel_registerName("noticed:");
  center.addObserver(listener, selector, zu::Value("Ping"), nullptr);
  center.addObserver(nullptr, selector, zu::Value("Ping"), nullptr);  // no observer: a no-op
  center.postNotificationName(zu::Value("Ping"), nullptr);
  center.postNotificationName(zu::Value("Pong"), nullptr);
  EXPECT_EQ(listener->seen, std::vector<std::string>{"Ping"});
  const std::weak_ptr<NcListener> weak = listener;
  listener.reset();
  EXPECT_TRUE(weak.expired()) << "the centre must not keep its targets alive";
  center.postNotificationName(zu::Value("Ping"), nullptr);  // nobody left: nothing happens
}

TEST(NSNotificationCenter, RemovesByObserverNameAndSender) {
  zu::NSNotificationCenter center;
  const auto sender = std::make_shared<NcSender>();
  const auto listener = std::make_shared<NcListener>();
  const zu::SEL selector = zu::sel_registerName("noticed:");
  center.addObserver(listener, selector, zu::Value("A"), nullptr);
  center.addObserver(listener, selector, zu::Value("B"), sender);
  center.addObserver(listener, selector, zu::Value("C"), nullptr);
  Log log;
  const zu::id token = center.addObserverForName(zu::Value("A"), nullptr, nullptr, log.as("block"));
  center.removeObserver(listener, zu::Value("B"), std::make_shared<NcSender>());  // other sender
  center.removeObserver(listener, zu::Value("A"), nullptr);
  for (const char* name : {"A", "B", "C"})
    center.postNotificationName(zu::Value(name), sender);
  EXPECT_EQ(listener->seen, (std::vector<std::string>{"B", "C"}));
  center.removeObserver(listener);
  center.removeObserver(token);
  center.removeObserver(nullptr);
  for (const char* name : {"A", "B", "C"})
    center.postNotificationName(zu::Value(name), sender);
  EXPECT_EQ(listener->seen, (std::vector<std::string>{"B", "C"}));
  EXPECT_EQ(log.lines, std::vector<std::string>{"block:A"});
}

TEST(NSNotificationCenter, AnObserverRemovedDuringAPostIsSkippedAndOneAddedWaits) {
  zu::NSNotificationCenter center;
  Log log;
  zu::id second;
  center.addObserverForName(zu::Value("N"), nullptr, nullptr, [&](const Notification& n) {
    log.lines.push_back("first:" + n->name());
    center.removeObserver(second);
    center.addObserverForName(zu::Value("N"), nullptr, nullptr, log.as("late"));
  });
  second = center.addObserverForName(zu::Value("N"), nullptr, nullptr, log.as("second"));
  center.postNotificationName(zu::Value("N"), nullptr);
  EXPECT_EQ(log.lines, std::vector<std::string>{"first:N"});
  log.lines.clear();
  center.postNotificationName(zu::Value("N"), nullptr);
  EXPECT_EQ(log.lines, (std::vector<std::string>{"first:N", "late:N"}));
  EXPECT_FALSE(center.addObserverForName(zu::Value("N"), nullptr, nullptr, nullptr))
      << "no block, no registration";
}

TEST(NSNotificationCenter, AQueuedObserverRunsOnItsQueue) {
  zu::NSNotificationCenter center;
  const auto queue = zu::dispatch_queue_create("nc.test", zu::DISPATCH_QUEUE_SERIAL);
  std::atomic<bool> onQueue{false};
  std::atomic<int> calls{0};
  center.addObserverForName(zu::Value("N"), nullptr, queue, [&](const Notification&) {
    onQueue =
        std::string(zu::dispatch_queue_get_label(zu::DISPATCH_CURRENT_QUEUE_LABEL)) == "nc.test";
    ++calls;
  });
  center.postNotificationName(zu::Value("N"), nullptr);
  ASSERT_TRUE(zukit::test::waitUntil([&] { return calls.load() == 1; }));
  EXPECT_TRUE(onQueue.load());
}

TEST(NSNotificationCenter, PostsFromManyThreadsWhileObserversComeAndGo) {
  const auto center = zu::NSNotificationCenter::defaultCenter();
  EXPECT_EQ(center, zu::NSNotificationCenter::defaultCenter());
  std::atomic<long> delivered{0};
  const zu::id steady = center->addObserverForName(zu::Value("Storm"), nullptr, nullptr,
                                                   [&](const Notification&) { ++delivered; });
  constexpr int kPosters = 4;
  constexpr int kPosts = 2000;
  std::vector<std::thread> threads;
  threads.reserve(kPosters + 1);
  for (int t = 0; t < kPosters; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kPosts; ++i)
        center->postNotificationName(zu::Value("Storm"), nullptr);
    });
  }
  threads.emplace_back([&] {
    for (int i = 0; i < kPosts; ++i) {
      const zu::id token = center->addObserverForName(zu::Value("Storm"), nullptr, nullptr,
                                                      [](const Notification&) {});
      center->removeObserver(token);
    }
  });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(delivered.load(), kPosters * kPosts);
  center->removeObserver(steady);
}

TEST(NSException, CarriesNameReasonAndUserInformation) {
  try {
    zu::NSException::raise(zu::NSInvalidArgumentException, "bad argument",
                           zu::Dictionary{{"index", zu::Value(3)}});
    FAIL() << "raise() returned";
  } catch (const std::exception& caught) {
    const auto* exception = dynamic_cast<const zu::NSException*>(&caught);
    ASSERT_NE(exception, nullptr);
    EXPECT_EQ(exception->name(), "NSInvalidArgumentException");
    EXPECT_EQ(exception->reason(), "bad argument");
    EXPECT_STREQ(caught.what(), "bad argument");
    EXPECT_EQ(exception->description(), "bad argument");
    EXPECT_EQ(exception->userInfo().asDictionary()->objectForKey("index"), zu::Value(3));
  }
  EXPECT_TRUE(zu::NSException(zu::NSGenericException, "r").userInfo().isAbsent());
}

}  // namespace
