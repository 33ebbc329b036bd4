// The tour's mail section: a mail with two attachments composed and sent through ZuUtils to an
// SMTP server embedded in the demo, what that server received, the alert shown when no account is
// set up, and last the animated exit, each in a child process of its own.

#include <spawn.h>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv, unsetenv
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "apps/loopback/EmbeddedSmtpServer.h"
#include "apps/zukit-demo/DemoSection.h"
#include "zukit/core/ZuLogger.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSSearchPath.h"
#include "zukit/platform/mail/MFMailComposeViewController.h"
#include "zukit/platform/ui/UIAlertController.h"
#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIButton.h"
#include "zukit/platform/ui/UIColor.h"
#include "zukit/platform/ui/UILabel.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/UIWindowScene.h"
#include "zukit/platform/ui/ViewRenderer.h"
#include "zukit/utils/ZuUtils.h"

extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace zukit::demo {

namespace {

// The host app's report screen, from which the mail is sent.
struct HostApp {
  std::shared_ptr<zu::UIWindowScene> scene = std::make_shared<zu::UIWindowScene>();
  std::shared_ptr<zu::UIWindow> window;
  std::shared_ptr<zu::UIViewController> home = std::make_shared<zu::UIViewController>();

  HostApp() {
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

// A small bar chart drawn by the view system, as PNG bytes: the second attachment.
zu::Data chartPNG() {
  auto chart = std::make_shared<zu::UIView>(zu::CGRectMake(0, 0, 120, 80));
  chart->setBackgroundColor(zu::UIColor::whiteColor());
  const double heights[] = {30, 55, 42, 70};
  for (int i = 0; i < 4; ++i) {
    auto bar =
        std::make_shared<zu::UIView>(zu::CGRectMake(10 + i * 27, 78 - heights[i], 20, heights[i]));
    bar->setBackgroundColor(zu::UIColor::systemBlueColor());
    chart->addSubview(bar);
  }
  return zu::ViewRenderer::pngData(*chart).value_or(zu::Data());
}

zu::Data bytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

// Prints a received message line by line, with base64 bodies cut to their first line.
void sayReceived(const zukit::loopback::EmbeddedSmtpServer::Message& message) {
  sayf("  MAIL FROM:<%@>", message.mailFrom);
  for (const std::string& recipient : message.recipients)
    sayf("  RCPT TO:<%@>", recipient);
  std::istringstream lines(message.data);
  std::string line;
  bool inHeaders = true;
  bool base64Part = false;
  int hiddenLines = 0;
  const auto flushHidden = [&hiddenLines] {
    if (hiddenLines > 0) sayf("  | ... %@ more lines of base64", hiddenLines);
    hiddenLines = 0;
  };
  bool firstBodyLine = false;
  while (std::getline(lines, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.starts_with("--")) {
      flushHidden();
      inHeaders = true;
      base64Part = false;
    } else if (inHeaders) {
      if (line == "Content-Transfer-Encoding: base64") base64Part = true;
      if (line.empty()) {
        inHeaders = false;
        firstBodyLine = true;
      }
    } else if (base64Part && !firstBodyLine) {
      ++hiddenLines;
      continue;
    } else {
      firstBodyLine = false;
    }
    say("  | " + line);
  }
  flushHidden();
}

int runChild(const char* name, std::chrono::steady_clock::duration* took = nullptr) {
  std::string self = demoExecutablePath();
  std::vector<std::string> arguments{self, "--child", name};
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments)
    argv.push_back(argument.data());
  argv.push_back(nullptr);
  const auto started = std::chrono::steady_clock::now();
  pid_t child = 0;
  if (posix_spawn(&child, self.c_str(), nullptr, nullptr, argv.data(), environ) != 0) return -1;
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (took != nullptr) *took = std::chrono::steady_clock::now() - started;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The child "mail": sending through the embedded server, then the alert without an account.
int showMailInChild() {
  const zukit::loopback::EmbeddedSmtpServer server;
  if (server.port() <= 0) {
    say("could not start the loopback SMTP server");
    return 1;
  }
  setenv("ZUKIT_SMTP_URL", server.url().c_str(), 1);      // NOLINT(concurrency-mt-unsafe)
  setenv("ZUKIT_MAIL_FROM", "reports@zukit.example", 1);  // NOLINT(concurrency-mt-unsafe)
  sayf(
      "an SMTP server embedded in the demo listens on 127.0.0.1:%@; the program's account is "
      "ZUKIT_SMTP_URL=%@",
      server.port(), server.url());
  sayf("canSendMail: %@", zu::MFMailComposeViewController::canSendMail() ? "YES" : "NO");

  const HostApp app;
  ZuUtils::sendEmailTo("reader@zukit.example", "ZuKit 周报 week 23",
                       zu::Array{bytesOf("week,visits\n22,1830\n23,2214\n"), chartPNG()},
                       zu::Array{"report.csv", "chart.png"}, app.home);
  const auto composer = std::dynamic_pointer_cast<zu::MFMailComposeViewController>(
      app.home->presentedViewController());
  if (!composer) {
    say("no composer was presented");
    return 1;
  }
  const zu::MailMessage& message = composer->message();
  sayf(R"(the composer: to %@, subject "%@", body "%@" (%@), %@ attachments with MIME type "")",
       message.toRecipients.front(), message.subject, message.body,
       message.bodyIsHTML ? "HTML" : "plain text", message.attachments.size());
  waitOnMainLoop([&composer] {
    return composer->appearanceState() == zu::UIViewController::AppearanceState::Appeared;
  });
  const std::string composerPicture = zu::NSHomeDirectory() + "/mail-composer.png";
  if (zu::ViewRenderer::writePNG(*app.window, composerPicture, 2)) {
    sayf("the composer on screen: %@", composerPicture);
  }

  say("the user taps \"Send\"; the mail goes out on a worker thread:");
  composer->send();
  const bool sent = waitOnMainLoop([&server, &app] {
    return server.messageCount() == 1 && app.home->presentedViewController() == nullptr;
  });
  if (!sent) {
    say("the mail did not arrive");
    return 1;
  }
  say("the server received:");
  sayReceived(server.messages().front());
  say("the result reached the screen through the mail hook point, whose handler closed the "
      "composer; it logged nothing, since it compares the boxed result with plain codes");

  unsetenv("ZUKIT_SMTP_URL");  // NOLINT(concurrency-mt-unsafe)
  sayf("without an account (canSendMail: %@), the same call shows an alert and logs the notice:",
       zu::MFMailComposeViewController::canSendMail() ? "YES" : "NO");
  ZuUtils::sendEmailTo("reader@zukit.example", "ZuKit 周报 week 23", zu::Array{}, zu::Array{},
                       app.home);
  const auto alert =
      std::dynamic_pointer_cast<zu::UIAlertController>(app.home->presentedViewController());
  if (!alert) {
    say("no alert was presented");
    return 1;
  }
  waitOnMainLoop([&alert] {
    return alert->appearanceState() == zu::UIViewController::AppearanceState::Appeared;
  });
  sayf(R"(  alert "%@" with the one button "%@")", alert->title(),
       alert->actions().front()->title());
  const std::string alertPicture = zu::NSHomeDirectory() + "/mail-no-account-alert.png";
  if (zu::ViewRenderer::writePNG(*app.window, alertPicture, 2)) {
    sayf("  the alert on screen: %@", alertPicture);
  }
  alert->buttonForAction(alert->actions().front())
      ->sendActionsForControlEvents(zu::UIControlEventTouchUpInside);
  waitOnMainLoop([&app] { return app.home->presentedViewController() == nullptr; });
  say("  \"确定\" closed it");
  return 0;
}

// The child "exit": collapses its key window and ends.
int exitInChild() {
  const HostApp app;
  ZuUtils::exitWithAnimation();
  zu::RunLoop::main().runFor(std::chrono::seconds(10));
  return 3;
}

void showMail(DemoContext& /*context*/) {
  say("the composer's handler attaches to the mail hook point, which the interception section "
      "has used in this process already; so this part runs as a fresh app, in a child process:");
  if (runChild("mail") != 0) say("the mail child did not finish; going on");

  std::chrono::steady_clock::duration took{};
  const int status = runChild("exit", &took);
  std::array<char, 16> seconds{};
  std::snprintf(seconds.data(), seconds.size(), "%.2f",
                std::chrono::duration<double>(took).count());
  sayf(
      "exitWithAnimation, in a child process with a key window: the window shrinks to zero "
      "height over 0.3 s, then the process ends with status %@ after %@ s (start-up included)",
      status, seconds.data());
}

}  // namespace

// Last in the tour, since it ends with the animated exit.
const DemoRegistration kMailComposer(90, "Mail composer and the animated exit", &showMail);
const DemoChildRegistration kMailChild("mail", &showMailInChild);
const DemoChildRegistration kExitChild("exit", &exitInChild);

}  // namespace zukit::demo
