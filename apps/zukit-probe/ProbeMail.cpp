// Probe commands for the mail composer and the animated exit: sending with the account of the
// program's Info.plist, and the end of the process after the exit animation.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "apps/zukit-probe/ProbeCommand.h"
#include "zukit/platform/dispatch/ManualClock.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/mail/MFMailComposeViewController.h"
#include "zukit/platform/ui/MailComposeDelegate.h"
#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/UIWindowScene.h"
#include "zukit/ui/ZuNavigation.h"
#include "zukit/utils/ZuUtils.h"

namespace zukit::probe {

namespace {

std::int64_t monotonicNanoseconds() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// The moment of exit, printed by the exit handler.
void printExitTime() {
  std::printf("exited %lld\n", static_cast<long long>(monotonicNanoseconds()));
  std::fflush(stdout);
}

// The composer's delegate: records how it ended.
class ProbeMailDelegate : public zu::UIViewController {
 public:
  ZU_RUNTIME_CLASS(ProbeMailDelegate, zu::UIViewController, &addMethods)

  zu::NSInteger result = -1;
  std::string error;

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, zu::mailComposeControllerDidFinishSelector(), zu::imp(&didFinish));
  }
  static void didFinish(zu::Object* self, zu::SEL /*selector*/, const zu::Value& /*controller*/,
                        zu::NSInteger result, const zu::Value& error) {
    auto* delegate = static_cast<ProbeMailDelegate*>(self);
    delegate->result = result;
    if (const auto object = error.asObject<zu::NSError>()) {
      delegate->error = object->localizedDescription();
    }
  }
};

// exit-with-animation (real|manual): shows a key window in an active scene, calls
// ZuUtils::exitWithAnimation and prints "started <ns>", the window's bounds as the animation left
// them, and, from an exit handler, "exited <ns>" (monotonic nanoseconds). "real" then runs the
// main loop; "manual" uses the manual dispatch clock, prints "running after 299ms" once it has
// advanced that far, and then advances the last millisecond. Returning at all is a failure.
int runExitWithAnimation(const std::vector<std::string>& arguments) {
  const bool manual = !arguments.empty() && arguments[0] == "manual";
  const auto scene = std::make_shared<zu::UIWindowScene>();
  scene->setActivationState(zu::UISceneActivationStateForegroundActive);
  zu::UIApplication::sharedApplication()->connectScene(scene);
  const auto window = zu::UIWindow::windowWithWindowScene(scene);
  window->setRootViewController(std::make_shared<zu::UIViewController>());
  window->makeKeyAndVisible();
  if (ZuNavigation::keyWindow() != window) {
    printLine("no key window");
    return 3;
  }
  std::atexit(&printExitTime);
  std::unique_ptr<zu::ManualClock> clock;
  if (manual) clock = std::make_unique<zu::ManualClock>();

  printLine("started " + std::to_string(monotonicNanoseconds()));
  ZuUtils::exitWithAnimation();
  const zu::CGRect bounds = window->bounds();
  printLine(zu::format("bounds %@ %@ %@ %@", bounds.origin.x, bounds.origin.y, bounds.size.width,
                       bounds.size.height));
  if (manual) {
    clock->advance(std::chrono::milliseconds(299));
    printLine("running after 299ms");
    clock->advance(std::chrono::milliseconds(1));
  } else {
    zu::RunLoop::main().runFor(std::chrono::seconds(10));
  }
  printLine("did not exit");
  return 4;
}

// mail-send TO SUBJECT: prints "canSendMail YES|NO", then sends a mail to TO with SUBJECT and the
// attachment "probe.txt" through the composer and prints "result <code>" and any error.
int runMailSend(const std::vector<std::string>& arguments) {
  if (arguments.size() != 2) return 2;
  const bool canSend = zu::MFMailComposeViewController::canSendMail();
  printLine(std::string("canSendMail ") + (canSend ? "YES" : "NO"));
  if (!canSend) return 0;

  const auto delegate = std::make_shared<ProbeMailDelegate>();
  const auto composer = std::make_shared<zu::MFMailComposeViewController>();
  composer->setMailComposeDelegate(delegate);
  composer->setToRecipients(zu::Array{arguments[0]});
  composer->setSubject(arguments[1]);
  composer->setMessageBody("sent by zukit-probe", false);
  const std::string text = "probe attachment\n";
  composer->addAttachmentData(zu::Data(text.begin(), text.end()), "text/plain", "probe.txt");
  composer->send();
  zu::RunLoop::main().runUntil([&delegate] { return delegate->result >= 0; },
                               std::chrono::seconds(30));
  printLine("result " + std::to_string(delegate->result));
  if (!delegate->error.empty()) printLine("error " + delegate->error);
  return delegate->result == zu::MFMailComposeResultSent ? 0 : 5;
}

const ProbeRegistration kExitWithAnimation("exit-with-animation", "real|manual",
                                           &runExitWithAnimation);
const ProbeRegistration kMailSend("mail-send", "TO SUBJECT", &runMailSend);

}  // namespace

}  // namespace zukit::probe
