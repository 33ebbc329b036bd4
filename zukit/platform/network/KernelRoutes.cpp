#include "zukit/platform/network/KernelRoutes.h"

#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>

namespace zu {

namespace {

// The carrier flag of a link (IFF_LOWER_UP of <linux/if.h>, which clashes with <net/if.h>).
constexpr unsigned kLowerUp = 1U << 16;
// How long a query may wait for the kernel's answer before it counts as failed.
constexpr time_t kAnswerTimeoutSeconds = 2;
// Room for one answer (a link's answer without its counters, a route's) and for a request.
constexpr std::size_t kAnswerBytes = 8192;
constexpr std::size_t kRequestBytes = 512;

struct SocketCloser {
  void operator()(mnl_socket* socket) const { mnl_socket_close(socket); }
};

// The calling thread's netlink socket for queries: opened on first use, reopened after a
// failure, closed when the thread ends. Each thread has its own, so queries need no lock.
class QuerySocket {
 public:
  // How a round trip ended.
  enum class Outcome : unsigned char { Answered, Refused, Failed };

  // Sends `request` and feeds the answer with its sequence number to `callback`: Answered, or
  // Refused when the kernel answered with an error (no route, no such link), or Failed when
  // the kernel could not be asked.
  Outcome roundTrip(nlmsghdr* request, mnl_cb_t callback, void* data) {
    if (!_socket && !open()) return Outcome::Failed;
    request->nlmsg_seq = ++_sequence;
    if (mnl_socket_sendto(_socket.get(), request, request->nlmsg_len) < 0) return fail();
    std::array<char, kAnswerBytes> answer{};
    for (;;) {
      const ssize_t got = mnl_socket_recvfrom(_socket.get(), answer.data(), answer.size());
      if (got < 0) return fail();
      const int result = mnl_cb_run(answer.data(), static_cast<std::size_t>(got),
                                    request->nlmsg_seq, _portId, callback, data);
      if (result >= 0) return Outcome::Answered;
      // An answer left over from an earlier query that gave up waiting: read on.
      if (errno == ESRCH) continue;
      return Outcome::Refused;
    }
  }

 private:
  bool open() {
    std::unique_ptr<mnl_socket, SocketCloser> socket(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC));
    if (!socket || mnl_socket_bind(socket.get(), 0, MNL_SOCKET_AUTOPID) < 0) return false;
    const timeval timeout{kAnswerTimeoutSeconds, 0};
    setsockopt(mnl_socket_get_fd(socket.get()), SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    _portId = mnl_socket_get_portid(socket.get());
    _socket = std::move(socket);
    return true;
  }
  Outcome fail() {
    _socket.reset();
    return Outcome::Failed;
  }

  std::unique_ptr<mnl_socket, SocketCloser> _socket;
  unsigned _portId = 0;
  unsigned _sequence = 0;
};

QuerySocket& querySocket() {
  thread_local QuerySocket socket;
  return socket;
}

int readRouteAttribute(const nlattr* attribute, void* data) {
  auto& lookup = *static_cast<RouteLookup*>(data);
  switch (mnl_attr_get_type(attribute)) {
    case RTA_OIF:
      if (mnl_attr_validate(attribute, MNL_TYPE_U32) >= 0) {
        lookup.linkIndex = static_cast<int>(mnl_attr_get_u32(attribute));
      }
      break;
    case RTA_GATEWAY:
    case RTA_VIA:
      lookup.isDirect = false;
      break;
    default:
      break;
  }
  return MNL_CB_OK;
}

int readRoute(const nlmsghdr* message, void* data) {
  auto& lookup = *static_cast<RouteLookup*>(data);
  if (message->nlmsg_type != RTM_NEWROUTE) return MNL_CB_OK;
  const auto* route = static_cast<const rtmsg*>(mnl_nlmsg_get_payload(message));
  switch (route->rtm_type) {
    case RTN_UNREACHABLE:
    case RTN_BLACKHOLE:
    case RTN_PROHIBIT:
    case RTN_THROW:
      lookup.outcome = RouteLookup::Outcome::NoRoute;
      return MNL_CB_STOP;
    default:
      break;
  }
  lookup.outcome = RouteLookup::Outcome::Found;
  lookup.isLocal = route->rtm_type == RTN_LOCAL;
  lookup.isDirect = true;
  mnl_attr_parse(message, sizeof(rtmsg), &readRouteAttribute, &lookup);
  return MNL_CB_STOP;
}

int readLinkAttribute(const nlattr* attribute, void* data) {
  auto& state = *static_cast<LinkState*>(data);
  if (mnl_attr_get_type(attribute) == IFLA_IFNAME &&
      mnl_attr_validate(attribute, MNL_TYPE_NUL_STRING) >= 0) {
    state.name = mnl_attr_get_str(attribute);
  }
  return MNL_CB_OK;
}

int readLink(const nlmsghdr* message, void* data) {
  auto& link = *static_cast<std::optional<LinkState>*>(data);
  if (message->nlmsg_type != RTM_NEWLINK) return MNL_CB_OK;
  const auto* info = static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(message));
  LinkState state;
  state.up = (info->ifi_flags & IFF_UP) != 0;
  state.carrier = (info->ifi_flags & kLowerUp) != 0;
  mnl_attr_parse(message, sizeof(ifinfomsg), &readLinkAttribute, &state);
  link = std::move(state);
  return MNL_CB_STOP;
}

}  // namespace

RouteLookup lookupRoute(const NativeAddress& destination) {
  RouteLookup lookup;
  const int family = destination.family();
  if (family != AF_INET && family != AF_INET6) {
    lookup.outcome = RouteLookup::Outcome::NoRoute;
    return lookup;
  }
  std::array<char, kRequestBytes> buffer{};
  nlmsghdr* request = mnl_nlmsg_put_header(buffer.data());
  request->nlmsg_type = RTM_GETROUTE;
  request->nlmsg_flags = NLM_F_REQUEST;
  auto* route = static_cast<rtmsg*>(mnl_nlmsg_put_extra_header(request, sizeof(rtmsg)));
  route->rtm_family = static_cast<unsigned char>(family);
  if (family == AF_INET) {
    sockaddr_in address{};
    std::memcpy(&address, &destination.storage, sizeof address);
    route->rtm_dst_len = 32;
    mnl_attr_put(request, RTA_DST, sizeof address.sin_addr, &address.sin_addr);
  } else {
    sockaddr_in6 address{};
    std::memcpy(&address, &destination.storage, sizeof address);
    route->rtm_dst_len = 128;
    mnl_attr_put(request, RTA_DST, sizeof address.sin6_addr, &address.sin6_addr);
    // A link-local destination is only meaningful on the link its scope names.
    if (address.sin6_scope_id != 0) mnl_attr_put_u32(request, RTA_OIF, address.sin6_scope_id);
  }
  switch (querySocket().roundTrip(request, &readRoute, &lookup)) {
    case QuerySocket::Outcome::Answered:
      if (lookup.outcome == RouteLookup::Outcome::Failed) {
        lookup.outcome = RouteLookup::Outcome::NoRoute;
      }
      return lookup;
    case QuerySocket::Outcome::Refused:
      // The kernel refuses a destination it has no usable route for (unreachable, prohibited).
      return RouteLookup{RouteLookup::Outcome::NoRoute};
    case QuerySocket::Outcome::Failed:
      break;
  }
  return RouteLookup{RouteLookup::Outcome::Failed};
}

std::optional<LinkState> lookupLink(int index) {
  if (index <= 0) return std::nullopt;
  std::array<char, kRequestBytes> buffer{};
  nlmsghdr* request = mnl_nlmsg_put_header(buffer.data());
  request->nlmsg_type = RTM_GETLINK;
  request->nlmsg_flags = NLM_F_REQUEST;
  auto* info = static_cast<ifinfomsg*>(mnl_nlmsg_put_extra_header(request, sizeof(ifinfomsg)));
  info->ifi_family = AF_UNSPEC;
  info->ifi_index = index;
  // The counters make up most of a link's answer and are not needed here.
  mnl_attr_put_u32(request, IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS);
  std::optional<LinkState> link;
  if (querySocket().roundTrip(request, &readLink, &link) != QuerySocket::Outcome::Answered) {
    return std::nullopt;
  }
  return link;
}

}  // namespace zu
