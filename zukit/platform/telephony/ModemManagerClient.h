#pragma once

// Internal to libzukit (not installed, not exported): the modem manager's D-Bus client.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zu {

// What the system's modem manager reports about one modem.
struct ModemRecord {
  // The modem's object path, "/org/freedesktop/ModemManager1/Modem/0".
  std::string path;
  // The access-technology bits it is registered or connected with (0: unknown); none when the
  // modem did not report them as an unsigned 32-bit number.
  std::optional<std::uint32_t> accessTechnologies;
  // The names of its network ports: the kernel links that carry its data ("wwan0").
  std::vector<std::string> networkPorts;
};

// The modem manager's access-technology bits.
namespace ModemAccessTechnology {
inline constexpr std::uint32_t kGsm = 1U << 1;
inline constexpr std::uint32_t kGsmCompact = 1U << 2;
inline constexpr std::uint32_t kGprs = 1U << 3;
inline constexpr std::uint32_t kEdge = 1U << 4;
inline constexpr std::uint32_t kUmts = 1U << 5;
inline constexpr std::uint32_t kHsdpa = 1U << 6;
inline constexpr std::uint32_t kHsupa = 1U << 7;
inline constexpr std::uint32_t kHspa = 1U << 8;
inline constexpr std::uint32_t kHspaPlus = 1U << 9;
inline constexpr std::uint32_t k1xRtt = 1U << 10;
inline constexpr std::uint32_t kEvdo0 = 1U << 11;
inline constexpr std::uint32_t kEvdoA = 1U << 12;
inline constexpr std::uint32_t kEvdoB = 1U << 13;
inline constexpr std::uint32_t kLte = 1U << 14;
inline constexpr std::uint32_t k5gNr = 1U << 15;
inline constexpr std::uint32_t kLteCatM = 1U << 16;
inline constexpr std::uint32_t kLteNbIot = 1U << 17;
}  // namespace ModemAccessTechnology

// Reads the modems of the system's modem manager (org.freedesktop.ModemManager1 on the system
// bus, which DBUS_SYSTEM_BUS_ADDRESS may name) through its object manager, in one round trip,
// ordered by modem number. Never starts the manager: with no system bus or no manager running
// the answer is no modems. An error answer or a reply of the wrong shape raises an NSException
// (NSInternalInconsistencyException). Safe from any thread; each call uses its own connection.
std::vector<ModemRecord> readModems();

}  // namespace zu
