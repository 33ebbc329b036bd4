#pragma once

#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// The user-info key of an error's human-readable description.
inline constexpr const char* NSLocalizedDescriptionKey = "NSLocalizedDescription";

// An error: a domain, a code and a user-info dictionary.
class ZU_EXPORT NSError final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSError, Object)
  // An error in `domain` with `code` and `userInfo`.
  NSError(std::string domain, NSInteger code, Dictionary userInfo = {});
  // A shared error; the usual way to make one.
  static std::shared_ptr<NSError> errorWithDomain(std::string domain, NSInteger code,
                                                  Dictionary userInfo = {});

  const std::string& domain() const { return _domain; }
  NSInteger code() const { return _code; }
  const Dictionary& userInfo() const { return _userInfo; }
  // The user-info description, else "The operation couldn’t be completed. (domain error code.)".
  std::string localizedDescription() const;
  // "Error Domain=<domain> Code=<code> "<description>" UserInfo={...}".
  std::string description() const override;
  bool isEqual(const Object& other) const override;

 private:
  std::string _domain;
  NSInteger _code;
  Dictionary _userInfo;
};

}  // namespace zu
