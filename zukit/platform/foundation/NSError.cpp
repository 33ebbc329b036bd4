#include "zukit/platform/foundation/NSError.h"

#include "zukit/platform/foundation/Format.h"

namespace zu {

NSError::NSError(std::string domain, NSInteger code, Dictionary userInfo)
    : _domain(std::move(domain)), _code(code), _userInfo(std::move(userInfo)) {}

std::shared_ptr<NSError> NSError::errorWithDomain(std::string domain, NSInteger code,
                                                  Dictionary userInfo) {
  return std::make_shared<NSError>(std::move(domain), code, std::move(userInfo));
}

std::string NSError::localizedDescription() const {
  const Value* text = _userInfo.find(NSLocalizedDescriptionKey);
  if (text != nullptr && text->isString()) return *text->asString();
  return format("The operation couldn’t be completed. (%@ error %ld.)", _domain, _code);
}

std::string NSError::description() const {
  std::string info;
  bool first = true;
  for (const auto& [key, value] : _userInfo) {
    info += (first ? "" : ", ") + key + "=" + value.description();
    first = false;
  }
  return format("Error Domain=%@ Code=%ld \"%@\" UserInfo={%@}", _domain, _code,
                localizedDescription(), info);
}

bool NSError::isEqual(const Object& other) const {
  const auto* error = dynamic_cast<const NSError*>(&other);
  return error != nullptr && error->_domain == _domain && error->_code == _code &&
         error->_userInfo == _userInfo;
}

}  // namespace zu
