#include "zukit/platform/foundation/NSNotification.h"

#include <utility>

#include "zukit/platform/foundation/Format.h"

namespace zu {

std::shared_ptr<NSNotification> NSNotification::notificationWithName(std::string name, id object,
                                                                     Value userInfo) {
  return std::make_shared<NSNotification>(std::move(name), std::move(object), std::move(userInfo));
}

NSNotification::NSNotification(std::string name, id object, Value userInfo)
    : _name(std::move(name)), _object(std::move(object)), _userInfo(std::move(userInfo)) {}

std::string NSNotification::description() const {
  std::string text = format("NSNotification {name = %@", _name);
  if (_object) text += format("; object = %@", Value(_object));
  if (_userInfo) text += format("; userInfo = %@", _userInfo);
  return text + "}";
}

}  // namespace zu
