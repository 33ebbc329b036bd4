#include "zukit/platform/mail/SmtpSubmission.h"

#include <array>
#include <cctype>
#include <string>
#include <vector>

#include "zukit/platform/mail/CurlMailMessage.h"
#include "zukit/platform/mail/MFMailComposeResult.h"

namespace zu {

namespace {

constexpr long kConnectTimeoutSeconds = 30;
// A transfer that moves less than a byte a second for this long is given up.
constexpr long kStallSeconds = 60;

struct EasyDeleter {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};

// libcurl hands the server's replies to the header callback, one line at a time.
std::size_t collectReply(char* buffer, std::size_t size, std::size_t count, void* context) {
  auto* lines = static_cast<std::vector<std::string>*>(context);
  std::string line(buffer, size * count);
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
    line.pop_back();
  lines->push_back(std::move(line));
  return size * count;
}

bool isRefusal(const std::string& line) {
  return line.size() >= 3 && (line[0] == '4' || line[0] == '5') && std::isdigit(line[1]) != 0 &&
         std::isdigit(line[2]) != 0;
}

// The server's last refusing reply, all its lines; "" when it refused nothing.
std::string lastRefusal(const std::vector<std::string>& lines) {
  for (std::size_t end = lines.size(); end > 0; --end) {
    if (!isRefusal(lines[end - 1])) continue;
    const std::string code = lines[end - 1].substr(0, 3);
    std::size_t begin = end - 1;
    while (begin > 0 && lines[begin - 1].compare(0, 4, code + "-") == 0)
      --begin;
    std::string reply;
    for (std::size_t i = begin; i < end; ++i) {
      if (!reply.empty()) reply += '\n';
      reply += lines[i];
    }
    return reply;
  }
  return {};
}

std::shared_ptr<NSError> sendFailure(const std::string& description) {
  return NSError::errorWithDomain(MFMailComposeErrorDomain, MFMailComposeErrorCodeSendFailed,
                                  Dictionary{{NSLocalizedDescriptionKey, Value(description)}});
}

}  // namespace

std::shared_ptr<NSError> submitMail(const MailAccount& account, const MailMessage& message) {
  const std::vector<std::string> recipients = message.envelopeRecipients();
  if (recipients.empty()) return sendFailure("The message has no recipients.");
  ensureCurlInitialised();
  const std::unique_ptr<CURL, EasyDeleter> easy(curl_easy_init());
  if (!easy) return sendFailure("libcurl could not make a transfer.");
  CURL* handle = easy.get();
  std::array<char, CURL_ERROR_SIZE> detail{};
  std::vector<std::string> replies;
  curl_easy_setopt(handle, CURLOPT_URL, account.url.c_str());
  if (!account.user.empty()) {
    curl_easy_setopt(handle, CURLOPT_USERNAME, account.user.c_str());
    curl_easy_setopt(handle, CURLOPT_PASSWORD, account.password.c_str());
  }
  // smtp:// moves to TLS when the server offers STARTTLS; smtps:// is TLS from the start.
  curl_easy_setopt(handle, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_TRY));
  curl_easy_setopt(handle, CURLOPT_NOPROXY, "localhost,127.0.0.1,::1");
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, kConnectTimeoutSeconds);
  curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, kStallSeconds);
  curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, detail.data());
  curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &collectReply);
  curl_easy_setopt(handle, CURLOPT_HEADERDATA, &replies);
  const CurlMailMessage curlMessage(handle, message, message.sender, recipients);
  const CURLcode code = curl_easy_perform(handle);
  if (code == CURLE_OK) return nullptr;
  const std::string refusal = lastRefusal(replies);
  if (!refusal.empty()) return sendFailure(refusal);
  std::string description = curl_easy_strerror(code);
  if (detail[0] != '\0') description += std::string(": ") + detail.data();
  return sendFailure(description);
}

}  // namespace zu
