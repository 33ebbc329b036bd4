#pragma once

// Internal to libzukit (not installed, not exported): the netlink watch behind reachability
// callbacks.

#include <memory>
#include <utility>
#include <vector>

#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/Mutex.h"

namespace zu {

class SCNetworkReachability;

// One netlink socket per run loop, subscribed to the kernel's link, route and address changes
// and served by that loop's io_context, for every reachability target scheduled there. A burst
// of messages (those arriving within a few milliseconds of the first) makes one evaluation of
// every target, on the loop's thread. Targets hold their loop's monitor; it goes away with the
// last of them.
class ReachabilityMonitor : public std::enable_shared_from_this<ReachabilityMonitor> {
 public:
  // The monitor of `runLoop`, made on first use; none when the kernel refuses the subscription.
  // Safe from any thread.
  static std::shared_ptr<ReachabilityMonitor> forRunLoop(RunLoop& runLoop);

  ~ReachabilityMonitor();
  ReachabilityMonitor(const ReachabilityMonitor&) = delete;
  ReachabilityMonitor& operator=(const ReachabilityMonitor&) = delete;

  // Evaluates `target` after each burst. Safe from any thread.
  void add(const std::shared_ptr<SCNetworkReachability>& target);
  // Stops evaluating `target`. Safe from any thread, also from the target's destructor.
  void remove(const SCNetworkReachability* target);
  // Evaluates every target soon on the loop's thread, as after a burst but without one (a host
  // name's answer came in). Safe from any thread.
  void requestEvaluation();

  // Made only by forRunLoop().
  class Passkey {
    friend class ReachabilityMonitor;
    Passkey() = default;
  };
  ReachabilityMonitor(Passkey, RunLoop& runLoop, int descriptor);

 private:
  struct Io;

  void waitForMessages();
  void drain();
  void evaluateAll(bool afterBurst);

  RunLoop& _runLoop;
  std::unique_ptr<Io> _io;  // touched only on the loop's thread after construction
  Mutex _mutex;
  std::vector<std::pair<const SCNetworkReachability*, std::weak_ptr<SCNetworkReachability>>>
      _targets ZU_GUARDED_BY(_mutex);
};

}  // namespace zu
