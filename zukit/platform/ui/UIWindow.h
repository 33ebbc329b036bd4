#pragma once

#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/ui/UIView.h"

namespace zu {

class UIEvent;
class UIViewController;
class UIWindowScene;

// The root of a view tree shown on the screen. Like the platform's, a window starts hidden and
// shows with makeKeyAndVisible(). It shows its root view controller's view behind everything else
// it holds, and keeps the views of the controllers it shows (the root's and those presented over
// it) at its own bounds. A window joins a scene with setWindowScene(), and becomes the
// application's key window with makeKeyWindow(). Main thread only.
class ZU_EXPORT UIWindow : public UIView {
 public:
  ZU_RUNTIME_CLASS(UIWindow, UIView)

  // A hidden window the size of the main screen.
  UIWindow();
  // initWithFrame:: a hidden window at `frame`.
  explicit UIWindow(CGRect frame);
  // initWithWindowScene:: a hidden window the size of the main screen, joined to `scene`.
  static std::shared_ptr<UIWindow> windowWithWindowScene(
      const std::shared_ptr<UIWindowScene>& scene);

  // The root view controller, or nullptr.
  std::shared_ptr<UIViewController> rootViewController() const { return _rootViewController; }
  // Shows `controller`'s view (loaded if need be) at the window's bounds behind the other
  // subviews, in place of the previous root's view. On a visible window the old root is sent
  // "viewWillDisappear:"/"viewDidDisappear:" and the new one "viewWillAppear:"/"viewDidAppear:".
  void setRootViewController(const std::shared_ptr<UIViewController>& controller);

  // The scene the window belongs to, or nullptr.
  std::shared_ptr<UIWindowScene> windowScene() const { return _windowScene.lock(); }
  // Moves the window to the end of `scene`'s windows (out of its previous scene's); none takes
  // it out of its scene.
  void setWindowScene(const std::shared_ptr<UIWindowScene>& scene);

  // Makes the window key and shows it; the root controller, if not on screen yet, is sent
  // "viewWillAppear:" and "viewDidAppear:".
  void makeKeyAndVisible();
  // Makes the window the application's key window (the previous one resigns).
  void makeKeyWindow();
  // Stops being the key window; nothing for a window that is not key.
  void resignKeyWindow();
  // True for the application's key window.
  bool isKeyWindow() const;

  // Delivers the touches of `event` that are in this window: a beginning touch is bound to the
  // view that "hitTest:withEvent:" finds at its location (none when nothing is hit), then each
  // bound view is sent, through the runtime, "touchesBegan:withEvent:", "touchesMoved:withEvent:",
  // "touchesEnded:withEvent:" or "touchesCancelled:withEvent:" with its touches of that phase.
  void sendEvent(const std::shared_ptr<UIEvent>& event);

  // The window itself.
  std::shared_ptr<UIWindow> window() const override;
  // The window's scene, else the application.
  std::shared_ptr<UIResponder> nextResponder() const override;
  // Keeps the controllers' views at the window's bounds.
  void layoutSubviews() override;

 private:
  std::shared_ptr<UIViewController> _rootViewController;
  std::weak_ptr<UIWindowScene> _windowScene;
};

}  // namespace zu
