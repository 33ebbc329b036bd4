#include "zukit/platform/ui/UIEvent.h"

#include "zukit/platform/dispatch/DispatchClock.h"
#include "zukit/platform/ui/UITouch.h"
#include "zukit/platform/ui/UIWindow.h"

namespace zu {

UIEvent::UIEvent(const std::vector<std::shared_ptr<UITouch>>& touches)
    : _touches(std::make_shared<NSSet>(std::vector<id>(touches.begin(), touches.end()))),
      _timestamp(static_cast<NSTimeInterval>(DispatchClock::now()) / 1e9) {}

std::shared_ptr<NSSet> UIEvent::touchesForView(const std::shared_ptr<UIView>& view) const {
  std::vector<id> matching;
  for (const id& object : *_touches) {
    const auto touch = std::static_pointer_cast<UITouch>(object);
    if (view && touch->view() == view) matching.push_back(object);
  }
  return std::make_shared<NSSet>(matching);
}

std::shared_ptr<NSSet> UIEvent::touchesForWindow(const std::shared_ptr<UIWindow>& window) const {
  std::vector<id> matching;
  for (const id& object : *_touches) {
    const auto touch = std::static_pointer_cast<UITouch>(object);
    if (window && touch->window() == window) matching.push_back(object);
  }
  return std::make_shared<NSSet>(matching);
}

}  // namespace zu
