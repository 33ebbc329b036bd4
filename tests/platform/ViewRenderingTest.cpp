// Drawing view trees to PNG and SVG: a small tree and alerts with Chinese text against
// reference pictures, and the rules of what is drawn where, checked pixel by pixel.

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/Snapshot.h"
#include "tests/support/StderrCapture.h"
#include "tests/support/TestHome.h"
#include "tests/support/UIApplicationScope.h"
#include "zukit/platform/dispatch/ManualClock.h"
#include "zukit/platform/ui/UIAlertController.h"
#include "zukit/platform/ui/UIButton.h"
#include "zukit/platform/ui/UIImageView.h"
#include "zukit/platform/ui/UILabel.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UIViewController.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/ViewRenderer.h"

namespace {

using zu::CGRectMake;
using zu::UIColor;

std::shared_ptr<zu::UIView> coloredView(zu::CGRect frame, std::shared_ptr<UIColor> color) {
  auto view = std::make_shared<zu::UIView>(frame);
  view->setBackgroundColor(std::move(color));
  return view;
}

// A window with one of each kind of drawing: rounded corners, a clip, a shadow, alpha, z order,
// a hidden view, a label, a button and an image.
std::shared_ptr<zu::UIWindow> smallTree() {
  auto window = std::make_shared<zu::UIWindow>(CGRectMake(0, 0, 240, 200));
  window->setBackgroundColor(UIColor::whiteColor());

  auto card = coloredView(CGRectMake(10, 10, 100, 70), UIColor::colorWithRed(0.95, 0.3, 0.2, 1));
  card->layer()->setCornerRadius(16);
  card->layer()->setShadowOpacity(0.6F);
  card->layer()->setShadowOffset(zu::CGSizeMake(-1, 1));
  card->layer()->setShadowColor(UIColor::blackColor()->colorWithAlphaComponent(0.7)->CGColor());
  window->addSubview(card);

  // A clipping parent: its child's corner outside it is cut away.
  auto clip = coloredView(CGRectMake(130, 10, 90, 70), UIColor::colorWithRed(0.2, 0.6, 0.3, 1));
  clip->layer()->setCornerRadius(20);
  clip->setClipsToBounds(true);
  clip->addSubview(coloredView(CGRectMake(50, 35, 60, 60), UIColor::colorWithRed(1, 0.85, 0, 1)));
  window->addSubview(clip);

  // Half-transparent blue over the card; a later sibling with a lower z position stays behind.
  auto glass = coloredView(CGRectMake(60, 40, 80, 40), UIColor::blueColor());
  glass->setAlpha(0.5);
  glass->layer()->setZPosition(10);
  window->addSubview(glass);
  auto behind = coloredView(CGRectMake(90, 50, 60, 40), UIColor::colorWithWhite(0.2, 1));
  window->addSubview(behind);

  auto hidden = coloredView(CGRectMake(0, 0, 240, 200), UIColor::blackColor());
  hidden->setHidden(true);
  window->addSubview(hidden);

  auto label = std::make_shared<zu::UILabel>(CGRectMake(10, 100, 150, 24));
  label->setText("Hello 你好，世界");
  window->addSubview(label);

  auto button = zu::UIButton::buttonWithType(zu::UIButtonTypeCustom);
  button->setFrame(CGRectMake(10, 140, 100, 44));
  button->setTitle("确定", zu::UIControlStateNormal);
  button->setTitleColor(UIColor::whiteColor(), zu::UIControlStateNormal);
  button->setBackgroundColor(UIColor::systemBlueColor());
  button->layer()->setCornerRadius(8);
  window->addSubview(button);

  auto image = std::make_shared<zu::UIImageView>(
      zu::UIImage::imageWithContentsOfFile(std::string(ZUKIT_FIXTURES_DIR) + "/images/sample.png"));
  image->setFrame(CGRectMake(130, 120, 90, 60));
  window->addSubview(image);
  return window;
}

TEST(ViewRendering, ASmallTreeDrawsAsItsReference) {
  const auto window = smallTree();
  EXPECT_TRUE(zukit::test::matchesSnapshot(*window, "small-tree"));
  EXPECT_TRUE(zukit::test::matchesSnapshot(*window, "small-tree@2x", 2));
}

// A screen behind an alert: a title bar and some text.
std::shared_ptr<zu::UIWindow> alertWindow(const std::shared_ptr<zu::UIAlertController>& alert) {
  auto window = std::make_shared<zu::UIWindow>();
  auto home = std::make_shared<zu::UIViewController>();
  home->view()->setBackgroundColor(UIColor::whiteColor());
  auto bar = coloredView(CGRectMake(0, 0, 320, 64), UIColor::systemBlueColor());
  home->view()->addSubview(bar);
  auto text = std::make_shared<zu::UILabel>(CGRectMake(16, 80, 288, 60));
  text->setText("附件已准备好，正在打开邮件。Attachments are ready.");
  text->setNumberOfLines(0);
  home->view()->addSubview(text);
  window->setRootViewController(home);
  window->makeKeyAndVisible();
  home->presentViewController(alert, false);
  return window;
}

TEST(ViewRendering, AnAlertWithChineseTextDrawsAsItsReference) {
  const zukit::test::UIApplicationScope application;
  zu::UIScreen::mainScreen()->setBounds(CGRectMake(0, 0, 320, 480));
  const auto alert = zu::UIAlertController::alertControllerWithTitle(
      "请先打开系统“邮件”APP，添加邮箱账号", zu::Value(), zu::UIAlertControllerStyleAlert);
  alert->addAction(
      zu::UIAlertAction::actionWithTitle("确定", zu::UIAlertActionStyleDefault, nullptr));
  const auto window = alertWindow(alert);
  EXPECT_TRUE(zukit::test::matchesSnapshot(*window, "alert-mail-account", 2));
}

TEST(ViewRendering, AnAlertWithAMessageAndTwoButtonsDrawsAsItsReference) {
  const zukit::test::UIApplicationScope application;
  zu::UIScreen::mainScreen()->setBounds(CGRectMake(0, 0, 320, 480));
  const auto alert = zu::UIAlertController::alertControllerWithTitle(
      "删除草稿？", "草稿删除后无法恢复。", zu::UIAlertControllerStyleAlert);
  alert->addAction(
      zu::UIAlertAction::actionWithTitle("删除", zu::UIAlertActionStyleDestructive, nullptr));
  alert->addAction(
      zu::UIAlertAction::actionWithTitle("取消", zu::UIAlertActionStyleCancel, nullptr));
  const auto window = alertWindow(alert);
  EXPECT_TRUE(zukit::test::matchesSnapshot(*window, "alert-two-buttons"));
}

TEST(ViewRendering, PixelsFollowVisibilityAlphaClipsAndZOrder) {
  auto root = coloredView(CGRectMake(0, 0, 100, 100), UIColor::whiteColor());
  root->setHidden(true);
  auto half = coloredView(CGRectMake(0, 0, 50, 50), UIColor::blackColor());
  half->setAlpha(0.5);
  root->addSubview(half);
  auto clip = coloredView(CGRectMake(50, 50, 50, 50), UIColor::redColor());
  clip->layer()->setCornerRadius(25);
  clip->setClipsToBounds(true);
  clip->addSubview(coloredView(CGRectMake(0, 0, 50, 50), UIColor::greenColor()));
  root->addSubview(clip);
  auto front = coloredView(CGRectMake(0, 50, 25, 50), UIColor::blueColor());
  front->layer()->setZPosition(1);
  root->addSubview(front);
  root->addSubview(coloredView(CGRectMake(0, 50, 50, 50), UIColor::redColor()));

  const std::optional<zu::Bitmap> bitmap = zu::ViewRenderer::render(*root);
  ASSERT_TRUE(bitmap);
  ASSERT_EQ(bitmap->width, 100);
  using RGBA = zu::Bitmap::RGBA;
  EXPECT_EQ(bitmap->colorAt(90, 10), (RGBA{255, 255, 255, 255})) << "the hidden root is drawn";
  const RGBA grey = bitmap->colorAt(10, 10);
  EXPECT_NEAR(grey.red, 128, 2) << "half black over white";
  EXPECT_EQ(bitmap->colorAt(75, 75), (RGBA{0, 255, 0, 255})) << "the child inside the circle";
  EXPECT_EQ(bitmap->colorAt(52, 52), (RGBA{255, 255, 255, 255})) << "clipped at the corner";
  EXPECT_EQ(bitmap->colorAt(10, 75), (RGBA{0, 0, 255, 255})) << "a higher z position in front";
  EXPECT_EQ(bitmap->colorAt(40, 75), (RGBA{255, 0, 0, 255}));

  // Twice the scale, twice the pixels; a view without area draws nothing.
  EXPECT_EQ(zu::ViewRenderer::render(*root, 2)->width, 200);
  EXPECT_FALSE(zu::ViewRenderer::render(zu::UIView()));
  EXPECT_FALSE(zu::ViewRenderer::render(*root, 0));
  EXPECT_FALSE(zu::ViewRenderer::pngData(zu::UIView()));
}

TEST(ViewRendering, AShadowFallsByItsOffsetOutsideTheView) {
  auto root = coloredView(CGRectMake(0, 0, 100, 100), UIColor::whiteColor());
  auto card = coloredView(CGRectMake(30, 30, 40, 40), UIColor::whiteColor());
  card->layer()->setShadowOpacity(1);
  card->layer()->setShadowRadius(0);
  card->layer()->setShadowOffset(zu::CGSizeMake(10, 10));
  root->addSubview(card);
  const std::optional<zu::Bitmap> bitmap = zu::ViewRenderer::render(*root);
  ASSERT_TRUE(bitmap);
  EXPECT_EQ(bitmap->colorAt(75, 75), (zu::Bitmap::RGBA{0, 0, 0, 255})) << "below-right";
  EXPECT_EQ(bitmap->colorAt(25, 25).red, 255) << "nothing above-left";
  EXPECT_EQ(bitmap->colorAt(50, 50).red, 255) << "the view covers its own shadow";
  card->setClipsToBounds(true);
  EXPECT_EQ(zu::ViewRenderer::render(*root)->colorAt(75, 75).red, 255) << "a clip hides it";
}

TEST(ViewRendering, PicturesAreWrittenAsPNGAndSVGFiles) {
  const auto window = smallTree();
  const std::string png = zukit::test::TestHome::current() + "/tree.png";
  const std::string svg = zukit::test::TestHome::current() + "/tree.svg";
  ASSERT_TRUE(zu::ViewRenderer::writePNG(*window, png));
  ASSERT_TRUE(zu::ViewRenderer::writeSVG(*window, svg));
  const std::string pngBytes = zukit::test::readFile(png);
  EXPECT_EQ(pngBytes.substr(1, 3), "PNG");
  const auto image = zu::UIImage::imageWithContentsOfFile(png);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->size(), zu::CGSizeMake(240, 200));
  const std::string svgText = zukit::test::readFile(svg);
  EXPECT_NE(svgText.find("<svg"), std::string::npos);
  EXPECT_NE(svgText.find("width=\"240"), std::string::npos) << svgText.substr(0, 300);
  EXPECT_NE(svgText.find("glyph"), std::string::npos) << "text is drawn as glyph outlines";

  const zukit::test::StderrCapture console;
  EXPECT_FALSE(zu::ViewRenderer::writePNG(*window, "/nonexistent-directory/tree.png"));
  EXPECT_FALSE(zu::ViewRenderer::writeSVG(zu::UIView(), svg));
  EXPECT_NE(console.text().find("ViewRenderer: could not write the PNG to "
                                "/nonexistent-directory/tree.png"),
            std::string::npos);
  EXPECT_NE(console.text().find("ViewRenderer: nothing to draw"), std::string::npos);
}

TEST(ViewRendering, ImagesWithoutADecoderDrawAsAPlaceholder) {
  auto root = coloredView(CGRectMake(0, 0, 40, 40), UIColor::whiteColor());
  auto photo = std::make_shared<zu::UIImageView>(
      zu::UIImage::imageWithContentsOfFile(std::string(ZUKIT_FIXTURES_DIR) + "/images/sample.jpg"));
  ASSERT_TRUE(photo->image());
  photo->setFrame(CGRectMake(0, 0, 40, 40));
  root->addSubview(photo);
  const zu::Bitmap::RGBA grey = zu::ViewRenderer::render(*root)->colorAt(30, 5);
  EXPECT_NEAR(grey.red, 217, 3);
  EXPECT_EQ(grey.red, grey.blue);
}

}  // namespace
