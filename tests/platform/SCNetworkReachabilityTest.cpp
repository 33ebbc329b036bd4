// The reachability functions' contracts that need no namespace: the callback's context hooks,
// refusals, and a scheduled target that is released.

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstring>

#include <gtest/gtest.h>

#include "zukit/platform/foundation/NSException.h"
#include "zukit/platform/network/SCNetworkReachability.h"

namespace {

struct Hooks {
  int retained = 0;
  int released = 0;
};

const void* retainHook(const void* info) {
  ++static_cast<Hooks*>(const_cast<void*>(info))->retained;  // NOLINT: the test's own counter
  return info;
}
void releaseHook(const void* info) {
  ++static_cast<Hooks*>(const_cast<void*>(info))->released;  // NOLINT: the test's own counter
}
void ignore(const zu::SCNetworkReachabilityRef& /*target*/,
            zu::SCNetworkReachabilityFlags /*flags*/, void* /*info*/) {}

zu::SCNetworkReachabilityRef loopbackTarget() {
  zu::bsd::sockaddr_in address{};
  address.sin_len = sizeof address;
  address.sin_family = AF_INET;
  inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
  zu::bsd::sockaddr header{};
  std::memcpy(&header, &address, sizeof header);
  return zu::SCNetworkReachabilityCreateWithAddress(&header);
}

TEST(SCNetworkReachability, TheContextIsRetainedWhileInstalledAndReleasedAfter) {
  Hooks hooks;
  {
    const auto target = loopbackTarget();
    ASSERT_TRUE(target);
    const zu::SCNetworkReachabilityContext context{0, &hooks, &retainHook, &releaseHook};
    EXPECT_TRUE(zu::SCNetworkReachabilitySetCallback(target, &ignore, &context));
    EXPECT_EQ(hooks.retained, 1);
    EXPECT_TRUE(zu::SCNetworkReachabilitySetCallback(target, &ignore, &context));
    EXPECT_EQ(hooks.retained, 2);
    EXPECT_EQ(hooks.released, 1) << "replacing the callback lets the old context go";
    ASSERT_TRUE(zu::SCNetworkReachabilityScheduleWithRunLoop(target, zu::RunLoop::current()));
    EXPECT_TRUE(zu::SCNetworkReachabilityScheduleWithRunLoop(target, zu::RunLoop::current()))
        << "scheduling again on the same loop is a no-op";
  }
  // Released while scheduled: it unschedules itself and lets its context go.
  EXPECT_EQ(hooks.released, 2);
}

TEST(SCNetworkReachability, RefusesMissingTargetsAndContextsOfAnotherVersion) {
  const zu::SCNetworkReachabilityRef none;
  zu::SCNetworkReachabilityFlags flags = 7;
  EXPECT_FALSE(zu::SCNetworkReachabilityGetFlags(none, &flags));
  EXPECT_EQ(flags, 7U);
  EXPECT_FALSE(zu::SCNetworkReachabilitySetCallback(none, &ignore, nullptr));
  EXPECT_FALSE(zu::SCNetworkReachabilityScheduleWithRunLoop(none, zu::RunLoop::current()));
  const auto target = loopbackTarget();
  EXPECT_FALSE(zu::SCNetworkReachabilityUnscheduleFromRunLoop(target, zu::RunLoop::current()))
      << "not scheduled";
  const zu::SCNetworkReachabilityContext future{1, nullptr, nullptr, nullptr};
  EXPECT_THROW(zu::SCNetworkReachabilitySetCallback(target, &ignore, &future), zu::NSException);
  EXPECT_FALSE(zu::SCNetworkReachabilityCreateWithName(nullptr));
  EXPECT_FALSE(zu::SCNetworkReachabilityCreateWithAddress(nullptr));
}

}  // namespace
