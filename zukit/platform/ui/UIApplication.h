#pragma once

#include <memory>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/ui/UIResponder.h"

namespace zu {

class UIEvent;
class UIScene;
class UIWindow;

// The application: its key window (the one a window's makeKeyWindow() chose, which is what
// releases before 13.0 look at), its connected scenes (which later releases look at) and the
// door through which events come in. The host connects scenes and sends events, as the
// platform's system would. The application keeps its scenes and its key window alive while
// they are connected or key. Main thread only: a change made elsewhere is refused with a console
// line.
class ZU_EXPORT UIApplication final : public UIResponder {
 public:
  ZU_RUNTIME_CLASS(UIApplication, UIResponder)

  // The application object.
  static std::shared_ptr<UIApplication> sharedApplication();

  // The key window, or nullptr.
  std::shared_ptr<UIWindow> keyWindow() const { return _keyWindow; }
  // The windows of the connected window scenes in scene and window order, then the key window
  // when no connected scene holds it.
  std::vector<std::shared_ptr<UIWindow>> windows() const;
  // The connected scenes, enumerated in the order they were connected.
  std::vector<std::shared_ptr<UIScene>> connectedScenes() const { return _scenes; }
  // Connects `scene` after the others; nothing for none or a scene already connected.
  void connectScene(const std::shared_ptr<UIScene>& scene);
  // Disconnects `scene`; nothing for a scene that is not connected.
  void disconnectScene(const std::shared_ptr<UIScene>& scene);

  // Delivers a touch event: each touch goes to its window (UIWindow::sendEvent), which binds a
  // beginning touch to the view its hit test finds and sends the touch methods to that view.
  void sendEvent(const std::shared_ptr<UIEvent>& event);

  // Made by sharedApplication() only.
  class Passkey {
    friend class UIApplication;
    Passkey() = default;
  };
  explicit UIApplication(Passkey /*unused*/) {}

 private:
  friend class UIWindow;

  std::shared_ptr<UIWindow> _keyWindow;
  std::vector<std::shared_ptr<UIScene>> _scenes;
};

}  // namespace zu
