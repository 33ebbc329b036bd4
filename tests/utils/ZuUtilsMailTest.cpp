// ZuUtils sendEmailTo:...: the silent no-op, the no-account notice and alert, and the composer's
// four endings reaching the delegate through the hook point, against a real SMTP server.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/hooks/HookTestSupport.h"
#include "tests/platform/MailTestSupport.h"
#include "tests/support/MainLoop.h"
#include "tests/support/SmtpServer.h"
#include "tests/support/Snapshot.h"
#include "tests/support/StderrCapture.h"
#include "tests/support/UIApplicationScope.h"
#include "zukit/core/ZuLogger.h"
#include "zukit/hooks/ZuHookPoints.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/mail/MFMailComposeViewController.h"
#include "zukit/platform/ui/UIAlertController.h"
#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIButton.h"
#include "zukit/platform/ui/UIColor.h"
#include "zukit/platform/ui/UILabel.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/UIWindowScene.h"
#include "zukit/utils/ZuUtils.h"

namespace {

using zukit::test::MailEnvironment;
using zukit::test::RecordingMailDelegate;
using zukit::test::SmtpServer;

constexpr const char* kNotice = "请先打开系统“邮件”APP，添加邮箱账号";
constexpr const char* kHandlerName = "MFMailComposeViewControllerDelegate";

// The host's screen: `home`, the root of the key window of an active scene, on a 320 x 480
// screen.
struct HostScreen {
  std::shared_ptr<RecordingMailDelegate> home = std::make_shared<RecordingMailDelegate>();
  std::shared_ptr<zu::UIWindowScene> scene = std::make_shared<zu::UIWindowScene>();
  std::shared_ptr<zu::UIWindow> window;

  HostScreen() {
    zu::UIScreen::mainScreen()->setBounds(zu::CGRectMake(0, 0, 320, 480));
    scene->setActivationState(zu::UISceneActivationStateForegroundActive);
    zu::UIApplication::sharedApplication()->connectScene(scene);
    window = zu::UIWindow::windowWithWindowScene(scene);
    home->view()->setBackgroundColor(zu::UIColor::whiteColor());
    auto text = std::make_shared<zu::UILabel>(zu::CGRectMake(16, 80, 288, 60));
    text->setText("本周报表已生成。The weekly report is ready.");
    text->setNumberOfLines(0);
    home->view()->addSubview(text);
    window->setRootViewController(home);
    window->makeKeyAndVisible();
  }
};

// Runs the main queue until what is on it now has run.
void drainMainQueue() {
  bool drained = false;
  zu::dispatch_async(zu::dispatch_get_main_queue(), [&drained] { drained = true; });
  ASSERT_TRUE(zukit::test::pumpMainUntil([&drained] { return drained; }));
}

zu::Data bytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

TEST(ZuUtilsMail, AnInvalidRecipientDoesNothingAtAll) {
  ZU_REQUIRE_EMPTY_SLOT(MailComposeControllerDidFinishWithResultSwizzle);
  const zukit::test::UIApplicationScope application;
  const HostScreen screen;
  ZuLogger::configLogLevel(ZuLogLevelAll);
  for (const bool withAccount : {false, true}) {
    const MailEnvironment environment(
        withAccount ? MailEnvironment::account("smtp://127.0.0.1:2525") : MailEnvironment::none());
    const zukit::test::StderrCapture console;
    for (const zu::Value& recipient : {zu::Value(), zu::Value::null(), zu::Value("")}) {
      ZuUtils::sendEmailTo(recipient, "subject", zu::Array{bytesOf("x")}, zu::Array{"x.txt"},
                           screen.home);
    }
    drainMainQueue();
    EXPECT_EQ(screen.home->presentedViewController(), nullptr) << withAccount;
    EXPECT_EQ(console.text(), "") << withAccount;
  }
  EXPECT_EQ(MailComposeControllerDidFinishWithResultSwizzle.get(), nullptr)
      << "no handler is registered";
  EXPECT_EQ(zukit::test::logFileText().find(kNotice), std::string::npos);
}

TEST(ZuUtilsMail, WithoutAnAccountTheNoticeIsLoggedAndTheAlertShown) {
  ZU_REQUIRE_EMPTY_SLOT(MailComposeControllerDidFinishWithResultSwizzle);
  const zukit::test::UIApplicationScope application;
  const MailEnvironment environment(MailEnvironment::none());
  const HostScreen screen;
  ZuLogger::configLogLevel(ZuLogLevelError);
  std::string console;
  {
    const zukit::test::StderrCapture capture;
    ZuUtils::sendEmailTo("ann@example.org", "周报", zu::Array{bytesOf("x")}, zu::Array{"x.txt"},
                         screen.home);
    console = capture.text();
  }
  // The level-5 banner names the method without its first character.
  EXPECT_NE(console.find("[ZuUtils sendEmailTo:subject:attachmentDatas:attachmentFileNames:"
                         "fromController:]\n" +
                         std::string(kNotice)),
            std::string::npos)
      << console;
  EXPECT_NE(zukit::test::logFileText().find(std::string("  ") + kNotice + "\n"), std::string::npos);

  const auto alert =
      std::dynamic_pointer_cast<zu::UIAlertController>(screen.home->presentedViewController());
  ASSERT_NE(alert, nullptr);
  EXPECT_EQ(alert->title(), kNotice);
  EXPECT_EQ(alert->message(), "");
  EXPECT_EQ(alert->preferredStyle(), zu::UIAlertControllerStyleAlert);
  ASSERT_EQ(alert->actions().size(), 1U);
  const auto action = alert->actions().front();
  EXPECT_EQ(action->title(), "确定");
  EXPECT_EQ(action->style(), zu::UIAlertActionStyleDefault);
  EXPECT_TRUE(static_cast<bool>(action->handler()));
  drainMainQueue();  // the animated presentation ends on the main queue
  EXPECT_EQ(alert->appearanceState(), zu::UIViewController::AppearanceState::Appeared);
  EXPECT_TRUE(zukit::test::matchesSnapshot(*screen.window, "mail-no-account-alert", 2));
  EXPECT_EQ(MailComposeControllerDidFinishWithResultSwizzle.get(), nullptr)
      << "no composer, no handler";

  // "确定" closes the alert and does nothing else.
  alert->buttonForAction(action)->sendActionsForControlEvents(zu::UIControlEventTouchUpInside);
  ASSERT_TRUE(zukit::test::pumpMainUntil(
      [&screen] { return screen.home->presentedViewController() == nullptr; }));
  EXPECT_TRUE(screen.home->endings.empty());
}

TEST(ZuUtilsMail, TheFourEndingsReachTheDelegateThroughTheHookPointCloseTheComposerAndLogNothing) {
  ZU_REQUIRE_EMPTY_SLOT(MailComposeControllerDidFinishWithResultSwizzle);
  SmtpServer::Options options;
  options.refusedRecipients = {"nobody@example.org"};
  const zukit::test::SmtpServer server(options);
  ASSERT_TRUE(server.isRunning());
  const zukit::test::UIApplicationScope application;
  const MailEnvironment environment(MailEnvironment::account(server.url()));
  const HostScreen screen;
  const zu::Array buffers{bytesOf("first attachment"), bytesOf(std::string("\0\1\2\3", 4))};
  const zu::Array names{"第一.txt", "second.bin"};

  enum class Tap { Cancel, Save, Send };
  struct Case {
    const char* recipient;
    Tap tap;
    zu::NSInteger result;
  };
  const std::vector<Case> cases = {
      {"ann@example.org", Tap::Cancel, zu::MFMailComposeResultCancelled},
      {"ann@example.org", Tap::Save, zu::MFMailComposeResultSaved},
      {"ann@example.org", Tap::Send, zu::MFMailComposeResultSent},
      {"nobody@example.org", Tap::Send, zu::MFMailComposeResultFailed},
  };
  const ZuBlock* previousHandler = nullptr;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const Case& example = cases[i];
    ZuUtils::sendEmailTo(example.recipient, "周报 " + std::to_string(i), buffers, names,
                         screen.home);
    const auto composer = std::dynamic_pointer_cast<zu::MFMailComposeViewController>(
        screen.home->presentedViewController());
    ASSERT_NE(composer, nullptr) << i;
    EXPECT_EQ(composer->mailComposeDelegate(), screen.home);
    const zu::MailMessage& message = composer->message();
    EXPECT_EQ(message.toRecipients, std::vector<std::string>{example.recipient});
    EXPECT_EQ(message.subject, "周报 " + std::to_string(i));
    EXPECT_EQ(message.body, "请查收附件");
    EXPECT_FALSE(message.bodyIsHTML);
    ASSERT_EQ(message.attachments.size(), 2U);
    EXPECT_EQ(message.attachments[0].fileName, "第一.txt");
    EXPECT_EQ(message.attachments[1].fileName, "second.bin");
    EXPECT_EQ(message.attachments[1].data, (zu::Data{0, 1, 2, 3}));
    for (const auto& attachment : message.attachments)
      EXPECT_EQ(attachment.mimeType, "");

    // One handler under its name, registered anew by this call.
    const std::shared_ptr<ZuSwizzle> record =
        MailComposeControllerDidFinishWithResultSwizzle.record();
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->blocks().count(), 1U);
    const std::shared_ptr<ZuBlock> handler = record->blocks().objectForKey(kHandlerName);
    ASSERT_NE(handler, nullptr);
    EXPECT_NE(handler.get(), previousHandler) << "registered on every call";
    previousHandler = handler.get();

    drainMainQueue();  // the composer is on screen
    switch (example.tap) {
      case Tap::Cancel:
        composer->cancel();
        break;
      case Tap::Save:
        composer->saveDraft();
        break;
      case Tap::Send:
        composer->send();
        break;
    }
    ASSERT_TRUE(zukit::test::pumpMainUntil([&screen, i] {
      return screen.home->endings.size() == i + 1 &&
             screen.home->presentedViewController() == nullptr;
    })) << "case "
        << i << " did not end and close the composer";
    const zukit::test::MailEnding& ending = screen.home->endings[i];
    EXPECT_EQ(ending.result, example.result) << i;
    EXPECT_EQ(ending.composer, composer);
    if (example.result == zu::MFMailComposeResultFailed) {
      ASSERT_NE(ending.error, nullptr);
      EXPECT_EQ(ending.error->localizedDescription().substr(0, 3), "550");
    } else {
      EXPECT_EQ(ending.error, nullptr) << ending.error->localizedDescription();
    }
  }
  // The delegate's own method ran first, then the handler, which was installed in its place.
  EXPECT_EQ(zu::class_getInstanceMethod(RecordingMailDelegate::staticClass(),
                                        zu::mailComposeControllerDidFinishSelector())
                ->implementation.load(),
            zuGetSwizzleIMPBySELName("mailComposeController:didFinishWithResult:error:"));

  const std::string log = zukit::test::logFileText();
  for (const char* line :
       {"Mail send canceled...", "Mail saved...", "Mail sent...", "Mail send errored"}) {
    EXPECT_EQ(log.find(line), std::string::npos) << line;
  }

  // The one mail that went out, with both attachments as opaque bytes under their names.
  ASSERT_EQ(server.messageCount(), 1U);
  const zu::Value mail = zukit::test::parseMailFile(server.messagePath(1));
  EXPECT_EQ(zukit::test::textAt(mail, "subject"), "周报 2");
  EXPECT_EQ(zukit::test::textAt(mail, "to"), "ann@example.org");
  const zu::Value texts = zukit::test::entryAt(mail, "texts");
  ASSERT_TRUE(texts.asArray() != nullptr && texts.count() == 1);
  EXPECT_EQ(zukit::test::textAt((*texts.asArray())[0], "text"), "请查收附件");
  EXPECT_EQ(zukit::test::textAt((*texts.asArray())[0], "content_type"), "text/plain");
  const zu::Value attachments = zukit::test::entryAt(mail, "attachments");
  ASSERT_TRUE(attachments.asArray() != nullptr && attachments.count() == 2);
  for (std::size_t i = 0; i < 2; ++i) {
    const zu::Value& attachment = (*attachments.asArray())[i];
    EXPECT_EQ(zukit::test::textAt(attachment, "filename"), *names[i].asString());
    EXPECT_EQ(zukit::test::textAt(attachment, "content_type"), "application/octet-stream");
    EXPECT_EQ(zukit::test::textAt(attachment, "base64"),
              zukit::test::base64Of(*buffers[i].asData()));
  }
}

TEST(ZuUtilsMail, AShortFileNameListOrABufferThatIsNoBytesLosesNothingElse) {
  const zukit::test::UIApplicationScope application;
  const MailEnvironment environment(MailEnvironment::account("smtp://127.0.0.1:2525"));
  const HostScreen screen;
  const zukit::test::StderrCapture console;
  ZuUtils::sendEmailTo("ann@example.org", "附件",
                       zu::Array{bytesOf("a"), zu::Value::null(), bytesOf("c"), bytesOf("d")},
                       zu::Array{"a.txt", "b.txt", zu::Value::null()}, screen.home);
  const auto composer = std::dynamic_pointer_cast<zu::MFMailComposeViewController>(
      screen.home->presentedViewController());
  ASSERT_NE(composer, nullptr);
  std::vector<std::string> fileNames;
  for (const auto& attachment : composer->message().attachments) {
    fileNames.push_back(attachment.fileName);
  }
  // The NSNull buffer is left out; the NSNull name and the missing fourth name are made up from
  // their places in the lists.
  EXPECT_EQ(fileNames, (std::vector<std::string>{"a.txt", "attachment-3", "attachment-4"}));
  EXPECT_NE(console.text().find("attachment 2 is not a byte buffer"), std::string::npos);
  EXPECT_NE(console.text().find("attachment 4 has no file name in the list of 3"),
            std::string::npos);
  composer->cancel();
  ASSERT_TRUE(zukit::test::pumpMainUntil(
      [&screen] { return screen.home->presentedViewController() == nullptr; }));

  // Absent lists add no attachment.
  ZuUtils::sendEmailTo("ann@example.org", "none", zu::Value(), zu::Value::null(), screen.home);
  const auto bare = std::dynamic_pointer_cast<zu::MFMailComposeViewController>(
      screen.home->presentedViewController());
  ASSERT_NE(bare, nullptr);
  EXPECT_TRUE(bare->message().attachments.empty());
}

}  // namespace
