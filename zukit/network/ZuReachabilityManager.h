#pragma once

#include <memory>

#include "zukit/network/ZuReachability.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/telephony/CTTelephonyNetworkInfo.h"

// The process-wide view of the network that host SDKs ask: whether there is one, whether it is
// Wi-Fi (any non-cellular link) or cellular, and a text for the link. Before
// startReachability() every query reports no network. Queries are safe from any thread.
class ZU_EXPORT ZuReachabilityManager final : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuReachabilityManager, zu::Object)
  // The shared manager, made once on first use together with its telephony information.
  static std::shared_ptr<ZuReachabilityManager> sharedManager();

  // Starts watching the internet at large, with notifications on the calling thread's run loop
  // (ZuNetworkDidChangeNotification); a watcher started before is replaced and stops.
  void startReachability();
  // The network status is not ZuNotReachable.
  bool hasNetwork() const;
  // The network status is ZuReachableViaWiFi.
  bool isWIFI() const;
  // The network status is ZuReachableViaWWAN.
  bool isCellular() const;
  // "WIFI" over Wi-Fi; over cellular, the radio technology's constant
  // ("CTRadioAccessTechnologyLTE", ...): from 12.0 on the last of the per-service technologies,
  // else (or when there is none) the single current one, else "NO_NETWORK"; "NO_NETWORK" without
  // a network. When the telephony service raises an exception, the console gets
  // "telephonyNetworkDescrition get exception:<reason>" and the answer is absent.
  zu::Value telephonyNetworkDescrition() const;

  // Made only by sharedManager().
  class Passkey {
    friend class ZuReachabilityManager;
    Passkey() = default;
  };
  explicit ZuReachabilityManager(Passkey);

 private:
  ZuNetworkStatus currentStatus() const;
  std::shared_ptr<ZuReachability> reachability() const;

  const std::shared_ptr<zu::CTTelephonyNetworkInfo> _telephony;
  // Guards only the pointer: a query copies it and asks the platform without the lock.
  mutable zu::Mutex _mutex;
  std::shared_ptr<ZuReachability> _reachability ZU_GUARDED_BY(_mutex);
};
