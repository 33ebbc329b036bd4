#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/ui/UIView.h"

namespace zu {

// The events a control sends actions for (a bit mask).
enum UIControlEvents : std::uint64_t {
  UIControlEventTouchDown = 1U << 0U,
  UIControlEventTouchDownRepeat = 1U << 1U,
  UIControlEventTouchDragInside = 1U << 2U,
  UIControlEventTouchDragOutside = 1U << 3U,
  UIControlEventTouchDragEnter = 1U << 4U,
  UIControlEventTouchDragExit = 1U << 5U,
  UIControlEventTouchUpInside = 1U << 6U,
  UIControlEventTouchUpOutside = 1U << 7U,
  UIControlEventTouchCancel = 1U << 8U,
  UIControlEventValueChanged = 1U << 12U,
  UIControlEventPrimaryActionTriggered = 1U << 13U,
  UIControlEventAllTouchEvents = 0x00000FFFU,
  UIControlEventAllEvents = 0xFFFFFFFFU,
};

// The states a control's look depends on (a bit mask; normal is none of them).
enum UIControlState : std::uint64_t {
  UIControlStateNormal = 0,
  UIControlStateHighlighted = 1U << 0U,
  UIControlStateDisabled = 1U << 1U,
  UIControlStateSelected = 1U << 2U,
};

// A view that turns touches into actions: target-action pairs registered for control events.
// A touch that begins on an enabled control is tracked until it ends: it sends TouchDown, then
// TouchDragInside/Outside (with Enter/Exit on crossing) while it moves, and TouchUpInside when it
// ends inside the control (as "pointInside:withEvent:" judges, through the runtime), else
// TouchUpOutside; a cancelled touch sends TouchCancel.
//
// An action is sent through the runtime: "name:" with the control as the argument (any of the
// implementation types performSelector() takes, such as void (*)(Object*, SEL, const id&)),
// "name" without arguments, or "name:forEvent:" with the control and the event (void
// (*)(Object*, SEL, const id&, const std::shared_ptr<UIEvent>&)). Targets are held weakly: a
// target that has gone is skipped. A missing target means the first object up the responder
// chain, from the control, that answers the action. Main thread only.
class ZU_EXPORT UIControl : public UIView {
 public:
  ZU_RUNTIME_CLASS(UIControl, UIView)

  UIControl() = default;
  // initWithFrame:.
  explicit UIControl(CGRect frame) : UIView(frame) {}

  // addTarget:action:forControlEvents:: registers `action` on `target` for `events`; adding a
  // pair that is registered already adds the events to it. Nothing for no action or no events.
  void addTarget(const id& target, SEL action, std::uint64_t events);
  // removeTarget:action:forControlEvents:: removes `events` from the pairs of `target` (every
  // target for none) and `action` (every action for none); pairs left without events go.
  void removeTarget(const id& target, SEL action, std::uint64_t events);
  // The targets registered, nullptr standing for the responder chain; gone ones left out.
  std::vector<id> allTargets() const;
  // The actions registered on `target` for any of `events`.
  std::vector<SEL> actionsForTarget(const id& target, std::uint64_t events) const;
  // The union of the events of every pair.
  std::uint64_t allControlEvents() const;

  // Sends the actions registered for any of `events`, in registration order.
  void sendActionsForControlEvents(std::uint64_t events);
  // Sends `action` to `target` (the responder chain for none) with this control as sender.
  void sendAction(SEL action, const id& target, const std::shared_ptr<UIEvent>& event);

  // A disabled control takes no touches and draws as such; enabled by default.
  bool isEnabled() const { return _enabled; }
  void setEnabled(bool enabled);
  // True while a touch that began on the control is inside it.
  bool isHighlighted() const { return _highlighted; }
  void setHighlighted(bool highlighted);
  bool isSelected() const { return _selected; }
  void setSelected(bool selected);
  // True while a touch is tracked, and whether it is inside the control.
  bool isTracking() const { return _tracking; }
  bool isTouchInside() const { return _touchInside; }
  // The current state: highlighted, disabled and selected bits.
  std::uint64_t state() const;

  // A disabled control takes no touches.
  std::shared_ptr<UIView> hitTest(CGPoint point, const std::shared_ptr<UIEvent>& event) override;
  // Touch tracking (see the class comment). The touches are not passed on.
  void touchesBegan(const std::shared_ptr<NSSet>& touches,
                    const std::shared_ptr<UIEvent>& event) override;
  void touchesMoved(const std::shared_ptr<NSSet>& touches,
                    const std::shared_ptr<UIEvent>& event) override;
  void touchesEnded(const std::shared_ptr<NSSet>& touches,
                    const std::shared_ptr<UIEvent>& event) override;
  void touchesCancelled(const std::shared_ptr<NSSet>& touches,
                        const std::shared_ptr<UIEvent>& event) override;

 private:
  struct TargetAction {
    std::weak_ptr<Object> target;
    bool hasTarget = false;
    SEL action = nullptr;
    std::uint64_t events = 0;
  };

  bool isInside(const std::shared_ptr<NSSet>& touches, const std::shared_ptr<UIEvent>& event);
  void sendActions(std::uint64_t events, const std::shared_ptr<UIEvent>& event);

  std::vector<TargetAction> _targetActions;
  bool _enabled = true;
  bool _highlighted = false;
  bool _selected = false;
  bool _tracking = false;
  bool _touchInside = false;
};

}  // namespace zu
