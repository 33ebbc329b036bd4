#pragma once

#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"

namespace zu {

// The SMTP submission account through which the program sends mail: the stand-in for the mail
// account a user sets up on a phone. It is configured for the program, first found first:
//
//   the environment: ZUKIT_SMTP_URL (required), ZUKIT_SMTP_USER, ZUKIT_SMTP_PASSWORD,
//                    ZUKIT_MAIL_FROM;
//   the Info.plist:  ZuKitMailAccount, a dictionary with URL (required), User, Password, From,
//                    or the URL alone as a string.
//
// The URL is smtp://host[:port] (plain, upgraded with STARTTLS when the server offers it) or
// smtps://host[:port] (TLS from the start); user and password may also be given in it. An entry
// with an unusable URL counts as none (a console line says why) and the next one is tried.
struct ZU_EXPORT MailAccount {
  // The submission URL, smtp:// or smtps://.
  std::string url;
  // The login, or "" to send without authentication (unless the URL carries one).
  std::string user;
  // The password for `user`.
  std::string password;
  // The sender's address (MAIL FROM and the From header): the configured one; else the user
  // when it is an address; else <login name>@<host name>.
  std::string sender;

  // The configured account, looked up afresh at each call; none when there is none.
  static std::optional<MailAccount> configured();
  // The account of the environment variables, or none.
  static std::optional<MailAccount> fromEnvironment();
  // The account of an Info.plist entry (a dictionary, or a URL string), or none.
  static std::optional<MailAccount> fromInfoEntry(const Value& entry);
  // The sender of a program without a configured one: <login name>@<host name>.
  static std::string defaultSender();
  // Why `url` cannot serve as a submission URL, or none when it can.
  static std::optional<std::string> problemWithURL(const std::string& url);
};

}  // namespace zu
