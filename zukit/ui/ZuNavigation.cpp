#include "zukit/ui/ZuNavigation.h"

#include <vector>

#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIDevice.h"
#include "zukit/platform/ui/UIScene.h"
#include "zukit/platform/ui/UITabBarController.h"
#include "zukit/platform/ui/UIWebView.h"
#include "zukit/platform/ui/UIWindowScene.h"
#include "zukit/platform/ui/WKWebView.h"

namespace {

// The release from which windows are found through the scenes.
constexpr const char* kSceneRelease = "13.0.0";

bool isBeforeSceneRelease() {
  return !zu::UIDevice::currentDevice()->systemVersionIsAtLeast(kSceneRelease);
}

// The first window of the first connected scene whose state `qualifies`.
template <class Qualifies>
std::shared_ptr<zu::UIWindow> firstWindowOfScene(Qualifies qualifies) {
  for (const std::shared_ptr<zu::UIScene>& scene :
       zu::UIApplication::sharedApplication()->connectedScenes()) {
    if (!qualifies(scene->activationState())) continue;
    const auto windows =
        zu::objc_msgSend<std::vector<std::shared_ptr<zu::UIWindow>>>(scene, zu::windowsSelector());
    return windows.empty() ? nullptr : windows.front();
  }
  return nullptr;
}

// The object's answer to "selectedViewController", when it answers that message.
bool answerToSelectedViewController(const zu::id& object, zu::id& answer) {
  static const zu::SEL selector = zu::NSSelectorFromString("selectedViewController");
  if (!zu::respondsToSelector(object, selector)) return false;
  answer = zu::performSelector(object, selector).asObject();
  return true;
}

}  // namespace

std::shared_ptr<zu::UIWindow> ZuNavigation::keyWindow() {
  return _activeKeyWindow();
}

std::shared_ptr<zu::UIWindow> ZuNavigation::_activeKeyWindow() {
  if (isBeforeSceneRelease()) return zu::UIApplication::sharedApplication()->keyWindow();
  return firstWindowOfScene([](zu::UISceneActivationState state) {
    return state == zu::UISceneActivationStateForegroundActive;
  });
}

std::shared_ptr<zu::UIWindow> ZuNavigation::_keyWindow() {
  if (isBeforeSceneRelease()) return zu::UIApplication::sharedApplication()->keyWindow();
  return firstWindowOfScene([](zu::UISceneActivationState state) {
    return state == zu::UISceneActivationStateForegroundActive ||
           state == zu::UISceneActivationStateForegroundInactive;
  });
}

std::shared_ptr<zu::UIViewController> ZuNavigation::currentViewController() {
  const std::shared_ptr<zu::UIWindow> window = _activeKeyWindow();
  zu::id current = window ? window->rootViewController() : nullptr;
  while (current) {
    const auto controller = std::dynamic_pointer_cast<zu::UIViewController>(current);
    if (controller) {
      if (std::shared_ptr<zu::UIViewController> presented = controller->presentedViewController()) {
        current = presented;
        continue;
      }
      if (const auto navigation = std::dynamic_pointer_cast<zu::UINavigationController>(current)) {
        if (std::shared_ptr<zu::UIViewController> top = navigation->topViewController()) {
          current = top;
          continue;
        }
      }
      if (const auto tabBar = std::dynamic_pointer_cast<zu::UITabBarController>(current)) {
        const std::shared_ptr<zu::UIViewController> selected = tabBar->selectedViewController();
        const auto selectedNavigation =
            std::dynamic_pointer_cast<zu::UINavigationController>(selected);
        current = selectedNavigation ? selectedNavigation->topViewController() : selected;
        continue;
      }
    }
    zu::id answer;
    if (answerToSelectedViewController(current, answer)) {
      const auto answerNavigation = std::dynamic_pointer_cast<zu::UINavigationController>(answer);
      current = answerNavigation ? zu::id(answerNavigation->topViewController()) : answer;
      continue;
    }
    break;
  }
  return std::dynamic_pointer_cast<zu::UIViewController>(current);
}

std::shared_ptr<zu::UINavigationController> ZuNavigation::currentNavigation() {
  const std::shared_ptr<zu::UIWindow> window = _keyWindow();
  const std::shared_ptr<zu::UIViewController> root =
      window ? window->rootViewController() : nullptr;
  if (!root) return nullptr;
  if (auto navigation = std::dynamic_pointer_cast<zu::UINavigationController>(root)) {
    return navigation;
  }
  if (const auto tabBar = std::dynamic_pointer_cast<zu::UITabBarController>(root)) {
    const std::shared_ptr<zu::UIViewController> selected = tabBar->selectedViewController();
    if (auto navigation = std::dynamic_pointer_cast<zu::UINavigationController>(selected)) {
      return navigation;
    }
    return selected ? selected->navigationController() : nullptr;
  }
  zu::id answer;
  if (answerToSelectedViewController(root, answer)) {
    return std::dynamic_pointer_cast<zu::UINavigationController>(answer);
  }
  return nullptr;
}

std::shared_ptr<zu::UIView> ZuNavigation::currentWebview() {
  const std::shared_ptr<zu::UIViewController> controller = currentViewController();
  if (!controller) return nullptr;
  const std::shared_ptr<zu::UIView> view = controller->view();
  if (!view) return nullptr;
  for (const std::shared_ptr<zu::UIView>& subview : view->subviews()) {
    if (zu::isKindOfClass(subview, zu::UIWebView::staticClass())) return subview;
    if (zu::isKindOfClass(subview, zu::WKWebView::staticClass())) return subview;
  }
  return nullptr;
}
