#pragma once

// Internal to libzukit (not installed, not exported): the mail composer's SMTP submission.

#include <memory>

#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/mail/MailAccount.h"
#include "zukit/platform/mail/MailMessage.h"

namespace zu {

// Submits `message` through `account` over SMTP with libcurl, blocking until the server has
// taken it or refused it: nullptr when it was taken, else an error in MFMailComposeErrorDomain
// (MFMailComposeErrorCodeSendFailed) whose localized description is the server's refusal (its
// reply, code and text, such as "550 5.1.1 <x@example.org>: Recipient address rejected") or the
// transport error (libcurl's message and detail). A message without recipients is refused before
// any connection. Call it off the main thread.
std::shared_ptr<NSError> submitMail(const MailAccount& account, const MailMessage& message);

}  // namespace zu
