// Classes, selectors and method tables of the object runtime.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace {

// Every test object records the implementations that ran on it, by name.
class RtRecorder : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(RtRecorder, zu::Object)
  std::vector<std::string> events;
};

void record(zu::Object* self, const char* event) {
  if (auto* recorder = dynamic_cast<RtRecorder*>(self)) recorder->events.emplace_back(event);
}

void animalSpeak(zu::Object* self, zu::SEL /*selector*/) {
  record(self, "Animal.speak");
}
void animalEat(zu::Object* self, zu::SEL /*selector*/) {
  record(self, "Animal.eat");
}
void dogSpeak(zu::Object* self, zu::SEL /*selector*/) {
  record(self, "Dog.speak");
}
void dogFetch(zu::Object* self, zu::SEL /*selector*/) {
  record(self, "Dog.fetch");
}
void puppySpeak(zu::Object* self, zu::SEL /*selector*/) {
  record(self, "Puppy.speak");
}
void otherEat(zu::Object* self, zu::SEL /*selector*/) {
  record(self, "other.eat");
}

zu::SEL speak() {
  return zu::sel_registerName("speak");
}
zu::SEL eat() {
  return zu::sel_registerName("eat");
}
zu::SEL fetch() {
  return zu::sel_registerName("fetch");
}

void addAnimalMethods(zu::Class* cls) {
  zu::class_addMethod(cls, speak(), zu::imp(&animalSpeak));
  zu::class_addMethod(cls, eat(), zu::imp(&animalEat));
}

void addDogMethods(zu::Class* cls) {
  zu::class_addMethod(cls, speak(), zu::imp(&dogSpeak));
  zu::class_addMethod(cls, fetch(), zu::imp(&dogFetch));
}

// One family of classes per test that changes method tables, so that the tests also pass when
// they share a process: Animal (speak, eat) <- Dog (speak, fetch) <- Puppy (nothing).
// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are name prefixes
#define RT_FAMILY(Prefix)                                           \
  class Prefix##Animal : public RtRecorder {                        \
   public:                                                          \
    ZU_RUNTIME_CLASS(Prefix##Animal, RtRecorder, &addAnimalMethods) \
  };                                                                \
  class Prefix##Dog : public Prefix##Animal {                       \
   public:                                                          \
    ZU_RUNTIME_CLASS(Prefix##Dog, Prefix##Animal, &addDogMethods)   \
  };                                                                \
  class Prefix##Puppy : public Prefix##Dog {                        \
   public:                                                          \
    ZU_RUNTIME_CLASS(Prefix##Puppy, Prefix##Dog)                    \
  }
// NOLINTEND(bugprone-macro-parentheses)

RT_FAMILY(Rt);
RT_FAMILY(RtAdd);
RT_FAMILY(RtSet);
RT_FAMILY(RtSwap);

std::vector<std::string> eventsOf(const std::shared_ptr<RtRecorder>& object, zu::SEL selector) {
  object->events.clear();
  zu::objc_msgSend(object, selector);
  return object->events;
}

using Events = std::vector<std::string>;

TEST(RuntimeTest, SelectorsAreInternedAndInvalidNamesGiveNone) {
  const zu::SEL selector = zu::sel_registerName("mailComposeController:didFinishWithResult:error:");
  EXPECT_EQ(selector, zu::sel_registerName(std::string("mailComposeController:") +
                                           "didFinishWithResult:error:"));
  EXPECT_EQ(selector, zu::NSSelectorFromString("mailComposeController:didFinishWithResult:error:"));
  EXPECT_NE(selector, zu::sel_registerName("mailComposeController:didFinishWithResult:Error:"));
  EXPECT_EQ(zu::NSStringFromSelector(selector), "mailComposeController:didFinishWithResult:error:");
  EXPECT_STREQ(zu::sel_getName(selector), "mailComposeController:didFinishWithResult:error:");

  EXPECT_EQ(zu::NSSelectorFromString(zu::Value()), nullptr);
  EXPECT_EQ(zu::NSSelectorFromString(zu::Value::null()), nullptr);
  EXPECT_EQ(zu::NSSelectorFromString(""), nullptr);
  EXPECT_EQ(zu::NSSelectorFromString(42), nullptr);
  EXPECT_EQ(zu::NSSelectorFromString("view\xff"), nullptr);
  EXPECT_EQ(zu::NSStringFromSelector(nullptr), "");
  EXPECT_STREQ(zu::sel_getName(nullptr), "<null selector>");
}

TEST(RuntimeTest, ClassesAreFoundByNameAndKnowTheirAncestors) {
  EXPECT_EQ(zu::NSClassFromString("RtPuppy"), nullptr) << "registered only on first use";
  zu::Class* puppy = RtPuppy::staticClass();
  ASSERT_NE(puppy, nullptr);
  EXPECT_EQ(zu::NSClassFromString("RtPuppy"), puppy);
  EXPECT_EQ(zu::objc_getClass("RtDog"), RtDog::staticClass());
  EXPECT_EQ(zu::NSStringFromClass(puppy), "RtPuppy");
  EXPECT_EQ(zu::class_getSuperclass(puppy), RtDog::staticClass());
  EXPECT_EQ(zu::class_getSuperclass(RtRecorder::staticClass()), zu::rootClass());
  EXPECT_EQ(zu::NSStringFromClass(zu::rootClass()), "NSObject");
  EXPECT_EQ(zu::class_getSuperclass(zu::rootClass()), nullptr);
  EXPECT_EQ(zu::NSClassFromString(zu::Value::null()), nullptr);

  const auto object = std::make_shared<RtPuppy>();
  EXPECT_EQ(zu::object_getClass(object), puppy);
  EXPECT_EQ(zu::object_getClassName(object), "RtPuppy");
  EXPECT_TRUE(zu::isKindOfClass(object, RtAnimal::staticClass()));
  EXPECT_FALSE(zu::isKindOfClass(std::make_shared<RtAnimal>(), RtDog::staticClass()));
  // Objects of classes that declare no runtime class belong to the root class, and keep their
  // C++ name in descriptions.
  const auto plain = std::make_shared<zu::Object>();
  EXPECT_EQ(zu::object_getClass(plain), zu::rootClass());
  EXPECT_EQ(plain->className(), "Object");
  EXPECT_EQ(object->className(), "RtPuppy");
  EXPECT_EQ(zu::object_getClass(nullptr), nullptr);
}

TEST(RuntimeTest, LookupSearchesAncestorsWhileTheListHoldsOnlyOwnEntries) {
  zu::Class* animal = RtAnimal::staticClass();
  zu::Class* dog = RtDog::staticClass();
  zu::Class* puppy = RtPuppy::staticClass();

  zu::Method animalEat = zu::class_getInstanceMethod(animal, eat());
  ASSERT_NE(animalEat, nullptr);
  EXPECT_EQ(zu::class_getInstanceMethod(dog, eat()), animalEat);
  EXPECT_EQ(zu::class_getInstanceMethod(puppy, eat()), animalEat);
  zu::Method dogSpeakEntry = zu::class_getInstanceMethod(dog, speak());
  EXPECT_NE(dogSpeakEntry, zu::class_getInstanceMethod(animal, speak()));
  EXPECT_EQ(zu::method_getName(dogSpeakEntry), speak());
  EXPECT_EQ(zu::class_getInstanceMethod(animal, fetch()), nullptr);
  EXPECT_EQ(zu::class_getInstanceMethod(nullptr, eat()), nullptr);
  EXPECT_EQ(zu::class_getInstanceMethod(dog, nullptr), nullptr);

  const std::vector<zu::Method> own = zu::class_copyMethodList(dog);
  ASSERT_EQ(own.size(), 2U);
  EXPECT_EQ(own[0], dogSpeakEntry);
  EXPECT_EQ(zu::method_getName(own[1]), fetch());
  EXPECT_TRUE(zu::class_copyMethodList(puppy).empty());
  EXPECT_TRUE(zu::class_copyMethodList(nullptr).empty());

  EXPECT_EQ(eventsOf(std::make_shared<RtPuppy>(), speak()), Events{"Dog.speak"});
  EXPECT_EQ(eventsOf(std::make_shared<RtPuppy>(), eat()), Events{"Animal.eat"});
}

TEST(RuntimeTest, AddMethodFailsOnlyWhenTheClassItselfHasTheSelector) {
  zu::Class* dog = RtAddDog::staticClass();
  zu::Method dogSpeakEntry = zu::class_getInstanceMethod(dog, speak());
  EXPECT_FALSE(zu::class_addMethod(dog, speak(), zu::imp(&otherEat)));
  EXPECT_EQ(zu::method_getImplementation(dogSpeakEntry), zu::imp(&dogSpeak));
  EXPECT_EQ(zu::class_copyMethodList(dog).size(), 2U);

  // A selector the class only inherits can be added to it.
  const auto puppy = std::make_shared<RtAddPuppy>();
  EXPECT_EQ(eventsOf(puppy, speak()), Events{"Dog.speak"});
  EXPECT_FALSE(zu::respondsToSelector(puppy, zu::sel_registerName("roll")));
  EXPECT_TRUE(zu::class_addMethod(RtAddPuppy::staticClass(), speak(), zu::imp(&puppySpeak), "v@:"));
  EXPECT_TRUE(zu::class_addMethod(RtAddPuppy::staticClass(), zu::sel_registerName("roll"),
                                  zu::imp(&dogFetch)));
  // The lookups cached by the sends above do not hide the new entries.
  EXPECT_EQ(eventsOf(puppy, speak()), Events{"Puppy.speak"});
  EXPECT_TRUE(zu::respondsToSelector(puppy, zu::sel_registerName("roll")));
  EXPECT_EQ(eventsOf(std::make_shared<RtAddDog>(), speak()), Events{"Dog.speak"});

  // Missing parts, and a type encoding that does not describe the implementation, are refused.
  zu::Class* animal = RtAddAnimal::staticClass();
  EXPECT_FALSE(zu::class_addMethod(nullptr, zu::sel_registerName("sit"), zu::imp(&dogFetch)));
  EXPECT_FALSE(zu::class_addMethod(animal, nullptr, zu::imp(&dogFetch)));
  EXPECT_FALSE(zu::class_addMethod(animal, zu::sel_registerName("sit"), nullptr));
  EXPECT_FALSE(
      zu::class_addMethod(animal, zu::sel_registerName("sit"), zu::imp(&dogFetch), "v@:B"));
  EXPECT_EQ(zu::class_getInstanceMethod(animal, zu::sel_registerName("sit")), nullptr);
  EXPECT_TRUE(zu::class_addMethod(animal, zu::sel_registerName("sit"), zu::imp(&dogFetch)));
  EXPECT_STREQ(
      zu::method_getTypeEncoding(zu::class_getInstanceMethod(animal, zu::sel_registerName("sit"))),
      "v@:");
}

TEST(RuntimeTest, ANewImplementationIsSeenByEveryClassInheritingTheEntry) {
  const auto dog = std::make_shared<RtSetDog>();
  const auto animal = std::make_shared<RtSetAnimal>();
  EXPECT_EQ(eventsOf(dog, eat()), Events{"Animal.eat"});

  zu::Method entry = zu::class_getInstanceMethod(RtSetAnimal::staticClass(), eat());
  EXPECT_EQ(zu::method_setImplementation(entry, zu::imp(&otherEat)), zu::imp(&animalEat));
  EXPECT_EQ(eventsOf(dog, eat()), Events{"other.eat"});
  EXPECT_EQ(eventsOf(animal, eat()), Events{"other.eat"});
  EXPECT_EQ(zu::class_getMethodImplementation(RtSetPuppy::staticClass(), eat()),
            zu::imp(&otherEat));

  // A class's own entry is not touched by a change to the ancestor's entry it overrides.
  zu::method_setImplementation(zu::class_getInstanceMethod(RtSetAnimal::staticClass(), speak()),
                               zu::imp(&otherEat));
  EXPECT_EQ(eventsOf(dog, speak()), Events{"Dog.speak"});

  EXPECT_EQ(zu::method_setImplementation(nullptr, zu::imp(&otherEat)), nullptr);
  EXPECT_EQ(zu::method_setImplementation(entry, nullptr), nullptr);
  EXPECT_EQ(zu::method_getImplementation(entry), zu::imp(&otherEat));
  EXPECT_EQ(zu::method_getImplementation(nullptr), nullptr);
}

TEST(RuntimeTest, ExchangingWithAnInheritedEntryChangesTheAncestorToo) {
  zu::Method fetchEntry = zu::class_getInstanceMethod(RtSwapDog::staticClass(), fetch());
  zu::Method eatEntry = zu::class_getInstanceMethod(RtSwapDog::staticClass(), eat());
  zu::method_exchangeImplementations(fetchEntry, eatEntry);
  EXPECT_EQ(eventsOf(std::make_shared<RtSwapDog>(), eat()), Events{"Dog.fetch"});
  EXPECT_EQ(eventsOf(std::make_shared<RtSwapDog>(), fetch()), Events{"Animal.eat"});
  EXPECT_EQ(eventsOf(std::make_shared<RtSwapAnimal>(), eat()), Events{"Dog.fetch"});

  zu::method_exchangeImplementations(fetchEntry, nullptr);
  zu::method_exchangeImplementations(nullptr, eatEntry);
  EXPECT_EQ(zu::method_getImplementation(fetchEntry), zu::imp(&animalEat));
  EXPECT_EQ(zu::method_getImplementation(eatEntry), zu::imp(&dogFetch));
}

long addOne(zu::Object* /*self*/, zu::SEL /*selector*/, long value) {
  return value + 1;
}
zu::Value echo(zu::Object* /*self*/, zu::SEL /*selector*/, const zu::Value& value) {
  return value;
}
void mailResult(zu::Object* /*self*/, zu::SEL /*selector*/, const zu::Value& /*controller*/,
                zu::NSInteger /*result*/, const zu::Value& /*error*/) {}
void toggle(zu::Object* /*self*/, zu::SEL /*selector*/, bool /*flag*/) {}
double scale(zu::Object* /*self*/, zu::SEL /*selector*/, float /*x*/, const char* /*name*/,
             zu::SEL /*other*/, zu::Class* /*cls*/) {
  return 0;
}

TEST(RuntimeTest, ImplementationsCarryTheirTypeEncoding) {
  EXPECT_EQ(zu::imp(&addOne), zu::imp(&addOne));
  EXPECT_NE(zu::imp(&addOne), zu::imp(&echo));
  EXPECT_STREQ(zu::imp(&toggle)->types, "v@:B");
  EXPECT_STREQ(zu::imp(&addOne)->types, "q@:q");
  EXPECT_STREQ(zu::imp(&echo)->types, "@@:@");
  EXPECT_STREQ(zu::imp(&mailResult)->types, "v@:@q@");
  EXPECT_STREQ(zu::imp(&scale)->types, "d@:fr*:#");
  EXPECT_EQ(zu::imp(static_cast<void (*)(zu::Object*, zu::SEL, bool)>(nullptr)), nullptr);
}

}  // namespace
