#include "zukit/platform/telephony/ModemManagerClient.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSException.h"

namespace zu {

namespace {

constexpr const char* kService = "org.freedesktop.ModemManager1";
constexpr const char* kManagerPath = "/org/freedesktop/ModemManager1";
constexpr const char* kModemInterface = "org.freedesktop.ModemManager1.Modem";
// The port type the modem manager gives a network link.
constexpr std::uint32_t kNetworkPortType = 2;
// How long a call may wait for the manager: a hung manager must not hang a status query.
constexpr std::uint64_t kCallTimeoutMicroseconds = 2'000'000;

struct BusCloser {
  void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
struct MessageReleaser {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Bus = std::unique_ptr<sd_bus, BusCloser>;
using Message = std::unique_ptr<sd_bus_message, MessageReleaser>;

// An sd-bus error that frees itself.
class BusError {
 public:
  BusError() = default;
  ~BusError() { sd_bus_error_free(&_error); }
  BusError(const BusError&) = delete;
  BusError& operator=(const BusError&) = delete;
  sd_bus_error* get() { return &_error; }
  std::string_view name() const { return _error.name != nullptr ? _error.name : ""; }
  std::string_view text() const { return _error.message != nullptr ? _error.message : ""; }

 private:
  sd_bus_error _error{nullptr, nullptr, 0};  // SD_BUS_ERROR_NULL, without its C compound literal
};

[[noreturn]] void malformed(const std::string& what) {
  NSException::raise(NSInternalInconsistencyException,
                     "The modem manager's answer is malformed: " + what);
}

// Throws when an sd-bus read step failed (a negative result).
void check(int result, const char* what) {
  if (result < 0) malformed(format("%@ (%@)", what, std::strerror(-result)));
}

std::vector<std::string> readNetworkPorts(sd_bus_message* reply) {
  std::vector<std::string> ports;
  check(sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "(su)"), "Ports");
  const char* name = nullptr;
  std::uint32_t type = 0;
  int got = 0;
  while ((got = sd_bus_message_read(reply, "(su)", &name, &type)) > 0) {
    if (type == kNetworkPortType && name != nullptr) ports.emplace_back(name);
  }
  check(got, "Ports");
  check(sd_bus_message_exit_container(reply), "Ports");
  return ports;
}

// Reads one property of the modem interface (the reply stands at its variant).
void readModemProperty(sd_bus_message* reply, std::string_view property, ModemRecord& modem) {
  const char* contents = nullptr;
  check(sd_bus_message_peek_type(reply, nullptr, &contents), "property");
  const std::string_view type = contents != nullptr ? contents : "";
  if (property == "AccessTechnologies" && type == "u") {
    std::uint32_t bits = 0;
    check(sd_bus_message_read(reply, "v", "u", &bits), "AccessTechnologies");
    modem.accessTechnologies = bits;
  } else if (property == "Ports" && type == "a(su)") {
    check(sd_bus_message_enter_container(reply, SD_BUS_TYPE_VARIANT, "a(su)"), "Ports");
    modem.networkPorts = readNetworkPorts(reply);
    check(sd_bus_message_exit_container(reply), "Ports");
  } else {
    check(sd_bus_message_skip(reply, "v"), "property");
  }
}

void readModemInterface(sd_bus_message* reply, ModemRecord& modem) {
  check(sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "{sv}"), "properties");
  int entered = 0;
  while ((entered = sd_bus_message_enter_container(reply, SD_BUS_TYPE_DICT_ENTRY, "sv")) > 0) {
    const char* property = nullptr;
    check(sd_bus_message_read(reply, "s", &property), "property name");
    readModemProperty(reply, property != nullptr ? property : "", modem);
    check(sd_bus_message_exit_container(reply), "property");
  }
  check(entered, "properties");
  check(sd_bus_message_exit_container(reply), "properties");
}

// Reads one object of the managed-object map; true when it is a modem.
bool readObject(sd_bus_message* reply, ModemRecord& modem) {
  const char* path = nullptr;
  check(sd_bus_message_read(reply, "o", &path), "object path");
  modem.path = path != nullptr ? path : "";
  bool isModem = false;
  check(sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "{sa{sv}}"), "interfaces");
  int entered = 0;
  while ((entered = sd_bus_message_enter_container(reply, SD_BUS_TYPE_DICT_ENTRY, "sa{sv}")) > 0) {
    const char* interface = nullptr;
    check(sd_bus_message_read(reply, "s", &interface), "interface name");
    if (interface != nullptr && std::strcmp(interface, kModemInterface) == 0) {
      isModem = true;
      readModemInterface(reply, modem);
    } else {
      check(sd_bus_message_skip(reply, "a{sv}"), "interface");
    }
    check(sd_bus_message_exit_container(reply), "interface");
  }
  check(entered, "interfaces");
  check(sd_bus_message_exit_container(reply), "interfaces");
  return isModem;
}

// The number at the end of a modem's path, for ordering "Modem/2" before "Modem/10".
unsigned long modemNumber(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string tail = slash == std::string::npos ? path : path.substr(slash + 1);
  return tail.empty() || tail.find_first_not_of("0123456789") != std::string::npos
             ? ~0UL
             : std::strtoul(tail.c_str(), nullptr, 10);
}

bool managerIsAbsent(std::string_view errorName) {
  return errorName == "org.freedesktop.DBus.Error.ServiceUnknown" ||
         errorName == "org.freedesktop.DBus.Error.NameHasNoOwner";
}

}  // namespace

std::vector<ModemRecord> readModems() {
  sd_bus* rawBus = nullptr;
  // No system bus at all: there is no modem manager to ask.
  if (sd_bus_open_system(&rawBus) < 0) return {};
  const Bus bus(rawBus);
  sd_bus_message* rawCall = nullptr;
  if (sd_bus_message_new_method_call(bus.get(), &rawCall, kService, kManagerPath,
                                     "org.freedesktop.DBus.ObjectManager",
                                     "GetManagedObjects") < 0) {
    return {};
  }
  const Message call(rawCall);
  // Asking must not start a manager that is installed but stopped.
  sd_bus_message_set_auto_start(call.get(), 0);
  BusError error;
  sd_bus_message* rawReply = nullptr;
  if (sd_bus_call(bus.get(), call.get(), kCallTimeoutMicroseconds, error.get(), &rawReply) < 0) {
    // A bus that closed while authenticating answers with no error name: no manager either.
    if (managerIsAbsent(error.name()) || error.name().empty()) return {};
    NSException::raise(NSInternalInconsistencyException,
                       format("The modem manager answered %@: %@", std::string(error.name()),
                              std::string(error.text())));
  }
  const Message reply(rawReply);
  std::vector<ModemRecord> modems;
  check(sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_ARRAY, "{oa{sa{sv}}}"),
        "object map");
  int entered = 0;
  while ((entered = sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_DICT_ENTRY,
                                                   "oa{sa{sv}}")) > 0) {
    ModemRecord modem;
    if (readObject(reply.get(), modem)) modems.push_back(std::move(modem));
    check(sd_bus_message_exit_container(reply.get()), "object");
  }
  check(entered, "object map");
  std::sort(modems.begin(), modems.end(), [](const ModemRecord& a, const ModemRecord& b) {
    const unsigned long left = modemNumber(a.path);
    const unsigned long right = modemNumber(b.path);
    return left != right ? left < right : a.path < b.path;
  });
  return modems;
}

}  // namespace zu
