#include "zukit/platform/mail/CurlMailMessage.h"

#include <array>
#include <cstdio>
#include <mutex>

#include "zukit/platform/mail/MailText.h"

namespace zu {

namespace {

using mailtext::isPrintableAscii;
using mailtext::withoutLineBreaks;

// Text with every line break as CRLF, the canonical form of a text part.
std::string withCanonicalLineBreaks(const std::string& text) {
  std::string out;
  out.reserve(text.size() + text.size() / 32);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r') {
      out += "\r\n";
      if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
    } else if (text[i] == '\n') {
      out += "\r\n";
    } else {
      out += text[i];
    }
  }
  return out;
}

std::string joined(const std::vector<std::string>& items) {
  std::string out;
  for (const std::string& item : items) {
    if (!out.empty()) out += ", ";
    out += withoutLineBreaks(item);
  }
  return out;
}

// The Content-Disposition of an attachment named `fileName`: a quoted file name when it is
// printable ASCII, else the RFC 2231 form (UTF-8, percent-encoded), which mail readers decode.
std::string attachmentDisposition(const std::string& fileName) {
  const std::string name = withoutLineBreaks(fileName);
  if (isPrintableAscii(name)) {
    std::string quoted;
    for (const char c : name) {
      if (c == '"' || c == '\\') quoted += '\\';
      quoted += c;
    }
    return "Content-Disposition: attachment; filename=\"" + quoted + "\"";
  }
  std::string encoded;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
        (byte >= 'a' && byte <= 'z') || byte == '.' || byte == '-' || byte == '_') {
      encoded += c;
    } else {
      std::array<char, 4> escape{};
      std::snprintf(escape.data(), escape.size(), "%%%02X", byte);
      encoded += escape.data();
    }
  }
  return "Content-Disposition: attachment; filename*=UTF-8''" + encoded;
}

}  // namespace

void ensureCurlInitialised() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

std::string CurlMailMessage::envelopeAddress(const std::string& recipient) {
  const std::size_t open = recipient.rfind('<');
  const std::size_t close = recipient.rfind('>');
  std::string address;
  if (open != std::string::npos && close != std::string::npos && close > open) {
    address = recipient.substr(open + 1, close - open - 1);
  } else {
    const std::size_t begin = recipient.find_first_not_of(" \t");
    const std::size_t end = recipient.find_last_not_of(" \t");
    if (begin != std::string::npos) address = recipient.substr(begin, end - begin + 1);
  }
  return "<" + withoutLineBreaks(address) + ">";
}

CurlMailMessage::CurlMailMessage(CURL* easy, const MailMessage& message,
                                 const std::string& envelopeSender,
                                 const std::vector<std::string>& envelopeRecipients)
    : _mime(curl_mime_init(easy)) {
  curl_mimepart* text = curl_mime_addpart(_mime);
  const std::string body = withCanonicalLineBreaks(message.body);
  curl_mime_data(text, body.data(), body.size());
  curl_mime_type(text,
                 message.bodyIsHTML ? "text/html; charset=utf-8" : "text/plain; charset=utf-8");
  curl_mime_encoder(text, "quoted-printable");

  for (const MailAttachment& attachment : message.attachments) {
    curl_mimepart* part = curl_mime_addpart(_mime);
    // Empty data still makes a part: libcurl reads a null pointer as "no data set".
    const char* bytes =
        attachment.data.empty()
            ? ""
            : reinterpret_cast<
                  const char*>(  // NOLINT(cppcoreguidelines-pro-type-reinterpret-cast):
                                 // bytes as libcurl's char buffer
                  attachment.data.data());
    curl_mime_data(part, bytes, attachment.data.size());
    curl_mime_type(part, attachmentContentType(attachment.mimeType).c_str());
    curl_mime_encoder(part, "base64");
    curl_slist* partHeaders =
        curl_slist_append(nullptr, attachmentDisposition(attachment.fileName).c_str());
    curl_mime_headers(part, partHeaders, 1);
  }

  const auto addHeader = [this](const std::string& field) {
    _headers = curl_slist_append(_headers, field.c_str());
  };
  addHeader("Date: " + message.date);
  addHeader("From: " + withoutLineBreaks(message.sender));
  if (!message.toRecipients.empty()) addHeader("To: " + joined(message.toRecipients));
  if (!message.ccRecipients.empty()) addHeader("Cc: " + joined(message.ccRecipients));
  addHeader("Subject: " + encodedHeaderText(message.subject));
  addHeader("Message-ID: " + message.messageID);

  for (const std::string& recipient : envelopeRecipients) {
    _recipients = curl_slist_append(_recipients, envelopeAddress(recipient).c_str());
  }
  const std::string from = envelopeAddress(envelopeSender);
  curl_easy_setopt(easy, CURLOPT_MAIL_FROM, from.c_str());
  curl_easy_setopt(easy, CURLOPT_MAIL_RCPT, _recipients);
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, _headers);
  curl_easy_setopt(easy, CURLOPT_MIMEPOST, _mime);
}

CurlMailMessage::~CurlMailMessage() {
  curl_mime_free(_mime);
  curl_slist_free_all(_headers);
  curl_slist_free_all(_recipients);
}

}  // namespace zu
