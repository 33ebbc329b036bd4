#include "zukit/platform/ui/UIWindowScene.h"

#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UIWindow.h"

namespace zu {

namespace {

std::vector<std::shared_ptr<UIWindow>> windowsImplementation(Object* self, SEL /*selector*/) {
  auto* scene = dynamic_cast<UIWindowScene*>(self);
  return scene != nullptr ? scene->windows() : std::vector<std::shared_ptr<UIWindow>>();
}

}  // namespace

SEL windowsSelector() {
  static const SEL selector = sel_registerName("windows");
  return selector;
}

void UIWindowScene::addMethods(Class* cls) {
  class_addMethod(cls, windowsSelector(), imp(&windowsImplementation));
}

std::shared_ptr<UIScreen> UIWindowScene::screen() const {
  return UIScreen::mainScreen();
}

}  // namespace zu
