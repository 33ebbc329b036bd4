// The tour's interception section: a host SDK attaches callbacks to a screen's appearance and to
// the mail composer's result, then the platform shows the screen.

#include <string>

#include "apps/zukit-demo/DemoSection.h"
#include "zukit/hooks/ZuHookPoints.h"
#include "zukit/hooks/ZuSwizzler.h"
#include "zukit/platform/runtime/NSNumber.h"
#include "zukit/platform/ui/MailComposeDelegate.h"
#include "zukit/platform/ui/UIViewController.h"

namespace zukit::demo {

namespace {

// The host app's profile screen, with its own "viewDidAppear:".
class DemoProfileController : public zu::UIViewController {
 public:
  ZU_RUNTIME_CLASS(DemoProfileController, zu::UIViewController, &addMethods)

 private:
  static void addMethods(zu::Class* cls);
};

void profileDidAppear(zu::Object* self, zu::SEL selector, bool animated) {
  sayf("  the profile screen's own viewDidAppear:%@", animated ? "YES" : "NO");
  zu::objc_msgSendSuper<void, bool>(self, DemoProfileController::staticClass()->superclass(),
                                    selector, animated);
}

void DemoProfileController::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::sel_registerName("viewDidAppear:"), zu::imp(&profileDidAppear));
}

// The host's mail delegate, answering the composer's result.
class DemoMailDelegate : public zu::UIViewController {
 public:
  ZU_RUNTIME_CLASS(DemoMailDelegate, zu::UIViewController, &addMethods)

 private:
  static void addMethods(zu::Class* cls);
};

void delegateDidFinish(zu::Object* /*self*/, zu::SEL /*selector*/, const zu::Value& /*controller*/,
                       zu::NSInteger result, const zu::Value& /*error*/) {
  sayf("  the delegate's own method sees the plain result %ld", result);
}

void DemoMailDelegate::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::mailComposeControllerDidFinishSelector(),
                      zu::imp(&delegateDidFinish));
}

void showAppearanceHook(DemoContext& /*context*/) {
  const zu::SEL didAppear = zu::sel_registerName("viewDidAppear:");
  ZuSwizzler::swizzleSelector(
      didAppear, DemoProfileController::staticClass(),
      ZuBlock::make<ZuViewAppearanceBlock>(
          [](zu::Object* receiver, zu::SEL selector, const zu::Value& animated) {
            sayf("  callback \"PageView\": %@ %@, animated boxed as %@ (an %@ object)",
                 zu::object_getClassName(receiver), zu::NSStringFromSelector(selector), animated,
                 zu::object_getClassName(animated.asObject()));
          }),
      "PageView");
  const zu::IMP installed =
      zu::class_getMethodImplementation(DemoProfileController::staticClass(), didAppear);
  sayf("hooked viewDidAppear: on DemoProfileController; its entry now runs the replacement: %@",
       installed == zuGetSwizzleIMPBySELName("viewDidAppear:") ? "yes" : "no");

  const auto root = std::make_shared<zu::UIViewController>();
  const auto profile = std::make_shared<DemoProfileController>();
  bool shown = false;
  say("presenting the profile screen, animated:");
  root->presentViewController(profile, true, [&shown] { shown = true; });
  waitOnMainLoop([&shown] { return shown; });
  say("the hook's record:");
  say(UIViewControllerViewDidAppearSwizzle.get()->description());

  ZuSwizzler::unswizzleSelector(didAppear, nullptr, "PageView");
  say("after removing \"PageView\", showing the screen again runs only its own method:");
  zu::viewControllerDidAppear(profile, false);
  ZuSwizzler::swizzleSelector(
      zu::sel_registerName("viewWillAppear:"), DemoProfileController::staticClass(),
      ZuBlock::make<ZuViewAppearanceBlock>([](zu::Object*, zu::SEL, const zu::Value&) {}),
      "ignored");
  sayf("viewWillAppear: is no hook point: refused quietly, its entry unchanged: %@",
       zu::class_getMethodImplementation(DemoProfileController::staticClass(),
                                         zu::sel_registerName("viewWillAppear:")) ==
               zu::class_getMethodImplementation(zu::UIViewController::staticClass(),
                                                 zu::sel_registerName("viewWillAppear:"))
           ? "yes"
           : "no");
}

void showMailHook(DemoContext& /*context*/) {
  ZuSwizzler::swizzleSelector(
      zu::mailComposeControllerDidFinishSelector(), DemoMailDelegate::staticClass(),
      ZuBlock::make<ZuMailComposeResultBlock>([](zu::Object*, zu::SEL, const zu::Value&,
                                                 const zu::Value& result, const zu::Value&) {
        sayf("  callback: result %@, boxed: equal to the plain code 2? %@; unboxed: %ld", result,
             result == zu::Value(2) ? "yes" : "no", zu::NSNumber::from(result)->integerValue());
      }),
      "MFMailComposeViewControllerDelegate");
  say("the composer reports \"sent\" (2) to its delegate:");
  zu::mailComposeControllerDidFinish(std::make_shared<DemoMailDelegate>(), zu::Value(), 2,
                                     zu::Value());
}

const DemoRegistration kAppearance(40, "Interception: a screen's appearance", &showAppearanceHook);
const DemoRegistration kMail(41, "Interception: the mail composer's result", &showMailHook);

}  // namespace

}  // namespace zukit::demo
