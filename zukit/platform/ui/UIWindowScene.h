#pragma once

#include <memory>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/ui/UIScene.h"

namespace zu {

class UIScreen;
class UIWindow;

// The runtime type of "windows": the scene's windows in order.
using UIWindowsFunction = std::vector<std::shared_ptr<UIWindow>> (*)(Object* self, SEL selector);

// A scene that shows windows: the windows joined to it (UIWindow::setWindowScene), in the order
// they joined. The scene keeps its windows alive until they leave it. Its windows are also the
// answer to the runtime message "windows", as on the platform. Main thread only.
class ZU_EXPORT UIWindowScene : public UIScene {
 public:
  ZU_RUNTIME_CLASS(UIWindowScene, UIScene, &UIWindowScene::addMethods)

  UIWindowScene() = default;

  // The scene's windows, in the order they joined it.
  std::vector<std::shared_ptr<UIWindow>> windows() const { return _windows; }
  // The screen the scene is on: the main screen.
  std::shared_ptr<UIScreen> screen() const;

 private:
  friend class UIWindow;
  static void addMethods(Class* cls);

  std::vector<std::shared_ptr<UIWindow>> _windows;
};

// The selector "windows".
ZU_EXPORT SEL windowsSelector();

}  // namespace zu
