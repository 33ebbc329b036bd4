#pragma once

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/ui/UIView.h"

namespace zu {

// The older web view of the platform. There is no web engine here: it is a plain view that
// hosts and lookups can place and recognise by type.
class ZU_EXPORT UIWebView : public UIView {
 public:
  ZU_RUNTIME_CLASS(UIWebView, UIView)

  UIWebView();
  // initWithFrame:.
  explicit UIWebView(CGRect frame);
};

}  // namespace zu
