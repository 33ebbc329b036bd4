#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/Geometry.h"
#include "zukit/platform/ui/UIView.h"
#include "zukit/ui/ZuFloatingBallChild.h"

// Where a floating ball comes to rest after a drag or a resetFrame(). Any other value leaves
// the ball where it is.
enum ZuFloatingBallStayMode : zu::NSUInteger {
  // The nearer of the left and right screen edges, judged by the ball's centre against the
  // middle of the screen (the middle itself counts as right).
  ZuFloatingBallStayModeAuto = 0,
  // Always the left edge.
  ZuFloatingBallStayModeLeft = 1,
  // Always the right edge.
  ZuFloatingBallStayModeRight = 2,
};

// A round 60-point button that floats above the whole interface on the key window
// (ZuNavigation::keyWindow()), follows a finger that drags it and glides back to a screen edge
// when let go. A tap runs the ball's action, or, when the ball carries menu entries
// (ZuFloatingBallChild, at most six), opens and folds a fan of them around the ball. W and H
// below are the width and height of UIScreen::mainScreen()->bounds(), read afresh at every use.
//
// Touches reach the ball through the view system's event path: the class has its own runtime
// entries for "touchesBegan:withEvent:", "touchesMoved:withEvent:", "touchesEnded:withEvent:"
// and "pointInside:withEvent:" (so interception of them works), and takes the entries' taps with
// "childClicked:". A gesture that ends with the ball's origin more than 2 points from where it
// began, in either axis, is a drag (the ball sends itself "touchesCancelled:withEvent:"); else it
// is a tap (floatingBallClicked()). Either way the ball then glides, over 0.5 s, flush to the
// edge its stay mode picks.
//
// The menu's state changes only when its animations complete: isPopped() becomes true when the
// 0.25 s opening has completed and false when the 0.25 s folding has, so a tap on the ball while
// the fan is opening opens it again. Main thread only; the animation blocks keep the ball alive
// until they have run.
class ZU_EXPORT ZuFloatingBall : public zu::UIView {
 public:
  ZU_RUNTIME_CLASS(ZuFloatingBall, zu::UIView, &ZuFloatingBall::addMethods)

  // The ball's width and height, in points, wherever it is.
  static constexpr zu::CGFloat kSide = 60;

  // initWithFrame:: a ball at (W - 60, 300), 60 x 60 whatever `frame` says, in stay mode Auto,
  // black at alpha 0.3, whose layer's corner radius is half the width of `frame` (so a ball made
  // with the zero rectangle has square corners of its own and shows its round face instead).
  explicit ZuFloatingBall(zu::CGRect frame);
  // initWithFrame:stayMode:: as above, resting as `stayMode` says.
  ZuFloatingBall(zu::CGRect frame, ZuFloatingBallStayMode stayMode);

  // ballWithTitle:background:action:stayMode:: a ball (made with the zero rectangle) whose face
  // is a round, non-interactive ZuFloatingBallChild at its bounds showing `title` in black on
  // `background` (a UIColor or a UIImage held by the Value; anything else gives no background).
  // `action` may be empty. The ball is not shown yet.
  static std::shared_ptr<ZuFloatingBall> ballWithTitle(const zu::Value& title,
                                                       const zu::Value& background,
                                                       std::function<void()> action,
                                                       ZuFloatingBallStayMode stayMode);

  // Unhides the ball, clears its own background (the face shows), puts its layer at z position
  // 100 with a shadow (black at alpha 0.7, offset (-1, 1), opacity 0.6) and adds it to the key
  // window, in front; the position is kept. Without a key window the ball is attached nowhere.
  void show();
  // show(), then moves the ball's origin to `point`, keeping its size.
  void showAtPoint(zu::CGPoint point);
  // Hides the ball and takes it off its window; the menu's state and entries are kept.
  void hide();

  // Adds a menu entry at the end, unless it is there already, there are six, or it is nullptr
  // (silently dropped). An entry added while the fan is open shows when it next opens.
  void addChild(const std::shared_ptr<ZuFloatingBallChild>& child);

  // Animates the ball to its resting place: y kept, 60 x 60, x by side and by the number n of
  // entries (left: 60 for n = 5, 90 for n = 6, else 0; right: W - 120, W - 150, else W - 60), so
  // that a fan of five or six fits on the screen. Auto picks its side by the centre before the
  // animation, over 0.25 s; Left and Right take 0.5 s; other modes do nothing.
  void resetFrame();

  // The tap: runs the action when there is one and no entry; otherwise folds the fan when it is
  // open (isPopped()) and opens it when not.
  void floatingBallClicked();

  // Opens the fan to the left when the ball's left edge is at or right of W/2, else to the
  // right.
  void popSubBtn();
  // Opens the fan: every entry goes beneath the face (subview index = its index), at the ball's
  // size and centre, with the ball as its only touch-up-inside target ("childClicked:"), then
  // moves out by its offset from the fan's table (mirrored left to right when opening to the
  // right) over 0.25 s. When that completes, the fan is open and resetFrame() runs.
  void _popSubBtnToLeft(bool toLeft);
  // Folds the fan: every entry moves back to the ball's centre over 0.25 s; when that
  // completes, the entries leave the ball and the fan is closed. The entries keep their offsets.
  void hideSubBtn();
  // An entry was tapped: folds the fan, then runs the entry's action at once.
  void childClicked(const std::shared_ptr<ZuFloatingBallChild>& child);

  // What a tap runs on a ball without entries; may be empty.
  const std::function<void()>& action() const { return _action; }
  void setAction(std::function<void()> action) { _action = std::move(action); }

  // Where the ball comes to rest.
  ZuFloatingBallStayMode stayMode() const { return _stayMode; }
  // The menu entries, in the order they were added.
  const std::vector<std::shared_ptr<ZuFloatingBallChild>>& children() const { return _children; }
  // True from the end of an opening animation to the end of a folding one.
  bool isPopped() const { return _isPopped; }
  // The side the fan last opened to: 0 left, 1 right.
  zu::NSInteger popDirection() const { return _popDirection; }

 private:
  static void addMethods(zu::Class* cls);

  // The class's runtime entries.
  static void touchesBeganEntry(zu::Object* self, zu::SEL selector,
                                const std::shared_ptr<zu::NSSet>& touches,
                                const std::shared_ptr<zu::UIEvent>& event);
  static void touchesMovedEntry(zu::Object* self, zu::SEL selector,
                                const std::shared_ptr<zu::NSSet>& touches,
                                const std::shared_ptr<zu::UIEvent>& event);
  static void touchesEndedEntry(zu::Object* self, zu::SEL selector,
                                const std::shared_ptr<zu::NSSet>& touches,
                                const std::shared_ptr<zu::UIEvent>& event);
  static bool pointInsideEntry(zu::Object* self, zu::SEL selector, zu::CGPoint point,
                               const std::shared_ptr<zu::UIEvent>& event);
  static void childClickedEntry(zu::Object* self, zu::SEL selector, const zu::id& child);

  // This ball as a shared pointer, for the animation blocks to hold.
  std::shared_ptr<ZuFloatingBall> strongBall() const;
  // True for the left edge, false for the right, nothing for a mode that stays put.
  std::optional<bool> restsOnLeft() const;

  zu::CGPoint _touchPoint;
  zu::CGFloat _touchBtnX = 0;
  zu::CGFloat _touchBtnY = 0;
  ZuFloatingBallStayMode _stayMode = ZuFloatingBallStayModeAuto;
  zu::NSInteger _popDirection = 0;
  std::vector<std::shared_ptr<ZuFloatingBallChild>> _children;
  bool _isPopped = false;
  std::function<void()> _action;
};
