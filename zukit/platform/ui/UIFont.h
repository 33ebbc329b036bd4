#pragma once

#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/Geometry.h"

namespace zu {

// Where lines of text sit across their box.
enum NSTextAlignment : NSInteger {
  NSTextAlignmentLeft = 0,
  NSTextAlignmentCenter = 1,
  NSTextAlignmentRight = 2,
  NSTextAlignmentJustified = 3,
  NSTextAlignmentNatural = 4,
};

// An immutable font: a family, a size in points and a weight. The system font is drawn with
// the families in systemFontFamilies(), the first of which covers Latin and Chinese alike, so
// that mixed text draws with one design. Safe from any thread.
class ZU_EXPORT UIFont final : public Object {
 public:
  ZU_RUNTIME_CLASS(UIFont, Object)

  // The system font at `size` points (a size that is not a positive number gives 17).
  static std::shared_ptr<UIFont> systemFontOfSize(CGFloat size);
  // The bold system font at `size` points.
  static std::shared_ptr<UIFont> boldSystemFontOfSize(CGFloat size);
  // The font of family `familyName` (a comma-separated list of families, tried in order) at
  // `size` points; none for an empty name or a size that is not a positive number.
  static std::shared_ptr<UIFont> fontWithName(const std::string& familyName, CGFloat size);
  // The families the system font is drawn with, in order of preference.
  static const std::string& systemFontFamilies();

  // The family list.
  const std::string& familyName() const { return _family; }
  // The size in points.
  CGFloat pointSize() const { return _size; }
  // True for a bold weight.
  bool isBold() const { return _bold; }
  // The same family and weight at `size` points.
  std::shared_ptr<UIFont> fontWithSize(CGFloat size) const;

  // "<UIFont: 0x...> font-family: "..."; font-weight: normal; font-size: 17.00pt".
  std::string description() const override;

  // Made by the factories only.
  class Passkey {
    friend class UIFont;
    Passkey() = default;
  };
  UIFont(Passkey /*unused*/, std::string family, CGFloat size, bool bold)
      : _family(std::move(family)), _size(size), _bold(bold) {}

 private:
  const std::string _family;
  const CGFloat _size;
  const bool _bold;
};

}  // namespace zu
