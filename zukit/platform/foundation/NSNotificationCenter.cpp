#include "zukit/platform/foundation/NSNotificationCenter.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <string>
#include <utility>

#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/runtime/MessageSend.h"

namespace zu {

namespace {

// The token addObserverForName() returns: stands for its registration.
class NotificationObserverToken final : public Object {
 public:
  std::string className() const override { return "__NSObserver"; }
};

// An object compared by identity without keeping it alive: its address, valid only while the
// weak reference has not lapsed (so a new object at a reused address never matches).
struct ObjectIdentity {
  const Object* address = nullptr;
  weak_id weak;

  static ObjectIdentity of(const id& object) { return ObjectIdentity{object.get(), object}; }
  bool isSet() const { return address != nullptr; }
  bool is(const Object* object) const {
    return object != nullptr && object == address && !weak.expired();
  }
};

}  // namespace

struct NSNotificationCenter::Observation {
  std::optional<std::string> name;  // none: every name
  ObjectIdentity object;            // not set: any sender
  ObjectIdentity observer;          // the token or the target
  id token;                         // kept for a block observation, so its identity stays valid
  SEL selector = nullptr;
  NSNotificationBlock block;
  dispatch_queue_t queue;
  std::atomic<bool> removed{false};

  bool matches(const NSNotification& notification) const {
    if (name && *name != notification.name()) return false;
    return !object.isSet() || object.is(notification.object().get());
  }
  // A target that is gone can be sent nothing: its registration has lapsed.
  bool lapsed() const { return !token && observer.weak.expired(); }
};

std::shared_ptr<NSNotificationCenter> NSNotificationCenter::defaultCenter() {
  static NoDestructor<std::shared_ptr<NSNotificationCenter>> center(
      std::make_shared<NSNotificationCenter>());
  return *center;
}

NSNotificationCenter::NSNotificationCenter() = default;

NSNotificationCenter::~NSNotificationCenter() = default;

id NSNotificationCenter::addObserverForName(const Value& name, const id& object,
                                            const dispatch_queue_t& queue,
                                            NSNotificationBlock block) {
  if (!block) return nullptr;
  auto observation = std::make_shared<Observation>();
  observation->name = validText(name);
  observation->object = ObjectIdentity::of(object);
  observation->token = std::make_shared<NotificationObserverToken>();
  observation->observer = ObjectIdentity::of(observation->token);
  observation->block = std::move(block);
  observation->queue = queue;
  id token = observation->token;
  add(std::move(observation));
  return token;
}

void NSNotificationCenter::addObserver(const id& observer, SEL selector, const Value& name,
                                       const id& object) {
  if (!observer || selector == nullptr) return;
  auto observation = std::make_shared<Observation>();
  observation->name = validText(name);
  observation->object = ObjectIdentity::of(object);
  observation->observer = ObjectIdentity::of(observer);
  observation->selector = selector;
  add(std::move(observation));
}

void NSNotificationCenter::add(std::shared_ptr<Observation> observation) {
  const MutexLock lock(_mutex);
  std::erase_if(_observations, [](const auto& entry) { return entry->lapsed(); });
  _observations.push_back(std::move(observation));
}

void NSNotificationCenter::removeObserver(ObjectRef observer) {
  removeObserver(observer, Value(), nullptr);
}

void NSNotificationCenter::removeObserver(ObjectRef observer, const Value& name, ObjectRef object) {
  if (!observer) return;
  const std::optional<std::string> onlyName = validText(name);
  const MutexLock lock(_mutex);
  std::erase_if(_observations, [&](const std::shared_ptr<Observation>& entry) {
    const bool remove = entry->lapsed() || (entry->observer.is(observer.get()) &&
                                            (!onlyName || entry->name == onlyName) &&
                                            (!object || entry->object.is(object.get())));
    // A post under way holds its own list: the flag makes it skip the entry from now on.
    if (remove) entry->removed.store(true, std::memory_order_release);
    return remove;
  });
}

void NSNotificationCenter::postNotificationName(const Value& name, const id& object) {
  postNotificationName(name, object, Value());
}

void NSNotificationCenter::postNotificationName(const Value& name, const id& object,
                                                const Value& userInfo) {
  std::optional<std::string> text = validText(name);
  if (!text) return;
  postNotification(NSNotification::notificationWithName(std::move(*text), object, userInfo));
}

void NSNotificationCenter::postNotification(const std::shared_ptr<NSNotification>& notification) {
  if (!notification || notification->name().empty()) return;
  for (const auto& observation : matching(*notification)) {
    if (observation->removed.load(std::memory_order_acquire)) continue;
    deliver(*observation, notification);
  }
}

std::vector<std::shared_ptr<NSNotificationCenter::Observation>> NSNotificationCenter::matching(
    const NSNotification& notification) {
  std::vector<std::shared_ptr<Observation>> list;
  const MutexLock lock(_mutex);
  for (const auto& observation : _observations) {
    if (observation->matches(notification)) list.push_back(observation);
  }
  return list;
}

void NSNotificationCenter::deliver(const Observation& observation,
                                   const std::shared_ptr<NSNotification>& notification) {
  if (observation.block) {
    if (observation.queue) {
      observation.queue->async([block = observation.block, notification] { block(notification); });
    } else {
      observation.block(notification);
    }
    return;
  }
  // The target is held only for the length of the send.
  const id target = observation.observer.weak.lock();
  if (target) performSelector(target, observation.selector, Value(notification));
}

}  // namespace zu
