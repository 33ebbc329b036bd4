#include "zukit/platform/network/SCNetworkReachability.h"

#include <arpa/inet.h>
#include <netdb.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/NSException.h"
#include "zukit/platform/network/CellularLinks.h"
#include "zukit/platform/network/ReachabilityMonitor.h"
#include "zukit/platform/network/ReachabilityTarget.h"

namespace zu {

namespace {

// How long a host name's answer stands before it is asked for again.
constexpr auto kAnswerLifetime = std::chrono::minutes(1);
// The longest host name the resolver takes.
constexpr std::size_t kLongestName = 253;
// Where the wildcard targets look: the route traffic to a global address would take.
constexpr const char* kInternetIPv4 = "8.8.8.8";
constexpr const char* kInternetIPv6 = "2001:4860:4860::8888";

NativeAddress internetDestination(int family) {
  NativeAddress destination;
  if (family == AF_INET6) {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    inet_pton(AF_INET6, kInternetIPv6, &address.sin6_addr);
    std::memcpy(&destination.storage, &address, sizeof address);
    destination.length = sizeof address;
  } else {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    inet_pton(AF_INET, kInternetIPv4, &address.sin_addr);
    std::memcpy(&destination.storage, &address, sizeof address);
    destination.length = sizeof address;
  }
  return destination;
}

bool isWildcard(const NativeAddress& address) {
  if (address.family() == AF_INET) {
    sockaddr_in ipv4{};
    std::memcpy(&ipv4, &address.storage, sizeof ipv4);
    return ipv4.sin_addr.s_addr == htonl(INADDR_ANY);
  }
  sockaddr_in6 ipv6{};
  std::memcpy(&ipv6, &address.storage, sizeof ipv6);
  return IN6_IS_ADDR_UNSPECIFIED(&ipv6.sin6_addr);
}

// The flags of the route the kernel gives `destination` now; none when it cannot be asked.
std::optional<SCNetworkReachabilityFlags> flagsFor(const NativeAddress& destination,
                                                   bool internet) {
  const RouteLookup route =
      lookupRoute(internet ? internetDestination(destination.family()) : destination);
  if (route.outcome == RouteLookup::Outcome::Failed) return std::nullopt;
  if (route.outcome == RouteLookup::Outcome::NoRoute) return 0U;
  const std::optional<LinkState> link = lookupLink(route.linkIndex);
  // A link that is gone or down reaches nothing: the kernel is dropping its routes.
  if (!link || !link->up) return 0U;
  SCNetworkReachabilityFlags flags = link->carrier ? kSCNetworkReachabilityFlagsReachable
                                                   : kSCNetworkReachabilityFlagsConnectionRequired;
  if (route.isLocal) {
    flags |= kSCNetworkReachabilityFlagsIsLocalAddress | kSCNetworkReachabilityFlagsIsDirect;
  } else if (route.isDirect && !internet) {
    flags |= kSCNetworkReachabilityFlagsIsDirect;
  }
  if (isCellularLink(route.linkIndex, link->name)) flags |= kSCNetworkReachabilityFlagsIsWWAN;
  return flags;
}

// The addresses `name` resolves to, in the resolver's order of preference.
std::vector<NativeAddress> resolve(const std::string& name) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  std::vector<NativeAddress> addresses;
  if (getaddrinfo(name.c_str(), nullptr, &hints, &list) != 0) return addresses;
  for (const addrinfo* entry = list; entry != nullptr; entry = entry->ai_next) {
    if ((entry->ai_family != AF_INET && entry->ai_family != AF_INET6) ||
        entry->ai_addrlen > sizeof(sockaddr_storage)) {
      continue;
    }
    NativeAddress address;
    std::memcpy(&address.storage, entry->ai_addr, entry->ai_addrlen);
    address.length = entry->ai_addrlen;
    addresses.push_back(address);
  }
  freeaddrinfo(list);
  return addresses;
}

bool isAcceptableName(const char* name) {
  if (name == nullptr) return false;
  const std::size_t length = std::strlen(name);
  if (length == 0 || length > kLongestName) return false;
  return std::all_of(name, name + length, [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte > 0x20 && byte < 0x7f;
  });
}

// The address in Linux's layout, or none when the platform-layout address is not a whole IPv4
// or IPv6 address.
std::optional<NativeAddress> nativeAddress(const bsd::sockaddr* address) {
  if (address == nullptr) return std::nullopt;
  NativeAddress native;
  if (address->sa_family == AF_INET && address->sa_len >= sizeof(bsd::sockaddr_in)) {
    bsd::sockaddr_in platform{};
    std::memcpy(&platform, address, sizeof platform);
    sockaddr_in host{};
    host.sin_family = AF_INET;
    host.sin_port = platform.sin_port;
    host.sin_addr = platform.sin_addr;
    std::memcpy(&native.storage, &host, sizeof host);
    native.length = sizeof host;
    return native;
  }
  if (address->sa_family == AF_INET6 && address->sa_len >= sizeof(bsd::sockaddr_in6)) {
    bsd::sockaddr_in6 platform{};
    std::memcpy(&platform, address, sizeof platform);
    sockaddr_in6 host{};
    host.sin6_family = AF_INET6;
    host.sin6_port = platform.sin6_port;
    host.sin6_flowinfo = platform.sin6_flowinfo;
    host.sin6_addr = platform.sin6_addr;
    host.sin6_scope_id = platform.sin6_scope_id;
    std::memcpy(&native.storage, &host, sizeof host);
    native.length = sizeof host;
    return native;
  }
  return std::nullopt;
}

}  // namespace

struct SCNetworkReachability::Resolution {
  Mutex mutex;
  std::vector<NativeAddress> addresses ZU_GUARDED_BY(mutex);
  bool answered ZU_GUARDED_BY(mutex) = false;
  bool resolving ZU_GUARDED_BY(mutex) = false;
  std::chrono::steady_clock::time_point answeredAt ZU_GUARDED_BY(mutex);
};

SCNetworkReachability::SCNetworkReachability(Passkey /*unused*/) {}

SCNetworkReachabilityRef SCNetworkReachability::forAddress(const NativeAddress& address,
                                                           bool internet) {
  auto target = std::make_shared<SCNetworkReachability>(Passkey());
  target->_address = address;
  target->_internet = internet;
  return target;
}

SCNetworkReachabilityRef SCNetworkReachability::forName(std::string name) {
  auto target = std::make_shared<SCNetworkReachability>(Passkey());
  target->_name = std::move(name);
  target->_resolution = std::make_shared<Resolution>();
  target->startResolution();
  return target;
}

SCNetworkReachability::~SCNetworkReachability() {
  {
    const MutexLock lock(_scheduleMutex);
    if (_monitor) _monitor->remove(this);
  }
  const std::lock_guard<std::recursive_mutex> lock(_callbackMutex);
  releaseInfo();
}

std::optional<SCNetworkReachabilityFlags> SCNetworkReachability::readFlags() {
  if (_address) return flagsFor(*_address, _internet);
  std::vector<NativeAddress> addresses;
  bool stale = false;
  {
    const MutexLock lock(_resolution->mutex);
    if (!_resolution->answered) return 0U;
    stale = std::chrono::steady_clock::now() - _resolution->answeredAt > kAnswerLifetime;
    addresses = _resolution->addresses;
  }
  if (stale) startResolution();
  // The first address with a usable route decides; else the first with any route.
  std::optional<SCNetworkReachabilityFlags> best;
  for (const NativeAddress& address : addresses) {
    const auto flags = flagsFor(address, false);
    if (!flags) continue;
    if ((*flags & kSCNetworkReachabilityFlagsReachable) != 0) return flags;
    if (!best || *best == 0) best = flags;
  }
  if (!best && !addresses.empty()) return std::nullopt;
  return best.value_or(0U);
}

void SCNetworkReachability::startResolution() {
  {
    const MutexLock lock(_resolution->mutex);
    if (_resolution->resolving) return;
    _resolution->resolving = true;
  }
  dispatch_async(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0),
                 [weak = weak_from_this(), resolution = _resolution, name = _name] {
                   std::vector<NativeAddress> addresses = resolve(name);
                   {
                     const MutexLock lock(resolution->mutex);
                     resolution->addresses = std::move(addresses);
                     resolution->answered = true;
                     resolution->resolving = false;
                     resolution->answeredAt = std::chrono::steady_clock::now();
                   }
                   if (const auto self = weak.lock()) self->resolutionFinished();
                 });
}

void SCNetworkReachability::resolutionFinished() {
  std::shared_ptr<ReachabilityMonitor> monitor;
  {
    const MutexLock lock(_scheduleMutex);
    monitor = _monitor;
  }
  if (monitor) monitor->requestEvaluation();
}

void SCNetworkReachability::networkChanged() {
  if (!_resolution) return;
  {
    const MutexLock lock(_resolution->mutex);
    if (!_resolution->answered || !_resolution->addresses.empty()) return;
  }
  startResolution();
}

void SCNetworkReachability::evaluate(const SCNetworkReachabilityRef& self) {
  bool answered = true;
  if (_resolution) {
    const MutexLock lock(_resolution->mutex);
    answered = _resolution->answered;
  }
  const std::optional<SCNetworkReachabilityFlags> flags = readFlags();
  if (!flags) return;
  bool report = false;
  {
    const MutexLock lock(_scheduleMutex);
    if (_runLoop == nullptr) return;
    if (_awaitingAnswer && answered) {
      _awaitingAnswer = false;
      report = true;
    }
    if (*flags != _reportedFlags) {
      _reportedFlags = *flags;
      report = true;
    }
  }
  if (report) deliver(self, *flags);
}

void SCNetworkReachability::deliver(const SCNetworkReachabilityRef& self,
                                    SCNetworkReachabilityFlags flags) {
  const std::lock_guard<std::recursive_mutex> lock(_callbackMutex);
  if (_callout != nullptr) _callout(self, flags, _context.info);
}

bool SCNetworkReachability::setCallback(SCNetworkReachabilityCallBack callout,
                                        const SCNetworkReachabilityContext* context) {
  if (context != nullptr && context->version != 0) {
    NSException::raise(NSInvalidArgumentException,
                       "SCNetworkReachabilitySetCallback: the context's version must be 0");
  }
  const std::lock_guard<std::recursive_mutex> lock(_callbackMutex);
  releaseInfo();
  _callout = callout;
  _context = callout != nullptr && context != nullptr ? *context : SCNetworkReachabilityContext{};
  if (_context.retain != nullptr && _context.info != nullptr) _context.retain(_context.info);
  return true;
}

void SCNetworkReachability::releaseInfo() {
  if (_context.release != nullptr && _context.info != nullptr) _context.release(_context.info);
  _context = SCNetworkReachabilityContext{};
}

bool SCNetworkReachability::schedule(RunLoop& runLoop) {
  const MutexLock lock(_scheduleMutex);
  if (_runLoop == &runLoop) return true;
  if (_runLoop != nullptr) {
    NSException::raise(NSInternalInconsistencyException,
                       "SCNetworkReachabilityScheduleWithRunLoop: the target is already "
                       "scheduled on another run loop");
  }
  auto monitor = ReachabilityMonitor::forRunLoop(runLoop);
  if (!monitor) return false;
  bool answered = true;
  if (_resolution) {
    const MutexLock resolutionLock(_resolution->mutex);
    answered = _resolution->answered;
  }
  _reportedFlags = readFlags().value_or(0U);
  _runLoop = &runLoop;
  _monitor = monitor;
  _awaitingAnswer = _resolution != nullptr;
  monitor->add(shared_from_this());
  // A name already answered reports that answer at once, as a fresh one would be.
  if (_resolution && answered) monitor->requestEvaluation();
  return true;
}

bool SCNetworkReachability::unschedule(RunLoop& runLoop) {
  const MutexLock lock(_scheduleMutex);
  if (_runLoop != &runLoop) return false;
  _monitor->remove(this);
  _monitor.reset();
  _runLoop = nullptr;
  _awaitingAnswer = false;
  return true;
}

SCNetworkReachabilityRef SCNetworkReachabilityCreateWithName(const char* nodename) {
  if (!isAcceptableName(nodename)) return nullptr;
  return SCNetworkReachability::forName(nodename);
}

SCNetworkReachabilityRef SCNetworkReachabilityCreateWithAddress(const bsd::sockaddr* address) {
  const std::optional<NativeAddress> native = nativeAddress(address);
  if (!native) return nullptr;
  return SCNetworkReachability::forAddress(*native, isWildcard(*native));
}

bool SCNetworkReachabilityGetFlags(const SCNetworkReachabilityRef& target,
                                   SCNetworkReachabilityFlags* flags) {
  if (!target || flags == nullptr) return false;
  const auto current = target->readFlags();
  if (!current) return false;
  *flags = *current;
  return true;
}

bool SCNetworkReachabilitySetCallback(const SCNetworkReachabilityRef& target,
                                      SCNetworkReachabilityCallBack callout,
                                      const SCNetworkReachabilityContext* context) {
  return target && target->setCallback(callout, context);
}

bool SCNetworkReachabilityScheduleWithRunLoop(const SCNetworkReachabilityRef& target,
                                              RunLoop& runLoop) {
  return target && target->schedule(runLoop);
}

bool SCNetworkReachabilityUnscheduleFromRunLoop(const SCNetworkReachabilityRef& target,
                                                RunLoop& runLoop) {
  return target && target->unschedule(runLoop);
}

}  // namespace zu
