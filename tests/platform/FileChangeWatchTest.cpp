#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/TestHome.h"
#include "zukit/platform/foundation/FileChangeWatch.h"

namespace {

namespace fs = std::filesystem;

void writeFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

// A watch answers "unchanged" only while nothing happened to its file's name or to the
// directories above it, so that a reader may skip looking at the file.
TEST(FileChangeWatch, ReportsEveryKindOfChangeOfTheFileAndNothingElse) {
  const std::string top = zukit::test::TestHome::current() + "/watched";
  const std::string directory = top + "/inner";
  const std::string path = directory + "/file.plist";
  fs::create_directories(directory);
  writeFile(path, "one");
  zu::FileChangeWatch watch(path);
  EXPECT_TRUE(watch.mayHaveChanged());
  EXPECT_FALSE(watch.mayHaveChanged());

  // Neighbours and the lock beside the file are not the file.
  writeFile(directory + "/other.plist", "other");
  writeFile(path + ".lock", "");
  EXPECT_FALSE(watch.mayHaveChanged());

  writeFile(path, "two");  // written in place
  EXPECT_TRUE(watch.mayHaveChanged());
  EXPECT_FALSE(watch.mayHaveChanged());

  writeFile(directory + "/.file.tmp", "three");
  ASSERT_EQ(std::rename((directory + "/.file.tmp").c_str(), path.c_str()), 0);  // replaced
  EXPECT_TRUE(watch.mayHaveChanged());

  fs::permissions(path, fs::perms::owner_read);
  EXPECT_TRUE(watch.mayHaveChanged());
  fs::remove(path);
  EXPECT_TRUE(watch.mayHaveChanged());
  EXPECT_FALSE(watch.mayHaveChanged());

  // A directory above moved away, and another tree put where it was: the path now names a
  // file the watch never saw.
  fs::rename(top, top + ".old");
  fs::create_directories(directory);
  writeFile(path, "four");
  EXPECT_TRUE(watch.mayHaveChanged());
  EXPECT_FALSE(watch.mayHaveChanged());

  // The file's own directory removed and made again.
  fs::remove_all(directory);
  EXPECT_TRUE(watch.mayHaveChanged());
  fs::create_directories(directory);
  EXPECT_TRUE(watch.mayHaveChanged());  // watched again from here on
  writeFile(path, "five");
  EXPECT_TRUE(watch.mayHaveChanged());
  EXPECT_FALSE(watch.mayHaveChanged());
}

TEST(FileChangeWatch, AnswersChangedWhileTheDirectoryDoesNotExist) {
  const std::string directory = zukit::test::TestHome::current() + "/not-yet";
  zu::FileChangeWatch watch(directory + "/file.plist");
  EXPECT_TRUE(watch.mayHaveChanged());
  EXPECT_TRUE(watch.mayHaveChanged());
  fs::create_directories(directory);
  EXPECT_TRUE(watch.mayHaveChanged());
  EXPECT_FALSE(watch.mayHaveChanged());
}

// A forked child shares the parent's kernel objects: had it read from the parent's event
// queue, the parent would never learn of the change the child took.
TEST(FileChangeWatch, AForkedChildLeavesTheParentsEventsAlone) {
  const std::string directory = zukit::test::TestHome::current() + "/forked";
  const std::string path = directory + "/file.plist";
  fs::create_directories(directory);
  zu::FileChangeWatch watch(path);
  EXPECT_TRUE(watch.mayHaveChanged());
  EXPECT_FALSE(watch.mayHaveChanged());
  writeFile(path, "changed before the fork");
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // The child's own watch, asked twice: the second answer drains whatever it can read.
    zu::FileChangeWatch childWatch(path);
    childWatch.mayHaveChanged();
    childWatch.mayHaveChanged();
    watch.mayHaveChanged();
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(watch.mayHaveChanged());
}

}  // namespace
