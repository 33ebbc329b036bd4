// The tour's navigation section: a host builds a window with a navigation stack, presents a
// screen holding a web view, asks ZuNavigation its four questions on both sides of release 13,
// taps through real touch events, and draws the window to a PNG in the sandbox.

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "apps/zukit-demo/DemoSection.h"
#include "zukit/platform/dispatch/ManualClock.h"
#include "zukit/platform/ui/TouchSequence.h"
#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIButton.h"
#include "zukit/platform/ui/UIDevice.h"
#include "zukit/platform/ui/UILabel.h"
#include "zukit/platform/ui/UINavigationController.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/UIWindowScene.h"
#include "zukit/platform/ui/ViewRenderer.h"
#include "zukit/platform/ui/WKWebView.h"
#include "zukit/ui/ZuNavigation.h"

namespace zukit::demo {

namespace {

using zu::CGRectMake;
using zu::UIColor;

// A screen with a title and a line of text.
std::shared_ptr<zu::UIViewController> makeScreen(const std::string& title,
                                                 const std::string& text) {
  auto screen = std::make_shared<zu::UIViewController>();
  screen->setTitle(title);
  screen->view()->setBackgroundColor(UIColor::whiteColor());
  auto label = std::make_shared<zu::UILabel>(CGRectMake(20, 24, 350, 48));
  label->setText(text);
  label->setNumberOfLines(2);
  screen->view()->addSubview(label);
  return screen;
}

std::string nameOf(const zu::id& object) {
  if (!object) return "nil";
  const auto controller = std::dynamic_pointer_cast<zu::UIViewController>(object);
  if (controller && !controller->title().empty()) {
    return zu::object_getClassName(object) + " \"" + controller->title() + "\"";
  }
  return zu::object_getClassName(object);
}

// The host's handler of the article's close button: dismisses the article.
class DemoArticleCloser : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(DemoArticleCloser, zu::Object, &addMethods)
  std::weak_ptr<zu::UIViewController> screen;

 private:
  static void addMethods(zu::Class* cls);
};

void closeArticle(zu::Object* self, zu::SEL /*selector*/, const zu::id& sender) {
  sayf("  the %@ sent closeArticle: for a touch that ended inside it",
       zu::object_getClassName(sender));
  if (const auto screen = dynamic_cast<DemoArticleCloser&>(*self).screen.lock()) {
    screen->dismissViewControllerAnimated(true);
  }
}

void DemoArticleCloser::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::sel_registerName("closeArticle:"), zu::imp(&closeArticle));
}

void answerLookups(const std::shared_ptr<zu::UIWindow>& sceneWindow) {
  const auto key = ZuNavigation::keyWindow();
  sayf("  keyWindow: %@%@", nameOf(key),
       key == sceneWindow ? " (the scene's first window)"
                          : (key ? " (the application's key window)" : ""));
  sayf("  currentViewController: %@", nameOf(ZuNavigation::currentViewController()));
  sayf("  currentNavigation: %@", nameOf(ZuNavigation::currentNavigation()));
  sayf("  currentWebview: %@", nameOf(ZuNavigation::currentWebview()));
}

void showNavigation(DemoContext& context) {
  const zu::ManualClock clock;
  const auto application = zu::UIApplication::sharedApplication();
  const auto scene = std::make_shared<zu::UIWindowScene>();
  scene->setActivationState(zu::UISceneActivationStateForegroundActive);
  application->connectScene(scene);
  const auto window = zu::UIWindow::windowWithWindowScene(scene);
  sayf("screen %@, one active scene with a window",
       zu::NSStringFromCGRect(zu::UIScreen::mainScreen()->bounds()));

  const auto home = makeScreen("首页 Home", "A navigation stack: home, then a list.");
  const auto navigation = zu::UINavigationController::initWithRootViewController(home);
  window->setRootViewController(navigation);
  window->makeKeyAndVisible();
  navigation->pushViewController(makeScreen("列表 List", "Pushed onto the stack."), false);
  const std::string stackPath =
      (std::filesystem::path(context.sandbox) / "navigation-stack.png").string();
  if (zu::ViewRenderer::writePNG(*window, stackPath, 2)) sayf("drew the stack to %@", stackPath);

  // A second, small window of the same scene becomes the application's key window, as a
  // host's toast might.
  const auto toast = zu::UIWindow::windowWithWindowScene(scene);
  toast->setFrame(CGRectMake(40, 760, 310, 44));
  toast->setRootViewController(makeScreen("提示 Toast", "Saved."));
  toast->makeKeyAndVisible();

  // A screen presented over the stack, holding a web view and a close button.
  const auto article =
      makeScreen("文章 Article", "正在阅读：ZuKit 使用说明\nPresented over the stack.");
  article->view()->setBackgroundColor(UIColor::colorWithRed(0.95, 0.97, 1, 1));
  const auto web = std::make_shared<zu::WKWebView>(CGRectMake(20, 90, 350, 560));
  web->layer()->setCornerRadius(12);
  web->layer()->setBorderWidth(1);
  web->layer()->setBorderColor(UIColor::lightGrayColor()->CGColor());
  article->view()->addSubview(web);
  const auto close = zu::UIButton::buttonWithType(zu::UIButtonTypeCustom);
  close->setFrame(CGRectMake(120, 680, 150, 48));
  close->setTitle("关闭 Close", zu::UIControlStateNormal);
  close->setBackgroundColor(UIColor::systemBlueColor());
  close->layer()->setCornerRadius(24);
  close->layer()->setShadowOpacity(0.3F);
  article->view()->addSubview(close);
  navigation->topViewController()->presentViewController(article, true);
  clock.advance(std::chrono::milliseconds(0));
  say("presented the article screen over the list");

  const auto device = zu::UIDevice::currentDevice();
  sayf("the system says release %@:", device->systemVersion());
  answerLookups(window);
  device->setSystemVersion("12.4");
  say("as release 12.4 (the application's key window, the toast, decides):");
  answerLookups(window);
  device->setSystemVersion("13.0");
  say("as release 13.0 (the first window of the first active scene decides):");
  answerLookups(window);

  const std::string path =
      (std::filesystem::path(context.sandbox) / "navigation-window.png").string();
  if (zu::ViewRenderer::writePNG(*window, path, 2)) sayf("drew the window to %@", path);

  // The close button dismisses the article, through a real tap.
  const auto closer = std::make_shared<DemoArticleCloser>();
  closer->screen = article;
  close->addTarget(closer, zu::sel_registerName("closeArticle:"), zu::UIControlEventTouchUpInside);
  const zu::CGRect button = close->convertRectToView(close->bounds(), window);
  zu::TouchSequence::tap(window,
                         zu::CGPointMake(zu::CGRectGetMidX(button), zu::CGRectGetMidY(button)));
  clock.advance(std::chrono::milliseconds(0));
  say("after a tap on the close button and the dismissal:");
  answerLookups(window);

  device->setSystemVersion(std::nullopt);
  toast->resignKeyWindow();
  application->disconnectScene(scene);
}

const DemoRegistration kNavigation(60, "Navigation lookup over a headless view system",
                                   &showNavigation);

}  // namespace

}  // namespace zukit::demo
