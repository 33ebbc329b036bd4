#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "zukit/platform/dispatch/DispatchQueue.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NSNotification.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/ObjectRef.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/runtime/Selector.h"

namespace zu {

// The block an observer registers: called with each notification it matches.
using NSNotificationBlock = std::function<void(const std::shared_ptr<NSNotification>&)>;

// Delivers notifications inside the process. An observation matches a notification when its
// name is the notification's name (no name: every name) and its object is the notification's
// object (no object: any sender; objects compare by identity). Posting delivers synchronously
// on the posting thread, to the observations registered when the post began, in the order they
// were added; one removed while a post is under way on the same thread is skipped from then on,
// one added meanwhile waits for the next post. Safe from any thread; no lock is held while an
// observer runs, so observers may post, add and remove freely.
class ZU_EXPORT NSNotificationCenter final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSNotificationCenter, Object)
  // The process's default centre, made on first use and never destroyed.
  static std::shared_ptr<NSNotificationCenter> defaultCenter();

  // An empty centre of its own.
  NSNotificationCenter();
  ~NSNotificationCenter() override;

  // Registers `block` for notifications named `name` (absent, NSNull or empty: every name)
  // from `object` (none: any sender). With a queue the block is submitted to that queue, and
  // the post does not wait for it; without one it runs on the posting thread. Returns the
  // observer token, which removeObserver() takes; the centre keeps the registration until then,
  // whether or not the caller keeps the token. A missing block registers nothing (none).
  id addObserverForName(const Value& name, const id& object, const dispatch_queue_t& queue,
                        NSNotificationBlock block);
  // Registers `observer` to be sent `selector` with the notification (the method takes the
  // notification as a `const Value&`, Value, `const id&` or id argument) for notifications
  // named `name` from `object`, matched as above. The centre holds the observer weakly: once it
  // is gone it is sent nothing and its registrations lapse. No observer or selector: a no-op.
  void addObserver(const id& observer, SEL selector, const Value& name, const id& object);
  // Removes every registration of `observer` (a token or a target).
  void removeObserver(ObjectRef observer);
  // Removes `observer`'s registrations for `name` (absent: any name) from `object` (none: any).
  void removeObserver(ObjectRef observer, const Value& name, ObjectRef object);

  // Posts a notification named `name` from `object`, without user information. A name that is
  // absent, NSNull or empty posts nothing.
  void postNotificationName(const Value& name, const id& object);
  // Posts a notification named `name` from `object` with `userInfo`.
  void postNotificationName(const Value& name, const id& object, const Value& userInfo);
  // Posts `notification`; none posts nothing.
  void postNotification(const std::shared_ptr<NSNotification>& notification);

 private:
  struct Observation;

  void add(std::shared_ptr<Observation> observation);
  std::vector<std::shared_ptr<Observation>> matching(const NSNotification& notification);
  static void deliver(const Observation& observation,
                      const std::shared_ptr<NSNotification>& notification);

  Mutex _mutex;
  std::vector<std::shared_ptr<Observation>> _observations ZU_GUARDED_BY(_mutex);
};

}  // namespace zu
