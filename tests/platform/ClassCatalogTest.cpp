// Every class the library defines or stands in for is known to the runtime by name, with the
// platform's superclass chain, from the first lookup on.

#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Probe.h"
#include "tests/support/PublicHeaders.h"
#include "zukit/core/ZuLogger.h"
#include "zukit/network/ZuNetworkConfig.h"
#include "zukit/platform/network/NSMutableURLRequest.h"
#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/runtime/NSNumber.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/storage/ZuImageDiskCache.h"

namespace {

using zukit::test::HeaderDeclaration;

// "A < B < NSObject" for the class named `name`, or "unknown".
std::string chainOf(const std::string& name) {
  const zu::Class* cls = zu::NSClassFromString(zu::Value(name));
  if (cls == nullptr) return "unknown";
  std::string chain = cls->name();
  for (cls = cls->superclass(); cls != nullptr; cls = cls->superclass())
    chain += " < " + cls->name();
  return chain;
}

TEST(ClassCatalogTest, EveryClassOfThePublicHeadersIsKnownByName) {
  static const std::regex runtimeName("(Zu|NS|UI|WK|CT|MF)[A-Za-z0-9_]*");
  std::vector<std::string> names;
  for (const std::string& header : zukit::test::umbrellaHeaders()) {
    for (const HeaderDeclaration& declaration : zukit::test::headerDeclarations(header)) {
      const std::string name =
          declaration.qualifiedName.substr(declaration.qualifiedName.rfind(':') + 1);
      if (declaration.kind == HeaderDeclaration::Kind::Class && !declaration.isTemplate &&
          std::regex_match(name, runtimeName)) {
        names.push_back(name);
      }
    }
  }
  ASSERT_GT(names.size(), 40U) << "the public headers could not be read";
  for (const std::string& name : names) {
    const std::string chain = chainOf(name);
    EXPECT_TRUE(chain.starts_with(name + " <") && chain.ends_with(" < NSObject")) << chain;
  }
  // And the platform's classes that the library's values stand for.
  for (const char* name : {"NSObject", "NSString", "NSMutableString", "NSData", "NSMutableData",
                           "NSDate", "NSArray", "NSMutableArray", "NSDictionary",
                           "NSMutableDictionary", "NSNull", "NSMapTable", "NSRunLoop"}) {
    EXPECT_NE(zu::NSClassFromString(zu::Value(name)), nullptr) << name;
  }
  EXPECT_EQ(zu::NSClassFromString(zu::Value("ZuNoSuchClass")), nullptr);
  EXPECT_EQ(zu::NSClassFromString(zu::Value("nsstring")), nullptr) << "names are case-sensitive";
}

TEST(ClassCatalogTest, ClassesFollowThePlatformsSuperclassChains) {
  EXPECT_EQ(chainOf("NSNumber"), "NSNumber < NSValue < NSObject");
  EXPECT_EQ(chainOf("NSMutableString"), "NSMutableString < NSString < NSObject");
  EXPECT_EQ(chainOf("NSMutableDictionary"), "NSMutableDictionary < NSDictionary < NSObject");
  EXPECT_EQ(chainOf("NSMutableArray"), "NSMutableArray < NSArray < NSObject");
  EXPECT_EQ(chainOf("NSMutableURLRequest"), "NSMutableURLRequest < NSURLRequest < NSObject");
  EXPECT_EQ(chainOf("NSHTTPURLResponse"), "NSHTTPURLResponse < NSURLResponse < NSObject");
  EXPECT_EQ(chainOf("NSURLSessionDownloadTask"),
            "NSURLSessionDownloadTask < NSURLSessionTask < NSObject");
  EXPECT_EQ(chainOf("ZuImageDiskCache"), "ZuImageDiskCache < ZuDiskCache < NSObject");
  EXPECT_EQ(chainOf("ZuLogger"), "ZuLogger < NSObject");
  EXPECT_EQ(chainOf("NSObject"), "NSObject");
}

TEST(ClassCatalogTest, ObjectsAndValuesAreKindsOfTheirClasses) {
  const auto logger = ZuLogger::getInstance();
  EXPECT_EQ(zu::object_getClassName(logger), "ZuLogger");
  EXPECT_TRUE(zu::isKindOfClass(logger, zu::NSClassFromString(zu::Value("ZuLogger"))));
  EXPECT_TRUE(zu::isKindOfClass(logger, zu::rootClass()));
  EXPECT_FALSE(zu::isKindOfClass(logger, zu::NSClassFromString(zu::Value("ZuNetwork"))));

  const auto request =
      zu::NSMutableURLRequest::requestWithURL(zu::NSURL::URLWithString("http://a"));
  ASSERT_NE(request, nullptr);
  EXPECT_TRUE(zu::isKindOfClass(request, zu::NSClassFromString(zu::Value("NSURLRequest"))));
  EXPECT_FALSE(
      zu::isKindOfClass(zu::NSURLRequest::requestWithURL(zu::NSURL::URLWithString("http://a")),
                        zu::NSClassFromString(zu::Value("NSMutableURLRequest"))));
  EXPECT_TRUE(zu::isKindOfClass(std::make_shared<ZuNetworkConfig>(), zu::rootClass()));

  const auto className = [](const zu::Value& value) {
    return zu::NSStringFromClass(zu::value_getClass(value));
  };
  EXPECT_EQ(className(zu::Value("text")), "NSString");
  EXPECT_EQ(className(zu::Value(3)), "NSNumber");
  EXPECT_EQ(className(zu::Value(true)), "NSNumber");
  EXPECT_EQ(className(zu::Value(zu::Data{1, 2})), "NSData");
  EXPECT_EQ(className(zu::Value(zu::Date::date())), "NSDate");
  EXPECT_EQ(className(zu::Value(zu::Array{})), "NSArray");
  EXPECT_EQ(className(zu::Value(zu::Dictionary{})), "NSDictionary");
  EXPECT_EQ(className(zu::Value::null()), "NSNull");
  EXPECT_EQ(className(zu::Value(zu::NSNumber::numberWithInteger(7))), "NSNumber");
  EXPECT_EQ(className(zu::Value(logger)), "ZuLogger");
  EXPECT_EQ(zu::value_getClass(zu::Value()), nullptr);
}

zu::Value catalogDescription(zu::Object* /*self*/, zu::SEL /*selector*/) {
  return zu::Value("described by NSURLRequest");
}

TEST(ClassCatalogTest, SubclassesInheritMethodsAddedToTheirSuperclasses) {
  const zu::SEL selector = zu::sel_registerName("catalogDescription");
  ASSERT_TRUE(zu::class_addMethod(zu::NSClassFromString(zu::Value("NSURLRequest")), selector,
                                  zu::imp(&catalogDescription)));
  EXPECT_NE(zu::class_getInstanceMethod(zu::NSClassFromString(zu::Value("NSMutableURLRequest")),
                                        selector),
            nullptr);
  const auto request =
      zu::NSMutableURLRequest::requestWithURL(zu::NSURL::URLWithString("http://a"));
  EXPECT_EQ(zu::performSelector(request, selector), zu::Value("described by NSURLRequest"));
  EXPECT_FALSE(zu::respondsToSelector(zu::NSNumber::numberWithInteger(1), selector));
}

// A class whose name was registered by name alone before its C++ class first registered it.
bool lateSetupRan = false;
void addLateMethods(zu::Class* /*cls*/) {
  lateSetupRan = true;
}
class CatalogLateClass : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(CatalogLateClass, zu::Object, &addLateMethods)
};

TEST(ClassCatalogTest, AClassNamedEarlyStillGetsItsMethodsWhenItsClassRegisters) {
  zu::Class* early = zu::objc_registerClass("CatalogLateClass", zu::rootClass());
  EXPECT_FALSE(lateSetupRan);
  EXPECT_EQ(CatalogLateClass::staticClass(), early);
  EXPECT_TRUE(lateSetupRan);
  lateSetupRan = false;
  zu::objc_registerClass("CatalogLateClass", zu::rootClass(), &addLateMethods);
  EXPECT_FALSE(lateSetupRan) << "the setup runs once";
}

TEST(ClassCatalogTest, ClassesAreKnownFromAProcesssFirstLookup) {
  const auto classes = zukit::test::runProbe(
      {"runtime-classes", "NSNumber", "ZuLogger", "NSString", "UIViewController", "ZuSwizzler"});
  EXPECT_EQ(classes.exitCode, 0) << classes.standardError;
  EXPECT_EQ(classes.standardOutput,
            "NSNumber < NSValue < NSObject\n"
            "ZuLogger < NSObject\n"
            "NSString < NSObject\n"
            "UIViewController < UIResponder < NSObject\n"
            "ZuSwizzler < NSObject\n");

  const auto links = zukit::test::runProbe(
      {"runtime-universal-links", "ZuLogger", "NSString", "NSNumber", "NSNumber", "ZuNope"});
  EXPECT_EQ(links.exitCode, 0) << links.standardError;
  EXPECT_EQ(links.standardOutput,
            "ZuLogger: YES\nNSString: YES\nNSNumber: YES\nNSNumber: YES\nZuNope: NO\n");
}

}  // namespace
