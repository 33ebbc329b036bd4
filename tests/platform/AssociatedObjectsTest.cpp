// Values associated with objects: policies, replacement, removal and the owner's end.

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "zukit/platform/runtime/AssociatedObjects.h"
#include "zukit/platform/runtime/NSNumber.h"

namespace {

const char kUrlKey = 0;
const char kTagKey = 0;

TEST(AssociatedObjectsTest, ValuesAreKeptByKeyUnderTheirPolicy) {
  const auto view = std::make_shared<zu::Object>();
  EXPECT_TRUE(zu::objc_getAssociatedObject(view, &kUrlKey).isAbsent());

  zu::objc_setAssociatedObject(view, &kUrlKey, "https://example.com/a.png",
                               zu::OBJC_ASSOCIATION_RETAIN_NONATOMIC);
  zu::objc_setAssociatedObject(view, &kTagKey, 7, zu::OBJC_ASSOCIATION_COPY);
  EXPECT_EQ(zu::objc_getAssociatedObject(view, &kUrlKey), zu::Value("https://example.com/a.png"));
  EXPECT_EQ(zu::objc_getAssociatedObject(view.get(), &kTagKey), zu::Value(7));

  // Replacing and removing one key leaves the other.
  zu::objc_setAssociatedObject(view, &kUrlKey, "https://example.com/b.png",
                               zu::OBJC_ASSOCIATION_RETAIN);
  EXPECT_EQ(zu::objc_getAssociatedObject(view, &kUrlKey), zu::Value("https://example.com/b.png"));
  zu::objc_setAssociatedObject(view, &kUrlKey, zu::Value(), zu::OBJC_ASSOCIATION_RETAIN);
  EXPECT_TRUE(zu::objc_getAssociatedObject(view, &kUrlKey).isAbsent());
  EXPECT_EQ(zu::objc_getAssociatedObject(view, &kTagKey), zu::Value(7));
  // NSNull is a value like any other.
  zu::objc_setAssociatedObject(view, &kUrlKey, zu::Value::null(), zu::OBJC_ASSOCIATION_RETAIN);
  EXPECT_TRUE(zu::objc_getAssociatedObject(view, &kUrlKey).isNull());

  // Retained objects live as long as the association; assigned ones do not.
  auto retained = std::make_shared<zu::Object>();
  auto assigned = std::make_shared<zu::Object>();
  const std::weak_ptr<zu::Object> retainedWatch = retained;
  zu::objc_setAssociatedObject(view, &kUrlKey, zu::Value(retained),
                               zu::OBJC_ASSOCIATION_RETAIN_NONATOMIC);
  zu::objc_setAssociatedObject(view, &kTagKey, zu::Value(assigned), zu::OBJC_ASSOCIATION_ASSIGN);
  EXPECT_EQ(zu::objc_getAssociatedObject(view, &kTagKey).asObject(), assigned);
  retained.reset();
  assigned.reset();
  EXPECT_FALSE(retainedWatch.expired());
  EXPECT_TRUE(zu::objc_getAssociatedObject(view, &kTagKey).isAbsent());
  zu::objc_removeAssociatedObjects(view);
  EXPECT_TRUE(retainedWatch.expired());
  EXPECT_TRUE(zu::objc_getAssociatedObject(view, &kUrlKey).isAbsent());

  // No object, no key or an unknown policy: nothing happens.
  zu::objc_setAssociatedObject(nullptr, &kUrlKey, 1, zu::OBJC_ASSOCIATION_RETAIN);
  zu::objc_setAssociatedObject(view, nullptr, 1, zu::OBJC_ASSOCIATION_RETAIN);
  zu::objc_setAssociatedObject(view, &kUrlKey, 1, static_cast<zu::objc_AssociationPolicy>(2));
  EXPECT_TRUE(zu::objc_getAssociatedObject(view, &kUrlKey).isAbsent());
  EXPECT_TRUE(zu::objc_getAssociatedObject(nullptr, &kUrlKey).isAbsent());
  EXPECT_TRUE(zu::objc_getAssociatedObject(view, nullptr).isAbsent());
}

TEST(AssociatedObjectsTest, ValuesGoWithTheirOwnerEvenWhenTheyHaveValuesOfTheirOwn) {
  auto owner = std::make_shared<zu::Object>();
  auto child = std::make_shared<zu::Object>();
  auto grandchild = std::make_shared<zu::Object>();
  const std::weak_ptr<zu::Object> childWatch = child;
  const std::weak_ptr<zu::Object> grandchildWatch = grandchild;
  zu::objc_setAssociatedObject(child, &kTagKey, zu::Value(grandchild), zu::OBJC_ASSOCIATION_RETAIN);
  zu::objc_setAssociatedObject(owner, &kTagKey, zu::Value(child), zu::OBJC_ASSOCIATION_RETAIN);
  child.reset();
  grandchild.reset();
  EXPECT_FALSE(grandchildWatch.expired());
  // Destroying the owner releases the child, whose destruction releases the grandchild.
  owner.reset();
  EXPECT_TRUE(childWatch.expired());
  EXPECT_TRUE(grandchildWatch.expired());

  // A new object at the address of a destroyed one starts without values.
  for (int i = 0; i < 50; ++i) {
    const auto object = std::make_shared<zu::Object>();
    EXPECT_TRUE(zu::objc_getAssociatedObject(object, &kUrlKey).isAbsent());
    zu::objc_setAssociatedObject(object, &kUrlKey, i, zu::OBJC_ASSOCIATION_RETAIN);
  }
}

TEST(AssociatedObjectsTest, ThreadsSetAndReadOneObjectSafely) {
  const auto object = std::make_shared<zu::Object>();
  std::vector<std::thread> threads;
  threads.reserve(4);
  std::atomic<int> wrong{0};
  static const std::array<char, 4> keys{};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&object, &wrong, t] {
      const void* key = &keys.at(static_cast<std::size_t>(t));
      for (int n = 0; n < 2000; ++n) {
        zu::objc_setAssociatedObject(object, key, zu::Value(zu::NSNumber::numberWithInteger(n)),
                                     zu::OBJC_ASSOCIATION_RETAIN);
        const auto number = zu::NSNumber::from(zu::objc_getAssociatedObject(object, key));
        if (!number || number->integerValue() != n) ++wrong;
        zu::objc_getAssociatedObject(object, &kUrlKey);
      }
    });
  }
  for (auto& thread : threads)
    thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
