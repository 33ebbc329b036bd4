#include "zukit/platform/ui/UIApplication.h"

#include <algorithm>

#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/ui/MainThreadCheck.h"
#include "zukit/platform/ui/UIEvent.h"
#include "zukit/platform/ui/UITouch.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/UIWindowScene.h"

namespace zu {

std::shared_ptr<UIApplication> UIApplication::sharedApplication() {
  static NoDestructor<std::shared_ptr<UIApplication>> application(
      std::make_shared<UIApplication>(Passkey()));
  return *application;
}

std::vector<std::shared_ptr<UIWindow>> UIApplication::windows() const {
  std::vector<std::shared_ptr<UIWindow>> all;
  for (const std::shared_ptr<UIScene>& scene : _scenes) {
    if (const auto windowScene = std::dynamic_pointer_cast<UIWindowScene>(scene)) {
      const std::vector<std::shared_ptr<UIWindow>> own = windowScene->windows();
      all.insert(all.end(), own.begin(), own.end());
    }
  }
  if (_keyWindow && std::find(all.begin(), all.end(), _keyWindow) == all.end()) {
    all.push_back(_keyWindow);
  }
  return all;
}

void UIApplication::connectScene(const std::shared_ptr<UIScene>& scene) {
  if (!detail::onMainThreadOrRefuse("-[UIApplication connectScene:]")) return;
  if (!scene || std::find(_scenes.begin(), _scenes.end(), scene) != _scenes.end()) return;
  _scenes.push_back(scene);
}

void UIApplication::disconnectScene(const std::shared_ptr<UIScene>& scene) {
  if (!detail::onMainThreadOrRefuse("-[UIApplication disconnectScene:]")) return;
  _scenes.erase(std::remove(_scenes.begin(), _scenes.end(), scene), _scenes.end());
}

void UIApplication::sendEvent(const std::shared_ptr<UIEvent>& event) {
  if (!detail::onMainThreadOrRefuse("-[UIApplication sendEvent:]") || !event) return;
  std::vector<std::shared_ptr<UIWindow>> windows;
  for (const id& object : *event->allTouches()) {
    const std::shared_ptr<UIWindow> window = std::static_pointer_cast<UITouch>(object)->window();
    if (window && std::find(windows.begin(), windows.end(), window) == windows.end()) {
      windows.push_back(window);
    }
  }
  for (const std::shared_ptr<UIWindow>& window : windows)
    window->sendEvent(event);
}

}  // namespace zu
