// The four hook points: lookups by name, what each replacement function passes to callbacks,
// and an empty slot suppressing the call.

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/hooks/HookTestSupport.h"
#include "zukit/hooks/ZuHookPoints.h"
#include "zukit/hooks/ZuSwizzler.h"
#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/runtime/NSNumber.h"
#include "zukit/platform/ui/MailComposeDelegate.h"
#include "zukit/platform/ui/UIViewController.h"

namespace {

using Events = std::vector<std::string>;
using zukit::test::recordOn;

TEST(ZuHookPointsTest, LookupsMatchExactNamesInTheTableOrder) {
  const char* names[] = {"saveUploadInfo:event:handler:", "viewDidAppear:", "viewWillDisappear:",
                         "mailComposeController:didFinishWithResult:error:"};
  ZuSwizzleSlot* slots[] = {&saveUploadInfoSwizzle, &UIViewControllerViewDidAppearSwizzle,
                            &UIViewControllerViewWillDisappearSwizzle,
                            &MailComposeControllerDidFinishWithResultSwizzle};
  std::set<zu::IMP> replacements;
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(zuGetSwizzleByName(names[i]), slots[i]) << names[i];
    EXPECT_EQ(zuGetSwizzleByName(std::string(names[i])), slots[i]);
    const zu::IMP replacement = zuGetSwizzleIMPBySELName(names[i]);
    ASSERT_NE(replacement, nullptr);
    replacements.insert(replacement);
  }
  EXPECT_EQ(replacements.size(), 4U);
  EXPECT_EQ(zuGetSwizzleIMPBySELName("viewDidAppear:"),
            zu::imp(&zuSwizzledMethodUIViewControllerViewDidAppear));
  EXPECT_STREQ(zuGetSwizzleIMPBySELName("mailComposeController:didFinishWithResult:error:")->types,
               "v@:@q@");
  EXPECT_STREQ(zuGetSwizzleIMPBySELName("saveUploadInfo:event:handler:")->types, "v@:@@@");

  for (const zu::Value& other :
       {zu::Value("ViewDidAppear:"), zu::Value("viewDidAppear"), zu::Value("viewDidAppear: "),
        zu::Value("viewWillAppear:"), zu::Value("SAVEUPLOADINFO:EVENT:HANDLER:"), zu::Value(""),
        zu::Value(), zu::Value::null(), zu::Value(1)}) {
    EXPECT_EQ(zuGetSwizzleIMPBySELName(other), nullptr) << other.description();
    EXPECT_EQ(zuGetSwizzleByName(other), nullptr) << other.description();
  }
}

// A screen that leaves its appearance state behind before any callback sees it.
class HpScreen : public zu::UIViewController {
 public:
  ZU_RUNTIME_CLASS(HpScreen, zu::UIViewController)
};

struct AppearanceCall {
  zu::Object* receiver;
  std::string selector;
  zu::Value animated;
  zu::UIViewController::AppearanceState stateSeen;
};

std::shared_ptr<ZuBlock> appearanceRecorder(std::vector<AppearanceCall>* calls) {
  return ZuBlock::make<ZuViewAppearanceBlock>(
      [calls](zu::Object* receiver, zu::SEL selector, const zu::Value& animated) {
        calls->push_back(
            AppearanceCall{receiver, zu::NSStringFromSelector(selector), animated,
                           dynamic_cast<zu::UIViewController&>(*receiver).appearanceState()});
      });
}

TEST(ZuHookPointsTest, AppearanceCallbacksGetTheFlagBoxedAfterTheOwnImplementation) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewDidAppearSwizzle);
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewWillDisappearSwizzle);
  std::vector<AppearanceCall> calls;
  ZuSwizzler::swizzleSelector(zu::sel_registerName("viewDidAppear:"), HpScreen::staticClass(),
                              appearanceRecorder(&calls), "first");
  ZuSwizzler::swizzleSelector(zu::sel_registerName("viewDidAppear:"), HpScreen::staticClass(),
                              appearanceRecorder(&calls), "second");
  ZuSwizzler::swizzleSelector(zu::sel_registerName("viewWillDisappear:"), HpScreen::staticClass(),
                              appearanceRecorder(&calls), "first");

  const auto home = std::make_shared<HpScreen>();
  const auto sheet = std::make_shared<HpScreen>();
  home->presentViewController(sheet, false);
  // home: viewWillDisappear: (one callback); sheet: viewDidAppear: (two callbacks).
  ASSERT_EQ(calls.size(), 3U);
  EXPECT_EQ(calls[0].receiver, home.get());
  EXPECT_EQ(calls[0].selector, "viewWillDisappear:");
  EXPECT_EQ(calls[0].stateSeen, zu::UIViewController::AppearanceState::Disappearing);
  for (int i = 1; i < 3; ++i) {
    const AppearanceCall& call = calls[static_cast<std::size_t>(i)];
    EXPECT_EQ(call.receiver, sheet.get());
    EXPECT_EQ(call.selector, "viewDidAppear:");
    // The screen's own implementation ran first.
    EXPECT_EQ(call.stateSeen, zu::UIViewController::AppearanceState::Appeared);
    ASSERT_TRUE(call.animated.isObject());
    EXPECT_FALSE(call.animated == zu::Value(false)) << "a number object, not a plain boolean";
    EXPECT_FALSE(zu::NSNumber::from(call.animated)->boolValue());
  }
  for (const AppearanceCall& call : calls) {
    EXPECT_EQ(call.animated.description(), "0");
  }

  calls.clear();
  zu::viewControllerDidAppear(sheet, true);
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_TRUE(zu::NSNumber::from(calls[0].animated)->boolValue());
  EXPECT_EQ(calls[1].animated.description(), "1");
  // A plain controller's entry was never replaced.
  calls.clear();
  zu::viewControllerDidAppear(std::make_shared<zu::UIViewController>(), true);
  EXPECT_TRUE(calls.empty());
}

TEST(ZuHookPointsTest, TheReceiverLivesUntilTheLastCallbackReturns) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewDidAppearSwizzle);
  auto screen = std::make_shared<HpScreen>();
  const std::weak_ptr<HpScreen> watch = screen;
  std::vector<bool> stillShown;
  // Whichever callback runs first drops the host's last reference to the screen.
  const auto dropper = ZuBlock::make<ZuViewAppearanceBlock>(
      [&](zu::Object* receiver, zu::SEL /*selector*/, const zu::Value& /*animated*/) {
        screen.reset();
        stillShown.push_back(!watch.expired() &&
                             dynamic_cast<HpScreen&>(*receiver).appearanceState() ==
                                 zu::UIViewController::AppearanceState::Appeared);
      });
  ZuSwizzler::swizzleSelector(zu::sel_registerName("viewDidAppear:"), HpScreen::staticClass(),
                              dropper, "drops the screen");
  ZuSwizzler::swizzleSelector(zu::sel_registerName("viewDidAppear:"), HpScreen::staticClass(),
                              dropper, "looks at the screen");
  zu::viewControllerDidAppear(screen, true);
  EXPECT_EQ(stillShown, (std::vector<bool>{true, true}));
  EXPECT_TRUE(watch.expired()) << "released once the hooked call returned";
}

// A delegate whose own method records the raw result.
class HpMailDelegate : public zukit::test::HookRecorder {
 public:
  ZU_RUNTIME_CLASS(HpMailDelegate, zukit::test::HookRecorder, &addMethods)

 private:
  static void addMethods(zu::Class* cls);
};

void delegateDidFinish(zu::Object* self, zu::SEL /*selector*/, const zu::Value& /*controller*/,
                       zu::NSInteger result, const zu::Value& /*error*/) {
  recordOn(self, "own result " + std::to_string(result));
}

void HpMailDelegate::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::mailComposeControllerDidFinishSelector(),
                      zu::imp(&delegateDidFinish));
}

TEST(ZuHookPointsTest, TheMailResultReachesCallbacksAsANumberObject) {
  ZU_REQUIRE_EMPTY_SLOT(MailComposeControllerDidFinishWithResultSwizzle);
  std::vector<zu::Value> results;
  const auto composer = std::make_shared<zu::UIViewController>();
  const auto error = zu::NSError::errorWithDomain("MFMailComposeErrorDomain", 2);
  int codeMatches = 0;
  const auto handler = ZuBlock::make<ZuMailComposeResultBlock>(
      [&](zu::Object* receiver, zu::SEL selector, const zu::Value& controller,
          const zu::Value& result, const zu::Value& passedError) {
        recordOn(receiver, "callback");
        EXPECT_EQ(selector, zu::mailComposeControllerDidFinishSelector());
        EXPECT_EQ(controller.asObject(), composer);
        EXPECT_EQ(passedError.asObject(), error);
        // What a handler comparing the argument itself with the result codes sees.
        for (int code = 0; code <= 3; ++code) {
          if (result == zu::Value(code)) ++codeMatches;
        }
        results.push_back(result);
      });
  ZuSwizzler::swizzleSelector(zu::mailComposeControllerDidFinishSelector(),
                              HpMailDelegate::staticClass(), handler,
                              "MFMailComposeViewControllerDelegate");
  // Registering again under the same name, as every mail sent does, keeps one callback.
  ZuSwizzler::swizzleSelector(zu::mailComposeControllerDidFinishSelector(),
                              HpMailDelegate::staticClass(), handler,
                              "MFMailComposeViewControllerDelegate");

  const auto delegate = std::make_shared<HpMailDelegate>();
  zu::mailComposeControllerDidFinish(delegate, zu::Value(composer), 2, zu::Value(error));
  EXPECT_EQ(delegate->events, (Events{"own result 2", "callback"}));
  ASSERT_EQ(results.size(), 1U);
  EXPECT_TRUE(results[0].isObject());
  EXPECT_EQ(zu::NSNumber::from(results[0])->integerValue(), 2);
  EXPECT_EQ(results[0].description(), "2");
  EXPECT_EQ(codeMatches, 0);

  zu::mailComposeControllerDidFinish(delegate, zu::Value(composer), 1000, zu::Value(error));
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(zu::NSNumber::from(results[1])->integerValue(), 1000);
}

// A host class of the client SDK with its own upload method.
class HpUploader : public zukit::test::HookRecorder {
 public:
  ZU_RUNTIME_CLASS(HpUploader, zukit::test::HookRecorder, &addMethods)

 private:
  static void addMethods(zu::Class* cls);
};

void saveUploadInfo(zu::Object* self, zu::SEL /*selector*/, const zu::Value& info,
                    const zu::Value& event, const zu::Value& /*handler*/) {
  recordOn(self, "own " + info.description() + " " + event.description());
}

void HpUploader::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::sel_registerName("saveUploadInfo:event:handler:"),
                      zu::imp(&saveUploadInfo));
}

class HpUploaderWithoutMethod : public zukit::test::HookRecorder {
 public:
  ZU_RUNTIME_CLASS(HpUploaderWithoutMethod, zukit::test::HookRecorder)
};

TEST(ZuHookPointsTest, UploadArgumentsPassThroughAndAMissingOriginalIsSkipped) {
  ZU_REQUIRE_EMPTY_SLOT(saveUploadInfoSwizzle);
  const zu::SEL selector = zu::sel_registerName("saveUploadInfo:event:handler:");
  const auto handlerObject = std::make_shared<zu::Object>();
  zu::Value seen[3];
  ZuSwizzler::swizzleSelector(
      selector, HpUploader::staticClass(),
      ZuBlock::make<ZuSaveUploadInfoBlock>([&seen](zu::Object* receiver, zu::SEL /*selector*/,
                                                   const zu::Value& first, const zu::Value& second,
                                                   const zu::Value& third) {
        recordOn(receiver, "callback");
        seen[0] = first;
        seen[1] = second;
        seen[2] = third;
      }),
      "upload");
  // A callback of another signature is skipped with a console line instead of being called
  // with the wrong arguments.
  ZuSwizzler::swizzleSelector(
      selector, HpUploader::staticClass(),
      ZuBlock::make<ZuViewAppearanceBlock>(
          [](zu::Object* receiver, zu::SEL, const zu::Value&) { recordOn(receiver, "wrong"); }),
      "mismatched");

  const auto uploader = std::make_shared<HpUploader>();
  const zu::Dictionary info{{"id", zu::Value(7)}};
  const zukit::test::StderrCapture console;
  zu::objc_msgSend<void, const zu::Value&, const zu::Value&, const zu::Value&>(
      uploader, selector, zu::Value(info), zu::Value("login"), zu::Value(handlerObject));
  EXPECT_EQ(uploader->events, (Events{"own {\n    id = 7;\n} login", "callback"}));
  EXPECT_EQ(seen[0], zu::Value(info));
  EXPECT_EQ(seen[1], zu::Value("login"));
  EXPECT_EQ(seen[2].asObject(), handlerObject);
  EXPECT_NE(console.text().find("Swizzle callback mismatched for saveUploadInfo:event:handler: "
                                "takes void (zu::Object*, zu::objc_selector const*, zu::Value "
                                "const&); skipped"),
            std::string::npos)
      << console.text();

  // Hooked where the method is missing: the record saves the existing record's original (the
  // uploader's), and a call runs it and the one new callback. Without any saved implementation
  // the upload hook point simply skips it, unlike the view-controller ones.
  ZuSwizzler::swizzleSelector(
      selector, HpUploaderWithoutMethod::staticClass(),
      ZuBlock::make<ZuSaveUploadInfoBlock>(
          [](zu::Object* receiver, zu::SEL, const zu::Value&, const zu::Value&, const zu::Value&) {
            recordOn(receiver, "late callback");
          }),
      "late");
  EXPECT_EQ(saveUploadInfoSwizzle.get()->originalMethod(), zu::imp(&saveUploadInfo));
  const auto bare = std::make_shared<HpUploaderWithoutMethod>();
  zu::objc_msgSend<void, const zu::Value&, const zu::Value&, const zu::Value&>(
      bare, selector, zu::Value(1), zu::Value(2), zu::Value());
  EXPECT_EQ(bare->events, (Events{"own 1 2", "late callback"}));
  saveUploadInfoSwizzle.get()->setOriginalMethod(nullptr);
  bare->events.clear();
  zu::objc_msgSend<void, const zu::Value&, const zu::Value&, const zu::Value&>(
      bare, selector, zu::Value(1), zu::Value(2), zu::Value());
  EXPECT_EQ(bare->events, Events{"late callback"});
  EXPECT_EQ(console.text().find("refused a call"), std::string::npos);
}

TEST(ZuHookPointsTest, AnEmptySlotSuppressesTheWholeCall) {
  ZU_REQUIRE_EMPTY_SLOT(MailComposeControllerDidFinishWithResultSwizzle);
  // The replacement put in place by hand, without an install to fill the slot.
  zu::Method entry = zu::class_getInstanceMethod(HpMailDelegate::staticClass(),
                                                 zu::mailComposeControllerDidFinishSelector());
  zu::method_setImplementation(
      entry, zuGetSwizzleIMPBySELName("mailComposeController:didFinishWithResult:error:"));
  const zukit::test::StderrCapture console;
  const auto delegate = std::make_shared<HpMailDelegate>();
  zu::mailComposeControllerDidFinish(delegate, zu::Value(), 0, zu::Value());
  EXPECT_TRUE(delegate->events.empty()) << "neither the own implementation nor anything else";
  EXPECT_EQ(console.text(), "");
  zu::method_setImplementation(entry, zu::imp(&delegateDidFinish));
  zu::mailComposeControllerDidFinish(delegate, zu::Value(), 0, zu::Value());
  EXPECT_EQ(delegate->events, Events{"own result 0"});
}

}  // namespace
