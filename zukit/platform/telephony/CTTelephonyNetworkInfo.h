#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// The radio access technologies, as the platform names them.
ZU_EXPORT extern const char* const CTRadioAccessTechnologyGPRS;
ZU_EXPORT extern const char* const CTRadioAccessTechnologyEdge;
ZU_EXPORT extern const char* const CTRadioAccessTechnologyWCDMA;
ZU_EXPORT extern const char* const CTRadioAccessTechnologyHSDPA;
ZU_EXPORT extern const char* const CTRadioAccessTechnologyHSUPA;
ZU_EXPORT extern const char* const CTRadioAccessTechnologyCDMA1x;
ZU_EXPORT extern const char* const CTRadioAccessTechnologyCDMAEVDORev0;
ZU_EXPORT extern const char* const CTRadioAccessTechnologyCDMAEVDORevA;
ZU_EXPORT extern const char* const CTRadioAccessTechnologyCDMAEVDORevB;
ZU_EXPORT extern const char* const CTRadioAccessTechnologyeHRPD;
ZU_EXPORT extern const char* const CTRadioAccessTechnologyLTE;
ZU_EXPORT extern const char* const CTRadioAccessTechnologyNRNSA;
ZU_EXPORT extern const char* const CTRadioAccessTechnologyNR;

namespace zu {

// The radio technology of the device's cellular services, read from the system's modem manager
// at every call (nothing is cached). Each modem is one service, keyed by its object path. A
// modem's access-technology bits become the constant of the most advanced technology they
// name; 5G NR beside an LTE bit is NR non-standalone. Nothing is answered when there is no
// modem manager, no modem, or no modem registered on a network. A manager that answers with an
// error, or with technologies of the wrong type, raises an NSException. Safe from any thread.
class ZU_EXPORT CTTelephonyNetworkInfo final : public Object {
 public:
  ZU_RUNTIME_CLASS(CTTelephonyNetworkInfo, Object)
  CTTelephonyNetworkInfo();

  // The technology of the first modem (by modem number) that has one, or absent.
  Value currentRadioAccessTechnology() const;
  // A dictionary from each modem's object path to its technology, in modem-number order, for
  // the modems that have one; absent when none has.
  Value serviceCurrentRadioAccessTechnology() const;
};

// The constant for the modem manager's access-technology bits, or nullptr when they name no
// radio technology (0, analog lines).
ZU_EXPORT const char* radioAccessTechnologyForModemBits(std::uint32_t bits);

}  // namespace zu
