#pragma once

#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// One posted notification: its name, the object that posted it (the sender, may be none) and
// optional user information. Immutable, so observers on any thread may keep it.
class ZU_EXPORT NSNotification final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSNotification, Object)
  // A notification named `name` from `object`, with `userInfo` (a dictionary, or absent).
  static std::shared_ptr<NSNotification> notificationWithName(std::string name, id object,
                                                              Value userInfo = {});
  NSNotification(std::string name, id object, Value userInfo);

  // The notification's name.
  const std::string& name() const { return _name; }
  // The object that posted it, or none.
  const id& object() const { return _object; }
  // The user information: a dictionary, or absent.
  const Value& userInfo() const { return _userInfo; }
  // "NSNotification {name = <name>; object = <object>; userInfo = <dictionary>}".
  std::string description() const override;

 private:
  const std::string _name;
  const id _object;
  const Value _userInfo;
};

}  // namespace zu
