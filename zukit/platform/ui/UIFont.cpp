#include "zukit/platform/ui/UIFont.h"

#include <cmath>

#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace {

constexpr CGFloat kDefaultSize = 17;

bool isValidSize(CGFloat size) {
  return size > 0 && std::isfinite(size);
}

}  // namespace

const std::string& UIFont::systemFontFamilies() {
  static NoDestructor<const std::string> families(
      "WenQuanYi Micro Hei,Noto Sans CJK SC,Noto Sans,DejaVu Sans,sans-serif");
  return *families;
}

std::shared_ptr<UIFont> UIFont::systemFontOfSize(CGFloat size) {
  return std::make_shared<UIFont>(Passkey(), systemFontFamilies(),
                                  isValidSize(size) ? size : kDefaultSize, false);
}

std::shared_ptr<UIFont> UIFont::boldSystemFontOfSize(CGFloat size) {
  return std::make_shared<UIFont>(Passkey(), systemFontFamilies(),
                                  isValidSize(size) ? size : kDefaultSize, true);
}

std::shared_ptr<UIFont> UIFont::fontWithName(const std::string& familyName, CGFloat size) {
  if (familyName.empty() || !isValidSize(size)) return nullptr;
  return std::make_shared<UIFont>(Passkey(), familyName, size, false);
}

std::shared_ptr<UIFont> UIFont::fontWithSize(CGFloat size) const {
  return std::make_shared<UIFont>(Passkey(), _family, isValidSize(size) ? size : _size, _bold);
}

std::string UIFont::description() const {
  return format("<UIFont: %p> font-family: \"%@\"; font-weight: %s; font-size: %.2fpt",
                static_cast<const void*>(this), _family, _bold ? "bold" : "normal", _size);
}

}  // namespace zu
