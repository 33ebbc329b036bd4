#pragma once

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/ui/UIView.h"

namespace zu {

// The web engine's view. There is no web engine here: it is a plain view that hosts and lookups
// can place and recognise by type.
class ZU_EXPORT WKWebView : public UIView {
 public:
  ZU_RUNTIME_CLASS(WKWebView, UIView)

  WKWebView();
  // initWithFrame:.
  explicit WKWebView(CGRect frame);
};

}  // namespace zu
