#include "zukit/platform/runtime/ClassCatalog.h"

#include <array>
#include <mutex>

#include "zukit/platform/runtime/Runtime.h"

namespace zu::detail {

namespace {

struct ValueClass {
  const char* name;
  const char* superclass;
};

// Superclasses before subclasses. What each stands for: text, bytes, dates, arrays and
// dictionaries are Values (value_getClass() names their classes); the callback map of a hook
// record is a ZuBlockMap; run loops are zu::RunLoop.
constexpr std::array<ValueClass, 12> kValueClasses{{
    {"NSString", "NSObject"},
    {"NSMutableString", "NSString"},
    {"NSData", "NSObject"},
    {"NSMutableData", "NSData"},
    {"NSDate", "NSObject"},
    {"NSArray", "NSObject"},
    {"NSMutableArray", "NSArray"},
    {"NSDictionary", "NSObject"},
    {"NSMutableDictionary", "NSDictionary"},
    {"NSNull", "NSObject"},
    {"NSMapTable", "NSObject"},
    {"NSRunLoop", "NSObject"},
}};

// Set on the thread that registers the catalog, so that a lookup from a class's setup does not
// wait for the registration it is part of.
thread_local bool registeringCatalog = false;

}  // namespace

void registerValueClasses() {
  for (const ValueClass& entry : kValueClasses)
    objc_registerClass(entry.name, objc_getClass(entry.superclass));
}

void ensureClassCatalog() {
  static std::once_flag once;
  if (registeringCatalog) return;
  std::call_once(once, [] {
    registeringCatalog = true;
    rootClass();
    registerValueClasses();
    registerLibraryClasses();
    registeringCatalog = false;
  });
}

}  // namespace zu::detail
