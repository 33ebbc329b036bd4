#include "apps/netns/PrivateNetwork.h"

#include <sched.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace zukit::netns {

namespace {

bool writeFile(const std::string& path, const std::string& content) {
  std::ofstream file(path);
  file << content;
  return static_cast<bool>(file.flush());
}

// Inside a fresh user namespace: become root there, mapped to the real user outside.
bool mapToRoot(uid_t uid, gid_t gid) {
  return writeFile("/proc/self/setgroups", "deny") &&
         writeFile("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1") &&
         writeFile("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1");
}

}  // namespace

bool enterPrivateNetwork(std::string& why) {
  if (unshare(CLONE_NEWNET | CLONE_NEWNS) != 0) {
    const int refused = errno;
    const uid_t uid = getuid();
    const gid_t gid = getgid();
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS) != 0 || !mapToRoot(uid, gid)) {
      why = std::string("unshare refused: ") + std::strerror(refused) +
            "; in a user namespace: " + std::strerror(errno);
      return false;
    }
  }
  // Mounts from here on are this process's own, and /sys shows the new namespace's links.
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    why = std::string("cannot make mounts private: ") + std::strerror(errno);
    return false;
  }
  if (mount("sysfs", "/sys", "sysfs", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0) {
    why = std::string("cannot mount sysfs: ") + std::strerror(errno);
    return false;
  }
  return true;
}

bool enterPrivateNetworkOnThisThread(std::string& why) {
  if (unshare(CLONE_NEWNET) == 0) return true;
  why = std::string("unshare refused: ") + std::strerror(errno);
  return false;
}

std::vector<std::string> words(const std::string& command) {
  std::istringstream stream(command);
  std::vector<std::string> list;
  for (std::string word; stream >> word;)
    list.push_back(word);
  return list;
}

bool ip(const std::vector<std::string>& arguments) {
  std::vector<std::string> argv{"ip"};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  pointers.reserve(argv.size() + 1);
  for (std::string& word : argv)
    pointers.push_back(word.data());
  pointers.push_back(nullptr);
  pid_t child = 0;
  if (posix_spawnp(&child, "ip", nullptr, nullptr, pointers.data(), environ) != 0) return false;
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return false;
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool overlayFile(const std::string& path, const std::string& content,
                 const std::string& scratchDirectory) {
  static std::atomic<int> serial{0};
  const std::string source = scratchDirectory + "/overlay-" + std::to_string(getpid()) + "-" +
                             std::to_string(serial.fetch_add(1));
  if (!writeFile(source, content)) return false;
  return mount(source.c_str(), path.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

}  // namespace zukit::netns
