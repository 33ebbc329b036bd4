#pragma once

// Internal to libzukit (not installed, not exported): which network links belong to modems.

#include <string>

namespace zu {

// True when network link `name` (number `index`) belongs to a cellular modem: the kernel
// classes the device as "wwan" (DEVTYPE in its sysfs uevent, read once per link: the kernel
// never gives a link's number to another link), or the system's modem manager lists the link as
// one of its modems' network ports. The modem manager's list is asked for at most once a second
// (and again after forgetModemPorts()); a manager that cannot be asked lists nothing. Safe from
// any thread.
bool isCellularLink(int index, const std::string& name);

// Makes the next isCellularLink() ask the modem manager again, as after the links changed.
void forgetModemPorts();

}  // namespace zu
