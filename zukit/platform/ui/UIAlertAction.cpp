#include "zukit/platform/ui/UIAlertAction.h"

namespace zu {

std::shared_ptr<UIAlertAction> UIAlertAction::actionWithTitle(const Value& title,
                                                              UIAlertActionStyle style,
                                                              Handler handler) {
  const std::string* text = title.asString();
  return std::make_shared<UIAlertAction>(Passkey(), text != nullptr ? *text : std::string(), style,
                                         std::move(handler));
}

}  // namespace zu
