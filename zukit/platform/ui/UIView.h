#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/ui/CALayer.h"
#include "zukit/platform/ui/Geometry.h"
#include "zukit/platform/ui/UIColor.h"
#include "zukit/platform/ui/UIResponder.h"

namespace zu {

class CGContext;
class UIEvent;
class UIView;
class UIViewController;
class UIWindow;

namespace detail {
struct ViewAnimation;
}  // namespace detail

// The runtime type of "pointInside:withEvent:": true when `point`, in the receiver's own
// coordinates, belongs to it. A subclass with its own entry uses exactly this function type.
using UIPointInsideFunction = bool (*)(Object* self, SEL selector, CGPoint point,
                                       const std::shared_ptr<UIEvent>& event);
// The runtime type of "hitTest:withEvent:": the deepest view at `point` (receiver's
// coordinates) that takes touches, or nullptr.
using UIHitTestFunction = std::shared_ptr<UIView> (*)(Object* self, SEL selector, CGPoint point,
                                                      const std::shared_ptr<UIEvent>& event);

// A rectangular area of the screen and the base of everything shown: a frame in its superview,
// its own coordinate system (bounds), a background, a layer, and an ordered list of subviews, the
// last of which is in front. Views are made with std::make_shared (a subclass's constructor is
// its initWithFrame:) and are used on the main thread only: a method that changes a view, called
// elsewhere, is refused with a console line and changes nothing.
//
// Geometry: the frame is derived from the centre and the bounds' size, so setting the bounds
// resizes the view around its centre. A change of size lays the view out at once
// (layoutSubviews()).
//
// Touches: UIApplication::sendEvent finds the view under a finger with "hitTest:withEvent:",
// which skips hidden, transparent (alpha below 0.01) and non-interactive views, asks each view
// with "pointInside:withEvent:" whether the point belongs to it, and looks through the subviews
// from the last (front) to the first. Both are runtime methods, so a subclass's own entries
// decide; their default entries call the C++ virtuals hitTest() and pointInside().
//
// Animations: inside the animations block of animateWithDuration, the new values of frame,
// bounds, center, alpha and backgroundColor take effect at once, and the completion runs on the
// main queue once the duration has passed on the dispatch clock (ManualClock in tests), with
// finished true; or as soon as a later animation (with a positive duration) takes over one of
// the properties it animated, with finished false. Setting a property again in the same block,
// or outside any block, takes nothing over.
class ZU_EXPORT UIView : public UIResponder {
 public:
  ZU_RUNTIME_CLASS(UIView, UIResponder, &UIView::addMethods)

  // initWithFrame: with the zero rectangle.
  UIView();
  // initWithFrame:.
  explicit UIView(CGRect frame);
  ~UIView() override;
  UIView(const UIView&) = delete;
  UIView& operator=(const UIView&) = delete;

  // The rectangle the view takes in its superview's coordinates.
  CGRect frame() const;
  void setFrame(CGRect frame);
  // The view's own coordinate system: the origin is what its top-left corner shows.
  CGRect bounds() const { return _bounds; }
  void setBounds(CGRect bounds);
  // The centre of the frame, in the superview's coordinates.
  CGPoint center() const { return _center; }
  void setCenter(CGPoint center);

  // Hidden views are neither drawn nor hit by touches; false by default.
  bool isHidden() const { return _hidden; }
  void setHidden(bool hidden);
  // Opacity from 0 to 1 (clamped); 1 by default.
  CGFloat alpha() const { return _alpha; }
  void setAlpha(CGFloat alpha);
  // The colour that fills the bounds, with the layer's corner radius; none (transparent) by
  // default.
  std::shared_ptr<UIColor> backgroundColor() const { return _backgroundColor; }
  void setBackgroundColor(std::shared_ptr<UIColor> color);
  // False keeps touches from the view and its subviews; true by default.
  bool isUserInteractionEnabled() const { return _userInteractionEnabled; }
  void setUserInteractionEnabled(bool enabled);
  // The layer's masksToBounds.
  bool clipsToBounds() const;
  void setClipsToBounds(bool clips);
  // A number the host gives the view, for viewWithTag(); 0 by default.
  NSInteger tag() const { return _tag; }
  void setTag(NSInteger tag);
  // The view's layer.
  const std::shared_ptr<CALayer>& layer() const { return _layer; }

  // The view this one is a subview of, or nullptr.
  std::shared_ptr<UIView> superview() const { return _superview.lock(); }
  // The subviews, back to front (a copy: changing the tree does not change it).
  std::vector<std::shared_ptr<UIView>> subviews() const { return _subviews; }
  // The number of subviews.
  std::size_t subviewCount() const { return _subviews.size(); }
  // The window the view is in (itself for a window), or nullptr.
  virtual std::shared_ptr<UIWindow> window() const;
  // Adds `view` in front of the other subviews, taking it from its superview first; a view that
  // is a subview already comes to the front. Adding nothing, the view itself or one of its
  // ancestors is refused with a console line.
  void addSubview(const std::shared_ptr<UIView>& view);
  // insertSubview:atIndex:: puts `view` at `index` of the subviews (clamped to 0...count),
  // taking it from its superview (this one included) first. Refused as addSubview.
  void insertSubview(const std::shared_ptr<UIView>& view, NSInteger index);
  // Takes the view out of its superview; nothing for a view without one.
  void removeFromSuperview();
  // Moves a subview to the front or to the back; nothing for a view that is not a subview.
  void bringSubviewToFront(const std::shared_ptr<UIView>& view);
  void sendSubviewToBack(const std::shared_ptr<UIView>& view);
  // True when `view` is this view or one of its ancestors.
  bool isDescendantOfView(const std::shared_ptr<UIView>& view) const;
  // The first view with `tag` in a depth-first search from this one (itself included).
  std::shared_ptr<UIView> viewWithTag(NSInteger tag);

  // Converts between this view's coordinates and `view`'s (the window's, or the root view's
  // when the view is in no window, for nullptr). Views in different trees convert through their
  // roots' frames, as windows on one screen do.
  CGPoint convertPointToView(CGPoint point, const std::shared_ptr<UIView>& view) const;
  CGPoint convertPointFromView(CGPoint point, const std::shared_ptr<UIView>& view) const;
  CGRect convertRectToView(CGRect rect, const std::shared_ptr<UIView>& view) const;
  CGRect convertRectFromView(CGRect rect, const std::shared_ptr<UIView>& view) const;

  // Called by the class's "hitTest:withEvent:" entry: nullptr for a hidden, transparent or
  // non-interactive view or when "pointInside:withEvent:" says no; else the first subview, from
  // the front, whose "hitTest:withEvent:" finds a view; else this view.
  virtual std::shared_ptr<UIView> hitTest(CGPoint point, const std::shared_ptr<UIEvent>& event);
  // Called by the class's "pointInside:withEvent:" entry: true when `point` lies in the bounds.
  virtual bool pointInside(CGPoint point, const std::shared_ptr<UIEvent>& event);

  // Lays out the subviews after a change of size; by default tells the controller whose view
  // this is (UIViewController::viewDidLayoutSubviews).
  virtual void layoutSubviews();
  // Draws the view's own content over its background (text, images) in its own coordinates;
  // nothing by default. Called by ViewRenderer.
  virtual void drawRect(CGContext& context, CGRect rect) const;

  // The controller whose view this is, else the superview.
  std::shared_ptr<UIResponder> nextResponder() const override;
  // The controller whose view this is, or nullptr.
  std::shared_ptr<UIViewController> viewController() const { return _viewController.lock(); }

  // animateWithDuration:animations:: applies what `animations` sets at once; see the class
  // comment. Main thread only.
  static void animateWithDuration(NSTimeInterval duration, const std::function<void()>& animations);
  // animateWithDuration:animations:completion:: as above, then `completion(finished)` runs on
  // the main queue: after `duration` seconds of the dispatch clock with true; at once with true
  // when the block animated nothing or the duration is not positive; or, with false, as soon as
  // a later animation takes over a property this one animated. Called off the main thread it is
  // refused with a console line: neither block runs.
  static void animateWithDuration(NSTimeInterval duration, const std::function<void()>& animations,
                                  std::function<void(bool finished)> completion);

  // "<ClassName: 0x...; frame = (x y; w h); ...>".
  std::string description() const override;

 protected:
  // This view as a shared pointer (nullptr while it is not owned by one).
  std::shared_ptr<UIView> strongSelf() const;
  // Initial values for the constructors of subclasses, which may run on any thread (no
  // main-thread check, no animation).
  void initHidden(bool hidden) { _hidden = hidden; }
  void initUserInteractionEnabled(bool enabled) { _userInteractionEnabled = enabled; }
  void initBackgroundColor(std::shared_ptr<UIColor> color) { _backgroundColor = std::move(color); }

 private:
  friend class UIViewController;
  static void addMethods(Class* cls);

  // The properties that animations track.
  enum class AnimatedProperty : std::uint8_t { Position, Bounds, Opacity, BackgroundColor };
  static constexpr std::size_t kAnimatedPropertyCount = 4;
  void noteAnimatedChange(AnimatedProperty property);
  bool insertSubviewChecked(const std::shared_ptr<UIView>& view, NSInteger index,
                            const char* method);
  void detachFromSuperview();
  void setGeometry(CGRect bounds, CGPoint center);

  CGPoint _center;
  CGRect _bounds;
  bool _hidden = false;
  CGFloat _alpha = 1;
  std::shared_ptr<UIColor> _backgroundColor;
  bool _userInteractionEnabled = true;
  NSInteger _tag = 0;
  const std::shared_ptr<CALayer> _layer;
  std::weak_ptr<UIView> _superview;
  std::vector<std::shared_ptr<UIView>> _subviews;
  std::weak_ptr<UIViewController> _viewController;
  // The animation in flight for each tracked property.
  std::array<std::weak_ptr<detail::ViewAnimation>, kAnimatedPropertyCount> _animations;
};

// The selectors "pointInside:withEvent:" and "hitTest:withEvent:".
ZU_EXPORT SEL pointInsideSelector();
ZU_EXPORT SEL hitTestSelector();

}  // namespace zu
