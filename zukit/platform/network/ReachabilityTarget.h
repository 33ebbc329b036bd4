#pragma once

// Internal to libzukit (not installed, not exported): the state behind a reachability reference.

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/network/KernelRoutes.h"
#include "zukit/platform/network/SCNetworkReachability.h"

namespace zu {

class ReachabilityMonitor;

// A reachability target: an address, or a host name with its resolver state, its callback and
// where it is scheduled. The SCNetworkReachability functions are its public face.
class SCNetworkReachability final : public std::enable_shared_from_this<SCNetworkReachability> {
 public:
  // A target for `address`; `internet` when it is a wildcard standing for any global address.
  static SCNetworkReachabilityRef forAddress(const NativeAddress& address, bool internet);
  // A target for host `name`, whose first resolution starts at once.
  static SCNetworkReachabilityRef forName(std::string name);

  ~SCNetworkReachability();
  SCNetworkReachability(const SCNetworkReachability&) = delete;
  SCNetworkReachability& operator=(const SCNetworkReachability&) = delete;

  // The current flags; none when the kernel cannot be asked.
  std::optional<SCNetworkReachabilityFlags> readFlags();
  bool setCallback(SCNetworkReachabilityCallBack callout,
                   const SCNetworkReachabilityContext* context);
  bool schedule(RunLoop& runLoop);
  bool unschedule(RunLoop& runLoop);

  // On the scheduled loop's thread: reads the flags and calls back when they changed since the
  // last report (or a scheduled name has its first answer).
  void evaluate(const SCNetworkReachabilityRef& self);
  // On the scheduled loop's thread, after a burst of kernel changes: a name that did not
  // resolve is asked for again.
  void networkChanged();

  // Made only by the factories.
  class Passkey {
    friend class SCNetworkReachability;
    Passkey() = default;
  };
  explicit SCNetworkReachability(Passkey);

 private:
  struct Resolution;

  void startResolution();
  void resolutionFinished();
  void deliver(const SCNetworkReachabilityRef& self, SCNetworkReachabilityFlags flags);
  void releaseInfo();

  // Fixed at creation.
  std::optional<NativeAddress> _address;
  bool _internet = false;
  std::string _name;
  std::shared_ptr<Resolution> _resolution;  // for a name

  // The callback: the lock is held while it runs, so that replacing it waits for a running
  // call on another thread; recursive, so that the callback itself may replace it.
  std::recursive_mutex _callbackMutex;
  SCNetworkReachabilityCallBack _callout = nullptr;
  SCNetworkReachabilityContext _context;

  Mutex _scheduleMutex;
  RunLoop* _runLoop ZU_GUARDED_BY(_scheduleMutex) = nullptr;
  std::shared_ptr<ReachabilityMonitor> _monitor ZU_GUARDED_BY(_scheduleMutex);
  SCNetworkReachabilityFlags _reportedFlags ZU_GUARDED_BY(_scheduleMutex) = 0;
  bool _awaitingAnswer ZU_GUARDED_BY(_scheduleMutex) = false;
};

}  // namespace zu
