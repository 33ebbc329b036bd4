// The mail composer with its result handler attached through the swizzler, the no-account alert,
// and the animated exit.

#include <cstdlib>

#include "zukit/core/ZuLogger.h"
#include "zukit/hooks/ZuHookPoints.h"
#include "zukit/hooks/ZuSwizzler.h"
#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/mail/MFMailComposeViewController.h"
#include "zukit/platform/ui/MailComposeDelegate.h"
#include "zukit/platform/ui/UIAlertController.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UIView.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/ui/ZuNavigation.h"
#include "zukit/utils/ZuUtils.h"

namespace {

constexpr const char* kSendFunction =
    "+[ZuUtils sendEmailTo:subject:attachmentDatas:attachmentFileNames:fromController:]";
// The handler's own printed name: the block inside the method above.
constexpr const char* kHandlerFunction =
    "__82+[ZuUtils sendEmailTo:subject:attachmentDatas:attachmentFileNames:fromController:]_block_"
    "invoke";
constexpr const char* kNoAccountNotice = "请先打开系统“邮件”APP，添加邮箱账号";
constexpr const char* kBody = "请查收附件";
constexpr const char* kHandlerName = "MFMailComposeViewControllerDelegate";
constexpr double kExitAnimationDuration = 0.3;

std::string errorDescription(const zu::Value& error) {
  const auto object = error.asObject<zu::NSError>();
  return object ? object->localizedDescription() : std::string();
}

// A result code as the plain integer the handler compares with.
zu::Value resultCode(zu::MFMailComposeResult result) {
  return zu::Value(static_cast<zu::NSInteger>(result));
}

// Logs how the composer ended and closes it. The result arrives boxed in a number object, and
// the comparisons below are with the plain codes, so none of them holds: this is the handler's
// established behaviour, kept as it is (hosts see nothing logged for any result).
void mailComposeFinished(zu::Object* /*receiver*/, zu::SEL /*selector*/,
                         const zu::Value& /*controller*/, const zu::Value& result,
                         const zu::Value& error) {
  if (result == resultCode(zu::MFMailComposeResultCancelled)) {
    ZuLogger::log(ZuLogLevelLog, kHandlerFunction, "Mail send canceled...");
  } else if (result == resultCode(zu::MFMailComposeResultSaved)) {
    ZuLogger::log(ZuLogLevelLog, kHandlerFunction, "Mail saved...");
  } else if (result == resultCode(zu::MFMailComposeResultSent)) {
    ZuLogger::log(ZuLogLevelLog, kHandlerFunction, "Mail sent...");
  } else if (result == resultCode(zu::MFMailComposeResultFailed)) {
    ZuLogger::log(ZuLogLevelError, kHandlerFunction, "Mail send errored: %@...",
                  errorDescription(error));
  }
  if (const auto current = ZuNavigation::currentViewController()) {
    current->dismissViewControllerAnimated(true);
  }
}

void presentNoAccountAlert(const std::shared_ptr<zu::UIViewController>& fromController) {
  ZuLogger::log(ZuLogLevelError, kSendFunction, kNoAccountNotice);
  const auto alert = zu::UIAlertController::alertControllerWithTitle(
      kNoAccountNotice, zu::Value(), zu::UIAlertControllerStyleAlert);
  alert->addAction(zu::UIAlertAction::actionWithTitle(
      "确定", zu::UIAlertActionStyleDefault,
      [](const std::shared_ptr<zu::UIAlertAction>& /*action*/) {}));
  if (fromController) fromController->presentViewController(alert, true);
}

}  // namespace

void ZuUtils::sendEmailTo(const zu::Value& recipient, const zu::Value& subject,
                          const zu::Value& attachmentDatas, const zu::Value& attachmentFileNames,
                          const std::shared_ptr<zu::UIViewController>& fromController) {
  const std::optional<std::string> address = zu::validText(recipient);
  if (!address) return;
  if (!zu::MFMailComposeViewController::canSendMail()) {
    presentNoAccountAlert(fromController);
    return;
  }
  const auto composer = std::make_shared<zu::MFMailComposeViewController>();
  composer->setMailComposeDelegate(fromController);
  // Registered on every call, as the composer's users have always done.
  ZuSwizzler::swizzleSelector(
      zu::mailComposeControllerDidFinishSelector(), zu::object_getClass(fromController),
      ZuBlock::make<ZuMailComposeResultBlock>(&mailComposeFinished), kHandlerName);
  composer->setSubject(subject);
  composer->setToRecipients(zu::Array{zu::Value(*address)});
  composer->setMessageBody(kBody, false);

  const zu::Array* datas = attachmentDatas.asArray();
  const zu::Array* names = attachmentFileNames.asArray();
  for (std::size_t i = 0; datas != nullptr && i < datas->size(); ++i) {
    const zu::Data* bytes = (*datas)[i].asData();
    if (bytes == nullptr) {
      zu::NSLog("ZuUtils: attachment %@ is not a byte buffer (%@) and is left out", i + 1,
                (*datas)[i]);
      continue;
    }
    // A name that is missing from the list, or no text, is made up from the buffer's place.
    const std::string madeUp = "attachment-" + std::to_string(i + 1);
    zu::Value name = madeUp;
    if (names != nullptr && i < names->size()) {
      if (zu::isValidText((*names)[i])) name = (*names)[i];
    } else {
      zu::NSLog("ZuUtils: attachment %@ has no file name in the list of %@; it is sent as %@",
                i + 1, names != nullptr ? names->size() : 0, madeUp);
    }
    composer->addAttachmentData(*bytes, "", name);
  }
  if (fromController) fromController->presentViewController(composer, true);
}

void ZuUtils::exitWithAnimation() {
  const std::shared_ptr<zu::UIWindow> window = ZuNavigation::keyWindow();
  zu::UIView::animateWithDuration(
      kExitAnimationDuration,
      [&window] {
        if (!window) return;
        const zu::CGFloat width = zu::UIScreen::mainScreen()->bounds().size.width;
        window->setBounds(zu::CGRectMake(0, 0, width, 0));
      },
      [](bool /*finished*/) { std::exit(0); });
}
