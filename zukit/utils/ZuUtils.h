#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zukit/platform/foundation/Date.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/Geometry.h"

namespace zu {
class UIViewController;
}  // namespace zu

// Stateless helpers for dates, text, base64, device and app identity, the mail composer and the
// animated exit. Class methods only; callable from any thread, except the mail composer and the
// exit, which are user-interface work for the main thread. Text arguments take a zu::Value, so that
// NSNull (as decoded JSON gives it) reaches them; such a text counts as missing, like an absent or
// empty one.
class ZU_EXPORT ZuUtils : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuUtils, zu::Object)
  ZuUtils() = delete;

  // --- Dates (ZuUtils+Date.cpp) ---

  // The date that `text` stands for under "yyyy-MM-dd HH:mm:ss" in the current locale and time
  // zone; the current date for missing text (so callers always get a date); none for text that
  // does not match.
  static std::optional<zu::Date> dateFromString(const zu::Value& text);
  // As above with the pattern `format` (Unicode Technical Standard #35); a missing pattern
  // means "yyyy-MM-dd HH:mm:ss".
  static std::optional<zu::Date> dateFromString(const zu::Value& text, const zu::Value& format);
  // The date as "yyyy-MM-dd HH:mm:ss" text in the current locale and time zone; none for an
  // absent date (unlike dateFromString(), which answers missing text with the current date).
  static std::optional<std::string> stringFromDate(const std::optional<zu::Date>& date);
  // As above with the pattern `format`; a missing pattern means "yyyy-MM-dd HH:mm:ss".
  static std::optional<std::string> stringFromDate(const std::optional<zu::Date>& date,
                                                   const zu::Value& format);
  // 1 when date1 is later than date2, -1 when earlier, 0 when equal, to full precision despite
  // the name; 0 when either is absent. Prints "date1 : <date1>, date2 : <date2>" on the console
  // (NSLog) on every call.
  static std::int32_t compareOneDay(const std::optional<zu::Date>& date1,
                                    const std::optional<zu::Date>& date2);
  // Whether both dates fall on the same local day ("yyyy-MM-dd"); NO when either is absent.
  static bool isSameDay(const std::optional<zu::Date>& date1, const std::optional<zu::Date>& date2);
  // Whether the two local times share their hour field ("HH"), whatever their dates.
  static bool isSameHour(const std::optional<zu::Date>& date1,
                         const std::optional<zu::Date>& date2);
  // Whether the two local times share their minute field ("mm"), whatever the rest.
  static bool isSameMinute(const std::optional<zu::Date>& date1,
                           const std::optional<zu::Date>& date2);
  // Whether the two local times share their second field ("ss"), whatever the rest.
  static bool isSameSecond(const std::optional<zu::Date>& date1,
                           const std::optional<zu::Date>& date2);

  // --- Text, geometry and encoding (ZuUtils+String.cpp) ---

  // Whether `point` lies in the circle whose diameter is the rectangle's width, drawn from the
  // rectangle's origin (the height is ignored); a point on the rim is inside, NaN is outside.
  static bool point(const zu::CGPoint& point, const zu::CGRect& inCircleRect);
  // Whether the text starts with "http://" or "https://" (case-sensitive), or names a class
  // known to the object runtime; NO for missing text.
  static bool isUniversalLink(const zu::Value& text);
  // The standard base64 (RFC 4648, with padding, no line breaks) of the text's UTF-8 bytes;
  // none for missing text or text that is not UTF-8.
  static std::optional<std::string> base64Encode(const zu::Value& text);
  // The UTF-8 text that base64 `text` decodes to, skipping characters outside the alphabet
  // (line breaks, blanks, padding); none for missing text, text with no base64 character or a
  // lone trailing one, or bytes that are not UTF-8.
  static std::optional<std::string> base64Decode(const zu::Value& text);
  // The "${...}" placeholders of a template, in order of appearance; empty when there are none;
  // none for missing text. Each placeholder runs from the first "${" to the first "}" of what
  // is left. A malformed template (its first "}" before its first "${", or no "}" after it)
  // ends the search: the placeholders collected until then are returned.
  static std::optional<std::vector<std::string>> getStringInBracesWithString(const zu::Value& text);

  // --- Device and app identity (ZuUtils+Identity.cpp) ---

  // The operating system's version text.
  static std::string getOSVersion();
  // The main bundle's CFBundleIdentifier, or none.
  static std::optional<std::string> getAppBundleId();
  // The per-installation device identifier: 36 upper-case characters, or none.
  static std::optional<std::string> getUUID();
  // Stores getUUID() in the keychain item "UUID" (access group "cn.com.quorvel.ZuSDK") unless
  // the item already holds a value.
  static void saveUUIDWithKeyChain();
  // The value held by the keychain item "UUID", unchanged; absent when there is none.
  static zu::Value getUUIDWithKeychain();
  // The server environment of the app group: the integer "envType" of the shared store;
  // 0 when nothing is stored.
  static zu::NSInteger getEnvironmentWithGroupIdentifier(const zu::Value& identifier);

  // --- Mail composer and animated exit (ZuUtils+Mail.cpp); main thread only ---

  // Opens the mail composer from `fromController`, addressed to `recipient`, with `subject`, the
  // plain-text body "请查收附件" and one attachment per byte buffer of the list
  // `attachmentDatas`, named by the same place in the list `attachmentFileNames`, each with the
  // empty MIME type (sent as application/octet-stream). Nothing at all happens for a recipient
  // that is absent, NSNull or empty. Without a mail account (canSendMail NO) it logs
  // "请先打开系统“邮件”APP，添加邮箱账号" at ZuLogLevelError and presents an alert with that
  // title and the one button "确定" instead. Otherwise the composer's delegate is
  // `fromController`, and a handler is attached (on every call, through ZuSwizzler, under the
  // name "MFMailComposeViewControllerDelegate") to its "mailComposeController:didFinishWithResult:
  // error:", which dismisses the current view controller (ZuNavigation) when the composer ends;
  // it compares the boxed result it is given with the plain result codes, which never match, so
  // it logs none of its four result lines. An entry of the buffer list that is not bytes is left
  // out, and a buffer whose name is missing or no text is named "attachment-<n>" (n its place in
  // the list); a name list shorter than the buffer list is a caller error, reported by a console
  // line, and loses no attachment.
  static void sendEmailTo(const zu::Value& recipient, const zu::Value& subject,
                          const zu::Value& attachmentDatas, const zu::Value& attachmentFileNames,
                          const std::shared_ptr<zu::UIViewController>& fromController);
  // Shrinks the key window (ZuNavigation) to zero height around its centre over 0.3 seconds,
  // then ends the process with exit status 0 from the animation's completion on the main queue.
  static void exitWithAnimation();
};
