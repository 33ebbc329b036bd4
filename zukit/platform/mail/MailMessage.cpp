#include "zukit/platform/mail/MailMessage.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <random>

#include "zukit/platform/mail/MailText.h"

namespace zu {

namespace {

using mailtext::base64;
using mailtext::isPrintableAscii;
using mailtext::withoutLineBreaks;

// An encoded word may be 75 characters long: "=?UTF-8?B?" and "?=" leave 63 for base64, which
// holds 45 bytes.
constexpr std::size_t kBytesPerEncodedWord = 45;

// The length of the UTF-8 sequence that starts with `lead`; 1 for a byte that starts none.
std::size_t sequenceLength(unsigned char lead) {
  if (lead >= 0xf0) return 4;
  if (lead >= 0xe0) return 3;
  if (lead >= 0xc0) return 2;
  return 1;
}

std::string rfc5322Date(std::time_t now) {
  static constexpr std::array<const char*, 7> kDays = {"Sun", "Mon", "Tue", "Wed",
                                                       "Thu", "Fri", "Sat"};
  static constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::tm local{};
  localtime_r(&now, &local);
  const long offsetMinutes = local.tm_gmtoff / 60;
  const long magnitude = offsetMinutes < 0 ? -offsetMinutes : offsetMinutes;
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d %c%02ld%02ld",
                kDays.at(static_cast<std::size_t>(local.tm_wday)), local.tm_mday,
                kMonths.at(static_cast<std::size_t>(local.tm_mon)), local.tm_year + 1900,
                local.tm_hour, local.tm_min, local.tm_sec, offsetMinutes < 0 ? '-' : '+',
                magnitude / 60, magnitude % 60);
  return text.data();
}

std::string messageIdentifier(const std::string& sender) {
  std::random_device random;
  std::string unique;
  for (int i = 0; i < 4; ++i) {
    std::array<char, 9> word{};
    std::snprintf(word.data(), word.size(), "%08x", random());
    unique += word.data();
  }
  std::string domain;
  const std::size_t at = sender.rfind('@');
  if (at != std::string::npos) domain = sender.substr(at + 1);
  if (domain.empty() || !isPrintableAscii(domain) ||
      domain.find_first_of("<>\"\\ ") != std::string::npos) {
    std::array<char, 256> host{};
    domain = gethostname(host.data(), host.size() - 1) == 0 && host[0] != '\0' ? host.data()
                                                                               : "localhost";
  }
  return "<" + unique + "@" + domain + ">";
}

}  // namespace

MailMessage MailMessage::stamped(std::string sender) {
  MailMessage message;
  message.messageID = messageIdentifier(sender);
  message.sender = std::move(sender);
  message.date = rfc5322Date(std::time(nullptr));
  return message;
}

std::string MailMessage::currentDate() {
  return rfc5322Date(std::time(nullptr));
}

std::vector<std::string> MailMessage::envelopeRecipients() const {
  std::vector<std::string> all = toRecipients;
  all.insert(all.end(), ccRecipients.begin(), ccRecipients.end());
  all.insert(all.end(), bccRecipients.begin(), bccRecipients.end());
  return all;
}

std::string attachmentContentType(const std::string& mimeType) {
  const std::size_t slash = mimeType.find('/');
  const bool usable = isPrintableAscii(mimeType) && slash != std::string::npos && slash > 0 &&
                      slash + 1 < mimeType.size() && mimeType.find(' ') == std::string::npos;
  return usable ? mimeType : "application/octet-stream";
}

std::string encodedHeaderText(const std::string& text) {
  std::string flat = withoutLineBreaks(text);
  if (isPrintableAscii(flat)) return flat;
  std::string out;
  std::size_t start = 0;
  while (start < flat.size()) {
    std::size_t end = start;
    while (end < flat.size()) {
      const std::size_t next = end + sequenceLength(static_cast<unsigned char>(flat[end]));
      if (next - start > kBytesPerEncodedWord && end > start) break;
      end = std::min(next, flat.size());
    }
    // Words are folded onto lines of their own; a reader joins them without the blanks.
    if (!out.empty()) out += "\r\n ";
    out += "=?UTF-8?B?" + base64(std::string_view(flat).substr(start, end - start)) + "?=";
    start = end;
  }
  return out;
}

}  // namespace zu
