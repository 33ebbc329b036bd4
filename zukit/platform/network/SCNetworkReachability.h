#pragma once

#include <cstdint>
#include <memory>

#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/network/SocketAddress.h"

// Whether a host or address can be reached, and how, from the kernel's own routes and links,
// with a callback when that changes. A target's flags come from the route the kernel would give
// traffic to it now (RTM_GETROUTE over netlink) and the state of that route's outgoing link
// (RTM_GETLINK): a link that is up with a carrier makes the target reachable; a route through
// a link that is up without a carrier needs a connection first; a link that is down reaches
// nothing. A link that belongs to a cellular modem adds the WWAN bit. Every flag read asks the
// kernel afresh.
namespace zu {

// The reachability bits.
using SCNetworkReachabilityFlags = std::uint32_t;
inline constexpr SCNetworkReachabilityFlags kSCNetworkReachabilityFlagsTransientConnection = 1U;
inline constexpr SCNetworkReachabilityFlags kSCNetworkReachabilityFlagsReachable = 1U << 1;
inline constexpr SCNetworkReachabilityFlags kSCNetworkReachabilityFlagsConnectionRequired = 1U << 2;
inline constexpr SCNetworkReachabilityFlags kSCNetworkReachabilityFlagsConnectionOnTraffic = 1U
                                                                                             << 3;
inline constexpr SCNetworkReachabilityFlags kSCNetworkReachabilityFlagsInterventionRequired = 1U
                                                                                              << 4;
inline constexpr SCNetworkReachabilityFlags kSCNetworkReachabilityFlagsConnectionOnDemand = 1U << 5;
inline constexpr SCNetworkReachabilityFlags kSCNetworkReachabilityFlagsIsLocalAddress = 1U << 16;
inline constexpr SCNetworkReachabilityFlags kSCNetworkReachabilityFlagsIsDirect = 1U << 17;
inline constexpr SCNetworkReachabilityFlags kSCNetworkReachabilityFlagsIsWWAN = 1U << 18;

// A reachability target (opaque).
class SCNetworkReachability;
// A reference to a target; the target lives while a reference does.
using SCNetworkReachabilityRef = std::shared_ptr<SCNetworkReachability>;

// Called on the scheduled run loop's thread with the target, its new flags and the context's
// information pointer.
using SCNetworkReachabilityCallBack = void (*)(const SCNetworkReachabilityRef& target,
                                               SCNetworkReachabilityFlags flags, void* info);

// The information handed to a callback. `version` must be 0. The optional hooks are called
// with `info` when the target takes it (retain) and when it lets it go (release).
struct ZU_EXPORT SCNetworkReachabilityContext {
  long version = 0;
  void* info = nullptr;
  const void* (*retain)(const void* info) = nullptr;
  void (*release)(const void* info) = nullptr;
};

// A target for host `nodename`. The name is resolved on a worker thread, never on the caller's:
// until the first answer, and while the name does not resolve, the target reads as not
// reachable. An answer is kept for a minute and then asked for again (at once after a network
// change when the name did not resolve). Scheduled, a name target calls back once when its
// answer is known, even if the flags stayed 0, and on every later change. None for a null or
// empty name, one longer than 253 bytes, or one with blanks, control or non-ASCII bytes.
ZU_EXPORT SCNetworkReachabilityRef SCNetworkReachabilityCreateWithName(const char* nodename);

// A target for the IPv4 or IPv6 address `address` in the platform's layout (see
// SocketAddress.h). The wildcard addresses (0.0.0.0, ::) stand for the internet at large: the
// route that traffic to a global address (8.8.8.8, 2001:4860:4860::8888) would take; no packet
// is ever sent. None for a null address, an unknown family, or a length byte smaller than the
// family's address.
ZU_EXPORT SCNetworkReachabilityRef
SCNetworkReachabilityCreateWithAddress(const bsd::sockaddr* address);

// Reads the target's current flags into `flags`; false (flags untouched) when there is no
// target or the kernel cannot be asked. Safe from any thread.
ZU_EXPORT bool SCNetworkReachabilityGetFlags(const SCNetworkReachabilityRef& target,
                                             SCNetworkReachabilityFlags* flags);

// Installs `callout` (none removes it) with a copy of `context`. Once this returns, the previous
// callback is not running on another thread and is never called again. False for no target.
// Raises NSInvalidArgumentException for a context whose version is not 0.
ZU_EXPORT bool SCNetworkReachabilitySetCallback(const SCNetworkReachabilityRef& target,
                                                SCNetworkReachabilityCallBack callout,
                                                const SCNetworkReachabilityContext* context);

// Watches the kernel's route, link and address changes for the target on `runLoop`, which calls
// the callback on its thread, once per burst of changes after which the target's flags differ
// from the ones last reported. A target is scheduled on one run loop at a time: scheduling it
// again on the same loop is a no-op, on another one raises NSInternalInconsistencyException.
// False for no target, or when the kernel's changes cannot be subscribed to. The run loop must
// outlive the schedule.
ZU_EXPORT bool SCNetworkReachabilityScheduleWithRunLoop(const SCNetworkReachabilityRef& target,
                                                        RunLoop& runLoop);

// Stops watching for the target on `runLoop`; false when it was not scheduled there. Called on
// the run loop's own thread, no callback follows.
ZU_EXPORT bool SCNetworkReachabilityUnscheduleFromRunLoop(const SCNetworkReachabilityRef& target,
                                                          RunLoop& runLoop);

}  // namespace zu
