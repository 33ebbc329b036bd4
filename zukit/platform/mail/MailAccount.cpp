#include "zukit/platform/mail/MailAccount.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <vector>

#include <curl/curl.h>

#include "zukit/platform/foundation/Environment.h"
#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/mail/CurlMailMessage.h"

namespace zu {

namespace {

constexpr const char* kInfoKey = "ZuKitMailAccount";

struct UrlDeleter {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
struct CurlTextDeleter {
  void operator()(char* text) const { curl_free(text); }
};

// One part of a parsed URL, or "" when it has none.
std::string urlPart(CURLU* url, CURLUPart part) {
  char* raw = nullptr;
  if (curl_url_get(url, part, &raw, CURLU_URLDECODE) != CURLUE_OK) return {};
  const std::unique_ptr<char, CurlTextDeleter> text(raw);
  return text ? std::string(text.get()) : std::string();
}

std::string loginName() {
  std::array<char, 4096> buffer{};
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
      found != nullptr && found->pw_name != nullptr && found->pw_name[0] != '\0') {
    return found->pw_name;
  }
  return environmentValue("USER").value_or("zukit");
}

std::string hostName() {
  std::array<char, 256> buffer{};
  if (gethostname(buffer.data(), buffer.size() - 1) != 0 || buffer[0] == '\0') return "localhost";
  return buffer.data();
}

// Fills in the sender when none was configured.
MailAccount withSender(MailAccount account) {
  if (!account.sender.empty()) return account;
  std::string user = account.user;
  if (user.empty()) {
    const std::unique_ptr<CURLU, UrlDeleter> url(curl_url());
    if (url && curl_url_set(url.get(), CURLUPART_URL, account.url.c_str(), 0) == CURLUE_OK) {
      user = urlPart(url.get(), CURLUPART_USER);
    }
  }
  account.sender = user.find('@') != std::string::npos ? user : MailAccount::defaultSender();
  return account;
}

std::optional<MailAccount> checked(MailAccount account, const char* origin) {
  if (const std::optional<std::string> problem = MailAccount::problemWithURL(account.url)) {
    NSLog("MailAccount: the mail account of %@ is not used: %@", origin, *problem);
    return std::nullopt;
  }
  return withSender(std::move(account));
}

std::string textEntry(const Dictionary& dictionary, const char* key) {
  const Value* value = dictionary.find(key);
  const std::string* text = value != nullptr ? value->asString() : nullptr;
  return text != nullptr ? *text : std::string();
}

}  // namespace

std::optional<MailAccount> MailAccount::configured() {
  if (std::optional<MailAccount> account = fromEnvironment()) return account;
  return fromInfoEntry(NSBundle::mainBundle()->objectForInfoDictionaryKey(kInfoKey));
}

std::optional<MailAccount> MailAccount::fromEnvironment() {
  const std::optional<std::string> url = environmentValue("ZUKIT_SMTP_URL");
  if (!url) return std::nullopt;
  MailAccount account;
  account.url = *url;
  account.user = environmentValue("ZUKIT_SMTP_USER").value_or("");
  account.password = environmentValue("ZUKIT_SMTP_PASSWORD").value_or("");
  account.sender = environmentValue("ZUKIT_MAIL_FROM").value_or("");
  return checked(std::move(account), "ZUKIT_SMTP_URL");
}

std::optional<MailAccount> MailAccount::fromInfoEntry(const Value& entry) {
  MailAccount account;
  if (const std::string* url = entry.asString()) {
    account.url = *url;
  } else if (const Dictionary* dictionary = entry.asDictionary()) {
    account.url = textEntry(*dictionary, "URL");
    account.user = textEntry(*dictionary, "User");
    account.password = textEntry(*dictionary, "Password");
    account.sender = textEntry(*dictionary, "From");
  } else {
    return std::nullopt;
  }
  if (account.url.empty()) return std::nullopt;
  return checked(std::move(account), "the Info.plist");
}

std::string MailAccount::defaultSender() {
  return loginName() + "@" + hostName();
}

std::optional<std::string> MailAccount::problemWithURL(const std::string& url) {
  ensureCurlInitialised();
  const std::unique_ptr<CURLU, UrlDeleter> parsed(curl_url());
  if (!parsed) return "out of memory";
  const CURLUcode code = curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0);
  if (code != CURLUE_OK)
    return std::string("\"") + url + "\" is no URL (" + curl_url_strerror(code) + ")";
  const std::string scheme = urlPart(parsed.get(), CURLUPART_SCHEME);
  if (scheme != "smtp" && scheme != "smtps") {
    return std::string("\"") + url + "\" is not an smtp:// or smtps:// URL";
  }
  if (urlPart(parsed.get(), CURLUPART_HOST).empty())
    return std::string("\"") + url + "\" names no host";
  const curl_version_info_data* info = curl_version_info(CURLVERSION_NOW);
  bool supported = false;
  for (const char* const* protocol = info->protocols; *protocol != nullptr; ++protocol) {
    supported = supported || scheme == *protocol;
  }
  if (!supported) return "this libcurl cannot speak " + scheme;
  return std::nullopt;
}

}  // namespace zu
