#include "zukit/platform/ui/UIControl.h"

#include <algorithm>
#include <string_view>

#include "zukit/platform/ui/MainThreadCheck.h"
#include "zukit/platform/ui/UIEvent.h"
#include "zukit/platform/ui/UITouch.h"

namespace zu {

namespace {

bool sameTarget(const std::weak_ptr<Object>& registered, bool hasTarget, const id& target) {
  if (!hasTarget) return !target;
  return target && registered.lock() == target;
}

}  // namespace

void UIControl::addTarget(const id& target, SEL action, std::uint64_t events) {
  if (!detail::onMainThreadOrRefuse("-[UIControl addTarget:action:forControlEvents:]")) return;
  if (action == nullptr || events == 0) return;
  for (TargetAction& entry : _targetActions) {
    if (entry.action == action && sameTarget(entry.target, entry.hasTarget, target)) {
      entry.events |= events;
      return;
    }
  }
  _targetActions.push_back(TargetAction{target, target != nullptr, action, events});
}

void UIControl::removeTarget(const id& target, SEL action, std::uint64_t events) {
  if (!detail::onMainThreadOrRefuse("-[UIControl removeTarget:action:forControlEvents:]")) return;
  for (TargetAction& entry : _targetActions) {
    const bool targetMatches = !target || sameTarget(entry.target, entry.hasTarget, target);
    if (targetMatches && (action == nullptr || entry.action == action)) entry.events &= ~events;
  }
  _targetActions.erase(std::remove_if(_targetActions.begin(), _targetActions.end(),
                                      [](const TargetAction& entry) { return entry.events == 0; }),
                       _targetActions.end());
}

std::vector<id> UIControl::allTargets() const {
  std::vector<id> targets;
  for (const TargetAction& entry : _targetActions) {
    id target = entry.target.lock();
    if (entry.hasTarget && !target) continue;
    if (std::find(targets.begin(), targets.end(), target) == targets.end()) {
      targets.push_back(std::move(target));
    }
  }
  return targets;
}

std::vector<SEL> UIControl::actionsForTarget(const id& target, std::uint64_t events) const {
  std::vector<SEL> actions;
  for (const TargetAction& entry : _targetActions) {
    if ((entry.events & events) != 0 && sameTarget(entry.target, entry.hasTarget, target)) {
      actions.push_back(entry.action);
    }
  }
  return actions;
}

std::uint64_t UIControl::allControlEvents() const {
  std::uint64_t events = 0;
  for (const TargetAction& entry : _targetActions)
    events |= entry.events;
  return events;
}

void UIControl::sendActionsForControlEvents(std::uint64_t events) {
  if (!detail::onMainThreadOrRefuse("-[UIControl sendActionsForControlEvents:]")) return;
  sendActions(events, nullptr);
}

void UIControl::sendActions(std::uint64_t events, const std::shared_ptr<UIEvent>& event) {
  // A snapshot: an action may change the registrations.
  const std::vector<TargetAction> registered = _targetActions;
  for (const TargetAction& entry : registered) {
    if ((entry.events & events) == 0) continue;
    const id target = entry.target.lock();
    if (entry.hasTarget && !target) continue;
    sendAction(entry.action, target, event);
  }
}

void UIControl::sendAction(SEL action, const id& target, const std::shared_ptr<UIEvent>& event) {
  if (action == nullptr) return;
  const std::shared_ptr<UIView> self = strongSelf();
  id receiver = target;
  if (!receiver) {
    for (std::shared_ptr<UIResponder> responder = self; responder;
         responder = responder->nextResponder()) {
      if (respondsToSelector(responder, action)) {
        receiver = responder;
        break;
      }
    }
    if (!receiver) return;
  }
  const std::string_view name = sel_getName(action);
  const auto arguments = std::count(name.begin(), name.end(), ':');
  if (arguments == 0) {
    performSelector(receiver, action);
  } else if (arguments == 1) {
    performSelector(receiver, action, Value(self));
  } else {
    objc_msgSend<void, const id&, const std::shared_ptr<UIEvent>&>(receiver, action, id(self),
                                                                   event);
  }
}

void UIControl::setEnabled(bool enabled) {
  if (!detail::onMainThreadOrRefuse("-[UIControl setEnabled:]")) return;
  _enabled = enabled;
}

void UIControl::setHighlighted(bool highlighted) {
  if (!detail::onMainThreadOrRefuse("-[UIControl setHighlighted:]")) return;
  _highlighted = highlighted;
}

void UIControl::setSelected(bool selected) {
  if (!detail::onMainThreadOrRefuse("-[UIControl setSelected:]")) return;
  _selected = selected;
}

std::uint64_t UIControl::state() const {
  std::uint64_t bits = UIControlStateNormal;
  if (_highlighted) bits |= UIControlStateHighlighted;
  if (!_enabled) bits |= UIControlStateDisabled;
  if (_selected) bits |= UIControlStateSelected;
  return bits;
}

std::shared_ptr<UIView> UIControl::hitTest(CGPoint point, const std::shared_ptr<UIEvent>& event) {
  if (!_enabled) return nullptr;
  return UIView::hitTest(point, event);
}

bool UIControl::isInside(const std::shared_ptr<NSSet>& touches,
                         const std::shared_ptr<UIEvent>& event) {
  const std::shared_ptr<UITouch> touch = touches ? touches->anyObject<UITouch>() : nullptr;
  if (!touch) return false;
  const std::shared_ptr<UIView> self = strongSelf();
  return objc_msgSend<bool, CGPoint, const std::shared_ptr<UIEvent>&>(
      self, pointInsideSelector(), touch->locationInView(self), event);
}

void UIControl::touchesBegan(const std::shared_ptr<NSSet>& /*touches*/,
                             const std::shared_ptr<UIEvent>& event) {
  if (!_enabled) return;
  _tracking = true;
  _touchInside = true;
  _highlighted = true;
  sendActions(UIControlEventTouchDown, event);
}

void UIControl::touchesMoved(const std::shared_ptr<NSSet>& touches,
                             const std::shared_ptr<UIEvent>& event) {
  if (!_tracking) return;
  const bool inside = isInside(touches, event);
  if (inside != _touchInside) {
    _touchInside = inside;
    _highlighted = inside;
    sendActions(inside ? UIControlEventTouchDragEnter : UIControlEventTouchDragExit, event);
  }
  sendActions(inside ? UIControlEventTouchDragInside : UIControlEventTouchDragOutside, event);
}

void UIControl::touchesEnded(const std::shared_ptr<NSSet>& touches,
                             const std::shared_ptr<UIEvent>& event) {
  if (!_tracking) return;
  const bool inside = isInside(touches, event);
  _tracking = false;
  _touchInside = inside;
  _highlighted = false;
  sendActions(inside ? UIControlEventTouchUpInside : UIControlEventTouchUpOutside, event);
}

void UIControl::touchesCancelled(const std::shared_ptr<NSSet>& /*touches*/,
                                 const std::shared_ptr<UIEvent>& event) {
  if (!_tracking) return;
  _tracking = false;
  _touchInside = false;
  _highlighted = false;
  sendActions(UIControlEventTouchCancel, event);
}

}  // namespace zu
