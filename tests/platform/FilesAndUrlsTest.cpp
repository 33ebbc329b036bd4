#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/StderrCapture.h"
#include "tests/support/TestHome.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSSearchPath.h"
#include "zukit/platform/foundation/NSURL.h"

namespace {

namespace fs = std::filesystem;
using zu::NSURL;
using zu::Value;

TEST(NSURL, ParsesAbsoluteAndRelativeReferences) {
  const auto url = NSURL::URLWithString(Value("https://Example.com:8443/a/b%20c?x=1&y=2#top"));
  ASSERT_NE(url, nullptr);
  EXPECT_EQ(url->scheme(), "https");
  EXPECT_EQ(url->host(), "Example.com");
  EXPECT_EQ(url->port(), 8443);
  EXPECT_EQ(url->path(), "/a/b c");
  EXPECT_EQ(url->query(), "x=1&y=2");
  EXPECT_EQ(url->fragment(), "top");
  EXPECT_EQ(url->absoluteString(), "https://Example.com:8443/a/b%20c?x=1&y=2#top");

  const auto relative = NSURL::URLWithString(Value("/a?k=v"));
  ASSERT_NE(relative, nullptr);
  EXPECT_FALSE(relative->isAbsolute());
  EXPECT_EQ(relative->path(), "/a");
  EXPECT_EQ(NSURL::URLWithString(Value("http://[::1]:80/x"))->host(), "[::1]");
}

TEST(NSURL, RefusesTextThatAUrlCannotHoldUnescaped) {
  for (const Value& text :
       {Value(), Value::null(), Value(""), Value("http://h/a b"), Value("http://h/中文"),
        Value("http://h/a|b"), Value("http://h/%zz"), Value("http://h/a#b#c"),
        Value("http://h:99999/"), Value("http://h:8x/"), Value("http://h/\x01"),
        Value("http://h/a{b}"), Value("http://[::1/"), Value("http://h/p?q=[1]")}) {
    EXPECT_EQ(NSURL::URLWithString(text), nullptr) << text.description();
  }
}

TEST(NSURL, MakesFileUrlsThatEscapePathsAndDecodeBack) {
  const auto url = NSURL::fileURLWithPath("/tmp/a b/ü+=.mp4");
  ASSERT_NE(url, nullptr);
  EXPECT_EQ(url->absoluteString(), "file:///tmp/a%20b/%C3%BC+=.mp4");
  EXPECT_TRUE(url->isFileURL());
  EXPECT_EQ(url->path(), "/tmp/a b/ü+=.mp4");
  EXPECT_EQ(url->URLByAppendingPathComponent("x y")->path(), "/tmp/a b/ü+=.mp4/x y");
  EXPECT_EQ(NSURL::fileURLWithPath(""), nullptr);
  EXPECT_TRUE(url->isEqual(*NSURL::fileURLWithPath("/tmp/a b/ü+=.mp4")));
}

TEST(NSFileManager, MovesWithoutReplacingAndWalksDirectoriesInAStableOrder) {
  const auto manager = zu::NSFileManager::defaultManager();
  const std::string root = zukit::test::TestHome::current() + "/files";
  ASSERT_TRUE(manager->createDirectoryAtPath(root + "/b/c", true));
  EXPECT_TRUE(manager->createDirectoryAtPath(root + "/b/c", true)) << "existing, with parents";
  std::shared_ptr<zu::NSError> error;
  EXPECT_FALSE(manager->createDirectoryAtPath(root + "/b/c", false, &error));
  EXPECT_EQ(error->code(), zu::NSFileWriteFileExistsError);
  const zu::Data payload{'x', 'y'};
  ASSERT_TRUE(manager->createFileAtPath(root + "/a.txt", &payload));
  ASSERT_TRUE(manager->createFileAtPath(root + "/b/c/d.log", nullptr));
  EXPECT_EQ(manager->enumeratorAtPath(root),
            (std::vector<std::string>{"a.txt", "b", "b/c", "b/c/d.log"}));

  ASSERT_TRUE(manager->createFileAtPath(root + "/taken", nullptr));
  EXPECT_FALSE(manager->moveItemAtPath(root + "/a.txt", root + "/taken", &error));
  EXPECT_EQ(error->code(), zu::NSFileWriteFileExistsError);
  EXPECT_FALSE(manager->moveItemAtPath(root + "/a.txt", root + "/missing/parent/a.txt"));
  EXPECT_FALSE(manager->moveItemAtPath(root + "/nothing", root + "/new", &error));
  EXPECT_EQ(error->code(), zu::NSFileNoSuchFileError);
  ASSERT_TRUE(manager->moveItemAtURL(*NSURL::fileURLWithPath(root + "/a.txt"),
                                     *NSURL::fileURLWithPath(root + "/moved.txt")));
  EXPECT_EQ(manager->contentsAtPath(root + "/moved.txt"), payload);
  EXPECT_FALSE(manager->fileExistsAtPath(root + "/a.txt"));
  EXPECT_FALSE(manager->moveItemAtURL(*NSURL::URLWithString(Value("http://h/x")),
                                      *NSURL::fileURLWithPath(root + "/y")));

  // /dev/shm is another file system: the move copies and removes the source.
  if (fs::is_directory("/dev/shm")) {
    const std::string other = "/dev/shm/zukit-move-" + std::to_string(getpid());
    ASSERT_TRUE(manager->createFileAtPath(other, &payload));
    EXPECT_TRUE(manager->moveItemAtPath(other, root + "/across"));
    EXPECT_FALSE(fs::exists(other));
    EXPECT_EQ(manager->contentsAtPath(root + "/across"), payload);
  }
  EXPECT_TRUE(manager->removeItemAtPath(root + "/b"));
  EXPECT_FALSE(manager->removeItemAtPath(root + "/b"));
}

TEST(NSSearchPath, PutsDocumentsUnderTheHomeDirectory) {
  const std::string home = zukit::test::TestHome::current();
  EXPECT_EQ(
      zu::NSSearchPathForDirectoriesInDomains(zu::NSDocumentDirectory, zu::NSUserDomainMask, true),
      std::vector<std::string>{home + "/Documents"});
  EXPECT_EQ(
      zu::NSSearchPathForDirectoriesInDomains(zu::NSDocumentDirectory, zu::NSUserDomainMask, false),
      std::vector<std::string>{"~/Documents"});
  EXPECT_TRUE(zu::NSSearchPathForDirectoriesInDomains(zu::NSDocumentDirectory, 2, true).empty());
}

}  // namespace
