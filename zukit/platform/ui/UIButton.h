#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/ui/UIColor.h"
#include "zukit/platform/ui/UIControl.h"
#include "zukit/platform/ui/UIImage.h"
#include "zukit/platform/ui/UILabel.h"

namespace zu {

// The kinds of button.
enum UIButtonType : NSInteger {
  UIButtonTypeCustom = 0,
  UIButtonTypeSystem = 1,
};

// A control that shows a title and a background image (per control state) over its background
// colour, and sends its actions like any control: a tap that ends inside it sends
// UIControlEventTouchUpInside (64). For a state without a value of its own the normal state's is
// used. The title is drawn centred, in the title label's font and the state's title colour (for
// a custom button white by default, for a system button the tint colour); the background image
// is stretched over the bounds. Main thread only.
class ZU_EXPORT UIButton : public UIControl {
 public:
  ZU_RUNTIME_CLASS(UIButton, UIControl)

  // A button of `type` with the zero frame.
  explicit UIButton(UIButtonType type = UIButtonTypeCustom);
  // initWithFrame:: a custom button.
  explicit UIButton(CGRect frame);
  // buttonWithType:.
  static std::shared_ptr<UIButton> buttonWithType(UIButtonType type);

  // The button's type.
  UIButtonType buttonType() const { return _type; }

  // setTitle:forState:: the title for `state`; absent, NSNull or a value that is not text
  // removes it.
  void setTitle(const Value& title, std::uint64_t state);
  // The title for `state` (falling back to normal), "" for none.
  std::string titleForState(std::uint64_t state) const;
  // The title for the current state.
  std::string currentTitle() const { return titleForState(state()); }
  // setTitleColor:forState:; none removes the state's colour.
  void setTitleColor(std::shared_ptr<UIColor> color, std::uint64_t state);
  // The title colour for `state` (falling back to normal, then to the type's default).
  std::shared_ptr<UIColor> titleColorForState(std::uint64_t state) const;
  std::shared_ptr<UIColor> currentTitleColor() const { return titleColorForState(state()); }
  // setBackgroundImage:forState:; none removes the state's image.
  void setBackgroundImage(std::shared_ptr<UIImage> image, std::uint64_t state);
  // The background image for `state` (falling back to normal), or nullptr.
  std::shared_ptr<UIImage> backgroundImageForState(std::uint64_t state) const;
  std::shared_ptr<UIImage> currentBackgroundImage() const {
    return backgroundImageForState(state());
  }
  // The label whose font the title is drawn in (15 points by default). It is not one of the
  // button's subviews: set the title and its colour per state on the button.
  std::shared_ptr<UILabel> titleLabel() const { return _titleLabel; }

  // Draws the background image, then the title.
  void drawRect(CGContext& context, CGRect rect) const override;

 private:
  template <class T>
  static T valueForState(const std::map<std::uint64_t, T>& values, std::uint64_t state);

  UIButtonType _type;
  std::map<std::uint64_t, std::string> _titles;
  std::map<std::uint64_t, std::shared_ptr<UIColor>> _titleColors;
  std::map<std::uint64_t, std::shared_ptr<UIImage>> _backgroundImages;
  std::shared_ptr<UILabel> _titleLabel;
};

}  // namespace zu
