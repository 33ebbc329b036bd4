#pragma once

#include <string>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"

namespace zu {

// One attachment of a message.
struct ZU_EXPORT MailAttachment {
  // The bytes, sent base64-encoded.
  Data data;
  // The Content-Type; "" is sent as application/octet-stream.
  std::string mimeType;
  // The file name the receiver sees.
  std::string fileName;
};

// A message as the mail composer hands it to libcurl's MIME API: the header fields, a body
// (plain text or HTML, UTF-8) and attachments. Texts are UTF-8; line breaks in header fields are
// sent as blanks, so no field can inject another.
struct ZU_EXPORT MailMessage {
  // The From address.
  std::string sender;
  std::vector<std::string> toRecipients;
  std::vector<std::string> ccRecipients;
  // Envelope recipients that no header shows.
  std::vector<std::string> bccRecipients;
  std::string subject;
  std::string body;
  bool bodyIsHTML = false;
  std::vector<MailAttachment> attachments;
  // The Date header, fixed when the message is made (RFC 5322 form).
  std::string date;
  // The Message-ID header, "<...@...>", fixed when the message is made.
  std::string messageID;

  // A message from `sender` stamped with the current date and a new message identifier.
  static MailMessage stamped(std::string sender);
  // The current time as a Date header value ("Tue, 03 Jun 2025 10:15:00 +0800").
  static std::string currentDate();
  // Every envelope recipient: To, then Cc, then Bcc.
  std::vector<std::string> envelopeRecipients() const;
};

// The Content-Type an attachment of MIME type `mimeType` is sent with: the type itself, or
// application/octet-stream for one that is empty or not a type/subtype pair (an attachment's
// bytes are opaque to the composer; the receiver keeps them under their file name instead of
// reading them as the text/plain that a part without a type would mean).
ZU_EXPORT std::string attachmentContentType(const std::string& mimeType);

// `text` as a header field value: unchanged when it is printable ASCII, else RFC 2047 encoded
// words (UTF-8, base64) of at most 75 characters each, never splitting a character. Line breaks
// become blanks.
ZU_EXPORT std::string encodedHeaderText(const std::string& text);

}  // namespace zu
