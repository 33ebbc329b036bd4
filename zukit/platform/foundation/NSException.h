#pragma once

#include <exception>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// A platform exception: a name that classifies it, a reason for people, and optional user
// information. Platform services raise it where the platform would (an answer they cannot make
// sense of, a call they cannot honour); callers that must go on catch it by reference.
class ZU_EXPORT NSException : public std::exception {
 public:
  ZU_RUNTIME_CLASS_NAME(NSException, Object)
  // An exception with `name`, `reason` and `userInfo` (absent when there is none).
  NSException(std::string name, std::string reason, Value userInfo = {});

  // Throws an exception made of these parts.
  [[noreturn]] static void raise(std::string name, std::string reason, Value userInfo = {});

  // The name that classifies the exception, e.g. NSInvalidArgumentException.
  const std::string& name() const { return _name; }
  // Why it was raised.
  const std::string& reason() const { return _reason; }
  // What else the raiser had to say: a dictionary, or absent.
  const Value& userInfo() const { return _userInfo; }
  // The text "%@" prints for the exception: its reason.
  std::string description() const { return _reason; }
  // The reason, for handlers that only know std::exception.
  const char* what() const noexcept override { return _reason.c_str(); }

 private:
  std::string _name;
  std::string _reason;
  Value _userInfo;
};

// Raised for an argument a platform call cannot accept: "NSInvalidArgumentException".
ZU_EXPORT extern const char* const NSInvalidArgumentException;
// Raised when a platform service finds itself or its peer in a state it cannot go on from:
// "NSInternalInconsistencyException".
ZU_EXPORT extern const char* const NSInternalInconsistencyException;
// Raised for anything else: "NSGenericException".
ZU_EXPORT extern const char* const NSGenericException;

}  // namespace zu
