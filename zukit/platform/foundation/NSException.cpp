#include "zukit/platform/foundation/NSException.h"

#include <utility>

namespace zu {

const char* const NSInvalidArgumentException = "NSInvalidArgumentException";
const char* const NSInternalInconsistencyException = "NSInternalInconsistencyException";
const char* const NSGenericException = "NSGenericException";

NSException::NSException(std::string name, std::string reason, Value userInfo)
    : _name(std::move(name)), _reason(std::move(reason)), _userInfo(std::move(userInfo)) {}

void NSException::raise(std::string name, std::string reason, Value userInfo) {
  throw NSException(std::move(name), std::move(reason), std::move(userInfo));
}

}  // namespace zu
