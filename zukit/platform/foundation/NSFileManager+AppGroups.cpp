// App-group containers. Linux has no app groups, so a program declares the groups it belongs to,
// and every program of a group maps the group's identifier to the same directory under the
// user's data home. The declaration is the union of:
//   - the array of strings under "ZuKitAppGroups" in the main bundle's Info.plist, and
//   - the identifiers in $ZUKIT_APP_GROUPS, separated by commas (blanks around them ignored),
//     for programs without an Info.plist; read on every lookup.
// An identifier outside that union gets no container, as an app without the entitlement does.

#include <algorithm>
#include <cctype>

#include "zukit/platform/foundation/Environment.h"
#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/Unicode.h"

namespace zu {

namespace {

// Longest identifier that still makes a directory name.
constexpr std::size_t kMaximumIdentifierLength = 255;

std::string trimmed(const std::string& text) {
  const auto blank = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
  const auto first = std::find_if_not(text.begin(), text.end(), blank);
  const auto last = std::find_if_not(text.rbegin(), text.rend(), blank).base();
  return first < last ? std::string(first, last) : std::string();
}

bool declaredInEnvironment(const std::string& identifier) {
  const std::optional<std::string> list = environmentValue("ZUKIT_APP_GROUPS");
  if (!list) return false;
  std::size_t start = 0;
  while (start <= list->size()) {
    const std::size_t comma = std::min(list->find(',', start), list->size());
    if (trimmed(list->substr(start, comma - start)) == identifier) return true;
    start = comma + 1;
  }
  return false;
}

bool declaredInInfoPlist(const std::string& identifier) {
  const Value groups = NSBundle::mainBundle()->objectForInfoDictionaryKey("ZuKitAppGroups");
  const Array* list = groups.asArray();
  if (list == nullptr) return false;
  return std::any_of(list->begin(), list->end(), [&identifier](const Value& entry) {
    const std::string* text = entry.asString();
    return text != nullptr && *text == identifier;
  });
}

bool usableAsDirectoryName(const std::string& identifier) {
  return !identifier.empty() && identifier.size() <= kMaximumIdentifierLength &&
         identifier != "." && identifier != ".." &&
         identifier.find_first_of(std::string("/\0", 2)) == std::string::npos &&
         isValidUtf8(identifier);
}

}  // namespace

std::shared_ptr<NSURL> NSFileManager::containerURLForSecurityApplicationGroupIdentifier(
    const Value& groupIdentifier) const {
  const std::optional<std::string> path =
      containerPathForSecurityApplicationGroupIdentifier(groupIdentifier);
  return path ? NSURL::fileURLWithPath(*path) : nullptr;
}

std::optional<std::string> NSFileManager::declaredContainerPath(const Value& groupIdentifier) {
  const std::optional<std::string> identifier = validText(groupIdentifier);
  if (!identifier || !usableAsDirectoryName(*identifier)) return std::nullopt;
  if (!declaredInEnvironment(*identifier) && !declaredInInfoPlist(*identifier)) {
    return std::nullopt;
  }
  return xdgDataHome() + "/zukit/app-groups/" + *identifier + "/";
}

std::optional<std::string> NSFileManager::containerPathForSecurityApplicationGroupIdentifier(
    const Value& groupIdentifier) const {
  const std::optional<std::string> declared = declaredContainerPath(groupIdentifier);
  if (!declared) return std::nullopt;
  const std::string container = declared->substr(0, declared->size() - 1);
  const std::string caches = container + "/Library/Caches";
  bool directory = false;
  // Lookups come with every shared-store read: one stat answers the usual case, where the
  // container was made before.
  if (fileExistsAtPath(caches, &directory) && directory) return container + "/";
  // Library/Caches is made with the container; when it cannot be (a file in its way), the
  // container is still given and writes into it fail on their own.
  createDirectoryAtPath(caches, true);
  if (!fileExistsAtPath(container, &directory) || !directory) return std::nullopt;
  return container + "/";
}

}  // namespace zu
