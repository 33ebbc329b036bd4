// ZuNavigation: the key window by release and scene state, the visible controller, the current
// navigation controller and the web view, over real windows, scenes and controller trees.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/StderrCapture.h"
#include "tests/support/UIApplicationScope.h"
#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIDevice.h"
#include "zukit/platform/ui/UINavigationController.h"
#include "zukit/platform/ui/UITabBarController.h"
#include "zukit/platform/ui/UIWebView.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/UIWindowScene.h"
#include "zukit/platform/ui/WKWebView.h"
#include "zukit/ui/ZuNavigation.h"

namespace {

using zu::UIViewController;

// A container of the host's own making: it answers "selectedViewController" through the runtime
// with `answer`, after answering itself `selfAnswers` times.
class NavHostContainer : public UIViewController {
 public:
  ZU_RUNTIME_CLASS(NavHostContainer, UIViewController, &addMethods)

  zu::id answer;
  int selfAnswers = 0;
  int asked = 0;

 private:
  static void addMethods(zu::Class* cls);
};

zu::id hostSelectedViewController(zu::Object* self, zu::SEL /*selector*/) {
  auto& container = dynamic_cast<NavHostContainer&>(*self);
  ++container.asked;
  if (container.selfAnswers > 0) {
    --container.selfAnswers;
    return container.shared_from_this();
  }
  return container.answer;
}

void NavHostContainer::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::sel_registerName("selectedViewController"),
                      zu::imp(&hostSelectedViewController));
}

// A container that answers with a Value, the other form performSelector accepts.
class NavValueContainer : public UIViewController {
 public:
  ZU_RUNTIME_CLASS(NavValueContainer, UIViewController, &addMethods)

  zu::Value answer;

 private:
  static void addMethods(zu::Class* cls);
};

zu::Value valueSelectedViewController(zu::Object* self, zu::SEL /*selector*/) {
  return dynamic_cast<NavValueContainer&>(*self).answer;
}

void NavValueContainer::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::sel_registerName("selectedViewController"),
                      zu::imp(&valueSelectedViewController));
}

// A web view of the host's own, derived from the engine's.
class NavHostWebView : public zu::WKWebView {
 public:
  ZU_RUNTIME_CLASS(NavHostWebView, zu::WKWebView)
};

class ZuNavigationTest : public testing::Test {
 protected:
  static void runOn(const char* release) {
    zu::UIDevice::currentDevice()->setSystemVersion(std::string(release));
  }

  // A window scene in `state`, connected to the application, holding `count` windows.
  static std::vector<std::shared_ptr<zu::UIWindow>> connectScene(zu::UISceneActivationState state,
                                                                 int count) {
    auto scene = std::make_shared<zu::UIWindowScene>();
    scene->setActivationState(state);
    zu::UIApplication::sharedApplication()->connectScene(scene);
    std::vector<std::shared_ptr<zu::UIWindow>> windows;
    windows.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
      windows.push_back(zu::UIWindow::windowWithWindowScene(scene));
    return windows;
  }

  // One active scene with one window whose root is `root`.
  static std::shared_ptr<zu::UIWindow> showRoot(const std::shared_ptr<UIViewController>& root) {
    runOn("13.0");
    auto window = connectScene(zu::UISceneActivationStateForegroundActive, 1).front();
    window->setRootViewController(root);
    window->makeKeyAndVisible();
    return window;
  }

  const zukit::test::UIApplicationScope application;
};

TEST_F(ZuNavigationTest, BeforeRelease13EveryWindowLookupAnswersTheApplicationsKeyWindow) {
  const auto sceneWindow = connectScene(zu::UISceneActivationStateForegroundActive, 1).front();
  const auto keyWindow = std::make_shared<zu::UIWindow>();
  keyWindow->makeKeyWindow();

  for (const char* release : {"12.4.1", "12", "8.0", "12.99"}) {
    runOn(release);
    EXPECT_EQ(ZuNavigation::keyWindow(), keyWindow) << release;
    EXPECT_EQ(ZuNavigation::_activeKeyWindow(), keyWindow) << release;
    EXPECT_EQ(ZuNavigation::_keyWindow(), keyWindow) << release;
  }
  // The other side of 13.0.0, in the same run: the scenes decide.
  for (const char* release : {"13", "13.0.0", "13.0.1", "17.2"}) {
    runOn(release);
    EXPECT_EQ(ZuNavigation::keyWindow(), sceneWindow) << release;
    EXPECT_EQ(ZuNavigation::_keyWindow(), sceneWindow) << release;
  }

  runOn("12.4");
  keyWindow->resignKeyWindow();
  EXPECT_EQ(ZuNavigation::keyWindow(), nullptr);
  EXPECT_EQ(ZuNavigation::_keyWindow(), nullptr);
  EXPECT_EQ(ZuNavigation::currentViewController(), nullptr);
  EXPECT_EQ(ZuNavigation::currentNavigation(), nullptr);
  EXPECT_EQ(ZuNavigation::currentWebview(), nullptr);
}

TEST_F(ZuNavigationTest, FromRelease13TheActiveAndTheForegroundWindowRulesDiffer) {
  runOn("13.0");
  // An inactive scene alone: only the foreground rule finds its window.
  const auto inactive = connectScene(zu::UISceneActivationStateForegroundInactive, 1).front();
  const auto navigation =
      zu::UINavigationController::initWithRootViewController(std::make_shared<UIViewController>());
  inactive->setRootViewController(navigation);
  EXPECT_EQ(ZuNavigation::_activeKeyWindow(), nullptr);
  EXPECT_EQ(ZuNavigation::keyWindow(), nullptr);
  EXPECT_EQ(ZuNavigation::currentViewController(), nullptr);
  EXPECT_EQ(ZuNavigation::_keyWindow(), inactive);
  EXPECT_EQ(ZuNavigation::currentNavigation(), navigation);

  // An active scene connected later: the first foreground scene still wins the foreground rule.
  const auto active = connectScene(zu::UISceneActivationStateForegroundActive, 1).front();
  const auto screen = std::make_shared<UIViewController>();
  active->setRootViewController(screen);
  EXPECT_EQ(ZuNavigation::_keyWindow(), inactive);
  EXPECT_EQ(ZuNavigation::_activeKeyWindow(), active);
  EXPECT_EQ(ZuNavigation::keyWindow(), active);
  EXPECT_EQ(ZuNavigation::currentViewController(), screen);
  EXPECT_EQ(ZuNavigation::currentNavigation(), navigation) << "from _keyWindow's root";

  // The application's key window is not consulted any more.
  const auto keyWindow = std::make_shared<zu::UIWindow>();
  keyWindow->makeKeyWindow();
  EXPECT_EQ(ZuNavigation::keyWindow(), active);
}

TEST_F(ZuNavigationTest, TheFirstQualifyingSceneAnswersWithItsFirstWindowAsItIs) {
  runOn("14.2");
  connectScene(zu::UISceneActivationStateBackground, 1);
  connectScene(zu::UISceneActivationStateUnattached, 1);
  EXPECT_EQ(ZuNavigation::_keyWindow(), nullptr) << "background and unattached scenes never count";

  // The first window is taken even when hidden and not key; a later one would be key.
  const auto windows = connectScene(zu::UISceneActivationStateForegroundActive, 2);
  windows[1]->makeKeyAndVisible();
  EXPECT_TRUE(windows[0]->isHidden());
  EXPECT_EQ(ZuNavigation::_activeKeyWindow(), windows[0]);
  EXPECT_EQ(ZuNavigation::_keyWindow(), windows[0]);

  // A qualifying scene without windows answers nil, though a later scene has windows.
  zukit::test::UIApplicationScope fresh;
  runOn("14.2");
  connectScene(zu::UISceneActivationStateForegroundActive, 0);
  connectScene(zu::UISceneActivationStateForegroundActive, 1);
  EXPECT_EQ(ZuNavigation::_activeKeyWindow(), nullptr);
  EXPECT_EQ(ZuNavigation::_keyWindow(), nullptr);

  // A scene that is no window scene is asked for its windows all the same: it does not answer
  // (a console line), and the lookup answers nil.
  zukit::test::UIApplicationScope again;
  runOn("14.2");
  auto plainScene = std::make_shared<zu::UIScene>();
  plainScene->setActivationState(zu::UISceneActivationStateForegroundActive);
  zu::UIApplication::sharedApplication()->connectScene(plainScene);
  connectScene(zu::UISceneActivationStateForegroundActive, 1);
  const zukit::test::StderrCapture console;
  EXPECT_EQ(ZuNavigation::keyWindow(), nullptr);
  EXPECT_NE(console.text().find("-[UIScene windows]: unrecognized selector"), std::string::npos)
      << console.text();
}

TEST_F(ZuNavigationTest, APlainRootIsTheCurrentControllerAndNoNavigation) {
  const auto root = std::make_shared<UIViewController>();
  showRoot(root);
  EXPECT_EQ(ZuNavigation::currentViewController(), root);
  EXPECT_EQ(ZuNavigation::currentNavigation(), nullptr);
}

TEST_F(ZuNavigationTest, ATabBarRootGivesItsSelectedNavigationsTopAndThatNavigation) {
  const auto top = std::make_shared<UIViewController>();
  const auto navigation =
      zu::UINavigationController::initWithRootViewController(std::make_shared<UIViewController>());
  navigation->pushViewController(top, false);
  const auto other = std::make_shared<UIViewController>();
  const auto tabBar = std::make_shared<zu::UITabBarController>();
  tabBar->setViewControllers({other, navigation});
  tabBar->setSelectedIndex(1);
  showRoot(tabBar);
  EXPECT_EQ(ZuNavigation::currentViewController(), top);
  EXPECT_EQ(ZuNavigation::currentNavigation(), navigation);

  // A plain selected controller is the answer; the navigation is its navigationController.
  tabBar->setSelectedIndex(0);
  EXPECT_EQ(ZuNavigation::currentViewController(), other);
  EXPECT_EQ(ZuNavigation::currentNavigation(), nullptr);

  // A selected navigation controller with an empty stack leads to its (nil) top.
  const auto empty = std::make_shared<zu::UINavigationController>();
  tabBar->setViewControllers({empty});
  EXPECT_EQ(ZuNavigation::currentViewController(), nullptr);
  EXPECT_EQ(ZuNavigation::currentNavigation(), empty);
  tabBar->setViewControllers({});
  EXPECT_EQ(ZuNavigation::currentViewController(), nullptr);
  EXPECT_EQ(ZuNavigation::currentNavigation(), nullptr);
}

TEST_F(ZuNavigationTest, ATabBarRootFallsBackToTheSelectedControllersNavigationController) {
  // The tab-bar root is itself in a navigation stack, so its plain selected controller has a
  // navigation controller.
  const auto selected = std::make_shared<UIViewController>();
  const auto tabBar = std::make_shared<zu::UITabBarController>();
  tabBar->setViewControllers({selected});
  const auto outer = zu::UINavigationController::initWithRootViewController(tabBar);
  showRoot(tabBar);
  EXPECT_EQ(selected->navigationController(), outer);
  EXPECT_EQ(ZuNavigation::currentNavigation(), outer);
}

TEST_F(ZuNavigationTest, APresentedControllerComesFirstForTheVisibleControllerOnly) {
  const auto top = std::make_shared<UIViewController>();
  const auto navigation = zu::UINavigationController::initWithRootViewController(top);
  showRoot(navigation);
  EXPECT_EQ(ZuNavigation::currentViewController(), top);

  const auto sheet = std::make_shared<UIViewController>();
  navigation->presentViewController(sheet, false);
  EXPECT_EQ(ZuNavigation::currentViewController(), sheet) << "rule 1 before the container rules";
  EXPECT_EQ(ZuNavigation::currentNavigation(), navigation) << "presentations are ignored";

  // A presented navigation controller is walked into; a chain of presentations is followed.
  const auto inner = std::make_shared<UIViewController>();
  const auto presentedNavigation = zu::UINavigationController::initWithRootViewController(inner);
  sheet->presentViewController(presentedNavigation, false);
  EXPECT_EQ(ZuNavigation::currentViewController(), inner);
  const auto last = std::make_shared<UIViewController>();
  inner->presentViewController(last, false);
  EXPECT_EQ(ZuNavigation::currentViewController(), last);
  EXPECT_EQ(ZuNavigation::currentNavigation(), navigation);
}

TEST_F(ZuNavigationTest, ANavigationControllerWithAnEmptyStackIsItselfTheAnswer) {
  const auto navigation = std::make_shared<zu::UINavigationController>();
  showRoot(navigation);
  EXPECT_EQ(ZuNavigation::currentViewController(), navigation);
  EXPECT_EQ(ZuNavigation::currentNavigation(), navigation);
}

TEST_F(ZuNavigationTest, AHostContainerAnsweringSelectedViewControllerIsFollowed) {
  const auto container = std::make_shared<NavHostContainer>();
  showRoot(container);
  const auto leaf = std::make_shared<UIViewController>();
  container->answer = leaf;
  EXPECT_EQ(ZuNavigation::currentViewController(), leaf);
  EXPECT_EQ(ZuNavigation::currentNavigation(), nullptr) << "a plain answer gives no navigation";

  // A navigation answer: its top for the visible controller, itself for the navigation.
  const auto top = std::make_shared<UIViewController>();
  const auto navigation = zu::UINavigationController::initWithRootViewController(top);
  container->answer = navigation;
  EXPECT_EQ(ZuNavigation::currentViewController(), top);
  EXPECT_EQ(ZuNavigation::currentNavigation(), navigation);

  // Unlike the tab-bar rule, a plain answer inside a navigation stack does not fall back to
  // its navigationController.
  container->answer = top;
  ASSERT_EQ(top->navigationController(), navigation);
  EXPECT_EQ(ZuNavigation::currentNavigation(), nullptr);

  // A nil answer ends the walk with nil.
  container->answer = nullptr;
  EXPECT_EQ(ZuNavigation::currentViewController(), nullptr);

  // The answer may come as a Value, and is walked on from there (here into a tab bar).
  const auto valueContainer = std::make_shared<NavValueContainer>();
  const auto tabBar = std::make_shared<zu::UITabBarController>();
  const auto tab = std::make_shared<UIViewController>();
  tabBar->setViewControllers({tab});
  valueContainer->answer = zu::Value(tabBar);
  container->answer = valueContainer;
  EXPECT_EQ(ZuNavigation::currentViewController(), tab);
}

TEST_F(ZuNavigationTest, AContainerAnsweringItselfIsAskedAgainWithoutACycleGuard) {
  const auto container = std::make_shared<NavHostContainer>();
  const auto leaf = std::make_shared<UIViewController>();
  container->answer = leaf;
  container->selfAnswers = 1000;
  showRoot(container);
  // A guard against cycles would stop at the first repeat; the walk keeps asking instead, and
  // only the container's eventual other answer ends it.
  EXPECT_EQ(ZuNavigation::currentViewController(), leaf);
  EXPECT_EQ(container->asked, 1001);
}

TEST_F(ZuNavigationTest, CurrentWebviewSearchesOnlyTheDirectSubviewsInOrder) {
  const auto screen = std::make_shared<UIViewController>();
  showRoot(screen);
  const auto view = screen->view();
  const auto holder = std::make_shared<zu::UIView>();
  holder->addSubview(std::make_shared<zu::UIWebView>());
  view->addSubview(std::make_shared<zu::UIView>());
  view->addSubview(holder);
  EXPECT_EQ(ZuNavigation::currentWebview(), nullptr) << "a nested web view is not found";

  const auto engine = std::make_shared<NavHostWebView>();
  const auto legacy = std::make_shared<zu::UIWebView>();
  view->addSubview(engine);
  view->addSubview(legacy);
  EXPECT_EQ(ZuNavigation::currentWebview(), engine) << "the earlier of the two kinds";
  view->insertSubview(legacy, 0);
  EXPECT_EQ(ZuNavigation::currentWebview(), legacy);

  // The web view of what is presented, not of the screen below.
  const auto sheet = std::make_shared<UIViewController>();
  screen->presentViewController(sheet, false);
  EXPECT_EQ(ZuNavigation::currentWebview(), nullptr);
  const auto sheetWeb = std::make_shared<zu::WKWebView>();
  sheet->view()->addSubview(sheetWeb);
  EXPECT_EQ(ZuNavigation::currentWebview(), sheetWeb);
}

}  // namespace
