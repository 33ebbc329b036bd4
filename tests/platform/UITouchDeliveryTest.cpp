// Touches: hit testing from the window down through pointInside:withEvent: (runtime entries and
// C++ overrides), delivery of a whole gesture to the view it began on, the responder chain, and
// buttons turning a touch that ends inside into their touch-up-inside actions.

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/StderrCapture.h"
#include "tests/support/UIApplicationScope.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/runtime/Runtime.h"
#include "zukit/platform/ui/TouchSequence.h"
#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIButton.h"
#include "zukit/platform/ui/UIEvent.h"
#include "zukit/platform/ui/UITouch.h"
#include "zukit/platform/ui/UIViewController.h"
#include "zukit/platform/ui/UIWindow.h"

namespace {

using zu::CGPoint;
using zu::CGPointMake;
using zu::CGRectMake;
using Log = std::vector<std::string>;

std::string where(CGPoint point) {
  return zu::format("(%g,%g)", point.x, point.y);
}

// A view that records the touches it gets (C++ overrides of the base entries), with the
// location in its own coordinates. It does not pass them on.
class TouchRecorder : public zu::UIView {
 public:
  TouchRecorder(std::string name, Log* log, zu::CGRect frame)
      : UIView(frame), _name(std::move(name)), _log(log) {}

  void touchesBegan(const std::shared_ptr<zu::NSSet>& touches,
                    const std::shared_ptr<zu::UIEvent>& event) override {
    note("began", touches, event);
  }
  void touchesMoved(const std::shared_ptr<zu::NSSet>& touches,
                    const std::shared_ptr<zu::UIEvent>& event) override {
    note("moved", touches, event);
  }
  void touchesEnded(const std::shared_ptr<zu::NSSet>& touches,
                    const std::shared_ptr<zu::UIEvent>& event) override {
    note("ended", touches, event);
  }
  void touchesCancelled(const std::shared_ptr<zu::NSSet>& touches,
                        const std::shared_ptr<zu::UIEvent>& event) override {
    note("cancelled", touches, event);
  }

 private:
  void note(const char* phase, const std::shared_ptr<zu::NSSet>& touches,
            const std::shared_ptr<zu::UIEvent>& event) {
    const auto touch = touches->anyObject<zu::UITouch>();
    const bool carried = event && event->allTouches()->containsObject(touch);
    _log->push_back(
        _name + " " + phase + " " +
        where(touch->locationInView(std::static_pointer_cast<zu::UIView>(shared_from_this()))) +
        (carried ? "" : " (touch not in its event)"));
  }

  std::string _name;
  Log* _log;
};

// A round view: its own runtime entry for "pointInside:withEvent:" claims the circle in its
// bounds only.
class TouchRoundView : public zu::UIView {
 public:
  ZU_RUNTIME_CLASS(TouchRoundView, zu::UIView, &addMethods)
  using UIView::UIView;

 private:
  static void addMethods(zu::Class* cls);
};

bool roundPointInside(zu::Object* self, zu::SEL /*selector*/, CGPoint point,
                      const std::shared_ptr<zu::UIEvent>& /*event*/) {
  const zu::CGRect bounds = dynamic_cast<zu::UIView&>(*self).bounds();
  const double dx = point.x - zu::CGRectGetMidX(bounds);
  const double dy = point.y - zu::CGRectGetMidY(bounds);
  return dx * dx + dy * dy <= bounds.size.width * bounds.size.width / 4;
}

void TouchRoundView::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::pointInsideSelector(), zu::imp(&roundPointInside));
}

// A view that claims 40 more points to its right: a C++ override of pointInside().
class WideReachView : public TouchRecorder {
 public:
  using TouchRecorder::TouchRecorder;
  bool pointInside(CGPoint point, const std::shared_ptr<zu::UIEvent>& /*event*/) override {
    const zu::CGRect bounds = this->bounds();
    return zu::CGRectContainsPoint(CGRectMake(0, 0, bounds.size.width + 40, bounds.size.height),
                                   point);
  }
};

std::shared_ptr<zu::UIView> hitAt(const std::shared_ptr<zu::UIWindow>& window, CGPoint point) {
  return zu::objc_msgSend<std::shared_ptr<zu::UIView>, CGPoint,
                          const std::shared_ptr<zu::UIEvent>&>(window, zu::hitTestSelector(), point,
                                                               nullptr);
}

class UITouchDeliveryTest : public testing::Test {
 protected:
  void SetUp() override {
    window = std::make_shared<zu::UIWindow>(CGRectMake(0, 0, 320, 480));
    window->makeKeyAndVisible();
    // outer's own coordinates start at (10, 10): its subviews sit 10 points up and left.
    outer = std::make_shared<TouchRecorder>("outer", &log, CGRectMake(20, 20, 200, 240));
    outer->setBounds(CGRectMake(10, 10, 200, 240));
    window->addSubview(outer);
    round = std::make_shared<TouchRoundView>(CGRectMake(50, 50, 100, 100));
    outer->addSubview(round);
    inner = std::make_shared<TouchRecorder>("inner", &log, CGRectMake(25, 25, 50, 50));
    round->addSubview(inner);
    wide = std::make_shared<WideReachView>("wide", &log, CGRectMake(10, 180, 40, 40));
    outer->addSubview(wide);
  }

  const zukit::test::UIApplicationScope application;
  Log log;
  std::shared_ptr<zu::UIWindow> window;
  std::shared_ptr<TouchRecorder> outer;
  std::shared_ptr<TouchRoundView> round;
  std::shared_ptr<TouchRecorder> inner;
  std::shared_ptr<WideReachView> wide;
};

TEST_F(UITouchDeliveryTest, HitTestingAsksEachViewsPointInsideThroughTheRuntime) {
  // round spans window (60, 60)-(160, 160); its circle's centre is at (110, 110).
  EXPECT_EQ(round->convertPointToView(CGPointMake(0, 0), window), CGPointMake(60, 60));
  EXPECT_EQ(hitAt(window, CGPointMake(110, 110)), inner);
  EXPECT_EQ(hitAt(window, CGPointMake(110, 70)), round) << "in the circle, outside inner";
  EXPECT_EQ(hitAt(window, CGPointMake(63, 63)), outer) << "in round's box, outside its circle";
  // wide spans window (20, 190)-(60, 230) and claims 40 points more to its right.
  EXPECT_EQ(hitAt(window, CGPointMake(90, 200)), wide);
  EXPECT_EQ(hitAt(window, CGPointMake(110, 200)), outer);
  EXPECT_EQ(hitAt(window, CGPointMake(300, 400)), window);
  EXPECT_EQ(hitAt(window, CGPointMake(330, 10)), nullptr) << "outside the window";

  // Interception of the subclass's entry is seen by the next hit test.
  const zu::Method entry =
      zu::class_getInstanceMethod(TouchRoundView::staticClass(), zu::pointInsideSelector());
  const zu::IMP original = zu::method_setImplementation(
      entry, zu::imp(+[](zu::Object*, zu::SEL, CGPoint, const std::shared_ptr<zu::UIEvent>&) {
        return false;
      }));
  EXPECT_EQ(hitAt(window, CGPointMake(110, 110)), outer);
  zu::method_setImplementation(entry, original);
  EXPECT_EQ(hitAt(window, CGPointMake(110, 110)), inner);
}

TEST_F(UITouchDeliveryTest, HiddenTransparentAndNonInteractiveViewsAreSkippedFrontFirst) {
  const auto cover = std::make_shared<TouchRecorder>("cover", &log, CGRectMake(0, 0, 320, 480));
  window->addSubview(cover);
  EXPECT_EQ(hitAt(window, CGPointMake(110, 110)), cover) << "the last subview is in front";
  cover->setHidden(true);
  EXPECT_EQ(hitAt(window, CGPointMake(110, 110)), inner);
  cover->setHidden(false);
  cover->setAlpha(0.009);
  EXPECT_EQ(hitAt(window, CGPointMake(110, 110)), inner);
  cover->setAlpha(0.01);
  EXPECT_EQ(hitAt(window, CGPointMake(110, 110)), cover);
  cover->setUserInteractionEnabled(false);
  EXPECT_EQ(hitAt(window, CGPointMake(110, 110)), inner);
  cover->setUserInteractionEnabled(true);
  window->sendSubviewToBack(cover);
  EXPECT_EQ(hitAt(window, CGPointMake(110, 110)), inner);
  window->addSubview(cover);
  EXPECT_EQ(hitAt(window, CGPointMake(110, 110)), cover) << "re-adding brings it to the front";

  // A non-interactive view keeps touches from its subviews too.
  cover->removeFromSuperview();
  round->setUserInteractionEnabled(false);
  EXPECT_EQ(hitAt(window, CGPointMake(110, 110)), outer);
  window->setHidden(true);
  EXPECT_EQ(hitAt(window, CGPointMake(110, 110)), nullptr) << "a hidden window takes nothing";
}

TEST_F(UITouchDeliveryTest, AGestureStaysWithTheViewItBeganOn) {
  zu::TouchSequence finger(window);
  const auto touch = finger.begin(CGPointMake(110, 110));
  EXPECT_EQ(touch->view(), inner);
  finger.moveTo(CGPointMake(112, 115));
  finger.moveTo(CGPointMake(300, 470));  // far outside inner, and then off the window
  finger.moveTo(CGPointMake(400, 500));
  finger.end();
  EXPECT_EQ(log, (Log{"inner began (25,25)", "inner moved (27,30)", "inner moved (215,385)",
                      "inner moved (315,415)", "inner ended (315,415)"}));
  EXPECT_EQ(touch->phase(), zu::UITouchPhaseEnded);
  EXPECT_EQ(touch->previousLocationInView(nullptr), CGPointMake(300, 470));
  finger.moveTo(CGPointMake(1, 1));
  EXPECT_EQ(log.size(), 5U) << "nothing after the end";

  log.clear();
  finger.begin(CGPointMake(30, 200));
  EXPECT_EQ(finger.touch()->view(), wide);
  finger.cancel();
  EXPECT_EQ(log, (Log{"wide began (10,10)", "wide cancelled (10,10)"}));

  // A gesture beginning where no view takes it reaches nobody.
  log.clear();
  zu::TouchSequence::tap(window, CGPointMake(-5, 10));
  EXPECT_TRUE(log.empty());
}

// A view with its own runtime entry for "touchesBegan:withEvent:", which notes the touch and
// then runs the inherited entry (passing the touch on), and whose "touchesEnded:withEvent:"
// entry sends "touchesCancelled:withEvent:" to itself, which it does not define.
class TouchForwardingView : public zu::UIView {
 public:
  ZU_RUNTIME_CLASS(TouchForwardingView, zu::UIView, &addMethods)
  using UIView::UIView;
  Log* log = nullptr;

 private:
  static void addMethods(zu::Class* cls);
};

void forwardingBegan(zu::Object* self, zu::SEL selector, const std::shared_ptr<zu::NSSet>& touches,
                     const std::shared_ptr<zu::UIEvent>& event) {
  dynamic_cast<TouchForwardingView&>(*self).log->push_back("forwarding began (own entry)");
  zu::objc_msgSendSuper<void, const std::shared_ptr<zu::NSSet>&,
                        const std::shared_ptr<zu::UIEvent>&>(
      self, TouchForwardingView::staticClass()->superclass(), selector, touches, event);
}

void forwardingEnded(zu::Object* self, zu::SEL /*selector*/,
                     const std::shared_ptr<zu::NSSet>& touches,
                     const std::shared_ptr<zu::UIEvent>& event) {
  zu::sendTouches(self, zu::touchesCancelledSelector(), touches, event);
}

void TouchForwardingView::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::touchesBeganSelector(), zu::imp(&forwardingBegan));
  zu::class_addMethod(cls, zu::touchesEndedSelector(), zu::imp(&forwardingEnded));
}

// A screen controller that records the touches that reach it.
class TouchScreen : public zu::UIViewController {
 public:
  explicit TouchScreen(Log* log) : _log(log) {}
  void touchesBegan(const std::shared_ptr<zu::NSSet>& /*touches*/,
                    const std::shared_ptr<zu::UIEvent>& /*event*/) override {
    _log->push_back("screen began");
  }

 private:
  Log* _log;
};

TEST_F(UITouchDeliveryTest, UnhandledTouchesTravelUpTheResponderChain) {
  // A plain view passes touches to its superview.
  const auto plain = std::make_shared<zu::UIView>(CGRectMake(150, 10, 40, 40));
  outer->addSubview(plain);
  zu::TouchSequence::tap(window, CGPointMake(170, 30));
  EXPECT_EQ(log, (Log{"outer began (160,20)", "outer ended (160,20)"}));

  // An own entry that calls the inherited one; a cancel sent to itself runs the inherited
  // "touchesCancelled:withEvent:", which passes the touch on.
  log.clear();
  const auto forwarding = std::make_shared<TouchForwardingView>(CGRectMake(150, 60, 40, 40));
  forwarding->log = &log;
  outer->addSubview(forwarding);
  zu::TouchSequence::tap(window, CGPointMake(170, 80));
  EXPECT_EQ(log, (Log{"forwarding began (own entry)", "outer began (160,70)",
                      "outer cancelled (160,70)"}));

  // A controller's view passes touches to its controller, which by default passes them to the
  // view's superview.
  log.clear();
  const auto screen = std::make_shared<TouchScreen>(&log);
  screen->view()->setFrame(CGRectMake(0, 300, 320, 180));
  window->addSubview(screen->view());
  EXPECT_EQ(screen->view()->nextResponder(), screen);
  EXPECT_EQ(screen->nextResponder(), window);
  EXPECT_EQ(window->nextResponder(), zu::UIApplication::sharedApplication());
  zu::TouchSequence finger(window);
  finger.begin(CGPointMake(100, 400));
  EXPECT_EQ(log, Log{"screen began"});
  finger.end();
}

// The target of buttons' actions: records each action it gets.
class TouchTarget : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(TouchTarget, zu::Object, &addMethods)
  Log log;

 private:
  static void addMethods(zu::Class* cls);
};

void targetTapped(zu::Object* self, zu::SEL /*selector*/, const zu::id& sender) {
  dynamic_cast<TouchTarget&>(*self).log.push_back("tapped: " + zu::object_getClassName(sender));
}
void targetPlain(zu::Object* self, zu::SEL /*selector*/) {
  dynamic_cast<TouchTarget&>(*self).log.push_back("plain");
}
void targetWithEvent(zu::Object* self, zu::SEL /*selector*/, const zu::id& /*sender*/,
                     const std::shared_ptr<zu::UIEvent>& event) {
  dynamic_cast<TouchTarget&>(*self).log.push_back(event ? "with event" : "without event");
}
void targetOutside(zu::Object* self, zu::SEL /*selector*/, const zu::Value& /*sender*/) {
  dynamic_cast<TouchTarget&>(*self).log.push_back("outside");
}

void TouchTarget::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::sel_registerName("tapped:"), zu::imp(&targetTapped));
  zu::class_addMethod(cls, zu::sel_registerName("plain"), zu::imp(&targetPlain));
  zu::class_addMethod(cls, zu::sel_registerName("tapped:forEvent:"), zu::imp(&targetWithEvent));
  zu::class_addMethod(cls, zu::sel_registerName("outside:"), zu::imp(&targetOutside));
}

TEST_F(UITouchDeliveryTest, AButtonActsOnlyOnATouchThatEndsInsideIt) {
  EXPECT_EQ(zu::UIControlEventTouchUpInside, 64U);
  const auto button = zu::UIButton::buttonWithType(zu::UIButtonTypeCustom);
  button->setFrame(CGRectMake(240, 20, 60, 60));
  window->addSubview(button);
  const auto target = std::make_shared<TouchTarget>();
  const zu::SEL tapped = zu::sel_registerName("tapped:");
  button->addTarget(target, tapped, zu::UIControlEventTouchUpInside);
  button->addTarget(target, tapped, zu::UIControlEventTouchUpInside);
  button->addTarget(target, zu::sel_registerName("outside:"), zu::UIControlEventTouchUpOutside);

  zu::TouchSequence::tap(window, CGPointMake(270, 50));
  EXPECT_EQ(target->log, Log{"tapped: UIButton"}) << "registered twice, sent once";

  // Ends outside: no touch-up-inside.
  target->log.clear();
  zu::TouchSequence finger(window);
  finger.begin(CGPointMake(270, 50));
  EXPECT_TRUE(button->isHighlighted());
  finger.moveTo(CGPointMake(270, 150));
  EXPECT_FALSE(button->isHighlighted());
  finger.end();
  EXPECT_EQ(target->log, Log{"outside"});
  EXPECT_FALSE(button->isTracking());

  // Out and back in: the touch that ends inside counts.
  target->log.clear();
  finger.begin(CGPointMake(270, 50));
  finger.moveTo(CGPointMake(100, 400));
  finger.end(CGPointMake(299, 79));
  EXPECT_EQ(target->log, Log{"tapped: UIButton"});

  // A cancelled touch sends nothing but TouchCancel.
  target->log.clear();
  finger.begin(CGPointMake(270, 50));
  finger.cancel();
  EXPECT_TRUE(target->log.empty());

  // Removed, the pair is gone; the other forms of action work.
  button->removeTarget(target, tapped, zu::UIControlEventTouchUpInside);
  EXPECT_EQ(button->actionsForTarget(target, zu::UIControlEventTouchUpInside).size(), 0U);
  button->addTarget(target, zu::sel_registerName("plain"), zu::UIControlEventTouchUpInside);
  button->addTarget(target, zu::sel_registerName("tapped:forEvent:"),
                    zu::UIControlEventTouchUpInside);
  zu::TouchSequence::tap(window, CGPointMake(241, 21));
  EXPECT_EQ(target->log, (Log{"plain", "with event"}));
  button->removeTarget(nullptr, nullptr, zu::UIControlEventAllEvents);
  EXPECT_TRUE(button->allTargets().empty());

  // A disabled button takes no touch: the view behind gets it.
  button->setEnabled(false);
  EXPECT_EQ(hitAt(window, CGPointMake(270, 50)), window);
}

// A screen controller that answers "tapped:" itself.
class TouchChainScreen : public zu::UIViewController {
 public:
  ZU_RUNTIME_CLASS(TouchChainScreen, zu::UIViewController, &addMethods)
  Log log;

 private:
  static void addMethods(zu::Class* cls);
};

void screenTapped(zu::Object* self, zu::SEL /*selector*/, const zu::id& sender) {
  dynamic_cast<TouchChainScreen&>(*self).log.push_back("screen tapped: " +
                                                       zu::object_getClassName(sender));
}

void TouchChainScreen::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::sel_registerName("tapped:"), zu::imp(&screenTapped));
}

TEST_F(UITouchDeliveryTest, ButtonTargetsAreHeldWeaklyAndANilTargetSearchesTheResponderChain) {
  const auto button = std::make_shared<zu::UIButton>(CGRectMake(240, 20, 60, 60));
  window->addSubview(button);
  auto gone = std::make_shared<TouchTarget>();
  button->addTarget(gone, zu::sel_registerName("tapped:"), zu::UIControlEventTouchUpInside);
  const std::weak_ptr<TouchTarget> watch = gone;
  gone.reset();
  EXPECT_TRUE(watch.expired()) << "the button does not keep its target alive";
  EXPECT_TRUE(button->allTargets().empty());
  zu::TouchSequence::tap(window, CGPointMake(270, 50));

  // No target: the first responder up the chain that answers the action, here the controller
  // of the view holding the button.
  const auto screen = std::make_shared<TouchChainScreen>();
  screen->view()->setFrame(window->bounds());
  window->addSubview(screen->view());
  screen->view()->addSubview(button);
  button->addTarget(nullptr, zu::sel_registerName("tapped:"), zu::UIControlEventTouchUpInside);
  zu::TouchSequence::tap(window, CGPointMake(270, 50));
  EXPECT_EQ(screen->log, Log{"screen tapped: UIButton"});

  // Nobody up the chain answers: nothing is sent, nothing is reported.
  screen->view()->removeFromSuperview();
  window->addSubview(button);
  const zukit::test::StderrCapture console;
  zu::TouchSequence::tap(window, CGPointMake(270, 50));
  EXPECT_EQ(console.text(), "");
  EXPECT_EQ(screen->log.size(), 1U);
}

TEST_F(UITouchDeliveryTest, ChangesOffTheMainThreadAreRefusedWithAConsoleLine) {
  const zukit::test::StderrCapture console;
  const auto loose = std::make_shared<zu::UIView>();
  std::thread worker([&] {
    window->addSubview(loose);
    outer->setFrame(CGRectMake(0, 0, 1, 1));
    zu::UIApplication::sharedApplication()->sendEvent(
        std::make_shared<zu::UIEvent>(std::vector<std::shared_ptr<zu::UITouch>>{
            std::make_shared<zu::UITouch>(window, CGPointMake(110, 110))}));
  });
  worker.join();
  EXPECT_EQ(loose->superview(), nullptr);
  EXPECT_EQ(outer->frame(), CGRectMake(20, 20, 200, 240));
  EXPECT_TRUE(log.empty());
  const std::string text = console.text();
  EXPECT_NE(text.find("-[UIView addSubview:] must be called on the main thread; ignored"),
            std::string::npos);
  EXPECT_NE(text.find("-[UIView setFrame:] must be called on the main thread; ignored"),
            std::string::npos);
  EXPECT_NE(text.find("-[UIApplication sendEvent:] must be called on the main thread; ignored"),
            std::string::npos);
}

}  // namespace
