// View controllers: appearance messages sent through the runtime on presentation, and the mail
// delegate message.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/MainLoop.h"
#include "tests/support/StderrCapture.h"
#include "tests/support/UIApplicationScope.h"
#include "zukit/platform/dispatch/ManualClock.h"
#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/ui/MailComposeDelegate.h"
#include "zukit/platform/ui/UINavigationController.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UITabBarController.h"
#include "zukit/platform/ui/UIViewController.h"
#include "zukit/platform/ui/UIWindow.h"

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

// A controller whose "loadView" and "viewDidLoad" are its own runtime entries.
class VcLoadingScreen : public zu::UIViewController {
 public:
  ZU_RUNTIME_CLASS(VcLoadingScreen, zu::UIViewController, &addMethods)
  Events events;
  bool setsView = true;

 private:
  static void addMethods(zu::Class* cls);
};

void loadingLoadView(zu::Object* self, zu::SEL /*selector*/) {
  auto& screen = dynamic_cast<VcLoadingScreen&>(*self);
  screen.events.push_back("loadView");
  if (screen.setsView) screen.setView(std::make_shared<zu::UIView>(zu::CGRectMake(0, 0, 10, 10)));
}

void loadingViewDidLoad(zu::Object* self, zu::SEL /*selector*/) {
  auto& screen = dynamic_cast<VcLoadingScreen&>(*self);
  screen.events.push_back(std::string("viewDidLoad with ") +
                          (screen.isViewLoaded() ? "a view" : "no view"));
}

void VcLoadingScreen::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::sel_registerName("loadView"), zu::imp(&loadingLoadView));
  zu::class_addMethod(cls, zu::sel_registerName("viewDidLoad"), zu::imp(&loadingViewDidLoad));
}

TEST(UIViewControllerTest, TheViewLoadsOnFirstUseThroughTheRuntime) {
  const auto screen = std::make_shared<VcLoadingScreen>();
  EXPECT_FALSE(screen->isViewLoaded());
  const auto view = screen->view();
  EXPECT_EQ(view->frame(), zu::CGRectMake(0, 0, 10, 10));
  EXPECT_EQ(screen->view(), view);
  EXPECT_EQ(screen->events, (Events{"loadView", "viewDidLoad with a view"}));
  EXPECT_EQ(view->viewController(), screen);
  EXPECT_EQ(view->nextResponder(), screen);

  // A "loadView" that sets nothing leaves a plain view the size of the screen.
  const auto lazy = std::make_shared<VcLoadingScreen>();
  lazy->setsView = false;
  EXPECT_EQ(lazy->view()->frame(), zu::UIScreen::mainScreen()->bounds());
  EXPECT_EQ(lazy->events, (Events{"loadView", "viewDidLoad with a view"}));

  // Replacing the view unlinks the old one.
  const auto replacement = std::make_shared<zu::UIView>();
  screen->setView(replacement);
  EXPECT_EQ(view->viewController(), nullptr);
  EXPECT_EQ(replacement->viewController(), screen);
}

TEST(UIViewControllerTest, ANavigationStackShowsItsTopAndTellsThoseThatComeAndGo) {
  const zukit::test::UIApplicationScope application;
  const zu::ManualClock clock;
  Events events;
  const auto home = std::make_shared<VcScreen>("home", &events);
  home->setTitle("Home");
  const auto navigation = zu::UINavigationController::initWithRootViewController(home);
  const auto window = std::make_shared<zu::UIWindow>(zu::CGRectMake(0, 0, 320, 480));
  window->setRootViewController(navigation);
  window->makeKeyAndVisible();
  EXPECT_EQ(events, (Events{"home willAppear NO", "home didAppear (own entry)"}))
      << "the navigation controller passes its appearance on to its top";
  EXPECT_EQ(home->view()->superview(), navigation->view());
  EXPECT_EQ(home->view()->frame(), zu::CGRectMake(0, 44, 320, 436)) << "below the bar";
  EXPECT_EQ(navigation->navigationBar()->frame(), zu::CGRectMake(0, 0, 320, 44));
  EXPECT_EQ(home->navigationController(), navigation);

  events.clear();
  const auto detail = std::make_shared<VcScreen>("detail", &events);
  navigation->pushViewController(detail, true);
  EXPECT_EQ(events, (Events{"home willDisappear", "detail willAppear YES"}));
  clock.advance(std::chrono::milliseconds(0));
  EXPECT_EQ(events, (Events{"home willDisappear", "detail willAppear YES", "home didDisappear",
                            "detail didAppear (own entry)"}));
  EXPECT_EQ(navigation->topViewController(), detail);
  EXPECT_EQ(navigation->viewControllers(),
            (std::vector<std::shared_ptr<zu::UIViewController>>{home, detail}));
  EXPECT_EQ(home->view()->superview(), nullptr);
  EXPECT_EQ(detail->view()->superview(), navigation->view());

  // Refused pushes change nothing.
  const zukit::test::StderrCapture console;
  navigation->pushViewController(detail, false);
  navigation->pushViewController(nullptr, false);
  EXPECT_EQ(navigation->viewControllers().size(), 2U);
  EXPECT_NE(console.text().find("is not supported"), std::string::npos);

  events.clear();
  EXPECT_EQ(navigation->popViewControllerAnimated(false), detail);
  EXPECT_EQ(events, (Events{"detail willDisappear", "home willAppear NO", "detail didDisappear",
                            "home didAppear (own entry)"}));
  EXPECT_EQ(detail->navigationController(), nullptr);
  EXPECT_EQ(navigation->popViewControllerAnimated(false), nullptr) << "the root stays";

  navigation->pushViewController(std::make_shared<VcScreen>("a", &events), false);
  navigation->pushViewController(std::make_shared<VcScreen>("b", &events), false);
  EXPECT_EQ(navigation->popToRootViewControllerAnimated(false).size(), 2U);
  EXPECT_EQ(navigation->topViewController(), home);

  // The visible controller is what is presented over the top.
  const auto sheet = std::make_shared<VcScreen>("sheet", &events);
  home->presentViewController(sheet, false);
  EXPECT_EQ(navigation->visibleViewController(), sheet);
}

TEST(UIViewControllerTest, ATabBarShowsItsSelectedControllerAndAnswersSelectedViewController) {
  const zukit::test::UIApplicationScope application;
  Events events;
  const auto first = std::make_shared<VcScreen>("first", &events);
  const auto second = std::make_shared<VcScreen>("second", &events);
  const auto tabBar = std::make_shared<zu::UITabBarController>();
  tabBar->setViewControllers({first, second, first, nullptr});
  EXPECT_EQ(tabBar->viewControllers().size(), 2U) << "repeats and missing ones left out";
  const auto window = std::make_shared<zu::UIWindow>(zu::CGRectMake(0, 0, 320, 480));
  window->setRootViewController(tabBar);
  window->makeKeyAndVisible();
  EXPECT_EQ(tabBar->selectedViewController(), first);
  EXPECT_EQ(first->view()->frame(), zu::CGRectMake(0, 0, 320, 431)) << "above the tab bar";
  EXPECT_EQ(tabBar->tabBar()->frame(), zu::CGRectMake(0, 431, 320, 49));

  events.clear();
  tabBar->setSelectedIndex(1);
  EXPECT_EQ(events, (Events{"first willDisappear", "second willAppear NO", "first didDisappear",
                            "second didAppear (own entry)"}));
  EXPECT_EQ(second->view()->superview(), tabBar->view());
  EXPECT_EQ(first->view()->superview(), nullptr);
  EXPECT_EQ(second->tabBarController(), tabBar);
  tabBar->setSelectedIndex(7);
  tabBar->setSelectedViewController(std::make_shared<zu::UIViewController>());
  EXPECT_EQ(tabBar->selectedViewController(), second);

  const zu::SEL selected = zu::NSSelectorFromString("selectedViewController");
  EXPECT_TRUE(zu::respondsToSelector(tabBar, selected));
  EXPECT_EQ(zu::performSelector(tabBar, selected).asObject(), second);
  EXPECT_FALSE(zu::respondsToSelector(std::make_shared<zu::UINavigationController>(), selected));
}

TEST(UIViewControllerTest, APresentedControllersViewCoversTheWindowUntilDismissed) {
  const zukit::test::UIApplicationScope application;
  Events events;
  const auto home = std::make_shared<VcScreen>("home", &events);
  const auto window = std::make_shared<zu::UIWindow>(zu::CGRectMake(0, 0, 300, 500));
  window->setRootViewController(home);
  window->makeKeyAndVisible();
  const auto sheet = std::make_shared<VcScreen>("sheet", &events);
  home->presentViewController(sheet, false);
  EXPECT_EQ(window->subviews().back(), sheet->view());
  EXPECT_EQ(sheet->view()->frame(), window->bounds());
  EXPECT_EQ(sheet->nextResponder(), window);

  bool dismissed = false;
  sheet->dismissViewControllerAnimated(true, [&dismissed] { dismissed = true; });
  EXPECT_EQ(sheet->view()->superview(), window) << "until the dismissal finishes";
  ASSERT_TRUE(zukit::test::pumpMainUntil([&dismissed] { return dismissed; }));
  EXPECT_EQ(sheet->view()->superview(), nullptr);
  EXPECT_EQ(window->subviews().back(), home->view());
}

}  // namespace
