#include "zukit/platform/ui/UIScreen.h"

#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

std::shared_ptr<UIScreen> UIScreen::mainScreen() {
  static NoDestructor<std::shared_ptr<UIScreen>> screen(std::make_shared<UIScreen>());
  return *screen;
}

CGRect UIScreen::bounds() const {
  MutexLock lock(_mutex);
  return _bounds;
}

void UIScreen::setBounds(CGRect bounds) {
  const CGRect standard = CGRectStandardize(bounds);
  MutexLock lock(_mutex);
  _bounds = CGRectMake(0, 0, standard.size.width, standard.size.height);
}

}  // namespace zu
