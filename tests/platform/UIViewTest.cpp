// Views: geometry, the ordered subview tree, coordinate conversion and descriptions.

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/StderrCapture.h"
#include "zukit/platform/ui/UIView.h"
#include "zukit/platform/ui/UIWindow.h"

namespace {

using zu::CGPointMake;
using zu::CGRectMake;
using zu::UIView;
using Views = std::vector<std::shared_ptr<UIView>>;

// A view that counts its layout passes.
class CountingView : public UIView {
 public:
  using UIView::UIView;
  void layoutSubviews() override { ++layouts; }
  int layouts = 0;
};

TEST(UIView, FrameBoundsAndCenterStayOneGeometry) {
  const auto view = std::make_shared<CountingView>(CGRectMake(10, 20, 100, 50));
  EXPECT_EQ(view->center(), CGPointMake(60, 45));
  EXPECT_EQ(view->bounds(), CGRectMake(0, 0, 100, 50));

  // New bounds resize the view around its centre and keep their origin.
  view->setBounds(CGRectMake(5, 5, 200, 100));
  EXPECT_EQ(view->frame(), CGRectMake(-40, -5, 200, 100));
  EXPECT_EQ(view->center(), CGPointMake(60, 45));
  EXPECT_EQ(view->layouts, 1);
  view->setCenter(CGPointMake(0, 0));
  EXPECT_EQ(view->frame(), CGRectMake(-100, -50, 200, 100));
  EXPECT_EQ(view->layouts, 1) << "moving is no change of size";
  view->setFrame(CGRectMake(0, 0, 200, 100));
  EXPECT_EQ(view->bounds(), CGRectMake(5, 5, 200, 100)) << "the frame keeps the bounds' origin";
  EXPECT_EQ(view->layouts, 1);
  view->setFrame(CGRectMake(30, 30, -20, -10));
  EXPECT_EQ(view->frame(), CGRectMake(10, 20, 20, 10)) << "a negative size is turned around";
  EXPECT_EQ(view->layouts, 2);

  view->setAlpha(1.5);
  EXPECT_EQ(view->alpha(), 1);
  view->setAlpha(std::nan(""));
  EXPECT_EQ(view->alpha(), 0);
  EXPECT_TRUE(view->isUserInteractionEnabled());
  EXPECT_FALSE(view->isHidden());
  EXPECT_EQ(view->backgroundColor(), nullptr);
  view->setClipsToBounds(true);
  EXPECT_TRUE(view->layer()->masksToBounds());
}

TEST(UIView, SubviewsKeepTheirOrderAndReAddingBringsToTheFront) {
  const auto parent = std::make_shared<UIView>();
  const auto a = std::make_shared<UIView>();
  const auto b = std::make_shared<UIView>();
  const auto c = std::make_shared<UIView>();
  parent->addSubview(a);
  parent->addSubview(b);
  parent->addSubview(c);
  EXPECT_EQ(parent->subviews(), (Views{a, b, c}));
  parent->addSubview(a);
  EXPECT_EQ(parent->subviews(), (Views{b, c, a}));
  parent->insertSubview(a, 0);
  EXPECT_EQ(parent->subviews(), (Views{a, b, c}));
  parent->insertSubview(a, 99);
  EXPECT_EQ(parent->subviews(), (Views{b, c, a}));
  parent->insertSubview(c, -3);
  EXPECT_EQ(parent->subviews(), (Views{c, b, a}));
  parent->insertSubview(a, 1);
  EXPECT_EQ(parent->subviews(), (Views{c, a, b}));
  parent->bringSubviewToFront(c);
  parent->sendSubviewToBack(b);
  EXPECT_EQ(parent->subviews(), (Views{b, a, c}));

  // Moving to another parent takes the view from the first.
  const auto other = std::make_shared<UIView>();
  other->addSubview(a);
  EXPECT_EQ(parent->subviews(), (Views{b, c}));
  EXPECT_EQ(a->superview(), other);
  a->removeFromSuperview();
  EXPECT_EQ(a->superview(), nullptr);
  EXPECT_EQ(other->subviewCount(), 0U);
  a->removeFromSuperview();

  // A subview held only by its parent survives its own removal call.
  parent->addSubview(std::make_shared<UIView>());
  const std::weak_ptr<UIView> held = parent->subviews().back();
  held.lock()->removeFromSuperview();
  EXPECT_TRUE(held.expired());

  // The tree stays a tree.
  const zukit::test::StderrCapture console;
  b->addSubview(parent);
  parent->addSubview(parent);
  parent->addSubview(nullptr);
  EXPECT_EQ(parent->superview(), nullptr);
  EXPECT_EQ(b->subviewCount(), 0U);
  EXPECT_NE(console.text().find("-[UIView addSubview:]: cannot add"), std::string::npos);

  // Search and ancestry.
  const auto window = std::make_shared<zu::UIWindow>();
  window->addSubview(parent);
  c->setTag(7);
  EXPECT_EQ(window->viewWithTag(7), c);
  EXPECT_EQ(window->viewWithTag(8), nullptr);
  EXPECT_TRUE(c->isDescendantOfView(window));
  EXPECT_FALSE(window->isDescendantOfView(c));
  EXPECT_EQ(c->window(), window);
  EXPECT_EQ(window->window(), window);
  EXPECT_EQ(a->window(), nullptr);
}

TEST(UIView, PointsConvertThroughFramesAndBoundsOrigins) {
  const auto window = std::make_shared<zu::UIWindow>(CGRectMake(0, 0, 320, 480));
  const auto scroller = std::make_shared<UIView>(CGRectMake(20, 40, 200, 200));
  scroller->setBounds(CGRectMake(0, 100, 200, 200));  // scrolled down by 100
  const auto item = std::make_shared<UIView>(CGRectMake(10, 150, 50, 50));
  window->addSubview(scroller);
  scroller->addSubview(item);
  EXPECT_EQ(item->convertPointToView(CGPointMake(5, 5), window), CGPointMake(35, 95));
  EXPECT_EQ(item->convertPointToView(CGPointMake(5, 5), nullptr), CGPointMake(35, 95));
  EXPECT_EQ(item->convertPointFromView(CGPointMake(35, 95), window), CGPointMake(5, 5));
  EXPECT_EQ(item->convertPointFromView(CGPointMake(35, 95), nullptr), CGPointMake(5, 5));
  EXPECT_EQ(window->convertPointToView(CGPointMake(35, 95), item), CGPointMake(5, 5));
  EXPECT_EQ(item->convertPointToView(CGPointMake(0, 0), scroller), CGPointMake(10, 150));
  EXPECT_EQ(item->convertRectToView(CGRectMake(0, 0, 50, 50), window), CGRectMake(30, 90, 50, 50));
  EXPECT_EQ(item->convertRectFromView(CGRectMake(30, 90, 50, 50), window),
            CGRectMake(0, 0, 50, 50));

  // Across windows: through their frames on the screen.
  const auto lower = std::make_shared<zu::UIWindow>(CGRectMake(0, 500, 320, 100));
  EXPECT_EQ(item->convertPointToView(CGPointMake(5, 5), lower), CGPointMake(35, -405));
  // A view in no window converts with its root's coordinates.
  const auto loose = std::make_shared<UIView>(CGRectMake(100, 100, 10, 10));
  EXPECT_EQ(loose->convertPointToView(CGPointMake(1, 2), nullptr), CGPointMake(1, 2));
}

TEST(UIView, DescriptionsNameTheClassFrameAndUnusualState) {
  const auto view = std::make_shared<UIView>(CGRectMake(10, 20, 100, 50.5));
  view->setHidden(true);
  view->setAlpha(0.5);
  const std::string text = view->description();
  EXPECT_EQ(text.rfind("<UIView: 0x", 0), 0U) << text;
  EXPECT_NE(text.find("; frame = (10 20; 100 50.5); hidden = YES; alpha = 0.5; layer = <CALayer: "),
            std::string::npos)
      << text;
  EXPECT_NE(std::make_shared<zu::UIWindow>()->description().find("<UIWindow: "), std::string::npos);
  EXPECT_EQ(zu::NSStringFromCGRect(CGRectMake(1, 2.5, 3, 4)), "{{1, 2.5}, {3, 4}}");
}

}  // namespace
