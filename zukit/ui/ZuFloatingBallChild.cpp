#include "zukit/ui/ZuFloatingBallChild.h"

#include "zukit/platform/ui/CALayer.h"
#include "zukit/platform/ui/UIColor.h"
#include "zukit/platform/ui/UIImage.h"

namespace {

// Every entry is made 60 points square; the ball draws it at its own size when the fan opens.
constexpr zu::CGFloat kChildSide = 60;
// The style that makes an entry round.
constexpr zu::NSUInteger kRoundStyle = 0;

}  // namespace

ZuFloatingBallChild::ZuFloatingBallChild() : UIButton(zu::UIButtonTypeCustom) {}

std::shared_ptr<ZuFloatingBallChild> ZuFloatingBallChild::childWithTitle(
    const zu::Value& title, const zu::Value& background, std::function<void()> action,
    zu::NSUInteger style) {
  auto child = std::make_shared<ZuFloatingBallChild>();
  child->setBounds(zu::CGRectMake(0, 0, kChildSide, kChildSide));
  child->setTitle(title, zu::UIControlStateNormal);
  child->setTitleColor(zu::UIColor::blackColor(), zu::UIControlStateNormal);
  if (auto color = background.asObject<zu::UIColor>()) {
    child->setBackgroundColor(std::move(color));
  } else if (auto image = background.asObject<zu::UIImage>()) {
    child->setBackgroundImage(std::move(image), zu::UIControlStateNormal);
  }
  child->_action = std::move(action);
  if (style == kRoundStyle) child->layer()->setCornerRadius(child->bounds().size.height / 2);
  return child;
}
