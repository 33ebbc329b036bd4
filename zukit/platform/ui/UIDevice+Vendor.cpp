// The vendor identifier: a random UUID per installation and vendor, kept in a file.

#include <sys/random.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "zukit/platform/foundation/AtomicFile.h"
#include "zukit/platform/foundation/Environment.h"
#include "zukit/platform/foundation/FileLock.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/ui/UIDevice.h"

namespace zu {

namespace {

constexpr std::size_t kUUIDLength = 36;

// The identifier read or made by this process, with the file it came from.
struct VendorCache {
  Mutex mutex;
  std::string path ZU_GUARDED_BY(mutex);
  std::string identifier ZU_GUARDED_BY(mutex);
};

bool isUUIDText(const std::string& text) {
  if (text.size() != kUUIDLength) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool hyphenPlace = i == 8 || i == 13 || i == 18 || i == 23;
    const auto c = static_cast<unsigned char>(text[i]);
    if (hyphenPlace ? c != '-' : !(std::isdigit(c) || (c >= 'A' && c <= 'F'))) return false;
  }
  return true;
}

std::string vendorName() {
  const std::string identifier = NSBundle::mainBundle()->bundleIdentifier().value_or("org.zukit");
  const std::size_t dot = identifier.rfind('.');
  std::string vendor =
      dot == std::string::npos || dot == 0 ? identifier : identifier.substr(0, dot);
  const bool usable = vendor.size() <= 200 && vendor != "." && vendor != ".." &&
                      vendor.find('/') == std::string::npos;
  return usable ? vendor : std::string("org.zukit");
}

std::optional<std::string> readIdentifier(const std::string& path) {
  const auto bytes = NSFileManager::defaultManager()->contentsAtPath(path);
  if (!bytes) return std::nullopt;
  std::string text(bytes->begin(), bytes->end());
  if (!isUUIDText(text)) return std::nullopt;
  return text;
}

// A version-4 UUID from the kernel's random source.
std::optional<std::string> randomUUID() {
  std::uint8_t bytes[16];
  std::size_t filled = 0;
  while (filled < sizeof bytes) {
    const ssize_t got = ::getrandom(bytes + filled, sizeof bytes - filled, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return std::nullopt;
    filled += static_cast<std::size_t>(got);
  }
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
  char text[kUUIDLength + 1];
  std::snprintf(text, sizeof text,
                "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", bytes[0],
                bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7], bytes[8],
                bytes[9], bytes[10], bytes[11], bytes[12], bytes[13], bytes[14], bytes[15]);
  return std::string(text, kUUIDLength);
}

// Reads the file, or makes it under its lock so that racing first launches agree.
std::optional<std::string> loadOrCreate(const std::string& path) {
  if (auto existing = readIdentifier(path)) return existing;
  std::error_code ignored;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
  const FileLock lock(path + ".lock");
  if (!lock.locked()) return std::nullopt;
  if (auto existing = readIdentifier(path)) return existing;
  std::optional<std::string> made = randomUUID();
  if (!made) return std::nullopt;
  const std::vector<std::uint8_t> bytes(made->begin(), made->end());
  if (writeFileAtomically(path, bytes, 0644) != 0) return std::nullopt;
  return made;
}

}  // namespace

std::optional<std::string> UIDevice::identifierForVendor() const {
  static NoDestructor<VendorCache> cache;
  const std::string path = xdgDataHome() + "/zukit/vendor-identifiers/" + vendorName();
  MutexLock lock(cache->mutex);
  if (cache->path == path && !cache->identifier.empty()) return cache->identifier;
  std::optional<std::string> identifier = loadOrCreate(path);
  if (identifier) {
    cache->path = path;
    cache->identifier = *identifier;
  }
  return identifier;
}

}  // namespace zu
