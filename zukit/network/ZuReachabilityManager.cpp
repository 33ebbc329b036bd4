#include "zukit/network/ZuReachabilityManager.h"

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "zukit/platform/foundation/NSException.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/ui/UIDevice.h"

namespace {

// The system release from which the technology is read per service.
constexpr long kPerServiceRelease = 12;

// True when the running system's version is 12.0 or later, compared number by number
// ("12" and "12.0.1" are, "11.4" and an unnumbered version are not).
bool systemIsPerServiceRelease() {
  const std::string version = zu::UIDevice::currentDevice()->systemVersion();
  if (version.empty() || version.front() < '0' || version.front() > '9') return false;
  return std::strtol(version.c_str(), nullptr, 10) >= kPerServiceRelease;
}

}  // namespace

std::shared_ptr<ZuReachabilityManager> ZuReachabilityManager::sharedManager() {
  static zu::NoDestructor<std::shared_ptr<ZuReachabilityManager>> manager(
      std::make_shared<ZuReachabilityManager>(Passkey()));
  return *manager;
}

ZuReachabilityManager::ZuReachabilityManager(Passkey /*unused*/)
    : _telephony(std::make_shared<zu::CTTelephonyNetworkInfo>()) {}

void ZuReachabilityManager::startReachability() {
  auto fresh = ZuReachability::reachabilityForInternetConnection();
  std::shared_ptr<ZuReachability> previous;
  {
    const zu::MutexLock lock(_mutex);
    previous = std::exchange(_reachability, fresh);
  }
  // The previous watcher is released (and so stops) here, outside the lock.
  previous.reset();
  if (fresh) fresh->startNotifier();
}

std::shared_ptr<ZuReachability> ZuReachabilityManager::reachability() const {
  const zu::MutexLock lock(_mutex);
  return _reachability;
}

ZuNetworkStatus ZuReachabilityManager::currentStatus() const {
  const auto watcher = reachability();
  return watcher ? watcher->networkStatus() : ZuNotReachable;
}

bool ZuReachabilityManager::hasNetwork() const {
  return currentStatus() != ZuNotReachable;
}

bool ZuReachabilityManager::isWIFI() const {
  return currentStatus() == ZuReachableViaWiFi;
}

bool ZuReachabilityManager::isCellular() const {
  return currentStatus() == ZuReachableViaWWAN;
}

zu::Value ZuReachabilityManager::telephonyNetworkDescrition() const {
  switch (currentStatus()) {
    case ZuReachableViaWiFi:
      return zu::Value("WIFI");
    case ZuReachableViaWWAN:
      try {
        if (systemIsPerServiceRelease()) {
          const zu::Value services = _telephony->serviceCurrentRadioAccessTechnology();
          const zu::Dictionary* map = services.asDictionary();
          if (map != nullptr && !map->empty()) {
            const zu::Value& last = (map->end() - 1)->second;
            if (last) return last;
          }
        }
        zu::Value current = _telephony->currentRadioAccessTechnology();
        return current ? current : zu::Value("NO_NETWORK");
      } catch (const zu::NSException& exception) {
        zu::NSLog("telephonyNetworkDescrition get exception:%@", exception.description());
        return {};
      }
    default:
      return zu::Value("NO_NETWORK");
  }
}
