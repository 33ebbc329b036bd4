// Typed sends, their checks, performSelector and sends racing with table changes.

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/StderrCapture.h"
#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace {

class MsCounter : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(MsCounter, zu::Object, &addMethods)

  std::atomic<long> total{0};
  std::vector<std::string> events;
  zu::Value lastValue;

 private:
  static void addMethods(zu::Class* cls);
};

MsCounter& counter(zu::Object* self) {
  return dynamic_cast<MsCounter&>(*self);
}

long add(zu::Object* self, zu::SEL /*selector*/, long amount) {
  return counter(self).total += amount;
}
void toggle(zu::Object* self, zu::SEL /*selector*/, bool flag) {
  counter(self).events.emplace_back(flag ? "toggle:YES" : "toggle:NO");
}
void remember(zu::Object* self, zu::SEL /*selector*/, const zu::Value& value) {
  counter(self).lastValue = value;
}
zu::Value describe(zu::Object* self, zu::SEL /*selector*/) {
  return {"total " + std::to_string(counter(self).total.load())};
}
zu::id itself(zu::Object* self, zu::SEL /*selector*/, const zu::id& /*unused*/) {
  return self->shared_from_this();
}
void reset(zu::Object* self, zu::SEL /*selector*/) {
  counter(self).total = 0;
}

void MsCounter::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::sel_registerName("add:"), zu::imp(&add));
  zu::class_addMethod(cls, zu::sel_registerName("toggle:"), zu::imp(&toggle));
  zu::class_addMethod(cls, zu::sel_registerName("remember:"), zu::imp(&remember));
  zu::class_addMethod(cls, zu::sel_registerName("describe"), zu::imp(&describe));
  zu::class_addMethod(cls, zu::sel_registerName("itself:"), zu::imp(&itself));
  zu::class_addMethod(cls, zu::sel_registerName("reset"), zu::imp(&reset));
}

// Its own "toggle:" also runs the inherited one, through a send to the superclass.
void loudToggle(zu::Object* self, zu::SEL selector, bool flag);

class MsLoudCounter : public MsCounter {
 public:
  ZU_RUNTIME_CLASS(MsLoudCounter, MsCounter, &addMethods)

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, zu::sel_registerName("toggle:"), zu::imp(&loudToggle));
  }
};

void loudToggle(zu::Object* self, zu::SEL selector, bool flag) {
  counter(self).events.emplace_back("loud");
  zu::objc_msgSendSuper<void, bool>(self, MsLoudCounter::staticClass()->superclass(), selector,
                                    flag);
}

TEST(MessageSendTest, ASendCallsTheImplementationWithItsOwnTypes) {
  const auto object = std::make_shared<MsCounter>();
  EXPECT_EQ((zu::objc_msgSend<long, long>(object, zu::sel_registerName("add:"), 20)), 20);
  EXPECT_EQ(zu::objc_msgSend<long>(object.get(), zu::sel_registerName("add:"), 22L), 42);
  zu::objc_msgSend<void, bool>(object, zu::sel_registerName("toggle:"), true);
  zu::objc_msgSend(object, zu::sel_registerName("toggle:"), false);
  EXPECT_EQ(object->events, (std::vector<std::string>{"toggle:YES", "toggle:NO"}));
  zu::objc_msgSend<void, const zu::Value&>(object, zu::sel_registerName("remember:"),
                                           zu::Value("kept"));
  EXPECT_EQ(object->lastValue, zu::Value("kept"));
  EXPECT_EQ(zu::objc_msgSend<zu::Value>(object, zu::sel_registerName("describe")),
            zu::Value("total 42"));

  // A send to no object calls nothing and gives the zero value.
  EXPECT_EQ(zu::objc_msgSend<long>(nullptr, zu::sel_registerName("add:"), 1L), 0);
  EXPECT_EQ(object->total, 42);

  const auto loud = std::make_shared<MsLoudCounter>();
  zu::objc_msgSend(loud, zu::sel_registerName("toggle:"), true);
  EXPECT_EQ(loud->events, (std::vector<std::string>{"loud", "toggle:YES"}));
}

TEST(MessageSendTest, MismatchedAndUnansweredSendsAreRefusedWithAReport) {
  const auto object = std::make_shared<MsCounter>();
  const zukit::test::StderrCapture console;
  // An int where the method takes a bool: refused, nothing runs.
  zu::objc_msgSend(object, zu::sel_registerName("toggle:"), 1);
  // The right argument but another result type.
  EXPECT_EQ(zu::objc_msgSend<int>(object, zu::sel_registerName("toggle:"), true), 0);
  // A Value by value where the method takes a reference.
  zu::objc_msgSend(object, zu::sel_registerName("remember:"), zu::Value(1));
  // Missing arguments.
  EXPECT_EQ(zu::objc_msgSend<long>(object, zu::sel_registerName("add:")), 0);
  EXPECT_EQ(zu::objc_msgSend<long>(object, zu::sel_registerName("subtract:"), 1L), 0);
  zu::imp_call<void, bool>(nullptr, object, zu::sel_registerName("toggle:"), true);
  EXPECT_TRUE(object->events.empty());
  EXPECT_TRUE(object->lastValue.isAbsent());
  EXPECT_EQ(object->total, 0);

  const std::string text = console.text();
  EXPECT_NE(text.find("-[MsCounter toggle:]: refused a send of type v@:i to an implementation "
                      "of type v@:B"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("-[MsCounter toggle:]: refused a send of type i@:B to an implementation "
                      "of type v@:B"),
            std::string::npos);
  // Both encode as "v@:@"; the report names the C++ types instead.
  EXPECT_NE(text.find("-[MsCounter remember:]: refused a send of type void (*)(zu::Object*, "
                      "zu::objc_selector const*, zu::Value) to an implementation of type void "
                      "(*)(zu::Object*, zu::objc_selector const*, zu::Value const&)"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("-[MsCounter add:]: refused a send of type q@: to an implementation of "
                      "type q@:q"),
            std::string::npos);
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<const void*>(object.get()));
  EXPECT_NE(text.find(std::string("-[MsCounter subtract:]: unrecognized selector sent to "
                                  "instance ") +
                      address),
            std::string::npos);
  EXPECT_NE(text.find("-[MsCounter toggle:]: refused a call of a missing implementation (v@:B)"),
            std::string::npos);
}

TEST(MessageSendTest, RespondsToSelectorAndPerformSelector) {
  const auto object = std::make_shared<MsCounter>();
  EXPECT_TRUE(zu::respondsToSelector(object, zu::sel_registerName("add:")));
  EXPECT_FALSE(zu::respondsToSelector(object, zu::sel_registerName("subtract:")));
  EXPECT_FALSE(zu::respondsToSelector(object, nullptr));
  EXPECT_FALSE(zu::respondsToSelector(nullptr, zu::sel_registerName("add:")));
  EXPECT_TRUE(
      zu::respondsToSelector(std::make_shared<MsLoudCounter>(), zu::sel_registerName("add:")));

  object->total = 5;
  EXPECT_EQ(zu::performSelector(object, zu::sel_registerName("describe")), zu::Value("total 5"));
  EXPECT_TRUE(zu::performSelector(object, zu::sel_registerName("reset")).isAbsent());
  EXPECT_EQ(object->total, 0);
  EXPECT_TRUE(zu::performSelector(object, zu::sel_registerName("remember:"), 7).isAbsent());
  EXPECT_EQ(object->lastValue, zu::Value(7));
  EXPECT_EQ(zu::performSelector(object, zu::sel_registerName("itself:"), zu::Value()).asObject(),
            object);

  const zukit::test::StderrCapture console;
  EXPECT_TRUE(zu::performSelector(object, zu::sel_registerName("add:")).isAbsent());
  EXPECT_TRUE(zu::performSelector(object, zu::sel_registerName("nothing")).isAbsent());
  EXPECT_TRUE(zu::performSelector(nullptr, zu::sel_registerName("reset")).isAbsent());
  EXPECT_EQ(object->total, 0);
  const std::string text = console.text();
  EXPECT_NE(text.find("-[MsCounter add:]: performSelector refused: the implementation has type "
                      "q@:q"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("-[MsCounter nothing]: unrecognized selector"), std::string::npos);
}

// Sends on four threads while another thread adds entries to a class and replaces
// implementations: every send runs one of the implementations, never a torn or stale one.
long addTwice(zu::Object* self, zu::SEL /*selector*/, long amount) {
  return counter(self).total += 2 * amount;
}

class MsRacer : public MsCounter {
 public:
  ZU_RUNTIME_CLASS(MsRacer, MsCounter)
};

TEST(MessageSendTest, SendsRaceSafelyWithTableChanges) {
  constexpr int kThreads = 4;
  constexpr int kSends = 20000;
  std::vector<std::shared_ptr<MsRacer>> objects;
  objects.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i)
    objects.push_back(std::make_shared<MsRacer>());
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&go, object = objects[i]] {
      while (!go.load())
        std::this_thread::yield();
      for (int n = 0; n < kSends; ++n)
        zu::objc_msgSend<long, long>(object, zu::sel_registerName("add:"), 1);
    });
  }
  go = true;
  // Each addition changes the table epoch and so flushes every class's cache.
  for (int n = 0; n < 200; ++n) {
    zu::class_addMethod(MsRacer::staticClass(), zu::sel_registerName("extra" + std::to_string(n)),
                        zu::imp(&reset));
  }
  EXPECT_TRUE(zu::class_addMethod(MsRacer::staticClass(), zu::sel_registerName("add:"),
                                  zu::imp(&addTwice)));
  for (auto& thread : threads)
    thread.join();
  for (const auto& object : objects) {
    EXPECT_GE(object->total, kSends);
    EXPECT_LE(object->total, 2 * kSends);
  }
  EXPECT_EQ((zu::objc_msgSend<long, long>(objects[0], zu::sel_registerName("add:"), 1)),
            objects[0]->total);
  EXPECT_EQ(zu::class_copyMethodList(MsRacer::staticClass()).size(), 201U);
}

}  // namespace
