// A stand-in for the system's modem manager, for the telephony and reachability tests: it owns
// org.freedesktop.ModemManager1 on the bus that DBUS_SYSTEM_BUS_ADDRESS names (the test's
// private bus) and serves its object manager with one modem per --modem argument.
//
//   zukit-modem-manager-standin [--malformed] --modem PORT:BITS ...
//
// PORT is the modem's network port (a link name; "-" for none), BITS its access technologies
// as a number. --malformed reports the technologies as text, as a broken manager might. Prints
// "ready" once it owns the name, then serves until it is killed.

#include <systemd/sd-bus.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Modem {
  std::string port;
  std::uint32_t technologies = 0;
};

constexpr const char* kModemInterface = "org.freedesktop.ModemManager1.Modem";
constexpr std::uint32_t kNetworkPortType = 2;

Modem& modemOf(void* userdata) {
  return *static_cast<Modem*>(userdata);
}

int technologies(sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/,
                 const char* /*property*/, sd_bus_message* reply, void* userdata,
                 sd_bus_error* /*error*/) {
  return sd_bus_message_append(reply, "u", modemOf(userdata).technologies);
}

int technologiesAsText(sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/,
                       const char* /*property*/, sd_bus_message* reply, void* userdata,
                       sd_bus_error* /*error*/) {
  return sd_bus_message_append(reply, "s", std::to_string(modemOf(userdata).technologies).c_str());
}

int ports(sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/,
          const char* /*property*/, sd_bus_message* reply, void* userdata,
          sd_bus_error* /*error*/) {
  const Modem& modem = modemOf(userdata);
  int result = sd_bus_message_open_container(reply, 'a', "(su)");
  if (result < 0) return result;
  // A control port beside the network port, as real modems have.
  result = sd_bus_message_append(reply, "(su)", "cdc-wdm0", 6U);
  if (result >= 0 && modem.port != "-") {
    result = sd_bus_message_append(reply, "(su)", modem.port.c_str(), kNetworkPortType);
  }
  if (result < 0) return result;
  return sd_bus_message_close_container(reply);
}

const sd_bus_vtable kModem[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_PROPERTY("AccessTechnologies", "u", technologies, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("Ports", "a(su)", ports, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_VTABLE_END,
};

const sd_bus_vtable kMalformedModem[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_PROPERTY("AccessTechnologies", "s", technologiesAsText, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("Ports", "a(su)", ports, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_VTABLE_END,
};

int fail(const char* what, int result) {
  std::fprintf(stderr, "modem manager stand-in: %s: %s\n", what, std::strerror(-result));
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  bool malformed = false;
  std::vector<Modem> modems;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--malformed") {
      malformed = true;
    } else if (argument == "--modem" && i + 1 < argc) {
      const std::string modemText = argv[++i];
      const std::size_t colon = modemText.find(':');
      if (colon == std::string::npos) return 2;
      modems.push_back(Modem{
          modemText.substr(0, colon),
          static_cast<std::uint32_t>(std::strtoul(modemText.c_str() + colon + 1, nullptr, 10))});
    } else {
      std::fputs("usage: zukit-modem-manager-standin [--malformed] --modem PORT:BITS ...\n",
                 stderr);
      return 2;
    }
  }
  sd_bus* bus = nullptr;
  int result = sd_bus_open_system(&bus);
  if (result < 0) return fail("cannot connect to the bus", result);
  result = sd_bus_add_object_manager(bus, nullptr, "/org/freedesktop/ModemManager1");
  if (result < 0) return fail("cannot serve the object manager", result);
  for (std::size_t n = 0; n < modems.size(); ++n) {
    const std::string path = "/org/freedesktop/ModemManager1/Modem/" + std::to_string(n);
    result = sd_bus_add_object_vtable(bus, nullptr, path.c_str(), kModemInterface,
                                      malformed ? kMalformedModem : kModem, &modems[n]);
    if (result < 0) return fail("cannot serve a modem", result);
  }
  result = sd_bus_request_name(bus, "org.freedesktop.ModemManager1", 0);
  if (result < 0) return fail("cannot own the name", result);
  std::puts("ready");
  std::fflush(stdout);
  for (;;) {
    result = sd_bus_process(bus, nullptr);
    if (result < 0) return fail("lost the bus", result);
    if (result > 0) continue;
    result = sd_bus_wait(bus, UINT64_MAX);
    if (result < 0) return fail("lost the bus", result);
  }
}
