#include "zukit/platform/runtime/NSNumber.h"

#include <array>
#include <cmath>
#include <functional>

#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace {

constexpr NSInteger kSmallestCached = -1;
constexpr NSInteger kLargestCached = 16;

struct SharedNumbers {
  SharedNumbers()
      : yes(std::make_shared<NSNumber>(Value(true))),
        no(std::make_shared<NSNumber>(Value(false))),
        boxedYes(yes),
        boxedNo(no) {
    for (NSInteger value = kSmallestCached; value <= kLargestCached; ++value) {
      small.at(static_cast<std::size_t>(value - kSmallestCached)) =
          std::make_shared<NSNumber>(Value(value));
    }
  }

  std::shared_ptr<NSNumber> yes;
  std::shared_ptr<NSNumber> no;
  Value boxedYes;
  Value boxedNo;
  std::array<std::shared_ptr<NSNumber>, kLargestCached - kSmallestCached + 1> small;
};

const SharedNumbers& sharedNumbers() {
  static NoDestructor<SharedNumbers> numbers;
  return *numbers;
}

}  // namespace

NSNumber::NSNumber(Value number) : _number(number.isNumber() ? std::move(number) : Value(0)) {}

std::shared_ptr<NSNumber> NSNumber::numberWithBool(bool value) {
  return value ? sharedNumbers().yes : sharedNumbers().no;
}

std::shared_ptr<NSNumber> NSNumber::numberWithInteger(NSInteger value) {
  if (value >= kSmallestCached && value <= kLargestCached) {
    return sharedNumbers().small.at(static_cast<std::size_t>(value - kSmallestCached));
  }
  return std::make_shared<NSNumber>(Value(value));
}

std::shared_ptr<NSNumber> NSNumber::numberWithDouble(double value) {
  return std::make_shared<NSNumber>(Value(value));
}

const Value& NSNumber::boxedBool(bool value) {
  return value ? sharedNumbers().boxedYes : sharedNumbers().boxedNo;
}

std::shared_ptr<NSNumber> NSNumber::from(const Value& value) {
  return value.asObject<NSNumber>();
}

std::string NSNumber::description() const {
  if (_number.isBoolean()) return _number.boolValue() ? "1" : "0";
  return _number.description();
}

bool NSNumber::isEqual(const Object& other) const {
  const auto* number = dynamic_cast<const NSNumber*>(&other);
  return number != nullptr && number->_number == _number;
}

std::size_t NSNumber::hash() const {
  const double value = _number.doubleValue();
  if (value == std::trunc(value) && std::fabs(value) < 9.0e18)
    return std::hash<std::int64_t>{}(_number.integerValue());
  return std::hash<double>{}(value);
}

}  // namespace zu
