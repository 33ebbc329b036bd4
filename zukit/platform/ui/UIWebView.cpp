#include "zukit/platform/ui/UIWebView.h"

namespace zu {

UIWebView::UIWebView() : UIWebView(CGRectZero) {}

UIWebView::UIWebView(CGRect frame) : UIView(frame) {
  initBackgroundColor(UIColor::whiteColor());
}

}  // namespace zu
