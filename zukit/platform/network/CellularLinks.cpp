#include "zukit/platform/network/CellularLinks.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NSException.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/telephony/ModemManagerClient.h"

namespace zu {

namespace {

// How long one answer of the modem manager stands in for the next ones: its modems change far
// less often than reachability is asked, and each answer is a D-Bus round trip.
constexpr auto kPortListLifetime = std::chrono::seconds(1);

class ModemPortCache {
 public:
  std::vector<std::string> ports() {
    const auto now = std::chrono::steady_clock::now();
    {
      const MutexLock lock(_mutex);
      if (_fetchedAt && now - *_fetchedAt < kPortListLifetime) return _ports;
    }
    std::vector<std::string> fresh;
    try {
      for (const ModemRecord& modem : readModems()) {
        fresh.insert(fresh.end(), modem.networkPorts.begin(), modem.networkPorts.end());
      }
    } catch (const NSException&) {
      // A manager that answers nonsense reports no ports; telephony reports its fault.
    }
    const MutexLock lock(_mutex);
    _ports = fresh;
    _fetchedAt = now;
    return fresh;
  }

  void forget() {
    const MutexLock lock(_mutex);
    _fetchedAt.reset();
  }

 private:
  Mutex _mutex;
  std::vector<std::string> _ports ZU_GUARDED_BY(_mutex);
  std::optional<std::chrono::steady_clock::time_point> _fetchedAt ZU_GUARDED_BY(_mutex);
};

ModemPortCache& modemPorts() {
  static NoDestructor<ModemPortCache> cache;
  return *cache;
}

bool readIsWwanDevice(const std::string& name) {
  if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos) {
    return false;
  }
  std::ifstream uevent("/sys/class/net/" + name + "/uevent");
  std::string line;
  while (std::getline(uevent, line)) {
    if (line == "DEVTYPE=wwan") return true;
  }
  return false;
}

// What sysfs said about each link, by number and name.
class DeviceTypeCache {
 public:
  bool isWwan(int index, const std::string& name) {
    {
      const MutexLock lock(_mutex);
      const auto found = _links.find(index);
      if (found != _links.end() && found->second.first == name) return found->second.second;
    }
    const bool wwan = readIsWwanDevice(name);
    const MutexLock lock(_mutex);
    _links[index] = {name, wwan};
    return wwan;
  }

 private:
  Mutex _mutex;
  std::map<int, std::pair<std::string, bool>> _links ZU_GUARDED_BY(_mutex);
};

DeviceTypeCache& deviceTypes() {
  static NoDestructor<DeviceTypeCache> cache;
  return *cache;
}

}  // namespace

bool isCellularLink(int index, const std::string& name) {
  if (deviceTypes().isWwan(index, name)) return true;
  const std::vector<std::string> ports = modemPorts().ports();
  return std::find(ports.begin(), ports.end(), name) != ports.end();
}

void forgetModemPorts() {
  modemPorts().forget();
}

}  // namespace zu
