// The tour's reachability section: the machine's own network as ZuReachabilityManager sees it,
// then, in a child process with a private network namespace, a route that goes away and comes
// back, with the notifications each change caused.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "apps/netns/PrivateNetwork.h"
#include "apps/zukit-demo/DemoSection.h"
#include "zukit/core/ZuConstants.h"
#include "zukit/network/ZuReachability.h"
#include "zukit/network/ZuReachabilityManager.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSNotificationCenter.h"

extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace zukit::demo {

namespace {

// The child's exit status when it may not make a network namespace.
constexpr int kNamespaceRefused = 77;

const char* statusName(ZuNetworkStatus status) {
  switch (status) {
    case ZuReachableViaWiFi:
      return "ZuReachableViaWiFi";
    case ZuReachableViaWWAN:
      return "ZuReachableViaWWAN";
    default:
      return "ZuNotReachable";
  }
}

// Runs in the child: a veth pair with the internet routed through it, and a watcher on the
// main run loop while the route is deleted and added back.
int showRouteChanges() {
  std::string why;
  if (!netns::enterPrivateNetwork(why)) {
    sayf("  %@", why);
    return kNamespaceRefused;
  }
  for (const char* command :
       {"link add name va type veth peer name vb", "addr add 10.9.0.1/24 dev va", "link set vb up",
        "link set va up", "route add default via 10.9.0.2"}) {
    if (!netns::ip(netns::words(command))) {
      sayf("  ip %@ failed", command);
      return 1;
    }
  }
  const auto reachability = ZuReachability::reachabilityForInternetConnection();
  std::atomic<int> notifications{0};
  const zu::id observer = zu::NSNotificationCenter::defaultCenter()->addObserverForName(
      ZuNetworkDidChangeNotification, nullptr, nullptr,
      [&](const std::shared_ptr<zu::NSNotification>& notification) {
        const auto sender = std::dynamic_pointer_cast<ZuReachability>(notification->object());
        sayf("    notification %@ on %@: %@", notification->name(),
             zu::RunLoop::isMainThread() ? "the main thread" : "another thread",
             statusName(sender ? sender->networkStatus() : ZuNotReachable));
        ++notifications;
      });
  sayf("  in a private namespace, internet through veth va (gateway 10.9.0.2): %@",
       statusName(reachability->networkStatus()));
  sayf("  startNotifier: %@", reachability->startNotifier() ? "YES" : "NO");
  for (const char* change : {"route del default", "route add default via 10.9.0.2",
                             "link set vb down", "link set vb up"}) {
    const int before = notifications.load();
    sayf("  ip %@", change);
    netns::ip(netns::words(change));
    if (!waitOnMainLoop([&] { return notifications.load() > before; })) {
      say("    (no notification in time)");
    }
    if (std::string(change) == "link set vb down") {
      sayf("    connectionRequired: %@", reachability->connectionRequired() ? "YES" : "NO");
    }
  }
  reachability->stopNotifier();
  zu::NSNotificationCenter::defaultCenter()->removeObserver(observer);
  return 0;
}

void showReachability(DemoContext& /*context*/) {
  const auto manager = ZuReachabilityManager::sharedManager();
  sayf("before startReachability: hasNetwork %@, description %@",
       manager->hasNetwork() ? "YES" : "NO", manager->telephonyNetworkDescrition());
  manager->startReachability();
  sayf("this machine: hasNetwork %@, isWIFI %@, isCellular %@, description %@",
       manager->hasNetwork() ? "YES" : "NO", manager->isWIFI() ? "YES" : "NO",
       manager->isCellular() ? "YES" : "NO", manager->telephonyNetworkDescrition());

  // The namespace is made in a child process, so the rest of the tour keeps the machine's
  // network.
  std::string self = demoExecutablePath();
  std::vector<std::string> arguments{self, "--child", "reachability"};
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments)
    argv.push_back(argument.data());
  argv.push_back(nullptr);
  pid_t child = 0;
  if (posix_spawn(&child, self.c_str(), nullptr, nullptr, argv.data(), environ) != 0) {
    say("could not start the namespace child; going on");
    return;
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNamespaceRefused) {
    say("this machine does not let the demo make a network namespace: no route changes shown");
  } else if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    say("the namespace child did not finish; going on");
  }
}

const DemoRegistration kReachability(52, "Reachability and the radio technology",
                                     &showReachability);
const DemoChildRegistration kReachabilityChild("reachability", &showRouteChanges);

}  // namespace

}  // namespace zukit::demo
