// Probe commands for reachability and telephony: a script of steps run in a private network
// namespace of the probe's own, so that a test can change links and routes and see what the
// watchers report, without touching the machine's network.

#include <arpa/inet.h>
#include <sys/socket.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "apps/netns/PrivateNetwork.h"
#include "apps/zukit-probe/ProbeCommand.h"
#include "zukit/core/ZuConstants.h"
#include "zukit/network/ZuReachability.h"
#include "zukit/network/ZuReachabilityManager.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/Environment.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSException.h"
#include "zukit/platform/foundation/NSNotificationCenter.h"
#include "zukit/platform/telephony/CTTelephonyNetworkInfo.h"

namespace zukit::probe {

namespace {

// How long a step waits for a notification before it reports a time-out.
constexpr auto kNotificationTimeout = std::chrono::seconds(10);
// The exit status for "the kernel refused a private namespace": the test skips.
constexpr int kNamespaceRefused = 77;
// The fence's own target: an address whose route only the fence changes.
constexpr const char* kFenceAddress = "10.255.255.1";
constexpr const char* kFenceLabel = "fence";

const char* yesNo(bool value) {
  return value ? "YES" : "NO";
}

// A thread with its own run loop, for watchers started off the main thread.
class LoopThread {
 public:
  LoopThread() {
    _thread = std::thread([this] {
      zu::RunLoop& loop = zu::RunLoop::current();
      {
        const std::lock_guard<std::mutex> lock(_mutex);
        _loop = &loop;
      }
      _ready.notify_all();
      loop.run();
    });
    std::unique_lock<std::mutex> lock(_mutex);
    _ready.wait(lock, [this] { return _loop != nullptr; });
  }
  ~LoopThread() {
    _loop->stop();
    _thread.join();
  }
  LoopThread(const LoopThread&) = delete;
  LoopThread& operator=(const LoopThread&) = delete;

  // Runs `job` on the thread and waits for it.
  void run(const std::function<void()>& job) {
    std::mutex doneMutex;
    std::condition_variable doneCondition;
    bool done = false;
    _loop->post([&] {
      job();
      const std::lock_guard<std::mutex> lock(doneMutex);
      done = true;
      doneCondition.notify_all();
    });
    std::unique_lock<std::mutex> lock(doneMutex);
    doneCondition.wait(lock, [&] { return done; });
  }
  std::thread::id id() const { return _thread.get_id(); }

 private:
  std::mutex _mutex;
  std::condition_variable _ready;
  zu::RunLoop* _loop = nullptr;
  std::thread _thread;
};

struct Watched {
  std::shared_ptr<ZuReachability> reachability;
  std::thread::id startedOn;
  int notifications = 0;
  int offThread = 0;
  std::vector<long> statuses;  // the status each notification saw
};

class Script {
 public:
  Script() {
    _observer = zu::NSNotificationCenter::defaultCenter()->addObserverForName(
        ZuNetworkDidChangeNotification, nullptr, nullptr,
        [this](const std::shared_ptr<zu::NSNotification>& notification) {
          const std::lock_guard<std::mutex> lock(_mutex);
          for (auto& [label, watched] : _watched) {
            if (watched.reachability.get() != notification->object().get()) continue;
            ++watched.notifications;
            if (std::this_thread::get_id() != watched.startedOn) ++watched.offThread;
            watched.statuses.push_back(watched.reachability->networkStatus());
          }
        });
  }
  ~Script() {
    // Watchers started on the worker stop there, before its loop ends.
    if (_worker) {
      _worker->run([this] {
        // Destroyed outside the lock: a watcher's destruction waits for a callback in progress,
        // and the observer takes the lock.
        std::vector<std::shared_ptr<ZuReachability>> stopping;
        {
          const std::lock_guard<std::mutex> lock(_mutex);
          for (auto& [label, watched] : _watched) {
            if (watched.startedOn == _worker->id()) {
              stopping.push_back(std::move(watched.reachability));
            }
          }
        }
        stopping.clear();
      });
    }
    zu::NSNotificationCenter::defaultCenter()->removeObserver(_observer);
  }
  Script(const Script&) = delete;
  Script& operator=(const Script&) = delete;

  // Runs one step; false (after printing why) stops the script.
  bool step(const std::string& text);

 private:
  bool watch(const std::string& label, const std::string& target);
  bool start(const std::string& label, bool onWorker);
  bool await(const std::string& label, int count);
  bool fence();
  int notifications(const std::string& label) {
    const std::lock_guard<std::mutex> lock(_mutex);
    return _watched[label].notifications;
  }
  std::shared_ptr<ZuReachability> watcher(const std::string& label) {
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _watched.find(label);
    return found == _watched.end() ? nullptr : found->second.reachability;
  }

  std::mutex _mutex;
  std::map<std::string, Watched> _watched;
  zu::id _observer;
  std::unique_ptr<LoopThread> _worker;
  bool _fenceRouted = false;
};

bool Script::watch(const std::string& label, const std::string& target) {
  std::shared_ptr<ZuReachability> reachability;
  if (target == "internet") {
    reachability = ZuReachability::reachabilityForInternetConnection();
  } else if (target.rfind("host:", 0) == 0) {
    reachability = ZuReachability::reachabilityWithHostName(zu::Value(target.substr(5)));
  } else if (target.rfind("addr:", 0) == 0) {
    zu::bsd::sockaddr_in address{};
    address.sin_len = sizeof address;
    address.sin_family = AF_INET;
    if (inet_pton(AF_INET, target.substr(5).c_str(), &address.sin_addr) != 1) return false;
    zu::bsd::sockaddr header{};
    std::memcpy(&header, &address, sizeof header);
    reachability = ZuReachability::reachabilityWithAddress(&header);
  }
  printLine("watch " + label + " " + (reachability ? "made" : "none"));
  const std::lock_guard<std::mutex> lock(_mutex);
  _watched[label] = Watched{reachability, {}, 0, 0, {}};
  return true;
}

bool Script::start(const std::string& label, bool onWorker) {
  const auto reachability = watcher(label);
  bool started = false;
  std::thread::id thread = std::this_thread::get_id();
  if (onWorker) {
    if (!_worker) _worker = std::make_unique<LoopThread>();
    thread = _worker->id();
    _worker->run([&] { started = reachability && reachability->startNotifier(); });
  } else {
    started = reachability && reachability->startNotifier();
  }
  {
    const std::lock_guard<std::mutex> lock(_mutex);
    _watched[label].startedOn = thread;
  }
  printLine("start " + label + " " + yesNo(started));
  return true;
}

bool Script::await(const std::string& label, int count) {
  const bool arrived = zu::RunLoop::main().runUntil([&] { return notifications(label) >= count; },
                                                    kNotificationTimeout);
  const std::lock_guard<std::mutex> lock(_mutex);
  const Watched& watched = _watched[label];
  std::string line = "notified " + label + " " + std::to_string(watched.notifications) +
                     " offthread " + std::to_string(watched.offThread) + " statuses";
  for (const long status : watched.statuses)
    line += " " + std::to_string(status);
  printLine(arrived ? line : "timeout " + line);
  return arrived;
}

// Changes the fence's own route and waits for its notification. The watchers on the main run
// loop share one netlink socket, whose messages arrive in order, so by then every change made
// before the fence has been evaluated: the counts it prints are final.
bool Script::fence() {
  if (!watcher(kFenceLabel)) {
    if (!netns::ip(netns::words("link set lo up"))) return false;
    if (!watch(kFenceLabel, std::string("addr:") + kFenceAddress)) return false;
    start(kFenceLabel, false);
  }
  const int before = notifications(kFenceLabel);
  // The fence's address alternates between a route through the loopback link and an
  // unreachable one, so its flags change at every fence whatever the other routes are.
  const std::string address = std::string(kFenceAddress) + "/32";
  if (!netns::ip(netns::words(_fenceRouted ? "route replace unreachable " + address
                                           : "route replace " + address + " dev lo"))) {
    return false;
  }
  _fenceRouted = !_fenceRouted;
  const bool arrived = zu::RunLoop::main().runUntil(
      [&] { return notifications(kFenceLabel) > before; }, kNotificationTimeout);
  std::string line = arrived ? "counts" : "timeout counts";
  const std::lock_guard<std::mutex> lock(_mutex);
  for (const auto& [label, watched] : _watched) {
    if (label != kFenceLabel) line += " " + label + "=" + std::to_string(watched.notifications);
  }
  printLine(line);
  return arrived;
}

bool Script::step(const std::string& text) {
  const std::vector<std::string> words = netns::words(text);
  if (words.empty()) return true;
  const std::string& op = words[0];
  const std::string label = words.size() > 1 ? words[1] : std::string();
  if (op == "ip") {
    if (netns::ip(std::vector<std::string>(words.begin() + 1, words.end()))) return true;
    printLine("failed: " + text);
    return false;
  }
  if (op == "watch" && words.size() == 3) return watch(label, words[2]);
  if (op == "start" || op == "start-worker") return start(label, op == "start-worker");
  if (op == "stop") {
    if (const auto reachability = watcher(label)) reachability->stopNotifier();
    return true;
  }
  if (op == "drop") {
    std::shared_ptr<ZuReachability> dropped;
    {
      const std::lock_guard<std::mutex> lock(_mutex);
      dropped = std::move(_watched[label].reachability);
    }
    return true;
  }
  if (op == "status") {
    const auto reachability = watcher(label);
    if (!reachability) return false;
    printLine("status " + label + " " + std::to_string(reachability->networkStatus()) +
              " required " + yesNo(reachability->connectionRequired()));
    return true;
  }
  if (op == "await" && words.size() == 3) return await(label, std::atoi(words[2].c_str()));
  if (op == "fence") return fence();
  if (op == "manager-start") {
    ZuReachabilityManager::sharedManager()->startReachability();
    return true;
  }
  if (op == "manager") {
    const auto manager = ZuReachabilityManager::sharedManager();
    printLine(zu::format("manager hasNetwork %@ isWIFI %@ isCellular %@ description %@",
                         yesNo(manager->hasNetwork()), yesNo(manager->isWIFI()),
                         yesNo(manager->isCellular()), manager->telephonyNetworkDescrition()));
    return true;
  }
  if (op == "telephony") {
    const zu::CTTelephonyNetworkInfo info;
    try {
      printLine("current " + info.currentRadioAccessTechnology().description());
      const zu::Value services = info.serviceCurrentRadioAccessTechnology();
      if (const zu::Dictionary* map = services.asDictionary()) {
        for (const auto& [service, technology] : *map)
          printLine("service " + service + " " + technology.description());
      } else {
        printLine("services " + services.description());
      }
    } catch (const zu::NSException& exception) {
      printLine("exception " + exception.name() + ": " + exception.reason());
    }
    return true;
  }
  printLine("unknown step: " + text);
  return false;
}

// reach [STEP]...: enters a private network namespace, then runs each step (one argument
// each) and prints what it saw. Before any step, options: "hosts NAME=ADDRESS,..." makes
// /etc/hosts list those names (and the resolver use nothing else), "os-version V" makes the
// system's version V. Steps:
//   ip ARGS                    iproute2 in the namespace
//   watch LABEL TARGET         TARGET: internet | host:NAME | addr:IPV4
//   start LABEL | start-worker LABEL | stop LABEL | drop LABEL
//   status LABEL               "status LABEL <status> required <YES|NO>"
//   await LABEL N              run the main loop until LABEL has N notifications
//   fence                      settle every main-loop watcher; "counts LABEL=N ..."
//   manager-start | manager    the shared ZuReachabilityManager
//   telephony                  "current T", then "service KEY T" per service
int runReach(const std::vector<std::string>& arguments) {
  std::string why;
  if (!netns::enterPrivateNetwork(why)) {
    printLine("namespace refused: " + why);
    return kNamespaceRefused;
  }
  const std::string scratch = zu::temporaryDirectory();
  std::size_t next = 0;
  for (; next < arguments.size(); ++next) {
    const std::vector<std::string> words = netns::words(arguments[next]);
    if (words.size() == 2 && words[0] == "hosts") {
      std::string hosts = "127.0.0.1 localhost\n";
      std::string list = words[1];
      for (std::size_t comma; !list.empty();
           list = comma == std::string::npos ? std::string() : list.substr(comma + 1)) {
        comma = list.find(',');
        const std::string entry = list.substr(0, comma);
        const std::size_t equals = entry.find('=');
        hosts += entry.substr(equals + 1) + " " + entry.substr(0, equals) + "\n";
      }
      if (!netns::overlayFile("/etc/hosts", hosts, scratch) ||
          !netns::overlayFile("/etc/nsswitch.conf", "hosts: files dns\n", scratch) ||
          !netns::overlayFile("/etc/resolv.conf", "options attempts:1 timeout:1\n", scratch)) {
        printLine("cannot overlay the resolver's files");
        return 3;
      }
    } else if (words.size() == 2 && words[0] == "os-version") {
      if (!netns::overlayFile("/etc/os-release",
                              "NAME=\"Probe\"\nVERSION_ID=\"" + words[1] + "\"\n", scratch)) {
        printLine("cannot overlay os-release");
        return 3;
      }
    } else {
      break;
    }
  }
  Script script;
  for (; next < arguments.size(); ++next) {
    if (!script.step(arguments[next])) return 1;
  }
  return 0;
}

const ProbeRegistration kReach("reach", "[hosts N=A,...] [os-version V] STEP...", &runReach);

}  // namespace

}  // namespace zukit::probe
