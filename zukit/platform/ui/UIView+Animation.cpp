// UIView's animations: values applied at once, completions on the main queue after the duration
// on the dispatch clock, or early (finished false) when a later animation takes over.

#include <cmath>
#include <cstdint>
#include <limits>

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/ui/MainThreadCheck.h"
#include "zukit/platform/ui/UIView.h"
#include "zukit/platform/ui/ViewAnimation.h"

namespace zu {

namespace detail {

std::vector<std::shared_ptr<ViewAnimation>>& ViewAnimation::openAnimations() {
  thread_local std::vector<std::shared_ptr<ViewAnimation>> open;
  return open;
}

void ViewAnimation::finish(bool finished) {
  if (done) return;
  done = true;
  DispatchClock::cancel(std::exchange(ticket, 0));
  const std::function<void(bool)> callback = std::move(completion);
  completion = nullptr;
  if (callback) callback(finished);
}

void ViewAnimation::supersede() {
  if (done) return;
  done = true;
  DispatchClock::cancel(std::exchange(ticket, 0));
  std::function<void(bool)> callback = std::move(completion);
  completion = nullptr;
  if (callback) {
    dispatch_async(dispatch_get_main_queue(),
                   [callback = std::move(callback)] { callback(false); });
  }
}

}  // namespace detail

namespace {

// Keeps an animations block on the stack of open ones while it runs.
class OpenAnimationScope {
 public:
  explicit OpenAnimationScope(std::shared_ptr<detail::ViewAnimation> animation) {
    detail::ViewAnimation::openAnimations().push_back(std::move(animation));
  }
  ~OpenAnimationScope() { detail::ViewAnimation::openAnimations().pop_back(); }
  OpenAnimationScope(const OpenAnimationScope&) = delete;
  OpenAnimationScope& operator=(const OpenAnimationScope&) = delete;
};

}  // namespace

void UIView::noteAnimatedChange(AnimatedProperty property) {
  auto& open = detail::ViewAnimation::openAnimations();
  if (open.empty()) return;
  const std::shared_ptr<detail::ViewAnimation>& current = open.back();
  current->animatedSomething = true;
  if (!current->hasDuration) return;
  std::weak_ptr<detail::ViewAnimation>& slot = _animations.at(static_cast<std::size_t>(property));
  const std::shared_ptr<detail::ViewAnimation> previous = slot.lock();
  if (previous && previous != current) previous->supersede();
  slot = current;
}

void UIView::animateWithDuration(NSTimeInterval duration, const std::function<void()>& animations) {
  animateWithDuration(duration, animations, nullptr);
}

void UIView::animateWithDuration(NSTimeInterval duration, const std::function<void()>& animations,
                                 std::function<void(bool finished)> completion) {
  if (!detail::onMainThreadOrRefuse("+[UIView animateWithDuration:animations:completion:]")) return;
  auto animation = std::make_shared<detail::ViewAnimation>();
  animation->completion = std::move(completion);
  animation->hasDuration = duration > 0 && std::isfinite(duration);
  {
    const OpenAnimationScope scope(animation);
    if (animations) animations();
  }
  if (animation->done) return;
  if (!animation->hasDuration || !animation->animatedSomething) {
    dispatch_async(dispatch_get_main_queue(), [animation] { animation->finish(true); });
    return;
  }
  const double nanoseconds =
      std::min(duration * 1e9, static_cast<double>(std::numeric_limits<std::int64_t>::max()) / 2);
  const dispatch_time_t deadline =
      dispatch_time(DISPATCH_TIME_NOW, static_cast<std::int64_t>(nanoseconds));
  animation->ticket = DispatchClock::schedule(deadline, [animation] {
    dispatch_async(dispatch_get_main_queue(), [animation] { animation->finish(true); });
  });
}

}  // namespace zu
