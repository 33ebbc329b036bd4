#pragma once

#include <memory>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/ui/UIView.h"
#include "zukit/platform/ui/UIViewController.h"

namespace zu {

class UITabBarController;

// The bar along the bottom of a tab-bar controller's view: one item per controller, titled with
// the controller's title, the selected one in the tint colour; read whenever it is drawn.
class ZU_EXPORT UITabBar : public UIView {
 public:
  ZU_RUNTIME_CLASS(UITabBar, UIView)

  // The bar's height in points.
  static constexpr CGFloat kHeight = 49;

  // A bar for `controller`'s tabs.
  explicit UITabBar(const std::shared_ptr<UITabBarController>& controller);

  // The items' titles, side by side.
  void drawRect(CGContext& context, CGRect rect) const override;

 private:
  std::weak_ptr<UITabBarController> _controller;
};

// The runtime type of "selectedViewController": the selected controller as an object.
using UISelectedViewControllerFunction = id (*)(Object* self, SEL selector);

// Controllers side by side, of which the selected one is shown above a tab bar. The controllers
// are the tab-bar controller's children. It answers the runtime message "selectedViewController",
// as the platform's does. Changing the selection sends the appearance messages (not animated)
// through the runtime while the tab-bar controller is on screen, and its own appearance
// messages are passed on to the selected controller. Main thread only: changes made elsewhere
// are refused with a console line.
class ZU_EXPORT UITabBarController : public UIViewController {
 public:
  ZU_RUNTIME_CLASS(UITabBarController, UIViewController, &UITabBarController::addMethods)

  UITabBarController() = default;

  // The controllers, in tab order.
  std::vector<std::shared_ptr<UIViewController>> viewControllers() const {
    return childViewControllers();
  }
  // Replaces the controllers (missing ones and repeats left out) and selects the first.
  void setViewControllers(const std::vector<std::shared_ptr<UIViewController>>& controllers);
  // The selected controller, or nullptr without controllers.
  std::shared_ptr<UIViewController> selectedViewController() const;
  // Selects `controller`; nothing for a controller that is not one of the tabs.
  void setSelectedViewController(const std::shared_ptr<UIViewController>& controller);
  // The index of the selected controller (0 without controllers).
  NSUInteger selectedIndex() const { return _selectedIndex; }
  // Selects the controller at `index`; nothing for an index out of range.
  void setSelectedIndex(NSUInteger index);

  // The tab bar (loads the view).
  std::shared_ptr<UITabBar> tabBar();

  // A container view holding the selected controller's view and the tab bar.
  void loadView() override;
  // Places the selected controller's view above the tab bar.
  void viewDidLayoutSubviews() override;
  // The appearance messages, passed on to the selected controller.
  void viewWillAppear(bool animated) override;
  void viewDidAppear(bool animated) override;
  void viewWillDisappear(bool animated) override;
  void viewDidDisappear(bool animated) override;

 private:
  static void addMethods(Class* cls);
  void showSelected();
  void select(NSUInteger index);

  NSUInteger _selectedIndex = 0;
  std::shared_ptr<UITabBar> _tabBar;
};

// The selector "selectedViewController".
ZU_EXPORT SEL selectedViewControllerSelector();

}  // namespace zu
