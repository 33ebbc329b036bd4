// The keychain store beside the plain file operations it is built on: an item added or found
// costs a locked read-modify-write or a read of the group's property-list file. Then how the
// keychain and the preferences grow: an add to a group of 10, 100, 1,000 and 10,000 items, and
// one preference value set and synchronised in a domain of 100, 1,000 and 10,000 values.

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <string>

#include <benchmark/benchmark.h>

#include "bench/BenchSupport.h"
#include "zukit/platform/foundation/FileLock.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/platform/security/KeychainStore.h"
#include "zukit/platform/security/SecItem.h"
#include "zukit/storage/ZuKeychainItemWrapper.h"

namespace zukit::bench {

namespace {

// Items already in the group, as a host app would have a few.
constexpr int kResidentItems = 10;
// The size of one secret: a token.
constexpr std::size_t kSecretSize = 64;

const zu::Data& secret() {
  static const zu::Data bytes(kSecretSize, 0x5A);
  return bytes;
}

zu::Dictionary item(const std::string& group, const std::string& account) {
  return zu::Dictionary{{zu::kSecClass, zu::Value(zu::kSecClassGenericPassword)},
                        {zu::kSecAttrAccessGroup, zu::Value(group)},
                        {zu::kSecAttrAccount, zu::Value(account)},
                        {zu::kSecValueData, zu::Value(secret())}};
}

void fillGroup(const std::string& group) {
  for (int i = 0; i < kResidentItems; ++i) {
    zu::SecItemAdd(item(group, "resident-" + std::to_string(i)), nullptr);
  }
}

// Adds a new item to `group` per iteration, and removes it again untimed.
void measureAdds(benchmark::State& state, const std::string& group) {
  long counter = 0;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): benchmark idiom
    const std::string account = "added-" + std::to_string(counter++);
    if (zu::SecItemAdd(item(group, account), nullptr) != zu::errSecSuccess) {
      state.SkipWithError("SecItemAdd failed");
      break;
    }
    state.PauseTiming();
    zu::SecItemDelete(zu::Dictionary{{zu::kSecClass, zu::Value(zu::kSecClassGenericPassword)},
                                     {zu::kSecAttrAccessGroup, zu::Value(group)},
                                     {zu::kSecAttrAccount, zu::Value(account)}});
    state.ResumeTiming();
  }
}

void BM_SecItemAdd(benchmark::State& state) {
  const std::string group = "bench.add";
  fillGroup(group);
  measureAdds(state, group);
}
BENCHMARK(BM_SecItemAdd);

void BM_SecItemCopyMatching(benchmark::State& state) {
  const std::string group = "bench.find";
  fillGroup(group);
  const zu::Dictionary query{{zu::kSecClass, zu::Value(zu::kSecClassGenericPassword)},
                             {zu::kSecAttrAccessGroup, zu::Value(group)},
                             {zu::kSecAttrAccount, zu::Value("resident-7")},
                             {zu::kSecReturnData, zu::Value(true)}};
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): benchmark idiom
    zu::Value result;
    if (zu::SecItemCopyMatching(query, &result) != zu::errSecSuccess) {
      state.SkipWithError("SecItemCopyMatching found nothing");
      break;
    }
    benchmark::DoNotOptimize(result);
  }
}
BENCHMARK(BM_SecItemCopyMatching);

// A wrapper made for a stored item: two searches and the payload's XML parse.
void BM_KeychainItemWrapperLoad(benchmark::State& state) {
  ZuKeychainItemWrapper::initWithIdentifier(zu::Value("bench"), zu::Value("bench.wrapper"))
      ->setObject(zu::Value(std::string(kSecretSize, 'x')), zu::kSecValueData);
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): benchmark idiom
    const auto wrapper =
        ZuKeychainItemWrapper::initWithIdentifier(zu::Value("bench"), zu::Value("bench.wrapper"));
    benchmark::DoNotOptimize(wrapper->objectForKey(zu::kSecValueData));
  }
}
BENCHMARK(BM_KeychainItemWrapperLoad);

// The raw primitive under an add: write a small file in full.
void BM_PlainFileWrite(benchmark::State& state) {
  const std::string path = scratchDirectory("stores-write") + "/secret";
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): benchmark idiom
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0 || ::write(fd, secret().data(), secret().size()) < 0) {
      state.SkipWithError("write failed");
      break;
    }
    ::close(fd);
  }
}
BENCHMARK(BM_PlainFileWrite);

// What an add does to the file system: write a temporary file and rename it over the target.
void BM_PlainFileReplace(benchmark::State& state) {
  const std::string directory = scratchDirectory("stores-replace");
  const std::string path = directory + "/secret";
  const std::string temporary = directory + "/.secret.tmp";
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): benchmark idiom
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0 || ::write(fd, secret().data(), secret().size()) < 0) {
      state.SkipWithError("write failed");
      break;
    }
    ::close(fd);
    if (::rename(temporary.c_str(), path.c_str()) != 0) {
      state.SkipWithError("rename failed");
      break;
    }
  }
}
BENCHMARK(BM_PlainFileReplace);

// The raw primitive under a search: read a small file in full.
void BM_PlainFileRead(benchmark::State& state) {
  const std::string path = scratchDirectory("stores-read") + "/secret";
  {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd >= 0) {
      benchmark::DoNotOptimize(::write(fd, secret().data(), secret().size()));
      ::close(fd);
    }
  }
  std::array<std::uint8_t, 4096> buffer{};
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): benchmark idiom
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t got = fd < 0 ? -1 : ::read(fd, buffer.data(), buffer.size());
    if (got != static_cast<ssize_t>(kSecretSize)) {
      state.SkipWithError("read failed");
      break;
    }
    ::close(fd);
    benchmark::DoNotOptimize(buffer);
  }
}
BENCHMARK(BM_PlainFileRead);

// --- Growth: the same operations in fuller stores ---

// A group of exactly `count` items of the benchmark's shape, written in one go.
void fillGroupDirectly(const std::string& group, std::int64_t count) {
  const zu::KeychainStore store = zu::KeychainStore::current();
  zu::KeychainGroupContents contents;
  for (std::int64_t i = 0; i < count; ++i) {
    zu::KeychainItem entry;
    entry.attributes = item(group, "resident-" + std::to_string(i));
    entry.attributes.removeObjectForKey(zu::kSecValueData);
    entry.attributes.setObject(zu::Value(""), zu::kSecAttrService);
    entry.data = secret();
    contents.items.push_back(std::move(entry));
  }
  const zu::FileLock lock = store.lockGroup(group);
  store.writeGroup(group, contents);
}

// One add (and, untimed, its removal) in a group that holds state.range(0) items.
void BM_SecItemAddToGroupOf(benchmark::State& state) {
  const std::string group = "bench.grow." + std::to_string(state.range(0));
  fillGroupDirectly(group, state.range(0));
  measureAdds(state, group);
}
BENCHMARK(BM_SecItemAddToGroupOf)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond);

// One search for the last item of a group that holds state.range(0) items.
void BM_SecItemCopyMatchingInGroupOf(benchmark::State& state) {
  const std::string group = "bench.find." + std::to_string(state.range(0));
  fillGroupDirectly(group, state.range(0));
  const zu::Dictionary query{
      {zu::kSecClass, zu::Value(zu::kSecClassGenericPassword)},
      {zu::kSecAttrAccessGroup, zu::Value(group)},
      {zu::kSecAttrAccount, zu::Value("resident-" + std::to_string(state.range(0) - 1))},
      {zu::kSecReturnData, zu::Value(true)}};
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): benchmark idiom
    zu::Value result;
    if (zu::SecItemCopyMatching(query, &result) != zu::errSecSuccess) {
      state.SkipWithError("SecItemCopyMatching found nothing");
      break;
    }
    benchmark::DoNotOptimize(result);
  }
}
BENCHMARK(BM_SecItemCopyMatchingInGroupOf)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond);

// One value set and synchronised in a preferences domain of state.range(0) values of 64 bytes.
void BM_UserDefaultsSetSynchronizeInDomainOf(benchmark::State& state) {
  const auto defaults = zu::NSUserDefaults::initWithSuiteName(
      zu::Value("bench.grow." + std::to_string(state.range(0))));
  for (std::int64_t i = 0; i < state.range(0); ++i)
    defaults->setObject(zu::Value(secret()), "resident-" + std::to_string(i));
  defaults->synchronize();
  long counter = 0;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): benchmark idiom
    defaults->setObject(zu::Value(static_cast<std::int64_t>(counter++)), "changing");
    defaults->synchronize();
  }
}
BENCHMARK(BM_UserDefaultsSetSynchronizeInDomainOf)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond);

// The goal: an add to a group of 1,000 items within 3x of one to a group of 10.
const RatioRegistration kAddGrowth("BM_SecItemAddToGroupOf/1000", "BM_SecItemAddToGroupOf/10", 3.0);
const GrowthRegistration kKeychainAddGrowth("keychain: add an item", "BM_SecItemAddToGroupOf");
const GrowthRegistration kKeychainFindGrowth("keychain: find the last item",
                                             "BM_SecItemCopyMatchingInGroupOf");
const GrowthRegistration kPreferencesGrowth("preferences: set one value and synchronize",
                                            "BM_UserDefaultsSetSynchronizeInDomainOf");

const RatioRegistration kAddRatio("BM_SecItemAdd", "BM_PlainFileWrite");
const RatioRegistration kReplaceRatio("BM_SecItemAdd", "BM_PlainFileReplace");
const RatioRegistration kFindRatio("BM_SecItemCopyMatching", "BM_PlainFileRead");
const RatioRegistration kWrapperRatio("BM_KeychainItemWrapperLoad", "BM_PlainFileRead");

}  // namespace

}  // namespace zukit::bench
