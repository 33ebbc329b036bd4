#include "zukit/platform/telephony/CTTelephonyNetworkInfo.h"

#include <array>
#include <utility>
#include <vector>

#include "zukit/platform/foundation/NSException.h"
#include "zukit/platform/telephony/ModemManagerClient.h"

const char* const CTRadioAccessTechnologyGPRS = "CTRadioAccessTechnologyGPRS";
const char* const CTRadioAccessTechnologyEdge = "CTRadioAccessTechnologyEdge";
const char* const CTRadioAccessTechnologyWCDMA = "CTRadioAccessTechnologyWCDMA";
const char* const CTRadioAccessTechnologyHSDPA = "CTRadioAccessTechnologyHSDPA";
const char* const CTRadioAccessTechnologyHSUPA = "CTRadioAccessTechnologyHSUPA";
const char* const CTRadioAccessTechnologyCDMA1x = "CTRadioAccessTechnologyCDMA1x";
const char* const CTRadioAccessTechnologyCDMAEVDORev0 = "CTRadioAccessTechnologyCDMAEVDORev0";
const char* const CTRadioAccessTechnologyCDMAEVDORevA = "CTRadioAccessTechnologyCDMAEVDORevA";
const char* const CTRadioAccessTechnologyCDMAEVDORevB = "CTRadioAccessTechnologyCDMAEVDORevB";
const char* const CTRadioAccessTechnologyeHRPD = "CTRadioAccessTechnologyeHRPD";
const char* const CTRadioAccessTechnologyLTE = "CTRadioAccessTechnologyLTE";
const char* const CTRadioAccessTechnologyNRNSA = "CTRadioAccessTechnologyNRNSA";
const char* const CTRadioAccessTechnologyNR = "CTRadioAccessTechnologyNR";

namespace zu {

namespace {

namespace Bits = ModemAccessTechnology;

// From the most advanced technology down: the first bit a modem reports wins. HSPA and HSPA+
// carry both high-speed directions, so they read as the later of the two, HSUPA. Plain GSM
// carries data only as GPRS. The modem manager has no bit for eHRPD, so that constant is never
// answered here.
const std::array<std::pair<std::uint32_t, const char* const*>, 14> kTechnologies{{
    {Bits::kLte | Bits::kLteCatM | Bits::kLteNbIot, &CTRadioAccessTechnologyLTE},
    {Bits::kEvdoB, &CTRadioAccessTechnologyCDMAEVDORevB},
    {Bits::kEvdoA, &CTRadioAccessTechnologyCDMAEVDORevA},
    {Bits::kEvdo0, &CTRadioAccessTechnologyCDMAEVDORev0},
    {Bits::kHspaPlus, &CTRadioAccessTechnologyHSUPA},
    {Bits::kHspa, &CTRadioAccessTechnologyHSUPA},
    {Bits::kHsupa, &CTRadioAccessTechnologyHSUPA},
    {Bits::kHsdpa, &CTRadioAccessTechnologyHSDPA},
    {Bits::kUmts, &CTRadioAccessTechnologyWCDMA},
    {Bits::k1xRtt, &CTRadioAccessTechnologyCDMA1x},
    {Bits::kEdge, &CTRadioAccessTechnologyEdge},
    {Bits::kGprs, &CTRadioAccessTechnologyGPRS},
    {Bits::kGsm, &CTRadioAccessTechnologyGPRS},
    {Bits::kGsmCompact, &CTRadioAccessTechnologyGPRS},
}};

// The modems' technologies in modem order, raising when a modem does not report them.
std::vector<std::pair<std::string, const char*>> modemTechnologies() {
  std::vector<std::pair<std::string, const char*>> list;
  for (const ModemRecord& modem : readModems()) {
    if (!modem.accessTechnologies) {
      NSException::raise(NSInternalInconsistencyException,
                         "The modem manager gives no access technologies for " + modem.path);
    }
    if (const char* technology = radioAccessTechnologyForModemBits(*modem.accessTechnologies)) {
      list.emplace_back(modem.path, technology);
    }
  }
  return list;
}

}  // namespace

const char* radioAccessTechnologyForModemBits(std::uint32_t bits) {
  if ((bits & Bits::k5gNr) != 0) {
    const bool lteAnchor = (bits & (Bits::kLte | Bits::kLteCatM | Bits::kLteNbIot)) != 0;
    return lteAnchor ? CTRadioAccessTechnologyNRNSA : CTRadioAccessTechnologyNR;
  }
  for (const auto& [mask, technology] : kTechnologies) {
    if ((bits & mask) != 0) return *technology;
  }
  return nullptr;
}

CTTelephonyNetworkInfo::CTTelephonyNetworkInfo() = default;

Value CTTelephonyNetworkInfo::currentRadioAccessTechnology() const {
  const auto technologies = modemTechnologies();
  if (technologies.empty()) return {};
  return Value(technologies.front().second);
}

Value CTTelephonyNetworkInfo::serviceCurrentRadioAccessTechnology() const {
  const auto technologies = modemTechnologies();
  if (technologies.empty()) return {};
  Dictionary services;
  for (const auto& [path, technology] : technologies)
    services.setObject(Value(technology), path);
  return Value(std::move(services));
}

}  // namespace zu
