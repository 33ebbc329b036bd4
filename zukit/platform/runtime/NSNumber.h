#pragma once

#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/NSValue.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// A number object: a boolean, integer or real boxed so that it can travel where an object is
// expected (callback arguments, associated values). A Value holding one is an object, not a
// number: it compares equal only to another number object of equal value, and must be unboxed
// (NSNumber::from(value)->integerValue()) to be read as a number.
class ZU_EXPORT NSNumber final : public NSValue {
 public:
  ZU_RUNTIME_CLASS(NSNumber, NSValue)

  // Made by the factories below.
  explicit NSNumber(Value number);

  // The shared number object for `value` (the platform keeps one true and one false).
  static std::shared_ptr<NSNumber> numberWithBool(bool value);
  // A number object for `value`; small values share cached objects.
  static std::shared_ptr<NSNumber> numberWithInteger(NSInteger value);
  // A number object for `value`.
  static std::shared_ptr<NSNumber> numberWithDouble(double value);
  // A Value holding the shared number object for `value`, without touching reference counts;
  // valid for the process.
  static const Value& boxedBool(bool value);
  // The number object that `value` holds, or nullptr.
  static std::shared_ptr<NSNumber> from(const Value& value);

  // The number as a boolean (non-zero is true).
  bool boolValue() const { return _number.boolValue(); }
  // The number as an integer (reals truncated toward zero).
  NSInteger integerValue() const { return static_cast<NSInteger>(_number.integerValue()); }
  // The number as a real.
  double doubleValue() const { return _number.doubleValue(); }
  // The plain number (a boolean, integer or real Value).
  const Value& numberValue() const { return _number; }

  // The number in decimal; booleans print as 1 and 0, as the platform's do.
  std::string description() const override;
  // Equal to another number object of equal value.
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;

 private:
  const Value _number;
};

}  // namespace zu
