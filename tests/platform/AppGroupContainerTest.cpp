#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "tests/storage/StoreTestSupport.h"
#include "tests/support/Probe.h"
#include "zukit/platform/foundation/NSFileManager.h"

namespace {

using zu::Value;

std::shared_ptr<zu::NSURL> container(const Value& identifier) {
  return zu::NSFileManager::defaultManager()->containerURLForSecurityApplicationGroupIdentifier(
      identifier);
}

TEST(AppGroupContainerTest, DeclaredGroupsGetADirectoryWithLibraryCaches) {
  zukit::test::declareAppGroups(" group.cn.com.quorvel.one ,group.two");
  const auto first = container(Value("group.cn.com.quorvel.one"));
  ASSERT_TRUE(first);
  EXPECT_EQ(first->absoluteString(),
            "file://" + zukit::test::containerPath("group.cn.com.quorvel.one") + "/");
  EXPECT_TRUE(std::filesystem::is_directory(zukit::test::containerPath("group.cn.com.quorvel.one") +
                                            "/Library/Caches"));
  const auto again = container(Value("group.cn.com.quorvel.one"));
  ASSERT_TRUE(again);
  EXPECT_EQ(again->absoluteString(), first->absoluteString());
  const auto second = container(Value("group.two"));
  ASSERT_TRUE(second);
  EXPECT_NE(second->absoluteString(), first->absoluteString());

  // A group that is not declared, or a near miss of one, has no container.
  EXPECT_FALSE(container(Value("group.three")));
  EXPECT_FALSE(container(Value("group.tw")));
  EXPECT_FALSE(std::filesystem::exists(zukit::test::containerPath("group.three")));
}

TEST(AppGroupContainerTest, IdentifiersThatCannotNameADirectoryHaveNoContainer) {
  const std::string notUtf8 = "group.\xff";
  zukit::test::declareAppGroups("a/b,.,..," + notUtf8);
  EXPECT_FALSE(container(Value()));
  EXPECT_FALSE(container(Value::null()));
  EXPECT_FALSE(container(Value("")));
  EXPECT_FALSE(container(Value(42)));
  EXPECT_FALSE(container(Value("a/b")));
  EXPECT_FALSE(container(Value(".")));
  EXPECT_FALSE(container(Value("..")));
  EXPECT_FALSE(container(Value(notUtf8)));
  for (const char* made : {"a", "a/b", ".", ".."}) {
    EXPECT_FALSE(std::filesystem::exists(zukit::test::containerPath(made) + "/Library/Caches"))
        << made;
  }
  EXPECT_FALSE(std::filesystem::exists(zukit::test::containerPath(notUtf8)));
}

TEST(AppGroupContainerTest, AProgramDeclaresItsGroupsInItsInfoPlist) {
  const std::string plist = zukit::test::TestHome::current() + "/Info.plist";
  {
    std::ofstream file(plist);
    file << R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CFBundleIdentifier</key><string>cn.com.quorvel.ProbeHost</string>
<key>ZuKitAppGroups</key><array><string>group.from.plist</string></array>
</dict></plist>)";
  }
  const std::map<std::string, std::string> environment{{"ZUKIT_INFO_PLIST", plist},
                                                       {"ZUKIT_APP_GROUPS", ""}};
  const auto declared = zukit::test::runProbe({"container", "group.from.plist"}, environment);
  EXPECT_EQ(declared.standardOutput,
            "file://" + zukit::test::containerPath("group.from.plist") + "/\n");
  const auto other = zukit::test::runProbe({"container", "group.other"}, environment);
  EXPECT_EQ(other.standardOutput, "none\n");
  // The environment adds to what the Info.plist declares.
  const auto both =
      zukit::test::runProbe({"container", "group.other"},
                            {{"ZUKIT_INFO_PLIST", plist}, {"ZUKIT_APP_GROUPS", "group.other"}});
  EXPECT_EQ(both.standardOutput, "file://" + zukit::test::containerPath("group.other") + "/\n");
}

}  // namespace
