// View controllers: appearance messages sent through the runtime on presentation, and the mail
// delegate message.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/MainLoop.h"
#include "tests/support/StderrCapture.h"
#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/ui/MailComposeDelegate.h"
#include "zukit/platform/ui/UIViewController.h"

namespace {

using Events = std::vector<std::string>;

// A controller whose "viewDidAppear:" is its own runtime entry (which calls the inherited one),
// and whose other appearance methods are C++ overrides reached through the base entries.
class VcScreen : public zu::UIViewController {
 public:
  ZU_RUNTIME_CLASS(VcScreen, zu::UIViewController, &addMethods)

  explicit VcScreen(std::string name, Events* events) : _name(std::move(name)), _events(events) {}

  void note(const std::string& event) { _events->push_back(_name + " " + event); }

  void viewWillAppear(bool animated) override {
    note(std::string("willAppear ") + (animated ? "YES" : "NO"));
    UIViewController::viewWillAppear(animated);
  }
  void viewWillDisappear(bool animated) override {
    note("willDisappear");
    UIViewController::viewWillDisappear(animated);
  }
  void viewDidDisappear(bool animated) override {
    note("didDisappear");
    UIViewController::viewDidDisappear(animated);
  }

 private:
  static void addMethods(zu::Class* cls);

  std::string _name;
  Events* _events;
};

void screenDidAppear(zu::Object* self, zu::SEL selector, bool animated) {
  auto& screen = dynamic_cast<VcScreen&>(*self);
  screen.note("didAppear (own entry)");
  zu::objc_msgSendSuper<void, bool>(self, VcScreen::staticClass()->superclass(), selector,
                                    animated);
}

void VcScreen::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::sel_registerName("viewDidAppear:"), zu::imp(&screenDidAppear));
}

using State = zu::UIViewController::AppearanceState;

TEST(UIViewControllerTest, PresentationSendsAppearanceMessagesThroughTheRuntime) {
  Events events;
  const auto home = std::make_shared<VcScreen>("home", &events);
  const auto sheet = std::make_shared<VcScreen>("sheet", &events);
  bool completed = false;
  home->presentViewController(sheet, false, [&completed] { completed = true; });
  EXPECT_EQ(events, (Events{"home willDisappear", "sheet willAppear NO",
                            "sheet didAppear (own entry)", "home didDisappear"}));
  EXPECT_TRUE(completed);
  EXPECT_EQ(sheet->appearanceState(), State::Appeared);
  EXPECT_EQ(home->appearanceState(), State::Disappeared);
  EXPECT_EQ(home->presentedViewController(), sheet);
  EXPECT_EQ(sheet->presentingViewController(), home);

  // Dismissing from the presented controller asks its presenter, and reverses the messages.
  events.clear();
  sheet->dismissViewControllerAnimated(false);
  EXPECT_EQ(events, (Events{"sheet willDisappear", "home willAppear NO", "sheet didDisappear",
                            "home didAppear (own entry)"}));
  EXPECT_EQ(home->presentedViewController(), nullptr);
  EXPECT_EQ(sheet->presentingViewController(), nullptr);
  EXPECT_EQ(home->appearanceState(), State::Appeared);

  // Animated, the second half comes on the main run loop.
  events.clear();
  completed = false;
  home->presentViewController(sheet, true, [&completed] { completed = true; });
  EXPECT_EQ(events, (Events{"home willDisappear", "sheet willAppear YES"}));
  EXPECT_EQ(sheet->appearanceState(), State::Appearing);
  ASSERT_TRUE(zukit::test::pumpMainUntil([&completed] { return completed; }));
  EXPECT_EQ(events.size(), 4U);
  EXPECT_EQ(events[2], "sheet didAppear (own entry)");
  completed = false;
  home->dismissViewControllerAnimated(true, [&completed] { completed = true; });
  ASSERT_TRUE(zukit::test::pumpMainUntil([&completed] { return completed; }));
  EXPECT_EQ(home->presentedViewController(), nullptr);
  // Nothing left to dismiss: nothing happens.
  events.clear();
  home->dismissViewControllerAnimated(false, [&completed] { completed = false; });
  EXPECT_TRUE(events.empty());
  EXPECT_TRUE(completed);
}

TEST(UIViewControllerTest, ImpossiblePresentationsAreRefusedWithAConsoleLine) {
  Events events;
  const auto home = std::make_shared<VcScreen>("home", &events);
  const auto first = std::make_shared<VcScreen>("first", &events);
  const auto second = std::make_shared<VcScreen>("second", &events);
  home->presentViewController(first, false);
  events.clear();
  const zukit::test::StderrCapture console;
  home->presentViewController(second, false);
  home->presentViewController(nullptr, false);
  home->presentViewController(home, false);
  second->presentViewController(first, false);
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(home->presentedViewController(), first);
  EXPECT_EQ(second->presentedViewController(), nullptr);
  const std::string text = console.text();
  EXPECT_NE(text.find("Attempt to present " + second->description() + " on " + home->description() +
                      " which is already presenting " + first->description()),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("Attempt to present (null) on " + home->description()), std::string::npos);
  EXPECT_NE(
      text.find("Attempt to present " + first->description() + " on " + second->description() +
                " which is already presented by " + home->description()),
      std::string::npos);
}

TEST(UIViewControllerTest, AppearanceFunctionsSendThroughTheRuntime) {
  Events events;
  const auto screen = std::make_shared<VcScreen>("screen", &events);
  zu::viewControllerDidAppear(screen, true);
  EXPECT_EQ(events, Events{"screen didAppear (own entry)"});
  EXPECT_EQ(screen->appearanceState(), State::Appeared);
  zu::viewControllerWillDisappear(screen, false);
  EXPECT_EQ(screen->appearanceState(), State::Disappearing);
  zu::viewControllerDidDisappear(screen, false);
  zu::viewControllerWillAppear(nullptr, false);

  // A plain controller answers through the base entries.
  const auto plain = std::make_shared<zu::UIViewController>();
  zu::viewControllerDidAppear(plain, false);
  EXPECT_EQ(plain->appearanceState(), State::Appeared);
  EXPECT_EQ(zu::object_getClassName(plain), "UIViewController");
}

// A delegate that answers the mail composer's message.
class VcMailDelegate : public zu::UIViewController {
 public:
  ZU_RUNTIME_CLASS(VcMailDelegate, zu::UIViewController, &addMethods)

  zu::Value controller;
  zu::NSInteger result = -1;
  zu::Value error;

 private:
  static void addMethods(zu::Class* cls);
};

void mailDidFinish(zu::Object* self, zu::SEL /*selector*/, const zu::Value& controller,
                   zu::NSInteger result, const zu::Value& error) {
  auto& delegate = dynamic_cast<VcMailDelegate&>(*self);
  delegate.controller = controller;
  delegate.result = result;
  delegate.error = error;
}

void VcMailDelegate::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::mailComposeControllerDidFinishSelector(), zu::imp(&mailDidFinish));
}

TEST(UIViewControllerTest, TheMailDelegateMessageGoesOnlyToDelegatesThatAnswerIt) {
  EXPECT_EQ(zu::NSStringFromSelector(zu::mailComposeControllerDidFinishSelector()),
            "mailComposeController:didFinishWithResult:error:");
  const auto delegate = std::make_shared<VcMailDelegate>();
  const auto composer = std::make_shared<zu::UIViewController>();
  const auto error = zu::NSError::errorWithDomain("MFMailComposeErrorDomain", 1);
  zu::mailComposeControllerDidFinish(delegate, zu::Value(composer), 3, zu::Value(error));
  EXPECT_EQ(delegate->controller.asObject(), composer);
  EXPECT_EQ(delegate->result, 3);
  EXPECT_EQ(delegate->error.asObject(), error);

  const zukit::test::StderrCapture console;
  zu::mailComposeControllerDidFinish(std::make_shared<zu::UIViewController>(), zu::Value(composer),
                                     2, zu::Value());
  zu::mailComposeControllerDidFinish(nullptr, zu::Value(composer), 2, zu::Value());
  EXPECT_EQ(console.text(), "") << "a delegate without the method is skipped quietly";
}

}  // namespace
