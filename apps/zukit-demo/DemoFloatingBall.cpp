// The tour's floating-ball section: a host shows a ball with four menu entries on its key window,
// drags it with real touch events, lets it glide to the edge, opens its fan with a tap, taps an
// entry, and draws each moment to a PNG in the sandbox.

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "apps/zukit-demo/DemoSection.h"
#include "zukit/platform/dispatch/ManualClock.h"
#include "zukit/platform/ui/CALayer.h"
#include "zukit/platform/ui/TouchSequence.h"
#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIDevice.h"
#include "zukit/platform/ui/UIFont.h"
#include "zukit/platform/ui/UIImage.h"
#include "zukit/platform/ui/UILabel.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UIViewController.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/UIWindowScene.h"
#include "zukit/platform/ui/ViewRenderer.h"
#include "zukit/ui/ZuFloatingBall.h"

namespace zukit::demo {

namespace {

using namespace std::chrono_literals;
using zu::CGPointMake;
using zu::CGRectMake;
using zu::UIColor;

// The host's screen under the ball: a title and a few lines of text.
std::shared_ptr<zu::UIViewController> hostScreen() {
  auto screen = std::make_shared<zu::UIViewController>();
  screen->view()->setBackgroundColor(UIColor::colorWithRed(0.96, 0.97, 0.99, 1));
  auto title = std::make_shared<zu::UILabel>(CGRectMake(20, 60, 350, 40));
  title->setText("我的游戏 My Game");
  title->setFont(zu::UIFont::boldSystemFontOfSize(24));
  screen->view()->addSubview(title);
  auto text = std::make_shared<zu::UILabel>(CGRectMake(20, 110, 350, 80));
  text->setText("The SDK's floating ball sits above the game on the key window.");
  text->setNumberOfLines(3);
  screen->view()->addSubview(text);
  return screen;
}

// An icon drawn by the view system: a white dot on an orange disc with clear corners, as PNG
// bytes made into an image (a button's background image is not clipped to its rounded corners,
// so the image brings its own round shape).
std::shared_ptr<zu::UIImage> drawnIcon() {
  const auto icon = std::make_shared<zu::UIView>(CGRectMake(0, 0, 60, 60));
  const auto disc = std::make_shared<zu::UIView>(CGRectMake(0, 0, 60, 60));
  disc->setBackgroundColor(UIColor::colorWithRed(1, 0.6, 0.2, 1));
  disc->layer()->setCornerRadius(30);
  icon->addSubview(disc);
  const auto dot = std::make_shared<zu::UIView>(CGRectMake(22, 8, 16, 16));
  dot->setBackgroundColor(UIColor::whiteColor());
  dot->layer()->setCornerRadius(8);
  icon->addSubview(dot);
  const auto png = zu::ViewRenderer::pngData(*icon, 2);
  return png ? zu::UIImage::imageWithData(*png, 2) : nullptr;
}

std::string place(const std::shared_ptr<ZuFloatingBall>& ball) {
  return zu::NSStringFromCGRect(ball->frame());
}

void drawTo(const DemoContext& context, const zu::UIView& window, const char* name,
            const char* what) {
  const std::string path = (std::filesystem::path(context.sandbox) / name).string();
  if (zu::ViewRenderer::writePNG(window, path, 2)) sayf("  drew %@ to %@", what, path);
}

zu::CGPoint middleOnWindow(const std::shared_ptr<zu::UIView>& view,
                           const std::shared_ptr<zu::UIWindow>& window) {
  const zu::CGRect rect = view->convertRectToView(view->bounds(), window);
  return CGPointMake(zu::CGRectGetMidX(rect), zu::CGRectGetMidY(rect));
}

void showFloatingBall(DemoContext& context) {
  const zu::ManualClock clock;
  const auto device = zu::UIDevice::currentDevice();
  device->setSystemVersion("13.0");
  const auto application = zu::UIApplication::sharedApplication();
  const auto scene = std::make_shared<zu::UIWindowScene>();
  scene->setActivationState(zu::UISceneActivationStateForegroundActive);
  application->connectScene(scene);
  const auto window = zu::UIWindow::windowWithWindowScene(scene);
  window->setRootViewController(hostScreen());
  window->makeKeyAndVisible();
  sayf("screen %@, one active scene whose window is key",
       zu::NSStringFromCGRect(zu::UIScreen::mainScreen()->bounds()));

  const auto ball = ZuFloatingBall::ballWithTitle(
      "Zu", UIColor::colorWithRed(0.2, 0.5, 0.95, 1),
      [] { say("  the ball's own action (not reached: the ball has entries)"); },
      ZuFloatingBallStayModeAuto);
  const char* titles[] = {"首页", "消息", "设置", "帮助"};
  for (const char* title : titles) {
    const zu::Value background = std::string(title) == "帮助"
                                     ? zu::Value(drawnIcon())
                                     : zu::Value(UIColor::colorWithRed(0.55, 0.85, 0.6, 1));
    ball->addChild(ZuFloatingBallChild::childWithTitle(
        title, background, [title] { sayf("  the entry \"%@\" ran its action", title); }, 0));
  }
  ball->show();
  sayf("a ball with %@ entries, shown at %@", ball->children().size(), place(ball));
  drawTo(context, *window, "floating-ball-1-at-rest.png", "the ball at rest");

  // A drag across the screen, one finger through UIApplication::sendEvent.
  zu::TouchSequence finger(window);
  const zu::CGPoint start = middleOnWindow(ball, window);
  finger.begin(start);
  const zu::CGPoint stop = CGPointMake(140, 520);
  constexpr int kMoves = 24;
  for (int i = 1; i <= kMoves; ++i) {
    const double progress = static_cast<double>(i) / kMoves;
    finger.moveTo(CGPointMake(start.x + (stop.x - start.x) * progress,
                              start.y + (stop.y - start.y) * progress));
  }
  sayf("dragged with %@ moves; under the finger at %@", kMoves, place(ball));
  drawTo(context, *window, "floating-ball-2-mid-drag.png", "the ball mid-drag");
  finger.end();
  clock.advance(500ms);
  sayf("let go: it glided in 0.5 s to the nearer edge, %@", place(ball));
  drawTo(context, *window, "floating-ball-3-snapped.png", "the ball at the edge");

  // A tap opens the fan, to the right since the ball is on the left.
  zu::TouchSequence::tap(window, middleOnWindow(ball, window));
  sayf("tapped the ball: the fan opens (open: %@)", ball->isPopped() ? "YES" : "NO");
  clock.advance(250ms);
  sayf("after 0.25 s the fan is open (open: %@), to the %@", ball->isPopped() ? "YES" : "NO",
       ball->popDirection() == 0 ? "left" : "right");
  for (const auto& child : ball->children()) {
    // Adding 0 shows a mirrored 0 as 0.0, not -0.0.
    sayf("  entry \"%@\" at offset (%.1f, %.1f)", child->currentTitle(), child->offset().x + 0.0,
         child->offset().y + 0.0);
  }
  clock.advance(250ms);
  sayf("and resetFrame has left it at %@", place(ball));
  drawTo(context, *window, "floating-ball-4-fan-open.png", "the open fan");

  // A tap on an entry: its action runs at once, and the fan folds.
  const auto settings = ball->children()[2];
  zu::TouchSequence::tap(window, middleOnWindow(settings, window));
  clock.advance(250ms);
  sayf("after a tap on \"%@\" and 0.25 s: open %@, %@ view(s) left on the ball",
       settings->currentTitle(), ball->isPopped() ? "YES" : "NO", ball->subviewCount());

  ball->hide();
  device->setSystemVersion(std::nullopt);
  application->disconnectScene(scene);
}

const DemoRegistration kFloatingBall(61, "Floating ball and its fan menu, driven by touches",
                                     &showFloatingBall);

}  // namespace

}  // namespace zukit::demo
