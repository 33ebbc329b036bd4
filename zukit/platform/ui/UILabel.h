#pragma once

#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/ui/UIColor.h"
#include "zukit/platform/ui/UIFont.h"
#include "zukit/platform/ui/UIView.h"

namespace zu {

// A view that shows text: in its font and colour, aligned across the bounds and centred down
// them, wrapped at the width into at most numberOfLines lines (0: as many as it takes), the
// last one cut with an ellipsis. Labels take no touches by default. Main thread only.
class ZU_EXPORT UILabel : public UIView {
 public:
  ZU_RUNTIME_CLASS(UILabel, UIView)

  UILabel();
  // initWithFrame:.
  explicit UILabel(CGRect frame);
  // A label at `frame` with `font` (none: the default).
  UILabel(CGRect frame, std::shared_ptr<UIFont> font);

  // The text; "" for none.
  const std::string& text() const { return _text; }
  // Sets the text; absent, NSNull or a value that is not text clears it.
  void setText(const Value& text);
  // The font; the system font at 17 points by default.
  std::shared_ptr<UIFont> font() const { return _font; }
  // Sets the font; none restores the default.
  void setFont(std::shared_ptr<UIFont> font);
  // The text colour; black by default.
  std::shared_ptr<UIColor> textColor() const { return _textColor; }
  // Sets the colour; none restores black.
  void setTextColor(std::shared_ptr<UIColor> color);
  // How the lines sit across the bounds; natural (left) by default.
  NSTextAlignment textAlignment() const { return _alignment; }
  void setTextAlignment(NSTextAlignment alignment);
  // The most lines shown; 1 by default, 0 for no limit.
  NSInteger numberOfLines() const { return _numberOfLines; }
  void setNumberOfLines(NSInteger lines);

  // The size the text needs within `size` (its width wraps the lines; 0 for no limit).
  CGSize sizeThatFits(CGSize size) const;
  // Resizes the label to the size its text needs, keeping the origin.
  void sizeToFit();

  // Draws the text.
  void drawRect(CGContext& context, CGRect rect) const override;

 private:
  std::string _text;
  std::shared_ptr<UIFont> _font;
  std::shared_ptr<UIColor> _textColor;
  NSTextAlignment _alignment = NSTextAlignmentNatural;
  NSInteger _numberOfLines = 1;
};

}  // namespace zu
