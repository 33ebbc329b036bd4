// The application, its scenes and windows, the main screen and the running release.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/UIApplicationScope.h"
#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIDevice.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UIViewController.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/UIWindowScene.h"

namespace {

using zu::CGRectMake;
using Windows = std::vector<std::shared_ptr<zu::UIWindow>>;
using Appearance = zu::UIViewController::AppearanceState;

TEST(UIApplication, ScenesHoldTheirWindowsInOrderAndOneWindowIsKey) {
  const zukit::test::UIApplicationScope scope;
  const auto application = zu::UIApplication::sharedApplication();
  const auto first = std::make_shared<zu::UIWindowScene>();
  const auto second = std::make_shared<zu::UIWindowScene>();
  application->connectScene(first);
  application->connectScene(second);
  application->connectScene(first);
  application->connectScene(nullptr);
  EXPECT_EQ(application->connectedScenes().size(), 2U);
  EXPECT_EQ(first->activationState(), zu::UISceneActivationStateUnattached);

  const auto a = zu::UIWindow::windowWithWindowScene(second);
  const auto b = zu::UIWindow::windowWithWindowScene(first);
  const auto c = zu::UIWindow::windowWithWindowScene(first);
  EXPECT_EQ(first->windows(), (Windows{b, c}));
  EXPECT_EQ(application->windows(), (Windows{b, c, a}));
  EXPECT_EQ(zu::objc_msgSend<Windows>(first, zu::windowsSelector()), (Windows{b, c}))
      << "the scene answers \"windows\" through the runtime";
  b->setWindowScene(second);
  EXPECT_EQ(first->windows(), Windows{c});
  EXPECT_EQ(second->windows(), (Windows{a, b}));
  EXPECT_EQ(b->windowScene(), second);

  EXPECT_TRUE(a->isHidden()) << "windows start hidden";
  a->makeKeyAndVisible();
  EXPECT_FALSE(a->isHidden());
  EXPECT_TRUE(a->isKeyWindow());
  EXPECT_EQ(application->keyWindow(), a);
  c->makeKeyWindow();
  EXPECT_FALSE(a->isKeyWindow());
  a->resignKeyWindow();
  EXPECT_EQ(application->keyWindow(), c) << "only the key window resigns";
  c->resignKeyWindow();
  EXPECT_EQ(application->keyWindow(), nullptr);

  // A key window that belongs to no scene is still one of the application's windows.
  const auto loose = std::make_shared<zu::UIWindow>();
  loose->makeKeyWindow();
  EXPECT_EQ(application->windows().back(), loose);
  application->disconnectScene(second);
  EXPECT_EQ(application->windows(), (Windows{c, loose}));
}

TEST(UIApplication, TheMainScreenHasAPhonesSizeUntilTheHostSetsOne) {
  const zukit::test::UIApplicationScope scope;
  const auto screen = zu::UIScreen::mainScreen();
  EXPECT_EQ(screen->bounds(), CGRectMake(0, 0, 390, 844));
  screen->setBounds(CGRectMake(50, 50, 768, -1024));
  EXPECT_EQ(screen->bounds(), CGRectMake(0, 0, 768, 1024));
  EXPECT_EQ(std::make_shared<zu::UIWindow>()->frame(), CGRectMake(0, 0, 768, 1024));
}

TEST(UIApplication, TheRunningReleaseComesFromTheSystemVersionAndCanBeSet) {
  const zukit::test::UIApplicationScope scope;
  const auto device = zu::UIDevice::currentDevice();
  const std::string system = device->systemVersion();
  EXPECT_FALSE(system.empty());
  device->setSystemVersion("12.4.1");
  EXPECT_EQ(device->systemVersion(), "12.4.1");
  EXPECT_FALSE(device->systemVersionIsAtLeast("13.0.0"));
  device->setSystemVersion("13");
  EXPECT_TRUE(device->systemVersionIsAtLeast("13.0.0"));
  device->setSystemVersion(std::nullopt);
  EXPECT_EQ(device->systemVersion(), system);

  EXPECT_EQ(zu::compareVersions("13", "13.0.0"), 0);
  EXPECT_EQ(zu::compareVersions("12.99.99", "13.0.0"), -1);
  EXPECT_EQ(zu::compareVersions("13.0.1", "13.0.0"), 1);
  EXPECT_EQ(zu::compareVersions("10.2", "9.10"), 1) << "numbers, not text";
  EXPECT_EQ(zu::compareVersions("6.1.0-18-amd64", "6.1"), 0);
  EXPECT_EQ(zu::compareVersions("", "0"), 0);
}

// A controller that records its appearance messages.
class AppearanceLog : public zu::UIViewController {
 public:
  explicit AppearanceLog(std::vector<std::string>* log) : _log(log) {}
  void viewWillAppear(bool animated) override {
    _log->push_back(title() + " willAppear");
    UIViewController::viewWillAppear(animated);
  }
  void viewDidAppear(bool animated) override {
    _log->push_back(title() + " didAppear");
    UIViewController::viewDidAppear(animated);
  }
  void viewWillDisappear(bool animated) override {
    _log->push_back(title() + " willDisappear");
    UIViewController::viewWillDisappear(animated);
  }
  void viewDidDisappear(bool animated) override {
    _log->push_back(title() + " didDisappear");
    UIViewController::viewDidDisappear(animated);
  }

 private:
  std::vector<std::string>* _log;
};

TEST(UIWindow, TheRootControllersViewFillsTheWindowAndAppearsWithIt) {
  const zukit::test::UIApplicationScope scope;
  std::vector<std::string> log;
  const auto window = std::make_shared<zu::UIWindow>(CGRectMake(0, 0, 300, 400));
  const auto overlay = std::make_shared<zu::UIView>();
  window->addSubview(overlay);
  const auto home = std::make_shared<AppearanceLog>(&log);
  home->setTitle("home");
  window->setRootViewController(home);
  EXPECT_TRUE(log.empty()) << "a hidden window shows nothing";
  EXPECT_EQ(window->subviews().front(), home->view()) << "behind what the window holds";
  EXPECT_EQ(home->view()->frame(), CGRectMake(0, 0, 300, 400));
  window->makeKeyAndVisible();
  EXPECT_EQ(log, (std::vector<std::string>{"home willAppear", "home didAppear"}));
  window->makeKeyAndVisible();
  EXPECT_EQ(log.size(), 2U);

  const auto next = std::make_shared<AppearanceLog>(&log);
  next->setTitle("next");
  log.clear();
  window->setRootViewController(next);
  EXPECT_EQ(log, (std::vector<std::string>{"home willDisappear", "home didDisappear",
                                           "next willAppear", "next didAppear"}));
  EXPECT_EQ(home->view()->superview(), nullptr);
  window->setFrame(CGRectMake(0, 0, 200, 100));
  EXPECT_EQ(next->view()->frame(), CGRectMake(0, 0, 200, 100)) << "it follows the window";
  EXPECT_EQ(overlay->frame(), zu::CGRectZero) << "other views keep their frames";
}

}  // namespace
