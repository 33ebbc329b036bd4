#include "zukit/platform/ui/WKWebView.h"

namespace zu {

WKWebView::WKWebView() : WKWebView(CGRectZero) {}

WKWebView::WKWebView(CGRect frame) : UIView(frame) {
  initBackgroundColor(UIColor::whiteColor());
}

}  // namespace zu
