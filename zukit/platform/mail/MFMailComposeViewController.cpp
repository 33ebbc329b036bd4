// The mail composer's message and its three endings; its screen is in
// MFMailComposeViewController+Screen.cpp.

#include "zukit/platform/mail/MFMailComposeViewController.h"

#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <utility>

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/AtomicFile.h"
#include "zukit/platform/foundation/Environment.h"
#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/mail/MailRenderer.h"
#include "zukit/platform/mail/SmtpSubmission.h"
#include "zukit/platform/ui/MailComposeDelegate.h"

namespace zu {

const char* const MFMailComposeErrorDomain = "MFMailComposeErrorDomain";

namespace {

// Drafts hold private mail: only their owner may read them.
constexpr mode_t kDraftMode = 0600;
constexpr auto kDraftsDirectoryPermissions = std::filesystem::perms::owner_all;

std::vector<std::string> addressList(const Value& recipients) {
  std::vector<std::string> addresses;
  if (const Array* list = recipients.asArray()) {
    for (const Value& entry : *list) {
      if (std::optional<std::string> address = validText(entry)) {
        addresses.push_back(std::move(*address));
      }
    }
  }
  return addresses;
}

std::shared_ptr<NSError> composeError(MFMailComposeErrorCode code, const std::string& description) {
  return NSError::errorWithDomain(MFMailComposeErrorDomain, code,
                                  Dictionary{{NSLocalizedDescriptionKey, Value(description)}});
}

// A new draft file name: the local time of saving and the message identifier's first letters,
// so that drafts sort by age and never collide.
std::string draftFileName(const MailMessage& message) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::array<char, 32> stamp{};
  std::strftime(stamp.data(), stamp.size(), "%Y%m%d-%H%M%S", &local);
  const std::string unique =
      message.messageID.size() > 9 ? message.messageID.substr(1, 8) : "draft";
  return std::string(stamp.data()) + "-" + unique + ".eml";
}

// Writes `message` as an .eml file in `directory`: its path, or an error.
std::pair<std::string, std::shared_ptr<NSError>> writeDraft(const MailMessage& message,
                                                            const std::string& directory) {
  std::string problem;
  const std::optional<std::string> bytes = renderMail(message, problem);
  if (!bytes) {
    return {{},
            composeError(MFMailComposeErrorCodeSaveFailed,
                         "The draft could not be written: " + problem)};
  }
  std::error_code failure;
  std::filesystem::create_directories(directory, failure);
  if (!failure) {
    std::filesystem::permissions(directory, kDraftsDirectoryPermissions,
                                 std::filesystem::perm_options::replace, failure);
  }
  if (failure) {
    return {
        {},
        composeError(MFMailComposeErrorCodeSaveFailed,
                     "The draft could not be written: " + directory + ": " + failure.message())};
  }
  const std::string path = directory + "/" + draftFileName(message);
  const int error = writeFileAtomically(
      path,
      std::span(reinterpret_cast<
                    const std::uint8_t*>(  // NOLINT(cppcoreguidelines-pro-type-reinterpret-cast):
                                           // text as bytes
                    bytes->data()),
                bytes->size()),
      kDraftMode);
  if (error != 0) {
    return {{},
            composeError(MFMailComposeErrorCodeSaveFailed,
                         "The draft could not be written: " + path + ": " +
                             std::error_code(error, std::generic_category()).message())};
  }
  return {path, nullptr};
}

SEL sendTappedSelector() {
  static const SEL selector = sel_registerName("sendTapped:");
  return selector;
}

SEL saveDraftTappedSelector() {
  static const SEL selector = sel_registerName("saveDraftTapped:");
  return selector;
}

SEL cancelTappedSelector() {
  static const SEL selector = sel_registerName("cancelTapped:");
  return selector;
}

MFMailComposeViewController* composer(Object* self) {
  return dynamic_cast<MFMailComposeViewController*>(self);
}

void sendTapped(Object* self, SEL /*selector*/, const id& /*sender*/) {
  if (auto* target = composer(self)) target->send();
}

void saveDraftTapped(Object* self, SEL /*selector*/, const id& /*sender*/) {
  if (auto* target = composer(self)) target->saveDraft();
}

void cancelTapped(Object* self, SEL /*selector*/, const id& /*sender*/) {
  if (auto* target = composer(self)) target->cancel();
}

}  // namespace

void MFMailComposeViewController::addMethods(Class* cls) {
  class_addMethod(cls, sendTappedSelector(), imp(&sendTapped));
  class_addMethod(cls, saveDraftTappedSelector(), imp(&saveDraftTapped));
  class_addMethod(cls, cancelTappedSelector(), imp(&cancelTapped));
}

bool MFMailComposeViewController::canSendMail() {
  return MailAccount::configured().has_value();
}

std::string MFMailComposeViewController::draftsDirectory() {
  const std::string bundle = NSBundle::mainBundle()->bundleIdentifier().value_or("org.zukit");
  return xdgDataHome() + "/zukit/mail/" + bundle + "/Drafts";
}

MFMailComposeViewController::~MFMailComposeViewController() = default;

MFMailComposeViewController::MFMailComposeViewController()
    : _account(MailAccount::configured()),
      _message(MailMessage::stamped(_account ? _account->sender : MailAccount::defaultSender())) {}

void MFMailComposeViewController::setToRecipients(const Value& recipients) {
  _message.toRecipients = addressList(recipients);
  refreshScreen();
}

void MFMailComposeViewController::setCcRecipients(const Value& recipients) {
  _message.ccRecipients = addressList(recipients);
  refreshScreen();
}

void MFMailComposeViewController::setBccRecipients(const Value& recipients) {
  _message.bccRecipients = addressList(recipients);
}

void MFMailComposeViewController::setSubject(const Value& subject) {
  _message.subject = validText(subject).value_or("");
  refreshScreen();
}

void MFMailComposeViewController::setMessageBody(const Value& body, bool isHTML) {
  _message.body = validText(body).value_or("");
  _message.bodyIsHTML = isHTML;
  refreshScreen();
}

void MFMailComposeViewController::addAttachmentData(const Data& data, const Value& mimeType,
                                                    const Value& fileName) {
  MailAttachment attachment;
  attachment.data = data;
  attachment.mimeType = validText(mimeType).value_or("");
  attachment.fileName =
      validText(fileName).value_or("attachment-" + std::to_string(_message.attachments.size() + 1));
  _message.attachments.push_back(std::move(attachment));
  refreshScreen();
}

bool MFMailComposeViewController::beginFinishing() {
  if (_finished) return false;
  _finished = true;
  return true;
}

void MFMailComposeViewController::send() {
  if (!beginFinishing()) return;
  MailMessage outgoing = _message;
  outgoing.date = MailMessage::currentDate();
  auto self = std::static_pointer_cast<MFMailComposeViewController>(strongSelf());
  // The worker holds the composer only to hand it back to the main queue, so that the composer
  // (a main-thread object) is never released on the worker.
  dispatch_async(
      dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0),
      [self = std::move(self), account = _account, outgoing = std::move(outgoing)]() mutable {
        const std::shared_ptr<NSError> error =
            account ? submitMail(*account, outgoing)
                    : composeError(MFMailComposeErrorCodeSendFailed,
                                   "No mail account is configured for this program.");
        reportOnMainQueue(std::move(self),
                          error ? MFMailComposeResultFailed : MFMailComposeResultSent, error);
      });
}

void MFMailComposeViewController::saveDraft() {
  if (!beginFinishing()) return;
  MailMessage draft = _message;
  draft.date = MailMessage::currentDate();
  auto self = std::static_pointer_cast<MFMailComposeViewController>(strongSelf());
  dispatch_async(
      dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0),
      [self = std::move(self), draft = std::move(draft), directory = draftsDirectory()]() mutable {
        auto [path, error] = writeDraft(draft, directory);
        reportOnMainQueue(std::move(self),
                          error ? MFMailComposeResultFailed : MFMailComposeResultSaved, error,
                          std::move(path));
      });
}

void MFMailComposeViewController::cancel() {
  if (!beginFinishing()) return;
  reportOnMainQueue(std::static_pointer_cast<MFMailComposeViewController>(strongSelf()),
                    MFMailComposeResultCancelled, nullptr);
}

void MFMailComposeViewController::reportOnMainQueue(
    std::shared_ptr<MFMailComposeViewController> composer, MFMailComposeResult result,
    const std::shared_ptr<NSError>& error, std::string savedDraftPath) {
  if (!composer) return;
  dispatch_async(dispatch_get_main_queue(),
                 [composer = std::move(composer), result, error, path = std::move(savedDraftPath)] {
                   if (!path.empty()) composer->_savedDraftPath = path;
                   mailComposeControllerDidFinish(composer->mailComposeDelegate(), Value(composer),
                                                  result, error ? Value(error) : Value());
                 });
}

}  // namespace zu
