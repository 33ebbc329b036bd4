#pragma once

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/ui/UIResponder.h"

namespace zu {

// Where a scene stands: attached to nothing, in the foreground (active or not) or in the
// background.
enum UISceneActivationState : NSInteger {
  UISceneActivationStateUnattached = -1,
  UISceneActivationStateForegroundActive = 0,
  UISceneActivationStateForegroundInactive = 1,
  UISceneActivationStateBackground = 2,
};

// One instance of the application's interface. The host connects scenes to the application
// (UIApplication::connectScene) and moves them between states, as the platform's system would.
// Main thread only: setActivationState() elsewhere is refused with a console line.
class ZU_EXPORT UIScene : public UIResponder {
 public:
  ZU_RUNTIME_CLASS(UIScene, UIResponder)

  UIScene() = default;

  // The scene's state; Unattached until set.
  UISceneActivationState activationState() const { return _activationState; }
  void setActivationState(UISceneActivationState state);

  // The application.
  std::shared_ptr<UIResponder> nextResponder() const override;

 private:
  UISceneActivationState _activationState = UISceneActivationStateUnattached;
};

}  // namespace zu
