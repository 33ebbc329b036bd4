#include "zukit/network/ZuReachability.h"

#include <sys/socket.h>

#include <cstring>
#include <utility>

#include "zukit/core/ZuConstants.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSException.h"
#include "zukit/platform/foundation/NSNotificationCenter.h"

namespace {

// The platform's change callback: the flags are not looked at; observers ask the object.
void ReachabilityCallback(const zu::SCNetworkReachabilityRef& /*target*/,
                          zu::SCNetworkReachabilityFlags /*flags*/, void* info) {
  auto* reachability = static_cast<ZuReachability*>(info);
  // The context does not keep the watcher alive: while it is being destroyed on another
  // thread (which waits for this call to end) there is nobody left to tell.
  const zu::id object = reachability->weak_from_this().lock();
  if (!object) return;
  zu::NSNotificationCenter::defaultCenter()->postNotificationName(ZuNetworkDidChangeNotification,
                                                                  object);
}

}  // namespace

ZuReachability::ZuReachability(Passkey /*unused*/, zu::SCNetworkReachabilityRef reachabilityRef)
    : _reachabilityRef(std::move(reachabilityRef)) {}

ZuReachability::~ZuReachability() {
  stopNotifier();
  // Once the callback is cleared it is not running anywhere, so nothing can still reach this
  // object through the context's information pointer after it is gone.
  zu::SCNetworkReachabilitySetCallback(_reachabilityRef, nullptr, nullptr);
  _reachabilityRef.reset();
}

std::shared_ptr<ZuReachability> ZuReachability::reachabilityWithHostName(
    const zu::Value& hostName) {
  const auto name = zu::validText(hostName);
  if (!name) return nullptr;
  auto reference = zu::SCNetworkReachabilityCreateWithName(name->c_str());
  if (!reference) return nullptr;
  return std::make_shared<ZuReachability>(Passkey(), std::move(reference));
}

std::shared_ptr<ZuReachability> ZuReachability::reachabilityWithAddress(
    const zu::bsd::sockaddr* hostAddress) {
  auto reference = zu::SCNetworkReachabilityCreateWithAddress(hostAddress);
  if (!reference) return nullptr;
  return std::make_shared<ZuReachability>(Passkey(), std::move(reference));
}

std::shared_ptr<ZuReachability> ZuReachability::reachabilityForInternetConnection() {
  zu::bsd::sockaddr_in zeroAddress{};
  zeroAddress.sin_len = sizeof zeroAddress;
  zeroAddress.sin_family = AF_INET;
  zu::bsd::sockaddr header{};
  static_assert(sizeof header == sizeof zeroAddress);
  std::memcpy(&header, &zeroAddress, sizeof header);
  return reachabilityWithAddress(&header);
}

bool ZuReachability::startNotifier() {
  try {
    const zu::SCNetworkReachabilityContext context{0, this, nullptr, nullptr};
    if (!zu::SCNetworkReachabilitySetCallback(_reachabilityRef, &ReachabilityCallback, &context)) {
      return false;
    }
    return zu::SCNetworkReachabilityScheduleWithRunLoop(_reachabilityRef, zu::RunLoop::current());
  } catch (const zu::NSException&) {
    return false;
  }
}

void ZuReachability::stopNotifier() {
  if (_reachabilityRef) {
    zu::SCNetworkReachabilityUnscheduleFromRunLoop(_reachabilityRef, zu::RunLoop::current());
  }
}

ZuNetworkStatus ZuReachability::networkStatusForFlags(zu::SCNetworkReachabilityFlags flags) const {
  if ((flags & zu::kSCNetworkReachabilityFlagsReachable) == 0) return ZuNotReachable;
  if ((flags & zu::kSCNetworkReachabilityFlagsIsWWAN) != 0) return ZuReachableViaWWAN;
  const bool onDemandOrTraffic =
      (flags & (zu::kSCNetworkReachabilityFlagsConnectionOnDemand |
                zu::kSCNetworkReachabilityFlagsConnectionOnTraffic)) != 0;
  if (onDemandOrTraffic && (flags & zu::kSCNetworkReachabilityFlagsInterventionRequired) == 0) {
    return ZuReachableViaWiFi;
  }
  return (flags & zu::kSCNetworkReachabilityFlagsConnectionRequired) == 0 ? ZuReachableViaWiFi
                                                                          : ZuNotReachable;
}

ZuNetworkStatus ZuReachability::networkStatus() const {
  zu::SCNetworkReachabilityFlags flags = 0;
  if (!zu::SCNetworkReachabilityGetFlags(_reachabilityRef, &flags)) return ZuNotReachable;
  return networkStatusForFlags(flags);
}

bool ZuReachability::connectionRequired() const {
  zu::SCNetworkReachabilityFlags flags = 0;
  if (!zu::SCNetworkReachabilityGetFlags(_reachabilityRef, &flags)) return false;
  return (flags & zu::kSCNetworkReachabilityFlagsConnectionRequired) != 0;
}
