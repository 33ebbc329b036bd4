// The floating ball through the view system's event path beside the same view updates made
// directly: one whole drag (a touch down, 50 moves, the release and its 0.5 s glide on the
// manual clock), and one opening and folding of a four-entry fan with two taps and their
// animations.

#include <array>
#include <chrono>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "bench/BenchSupport.h"
#include "zukit/platform/dispatch/ManualClock.h"
#include "zukit/platform/ui/TouchSequence.h"
#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIButton.h"
#include "zukit/platform/ui/UIDevice.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/UIWindowScene.h"
#include "zukit/ui/ZuFloatingBall.h"

namespace {

using namespace std::chrono_literals;
using zu::CGPointMake;
using zu::CGRectMake;

constexpr int kMoves = 50;
constexpr int kEntries = 4;
constexpr double kSide = 60;
// Where the drags go, turn about: left and right of the screen's middle, so that the ball
// glides to the other edge each time.
constexpr std::array<zu::CGPoint, 2> kDragTargets{{{120, 420}, {270, 380}}};
// The places of a four-entry fan opening to the left.
constexpr double kC = 77.94228634059948;
constexpr std::array<zu::CGPoint, kEntries> kFour{{{0, -90}, {-kC, -45}, {-kC, 45}, {0, 90}}};

// A key window on an active scene, for as long as a benchmark runs.
class Stage {
 public:
  Stage() {
    zu::UIDevice::currentDevice()->setSystemVersion(std::string("13.0"));
    _scene->setActivationState(zu::UISceneActivationStateForegroundActive);
    zu::UIApplication::sharedApplication()->connectScene(_scene);
    window = zu::UIWindow::windowWithWindowScene(_scene);
    window->makeKeyAndVisible();
  }
  ~Stage() {
    window->resignKeyWindow();
    zu::UIApplication::sharedApplication()->disconnectScene(_scene);
    zu::UIDevice::currentDevice()->setSystemVersion(std::nullopt);
  }
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  std::shared_ptr<zu::UIWindow> window;

 private:
  const std::shared_ptr<zu::UIWindowScene> _scene = std::make_shared<zu::UIWindowScene>();
};

zu::CGPoint middleOf(const std::shared_ptr<zu::UIView>& view) {
  const zu::CGRect frame = view->frame();
  return CGPointMake(zu::CGRectGetMidX(frame), zu::CGRectGetMidY(frame));
}

zu::CGPoint along(zu::CGPoint from, zu::CGPoint to, int step) {
  const double progress = static_cast<double>(step) / kMoves;
  return CGPointMake(from.x + (to.x - from.x) * progress, from.y + (to.y - from.y) * progress);
}

void BM_FloatingBallDragThroughEvents(benchmark::State& state) {
  const zu::ManualClock clock;
  const Stage stage;
  const auto ball = ZuFloatingBall::ballWithTitle("Zu", zu::UIColor::blueColor(), nullptr,
                                                  ZuFloatingBallStayModeAuto);
  ball->show();
  std::size_t turn = 0;
  for (auto _ : state) {
    const zu::CGPoint from = middleOf(ball);
    const zu::CGPoint to = kDragTargets.at(turn++ % 2);
    zu::TouchSequence finger(stage.window);
    finger.begin(from);
    for (int step = 1; step <= kMoves; ++step)
      finger.moveTo(along(from, to, step));
    finger.end();
    clock.advance(500ms);
  }
  if (ball->frame().origin.x != 0 && ball->frame().origin.x != 390 - kSide) {
    state.SkipWithError("the ball did not come to rest at an edge");
  }
  ball->hide();
}
BENCHMARK(BM_FloatingBallDragThroughEvents)->Unit(benchmark::kMicrosecond);

// The same 50 moves and the glide to the edge as plain setCenter and setFrame calls on a view.
void BM_FloatingBallDragDirect(benchmark::State& state) {
  const Stage stage;
  const auto view = std::make_shared<zu::UIView>(CGRectMake(390 - kSide, 300, kSide, kSide));
  stage.window->addSubview(view);
  std::size_t turn = 0;
  for (auto _ : state) {
    const zu::CGPoint from = middleOf(view);
    const zu::CGPoint to = kDragTargets.at(turn++ % 2);
    for (int step = 1; step <= kMoves; ++step)
      view->setCenter(along(from, to, step));
    const bool left = view->center().x < 390.0 / 2;
    view->setFrame(CGRectMake(left ? 0 : 390 - kSide, view->frame().origin.y, kSide, kSide));
  }
  benchmark::DoNotOptimize(view->frame());
  view->removeFromSuperview();
}
BENCHMARK(BM_FloatingBallDragDirect)->Unit(benchmark::kMicrosecond);

void BM_FloatingBallFanThroughEvents(benchmark::State& state) {
  const zu::ManualClock clock;
  const Stage stage;
  const auto ball = ZuFloatingBall::ballWithTitle("Zu", zu::UIColor::blueColor(), nullptr,
                                                  ZuFloatingBallStayModeAuto);
  for (int i = 0; i < kEntries; ++i) {
    ball->addChild(ZuFloatingBallChild::childWithTitle(std::to_string(i), zu::UIColor::redColor(),
                                                       nullptr, 0));
  }
  ball->show();
  const zu::CGPoint face = middleOf(ball);
  for (auto _ : state) {
    zu::TouchSequence::tap(stage.window, face);
    clock.advance(250ms);  // open: the fan completes and the ball is reset
    clock.advance(250ms);
    zu::TouchSequence::tap(stage.window, face);
    clock.advance(250ms);  // folded
  }
  if (ball->isPopped() || ball->subviewCount() != 1) {
    state.SkipWithError("the fan did not fold");
  }
  ball->hide();
}
BENCHMARK(BM_FloatingBallFanThroughEvents)->Unit(benchmark::kMicrosecond);

// The same entries put beneath a face, moved out to their places and back, and taken off, with
// the ball's three moves (the glides after both taps and the reset), as plain calls.
void BM_FloatingBallFanDirect(benchmark::State& state) {
  const Stage stage;
  const auto ball = std::make_shared<zu::UIView>(CGRectMake(390 - kSide, 300, kSide, kSide));
  const auto faceView = std::make_shared<zu::UIView>(CGRectMake(0, 0, kSide, kSide));
  ball->addSubview(faceView);
  stage.window->addSubview(ball);
  std::array<std::shared_ptr<zu::UIButton>, kEntries> entries;
  for (auto& entry : entries)
    entry = zu::UIButton::buttonWithType(zu::UIButtonTypeCustom);
  const zu::CGRect bounds = CGRectMake(0, 0, kSide, kSide);
  const zu::CGPoint middle = CGPointMake(kSide / 2, kSide / 2);
  const zu::CGRect resting = ball->frame();
  for (auto _ : state) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
      entries.at(i)->removeFromSuperview();
      ball->insertSubview(entries.at(i), static_cast<zu::NSInteger>(i));
      entries.at(i)->setBounds(bounds);
      entries.at(i)->setCenter(middle);
      entries.at(i)->setCenter(CGPointMake(middle.x + kFour.at(i).x, middle.y + kFour.at(i).y));
    }
    ball->setFrame(resting);
    ball->setFrame(resting);
    for (const auto& entry : entries)
      entry->setCenter(middle);
    ball->setFrame(resting);
    for (const auto& entry : entries)
      entry->removeFromSuperview();
  }
  if (ball->subviewCount() != 1) state.SkipWithError("the entries were not taken off");
  ball->removeFromSuperview();
}
BENCHMARK(BM_FloatingBallFanDirect)->Unit(benchmark::kMicrosecond);

using zukit::bench::RatioRegistration;
const RatioRegistration kDrag("BM_FloatingBallDragThroughEvents", "BM_FloatingBallDragDirect");
const RatioRegistration kFan("BM_FloatingBallFanThroughEvents", "BM_FloatingBallFanDirect");

}  // namespace
