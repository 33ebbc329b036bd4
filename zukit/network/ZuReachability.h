#pragma once

#include <cstdint>
#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/network/SCNetworkReachability.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// How the network can be reached.
enum ZuNetworkStatus : std::int64_t {
  // No usable route.
  ZuNotReachable = 0,
  // Reachable over a local, non-cellular link (Wi-Fi, Ethernet and every other kind).
  ZuReachableViaWiFi = 1,
  // Reachable over a cellular link.
  ZuReachableViaWWAN = 2,
};

// Watches whether one target (a host name, an address, or the internet at large) can be
// reached, and how. Every status query asks the platform afresh; nothing is cached. While its
// notifier runs, each change the platform reports posts ZuNetworkDidChangeNotification on the
// default notification centre, with this object as the notification's object, on the thread of
// the run loop that started the notifier. Queries are safe from any thread. Keep it in a
// std::shared_ptr, as the factories make it.
class ZU_EXPORT ZuReachability final : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuReachability, zu::Object)
  // A watcher for host `hostName` (resolved by name, off the caller's thread); none when the
  // name is not valid text or the platform refuses it.
  static std::shared_ptr<ZuReachability> reachabilityWithHostName(const zu::Value& hostName);
  // A watcher for the socket address `hostAddress`, in the platform's layout (length byte,
  // family byte; see zukit/platform/network/SocketAddress.h); none when the platform refuses it.
  static std::shared_ptr<ZuReachability> reachabilityWithAddress(
      const zu::bsd::sockaddr* hostAddress);
  // A watcher for the internet at large: the IPv4 wildcard address (16 bytes, length byte 16,
  // family 2, port 0, address 0.0.0.0).
  static std::shared_ptr<ZuReachability> reachabilityForInternetConnection();

  // Destroying stops the notifier on the calling thread's run loop and releases the handle.
  ~ZuReachability() override;

  // Installs the change callback and schedules it on the calling thread's run loop; NO when
  // either step fails or the platform raises an exception (as when the watcher is already
  // scheduled on another thread's run loop).
  bool startNotifier();
  // Unschedules the callback from the calling thread's run loop; the callback stays installed.
  void stopNotifier();
  // The status from the current flags; ZuNotReachable when they cannot be read.
  ZuNetworkStatus networkStatus() const;
  // The status that `flags` stand for.
  ZuNetworkStatus networkStatusForFlags(zu::SCNetworkReachabilityFlags flags) const;
  // Whether a connection must be made first (the connection-required bit); NO when the flags
  // cannot be read.
  bool connectionRequired() const;

  // Made only by the factories.
  class Passkey {
    friend class ZuReachability;
    Passkey() = default;
  };
  ZuReachability(Passkey, zu::SCNetworkReachabilityRef reachabilityRef);

 private:
  zu::SCNetworkReachabilityRef _reachabilityRef;
};
