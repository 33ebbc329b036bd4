#pragma once

// Internal to libzukit (not installed, not exported): the kernel's routes and links over netlink.

#include <sys/socket.h>

#include <optional>
#include <string>

namespace zu {

// A destination in Linux's own layout.
struct NativeAddress {
  sockaddr_storage storage{};
  socklen_t length = 0;

  int family() const { return storage.ss_family; }
};

// What the kernel answers when asked for the route to a destination.
struct RouteLookup {
  enum class Outcome : unsigned char {
    Found,    // a route leaves through `linkIndex`
    NoRoute,  // no route, or one that refuses traffic (unreachable, blackhole, prohibit)
    Failed,   // the kernel could not be asked
  };
  Outcome outcome = Outcome::Failed;
  int linkIndex = 0;
  // The route delivers to this host itself.
  bool isLocal = false;
  // The destination is on the link: the route names no gateway.
  bool isDirect = false;
};

// A network link's state.
struct LinkState {
  std::string name;
  // Administratively up.
  bool up = false;
  // The lower layer reports a carrier.
  bool carrier = false;
};

// Asks the kernel (RTM_GETROUTE over netlink) for the route it would give `destination`, as
// traffic sent now would take it (policy rules included). Uses a netlink socket of the calling
// thread, so it is safe from any thread and costs one round trip.
RouteLookup lookupRoute(const NativeAddress& destination);

// Asks the kernel (RTM_GETLINK) for the state of link `index`; none when there is no such link
// or the kernel cannot be asked.
std::optional<LinkState> lookupLink(int index);

}  // namespace zu
