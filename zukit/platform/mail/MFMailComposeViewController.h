#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/mail/MFMailComposeResult.h"
#include "zukit/platform/mail/MailAccount.h"
#include "zukit/platform/mail/MailMessage.h"
#include "zukit/platform/ui/UIViewController.h"

namespace zu {

class UIButton;

// The mail composer: a screen pre-filled with recipients, a subject, a body and attachments that
// the user sends, saves as a draft or cancels. On Linux it works through the SMTP account
// configured for the program (MailAccount); canSendMail() tells whether there is one. The
// message is built with libcurl's MIME API.
//
// The user's three taps are send(), saveDraft() and cancel() (its view's "Send", "Save Draft"
// and "Cancel" buttons call them). Each ends the composer in one of the four results, which is
// reported on the main queue to the mail-compose delegate through the runtime, with the message
// "mailComposeController:didFinishWithResult:error:" (MailComposeDelegate.h), so interception of
// that method works as on a phone:
//   send       the message goes out over SMTP on a worker thread: MFMailComposeResultSent, or
//              MFMailComposeResultFailed with an error whose localized description is the
//              server's refusal or the transport error;
//   saveDraft  the message is written as an .eml file in draftsDirectory():
//              MFMailComposeResultSaved (MFMailComposeResultFailed if it cannot be written);
//   cancel     MFMailComposeResultCancelled.
// Only the first tap counts; the composer does not dismiss itself (its delegate does), and it
// stays alive until its result has been reported.
//
// Unlike the platform's, this composer is a plain view controller, not a navigation controller,
// so that the visible-controller walk stops at it and dismissing it closes it. Main thread only.
class ZU_EXPORT MFMailComposeViewController : public UIViewController {
 public:
  ZU_RUNTIME_CLASS(MFMailComposeViewController, UIViewController,
                   &MFMailComposeViewController::addMethods)

  // Whether mail can be sent: a usable SMTP account is configured (MailAccount::configured()).
  static bool canSendMail();
  // The directory that drafts are saved to: $XDG_DATA_HOME/zukit/mail/<bundle identifier>/Drafts.
  static std::string draftsDirectory();

  // An empty composer, with the account configured now (if any) as sender.
  MFMailComposeViewController();
  ~MFMailComposeViewController() override;
  MFMailComposeViewController(const MFMailComposeViewController&) = delete;
  MFMailComposeViewController& operator=(const MFMailComposeViewController&) = delete;

  // The object told how the composer ended; held weakly.
  id mailComposeDelegate() const { return _delegate.lock(); }
  void setMailComposeDelegate(const id& delegate) { _delegate = delegate; }

  // setToRecipients:, setCcRecipients:, setBccRecipients:: a list of address texts; entries that
  // are not valid text are left out, and anything but a list clears the field.
  void setToRecipients(const Value& recipients);
  void setCcRecipients(const Value& recipients);
  void setBccRecipients(const Value& recipients);
  // setSubject:; anything but valid text clears it.
  void setSubject(const Value& subject);
  // setMessageBody:isHTML:; anything but valid text clears the body.
  void setMessageBody(const Value& body, bool isHTML);
  // addAttachmentData:mimeType:fileName:. An empty or malformed MIME type is sent as
  // application/octet-stream; a missing file name (absent, NSNull, empty) becomes
  // "attachment-<n>", n counting attachments from 1.
  void addAttachmentData(const Data& data, const Value& mimeType, const Value& fileName);

  // The message as composed so far.
  const MailMessage& message() const { return _message; }

  // The user's tap on "Send".
  void send();
  // The user's tap on "Save Draft".
  void saveDraft();
  // The user's tap on "Cancel".
  void cancel();
  // True once a tap has ended the composer (its result may still be on its way).
  bool isFinished() const { return _finished; }
  // The file the draft was saved to, once the result MFMailComposeResultSaved has been reported;
  // "" before and otherwise.
  const std::string& savedDraftPath() const { return _savedDraftPath; }

  // The compose screen: a bar with "Cancel", the subject and "Send", the To, Cc and Subject
  // fields, the body, the attachments, and "Save Draft" at the bottom.
  void loadView() override;
  // Places the screen's parts for the view's size.
  void viewDidLayoutSubviews() override;

 private:
  struct Screen;
  // Destroys a Screen where its type is complete (MFMailComposeViewController+Screen.cpp).
  struct ScreenDeleter {
    void operator()(Screen* screen) const;
  };

  static void addMethods(Class* cls);
  // Marks the composer finished; false when a tap already did.
  bool beginFinishing();
  // Reports `result` and `error` to `composer`'s delegate on the main queue (first noting the
  // path of a saved draft), keeping the composer alive until then and releasing it there.
  static void reportOnMainQueue(std::shared_ptr<MFMailComposeViewController> composer,
                                MFMailComposeResult result, const std::shared_ptr<NSError>& error,
                                std::string savedDraftPath = {});
  void refreshScreen();

  std::weak_ptr<Object> _delegate;
  std::optional<MailAccount> _account;
  MailMessage _message;
  bool _finished = false;
  std::string _savedDraftPath;
  std::unique_ptr<Screen, ScreenDeleter> _screen;
};

}  // namespace zu
