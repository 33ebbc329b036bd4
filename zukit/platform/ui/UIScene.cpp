#include "zukit/platform/ui/UIScene.h"

#include "zukit/platform/ui/MainThreadCheck.h"
#include "zukit/platform/ui/UIApplication.h"

namespace zu {

void UIScene::setActivationState(UISceneActivationState state) {
  if (!detail::onMainThreadOrRefuse("-[UIScene setActivationState:]")) return;
  _activationState = state;
}

std::shared_ptr<UIResponder> UIScene::nextResponder() const {
  return UIApplication::sharedApplication();
}

}  // namespace zu
