#pragma once

#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/UINavigationController.h"
#include "zukit/platform/ui/UIView.h"
#include "zukit/platform/ui/UIViewController.h"
#include "zukit/platform/ui/UIWindow.h"

// Answers, at the moment of asking, which window is key, which view controller the user is
// looking at, which navigation controller is current and which web view that controller shows.
// Every answer walks the application's scenes, windows and controllers afresh; nothing is kept.
// Call on the main thread (the view system's objects are main-thread objects).
//
// The window rules: before release 13.0.0 (UIDevice systemVersion) every window lookup answers
// the application's key window. From 13.0.0 on, the connected scenes are walked in their
// enumeration order and the first scene that qualifies gives its first window, as it is (nil
// when it has none): for _activeKeyWindow a foreground-active scene (state 0), for _keyWindow a
// foreground scene, active or inactive (state 0 or 1). The first window is asked of the scene
// with the runtime message "windows", without checking that the scene is a window scene.
class ZU_EXPORT ZuNavigation : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuNavigation, zu::Object)

  // No instances: every operation is a class method.
  ZuNavigation() = delete;

  // The key window: _activeKeyWindow().
  static std::shared_ptr<zu::UIWindow> keyWindow();
  // The window of the first foreground-active scene (see the class comment), or nullptr.
  static std::shared_ptr<zu::UIWindow> _activeKeyWindow();
  // The window of the first foreground scene, active or inactive, or nullptr.
  static std::shared_ptr<zu::UIWindow> _keyWindow();

  // The controller the user looks at: from the root controller of _activeKeyWindow(), follows,
  // first rule that applies each time, a presented controller; a navigation controller's
  // non-nil top controller; a tab-bar controller's selected controller (a selected navigation
  // controller's top controller, even nil); any object's answer to "selectedViewController"
  // (asked through the runtime with respondsToSelector and performSelector, so a host container
  // answers with a runtime entry returning an id or a Value; a navigation controller answer
  // gives its top controller); and stops
  // when none applies. There is no guard against cycles: a container that answers itself keeps
  // the walk going. nullptr when the walk reaches no controller.
  static std::shared_ptr<zu::UIViewController> currentViewController();
  // The current navigation controller, from the root controller of _keyWindow() only (nothing
  // presented is looked at): the root itself when it is a navigation controller; for a tab-bar
  // root, its selected controller when that is a navigation controller, else the selected
  // controller's navigationController; for a root answering "selectedViewController", the answer
  // when it is a navigation controller, else nullptr; otherwise nullptr.
  static std::shared_ptr<zu::UINavigationController> currentNavigation();
  // The first of the direct subviews of currentViewController()'s view that is a UIWebView or
  // a WKWebView (tested in that order for each subview), or nullptr. Deeper views are not
  // searched.
  static std::shared_ptr<zu::UIView> currentWebview();
};
