#pragma once

// Internal to libzukit (not installed, not exported): the mail composer's libcurl MIME tree.

#include <string>
#include <vector>

#include <curl/curl.h>

#include "zukit/platform/mail/MailMessage.h"

namespace zu {

// Initialises libcurl once per process, before the first mail handle.
void ensureCurlInitialised();

// A message in libcurl's form, set on one easy handle: a MIME tree (curl_mime: a text part, then
// one base64 part per attachment) posted with CURLOPT_MIMEPOST, the header fields (Date, From, To,
// Cc, Subject, Message-ID) as CURLOPT_HTTPHEADER, and the envelope as CURLOPT_MAIL_FROM and
// CURLOPT_MAIL_RCPT. It must outlive the transfer on that handle.
class CurlMailMessage {
 public:
  // Builds `message` on `easy` with the envelope sender and recipients given.
  CurlMailMessage(CURL* easy, const MailMessage& message, const std::string& envelopeSender,
                  const std::vector<std::string>& envelopeRecipients);
  ~CurlMailMessage();
  CurlMailMessage(const CurlMailMessage&) = delete;
  CurlMailMessage& operator=(const CurlMailMessage&) = delete;

  // The address inside "Name <address>", else the trimmed text, in angle brackets for the
  // envelope.
  static std::string envelopeAddress(const std::string& recipient);

 private:
  curl_mime* _mime = nullptr;
  curl_slist* _headers = nullptr;
  curl_slist* _recipients = nullptr;
};

}  // namespace zu
