// Alerts: the box laid out as the platform lays it out, and a tap on a button that dismisses the
// alert and then runs the action's handler.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/UIApplicationScope.h"
#include "zukit/platform/dispatch/ManualClock.h"
#include "zukit/platform/ui/TouchSequence.h"
#include "zukit/platform/ui/UIAlertController.h"
#include "zukit/platform/ui/UIButton.h"
#include "zukit/platform/ui/UIWindow.h"

namespace {

using zu::CGRectMake;
using zu::UIAlertAction;
using zu::UIAlertController;

class UIAlertControllerTest : public testing::Test {
 protected:
  void SetUp() override {
    window = std::make_shared<zu::UIWindow>(CGRectMake(0, 0, 320, 480));
    window->setRootViewController(home);
    window->makeKeyAndVisible();
  }

  // The centre of `view` in window coordinates.
  zu::CGPoint centreOf(const std::shared_ptr<zu::UIView>& view) const {
    const zu::CGRect rect = view->convertRectToView(view->bounds(), window);
    return zu::CGPointMake(zu::CGRectGetMidX(rect), zu::CGRectGetMidY(rect));
  }

  const zukit::test::UIApplicationScope application;
  const std::shared_ptr<zu::UIViewController> home = std::make_shared<zu::UIViewController>();
  std::shared_ptr<zu::UIWindow> window;
};

TEST_F(UIAlertControllerTest, ATapOnAButtonDismissesTheAlertAndThenRunsItsHandler) {
  const zu::ManualClock clock;
  std::vector<std::string> handled;
  const auto alert = UIAlertController::alertControllerWithTitle(
      "请先打开系统“邮件”APP，添加邮箱账号", zu::Value(), zu::UIAlertControllerStyleAlert);
  const auto confirm = UIAlertAction::actionWithTitle(
      "确定", zu::UIAlertActionStyleDefault,
      [&handled, &alert](const std::shared_ptr<UIAlertAction>& action) {
        handled.push_back(action->title() +
                          (alert->presentingViewController() ? " (still presented)" : ""));
      });
  alert->addAction(confirm);
  EXPECT_EQ(alert->title(), "请先打开系统“邮件”APP，添加邮箱账号");
  EXPECT_EQ(alert->message(), "");
  home->presentViewController(alert, true);
  clock.advance(std::chrono::milliseconds(0));
  EXPECT_EQ(home->presentedViewController(), alert);
  EXPECT_EQ(window->subviews().back(), alert->view());

  // The box: 270 points wide, centred; one button along its bottom.
  const auto box = alert->alertView();
  EXPECT_EQ(box->frame().size.width, 270);
  EXPECT_DOUBLE_EQ(zu::CGRectGetMidX(box->frame()), 160);
  EXPECT_DOUBLE_EQ(zu::CGRectGetMidY(box->frame()), 240);
  const auto button = alert->buttonForAction(confirm);
  ASSERT_NE(button, nullptr);
  EXPECT_EQ(button->currentTitle(), "确定");
  EXPECT_EQ(button->frame(), CGRectMake(0, box->bounds().size.height - 44, 270, 44));

  // A tap outside the box reaches the dimmed backdrop and does nothing.
  zu::TouchSequence::tap(window, zu::CGPointMake(10, 10));
  clock.advance(std::chrono::milliseconds(0));
  EXPECT_TRUE(handled.empty());

  zu::TouchSequence::tap(window, centreOf(button));
  EXPECT_TRUE(handled.empty()) << "the handler waits for the dismissal";
  clock.advance(std::chrono::milliseconds(0));
  EXPECT_EQ(handled, std::vector<std::string>{"确定"});
  EXPECT_EQ(home->presentedViewController(), nullptr);
  EXPECT_EQ(alert->view()->superview(), nullptr);
}

TEST_F(UIAlertControllerTest, TwoButtonsSitSideBySideWithCancelOnTheLeftMoreAreStacked) {
  const auto alert = UIAlertController::alertControllerWithTitle("Title", "A message",
                                                                 zu::UIAlertControllerStyleAlert);
  const auto ok = UIAlertAction::actionWithTitle("OK", zu::UIAlertActionStyleDefault, nullptr);
  const auto cancel =
      UIAlertAction::actionWithTitle("Cancel", zu::UIAlertActionStyleCancel, nullptr);
  alert->addAction(ok);
  alert->addAction(cancel);
  home->presentViewController(alert, false);
  const double height = alert->alertView()->bounds().size.height;
  EXPECT_EQ(alert->buttonForAction(cancel)->frame(), CGRectMake(0, height - 44, 135, 44));
  EXPECT_EQ(alert->buttonForAction(ok)->frame(), CGRectMake(135, height - 44, 135, 44));
  alert->dismissViewControllerAnimated(false);

  // Three buttons: stacked, the cancel one last; destructive in red.
  const auto sheet = UIAlertController::alertControllerWithTitle(
      zu::Value::null(), zu::Value(), zu::UIAlertControllerStyleActionSheet);
  const auto remove =
      UIAlertAction::actionWithTitle("Delete", zu::UIAlertActionStyleDestructive, nullptr);
  const auto keep = UIAlertAction::actionWithTitle("Keep", zu::UIAlertActionStyleDefault, nullptr);
  sheet->addAction(cancel);
  sheet->addAction(remove);
  sheet->addAction(keep);
  home->presentViewController(sheet, false);
  const auto box = sheet->alertView();
  EXPECT_EQ(box->frame(), CGRectMake(8, 480 - 8 - 132, 304, 132)) << "at the bottom, no texts";
  EXPECT_EQ(sheet->buttonForAction(remove)->frame().origin.y, 0);
  EXPECT_EQ(sheet->buttonForAction(keep)->frame().origin.y, 44);
  EXPECT_EQ(sheet->buttonForAction(cancel)->frame().origin.y, 88);
  EXPECT_EQ(sheet->buttonForAction(remove)->currentTitleColor()->CGColor(),
            zu::UIColor::systemRedColor()->CGColor());
  EXPECT_EQ(sheet->buttonForAction(ok), nullptr) << "an action of another alert";
}

TEST_F(UIAlertControllerTest, ADisabledActionsButtonTakesNoTap) {
  const zu::ManualClock clock;
  bool handled = false;
  const auto alert = UIAlertController::alertControllerWithTitle("Wait", zu::Value(),
                                                                 zu::UIAlertControllerStyleAlert);
  const auto later = UIAlertAction::actionWithTitle(
      "Later", zu::UIAlertActionStyleDefault,
      [&handled](const std::shared_ptr<UIAlertAction>&) { handled = true; });
  later->setEnabled(false);
  alert->addAction(later);
  home->presentViewController(alert, false);
  zu::TouchSequence::tap(window, centreOf(alert->buttonForAction(later)));
  clock.advance(std::chrono::milliseconds(0));
  EXPECT_FALSE(handled);
  EXPECT_EQ(home->presentedViewController(), alert);
}

}  // namespace
