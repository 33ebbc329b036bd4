#pragma once

#include <string>
#include <vector>

namespace zukit::netns {

// Moves the calling process into network and mount namespaces of its own: only a loopback link
// (down), no routes, and sysfs mounted afresh so that /sys/class/net shows the new namespace's
// links. Mounts made afterwards stay private to the process. Without the privilege to do so,
// tries again inside a user namespace of its own. Must be called while the process has a single
// thread. Returns false, with the reason in `why`, when the kernel refuses both ways.
bool enterPrivateNetwork(std::string& why);

// Moves only the calling thread into a network namespace of its own (sockets it opens, and
// programs it starts, see that namespace). Returns false, with the reason in `why`, when
// refused.
bool enterPrivateNetworkOnThisThread(std::string& why);

// Runs iproute2's `ip` with `arguments` (one word each) and waits for it; true when it exits
// with status 0. Its error output goes to this process's standard error.
bool ip(const std::vector<std::string>& arguments);

// Splits `command` at blanks into words, for ip().
std::vector<std::string> words(const std::string& command);

// Makes `path` show `content` for this process (a bind mount of a file written beside
// `scratchDirectory`); needs enterPrivateNetwork() first. False when it cannot.
bool overlayFile(const std::string& path, const std::string& content,
                 const std::string& scratchDirectory);

}  // namespace zukit::netns
