#pragma once

#include <functional>
#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// How an alert's button looks and where it goes.
enum UIAlertActionStyle : NSInteger {
  UIAlertActionStyleDefault = 0,
  UIAlertActionStyleCancel = 1,
  UIAlertActionStyleDestructive = 2,
};

// A button of an alert: a title, a style and the handler that runs, with the action, once the
// alert has been dismissed by a tap on the button. Immutable except for the enabled flag.
class ZU_EXPORT UIAlertAction final : public Object {
 public:
  ZU_RUNTIME_CLASS(UIAlertAction, Object)

  // What runs after the button was tapped.
  using Handler = std::function<void(const std::shared_ptr<UIAlertAction>& action)>;

  // actionWithTitle:style:handler:; a title that is absent, NSNull or not text counts as "".
  static std::shared_ptr<UIAlertAction> actionWithTitle(const Value& title,
                                                        UIAlertActionStyle style, Handler handler);

  // The button's title.
  const std::string& title() const { return _title; }
  // The button's style.
  UIAlertActionStyle style() const { return _style; }
  // The handler (may be empty).
  const Handler& handler() const { return _handler; }
  // A disabled button takes no taps; enabled by default.
  bool isEnabled() const { return _enabled; }
  void setEnabled(bool enabled) { _enabled = enabled; }

  // Made by actionWithTitle() only.
  class Passkey {
    friend class UIAlertAction;
    Passkey() = default;
  };
  UIAlertAction(Passkey /*unused*/, std::string title, UIAlertActionStyle style, Handler handler)
      : _title(std::move(title)), _style(style), _handler(std::move(handler)) {}

 private:
  const std::string _title;
  const UIAlertActionStyle _style;
  const Handler _handler;
  bool _enabled = true;
};

}  // namespace zu
