#pragma once

#include <memory>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/ui/UIView.h"
#include "zukit/platform/ui/UIViewController.h"

namespace zu {

class UINavigationController;

// The bar across the top of a navigation controller's view: it shows the title of the top
// controller, read whenever it is drawn.
class ZU_EXPORT UINavigationBar : public UIView {
 public:
  ZU_RUNTIME_CLASS(UINavigationBar, UIView)

  // The bar's height in points.
  static constexpr CGFloat kHeight = 44;

  // A bar for `controller`'s stack.
  explicit UINavigationBar(const std::shared_ptr<UINavigationController>& controller);

  // The top controller's title, centred, in the bold system font.
  void drawRect(CGContext& context, CGRect rect) const override;

 private:
  std::weak_ptr<UINavigationController> _controller;
};

// A stack of controllers of which the top one is shown, below a navigation bar. The stack is
// the controller's children (bottom first). Pushing and popping send the appearance messages
// through the runtime while the navigation controller is on screen (Appeared): the outgoing top
// "viewWillDisappear:", the incoming one "viewWillAppear:", then (animated: on the main queue's
// next turn) "viewDidDisappear:" and "viewDidAppear:". The navigation controller's own appearance
// messages are passed on to its top controller. Main thread only: changes made elsewhere are
// refused with a console line.
class ZU_EXPORT UINavigationController : public UIViewController {
 public:
  ZU_RUNTIME_CLASS(UINavigationController, UIViewController)

  // An empty stack.
  UINavigationController() = default;
  // initWithRootViewController:: a stack holding `root` (empty for none).
  static std::shared_ptr<UINavigationController> initWithRootViewController(
      const std::shared_ptr<UIViewController>& root);

  // The stack, bottom first.
  std::vector<std::shared_ptr<UIViewController>> viewControllers() const {
    return childViewControllers();
  }
  // Replaces the stack with `controllers` (missing ones and repeats left out).
  void setViewControllers(const std::vector<std::shared_ptr<UIViewController>>& controllers,
                          bool animated);
  // The top of the stack, or nullptr for an empty stack.
  std::shared_ptr<UIViewController> topViewController() const;
  // The controller presented over the top one, else the top one.
  std::shared_ptr<UIViewController> visibleViewController() const;
  // Pushes `controller` on the stack and shows it. Nothing, missing, this controller or a
  // controller already in the stack is refused with a console line.
  void pushViewController(const std::shared_ptr<UIViewController>& controller, bool animated);
  // Pops the top controller and returns it; nothing (nullptr) when only the root is left.
  std::shared_ptr<UIViewController> popViewControllerAnimated(bool animated);
  // Pops everything above the root and returns what was popped, bottom first.
  std::vector<std::shared_ptr<UIViewController>> popToRootViewControllerAnimated(bool animated);

  // The navigation bar (loads the view).
  std::shared_ptr<UINavigationBar> navigationBar();

  // A container view holding the bar and the top controller's view.
  void loadView() override;
  // Places the bar at the top and the top controller's view below it.
  void viewDidLayoutSubviews() override;
  // The appearance messages, passed on to the top controller.
  void viewWillAppear(bool animated) override;
  void viewDidAppear(bool animated) override;
  void viewWillDisappear(bool animated) override;
  void viewDidDisappear(bool animated) override;

 private:
  void showTop();
  void changeTop(const std::shared_ptr<UIViewController>& outgoing,
                 const std::shared_ptr<UIViewController>& incoming, bool animated);

  std::shared_ptr<UINavigationBar> _navigationBar;
};

}  // namespace zu
