#include "tests/support/UIApplicationScope.h"

#include <optional>
#include <string>

#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIDevice.h"
#include "zukit/platform/ui/UIScene.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UIWindow.h"

namespace zukit::test {

UIApplicationScope::UIApplicationScope() {
  reset();
}

UIApplicationScope::~UIApplicationScope() {
  reset();
}

void UIApplicationScope::reset() {
  const auto application = zu::UIApplication::sharedApplication();
  for (const auto& scene : application->connectedScenes())
    application->disconnectScene(scene);
  if (const auto window = application->keyWindow()) window->resignKeyWindow();
  zu::UIDevice::currentDevice()->setSystemVersion(std::nullopt);
  zu::UIScreen::mainScreen()->setBounds(zu::UIScreen::kDefaultBounds);
}

}  // namespace zukit::test
