#pragma once

// What the mail tests share: the account's environment variables, a delegate that records how
// composers ended, and lookups in the parsed messages.

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv, unsetenv

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/mail/MFMailComposeViewController.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/MailComposeDelegate.h"
#include "zukit/platform/ui/UIViewController.h"

namespace zukit::test {

// Sets the mail account's environment variables for a scope (unset: not set at all), and
// restores the previous values at its end. Make it before the code under test starts threads.
class MailEnvironment {
 public:
  explicit MailEnvironment(const std::map<std::string, std::optional<std::string>>& values) {
    for (const auto& [name, value] : values) {
      const char* previous = std::getenv(name.c_str());  // NOLINT(concurrency-mt-unsafe)
      _saved[name] = previous != nullptr ? std::optional<std::string>(previous) : std::nullopt;
      apply(name, value);
    }
  }
  // No account at all, whatever the environment held.
  static std::map<std::string, std::optional<std::string>> none() {
    return {{"ZUKIT_SMTP_URL", std::nullopt},
            {"ZUKIT_SMTP_USER", std::nullopt},
            {"ZUKIT_SMTP_PASSWORD", std::nullopt},
            {"ZUKIT_MAIL_FROM", std::nullopt},
            {"ZUKIT_INFO_PLIST", std::nullopt}};
  }
  // The account `url` with the sender "zukit-test@example.org" and no login.
  static std::map<std::string, std::optional<std::string>> account(const std::string& url) {
    auto values = none();
    values["ZUKIT_SMTP_URL"] = url;
    values["ZUKIT_MAIL_FROM"] = "zukit-test@example.org";
    return values;
  }
  ~MailEnvironment() {
    for (const auto& [name, value] : _saved)
      apply(name, value);
  }
  MailEnvironment(const MailEnvironment&) = delete;
  MailEnvironment& operator=(const MailEnvironment&) = delete;

 private:
  static void apply(const std::string& name, const std::optional<std::string>& value) {
    if (value) {
      setenv(name.c_str(), value->c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
    } else {
      unsetenv(name.c_str());  // NOLINT(concurrency-mt-unsafe)
    }
  }
  std::map<std::string, std::optional<std::string>> _saved;
};

// One ending of a composer, as the delegate saw it.
struct MailEnding {
  zu::id composer;
  zu::NSInteger result = -1;
  std::shared_ptr<zu::NSError> error;
  bool onMainThread = false;
};

// A screen that is the composer's delegate, with its own "mailComposeController:didFinishWith
// Result:error:", which records each ending.
class RecordingMailDelegate : public zu::UIViewController {
 public:
  ZU_RUNTIME_CLASS(RecordingMailDelegate, zu::UIViewController, &addMethods)

  std::vector<MailEnding> endings;

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, zu::mailComposeControllerDidFinishSelector(), zu::imp(&didFinish));
  }
  static void didFinish(zu::Object* self, zu::SEL /*selector*/, const zu::Value& controller,
                        zu::NSInteger result, const zu::Value& error) {
    static_cast<RecordingMailDelegate*>(self)->endings.push_back({controller.asObject(), result,
                                                                  error.asObject<zu::NSError>(),
                                                                  zu::RunLoop::isMainThread()});
  }
};

// Standard base64 of `bytes`, to compare attachments with what the parser decoded.
inline std::string base64Of(const zu::Data& bytes) {
  static constexpr char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t left = bytes.size() - i;
    const unsigned group =
        (bytes[i] << 16U) | (left > 1 ? bytes[i + 1] << 8U : 0U) | (left > 2 ? bytes[i + 2] : 0U);
    out += kAlphabet[(group >> 18U) & 63U];
    out += kAlphabet[(group >> 12U) & 63U];
    out += left > 1 ? kAlphabet[(group >> 6U) & 63U] : '=';
    out += left > 2 ? kAlphabet[group & 63U] : '=';
  }
  return out;
}

// The entry named `key` of a dictionary, as text; "" when missing or not text.
inline std::string textAt(const zu::Value& dictionary, const std::string& key) {
  const zu::Dictionary* entries = dictionary.asDictionary();
  const zu::Value* value = entries != nullptr ? entries->find(key) : nullptr;
  const std::string* text = value != nullptr ? value->asString() : nullptr;
  return text != nullptr ? *text : std::string();
}

// The entry named `key` of a dictionary; absent when missing.
inline zu::Value entryAt(const zu::Value& dictionary, const std::string& key) {
  const zu::Dictionary* entries = dictionary.asDictionary();
  const zu::Value* value = entries != nullptr ? entries->find(key) : nullptr;
  return value != nullptr ? *value : zu::Value();
}

}  // namespace zukit::test
