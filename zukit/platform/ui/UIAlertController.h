#pragma once

#include <memory>
#include <string>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/ui/UIAlertAction.h"
#include "zukit/platform/ui/UIViewController.h"

namespace zu {

class UIButton;
class UIView;

// Where an alert shows.
enum UIAlertControllerStyle : NSInteger {
  UIAlertControllerStyleActionSheet = 0,
  UIAlertControllerStyleAlert = 1,
};

// An alert: a title, a message and buttons (actions), shown by presenting it from a controller
// whose view is in a window. Its view dims the window and lays out a box as the platform does:
// for the alert style a 270-point box centred in the window with the title (bold, 17 points) and
// the message (13 points) centred over the buttons, two buttons side by side (a cancel button on
// the left), any other number stacked (a cancel button last); for the action sheet style the
// box sits at the bottom with every button stacked. Buttons are 44 points high, in the tint
// colour (destructive ones red, the cancel one bold). A tap on a button dismisses the alert
// (animated) and then runs the action's handler. Main thread only.
class ZU_EXPORT UIAlertController : public UIViewController {
 public:
  ZU_RUNTIME_CLASS(UIAlertController, UIViewController, &UIAlertController::addMethods)

  // alertControllerWithTitle:message:preferredStyle:; a title or message that is absent, NSNull
  // or not text is none.
  static std::shared_ptr<UIAlertController> alertControllerWithTitle(
      const Value& title, const Value& message, UIAlertControllerStyle preferredStyle);

  // The message; "" for none.
  std::string message() const { return _message; }
  // Sets the message (before the view is loaded).
  void setMessage(const Value& message);
  // The style.
  UIAlertControllerStyle preferredStyle() const { return _style; }
  // Adds a button for `action`; nothing for none. Only before the view is loaded.
  void addAction(const std::shared_ptr<UIAlertAction>& action);
  // The actions in the order they were added.
  std::vector<std::shared_ptr<UIAlertAction>> actions() const { return _actions; }

  // The button shown for `action` (loads the view), or nullptr for an action of another alert.
  std::shared_ptr<UIButton> buttonForAction(const std::shared_ptr<UIAlertAction>& action);
  // The box holding the texts and buttons (loads the view).
  std::shared_ptr<UIView> alertView();

  // The dimmed full-window view with the box.
  void loadView() override;
  // Places the box in the view.
  void viewDidLayoutSubviews() override;

  // Made by alertControllerWithTitle() only.
  class Passkey {
    friend class UIAlertController;
    Passkey() = default;
  };
  UIAlertController(Passkey /*unused*/, std::string message, UIAlertControllerStyle style)
      : _message(std::move(message)), _style(style) {}

 private:
  static void addMethods(Class* cls);
  // The runtime entry the buttons send their touch-up-inside action to.
  static void buttonTappedImplementation(Object* self, SEL selector, const id& sender);
  void actionButtonTapped(const id& sender);
  void layOutBox();

  std::string _message;
  const UIAlertControllerStyle _style;
  std::vector<std::shared_ptr<UIAlertAction>> _actions;
  std::shared_ptr<UIView> _dimmingView;
  std::shared_ptr<UIView> _box;
  std::vector<std::shared_ptr<UIButton>> _buttons;
  std::vector<std::shared_ptr<UIView>> _separators;
};

}  // namespace zu
