// Image views that load their image by URL: the URL kept on the view, the image set on the main
// queue, and views or downloads that go away or fail.

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "tests/network/NetworkTestSupport.h"
#include "tests/support/LoopbackServer.h"
#include "zukit/network/UIImageView+ZuWebCache.h"
#include "zukit/network/ZuDownloadManager.h"
#include "zukit/platform/runtime/AssociatedObjects.h"
#include "zukit/platform/runtime/Selector.h"
#include "zukit/storage/ZuImageDiskCache.h"

namespace {

using zu::Value;
using zukit::test::LoopbackServer;
using zukit::test::pumpMainUntil;

class UIImageViewZuWebCacheTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(server.isRunning()); }

  std::shared_ptr<zu::NSURL> url(const std::string& pathAndQuery) const {
    return zu::NSURL::URLWithString(Value(server.URL(pathAndQuery)));
  }

  // Runs the main loop until the blocks queued on the main queue so far have run.
  static void drainMainQueue() {
    auto ran = std::make_shared<std::atomic<bool>>(false);
    zu::dispatch_async(zu::dispatch_get_main_queue(), [ran] { *ran = true; });
    ASSERT_TRUE(pumpMainUntil([&] { return ran->load(); }));
  }

  // Downloads `target` into the image cache and waits until it is stored.
  void prime(const std::shared_ptr<zu::NSURL>& target) const {
    ZuDownloadManager::sharedManager()->downloadImageWithURL(target, nullptr);
    ASSERT_TRUE(zukit::test::waitUntil([&] {
      return ZuImageDiskCache::cache()->containsImageDataForKey(Value(target->absoluteString()));
    }));
  }

  LoopbackServer server;
  std::shared_ptr<zu::UIImage> shown =
      zu::UIImage::imageWithData(zukit::test::fixtureImage("sample.gif"));
};

TEST_F(UIImageViewZuWebCacheTest, TheURLIsAnAssociatedObjectAndNoURLClearsItButNotTheImage) {
  ASSERT_NE(shown, nullptr);
  const auto view = std::make_shared<zu::UIImageView>(shown);
  EXPECT_EQ(zu_imageURL(view), nullptr);
  const auto first = url("/image/none");
  setZu_imageURL(view, first);
  EXPECT_EQ(zu_imageURL(view), first);
  EXPECT_EQ(
      zu::objc_getAssociatedObject(view, zu::sel_registerName("zu_imageURL")).asObject<zu::NSURL>(),
      first);
  // Plain setting loads nothing.
  EXPECT_EQ(server.totalRequestCount(), 0);

  zu_setImageWithURL(view, nullptr);
  EXPECT_EQ(zu_imageURL(view), nullptr);
  EXPECT_EQ(view->image(), shown);
  drainMainQueue();
  EXPECT_EQ(view->image(), shown);
  EXPECT_EQ(server.totalRequestCount(), 0);

  // A missing view is ignored.
  zu_setImageWithURL(nullptr, first);
  setZu_imageURL(nullptr, first);
  EXPECT_EQ(zu_imageURL(nullptr), nullptr);
}

TEST_F(UIImageViewZuWebCacheTest, ADownloadedImageIsSetOnTheMainThread) {
  const auto view = std::make_shared<zu::UIImageView>();
  const auto target = url("/image/png");
  zu_setImageWithURL(view, target);
  EXPECT_EQ(zu_imageURL(view), target);
  // The view refuses images set off the main thread, so an image here was set on it.
  ASSERT_TRUE(pumpMainUntil([&] { return view->image() != nullptr; }));
  EXPECT_EQ(view->image()->data(), zukit::test::fixtureImage("sample.png"));
  EXPECT_EQ(server.requestCount("/image/png"), 1);
}

TEST_F(UIImageViewZuWebCacheTest, ACachedImageIsSetAtOnceOnTheMainQueueAndPostedFromElsewhere) {
  const auto target = url("/image/jpeg");
  prime(target);

  // On the main queue: set before zu_setImageWithURL returns.
  const auto onMain = std::make_shared<zu::UIImageView>();
  auto setAtOnce = std::make_shared<std::atomic<int>>(-1);
  zu::dispatch_async(zu::dispatch_get_main_queue(), [onMain, target, setAtOnce] {
    zu_setImageWithURL(onMain, target);
    *setAtOnce = onMain->image() != nullptr ? 1 : 0;
  });
  ASSERT_TRUE(pumpMainUntil([&] { return setAtOnce->load() >= 0; }));
  EXPECT_EQ(setAtOnce->load(), 1);

  // On another thread the cache answers there, and the image is posted to the main queue.
  const auto fromThread = std::make_shared<zu::UIImageView>(shown);
  std::thread([&] { zu_setImageWithURL(fromThread, target); }).join();
  EXPECT_EQ(fromThread->image(), shown);
  ASSERT_TRUE(pumpMainUntil([&] { return fromThread->image() != shown; }));
  ASSERT_NE(fromThread->image(), nullptr);
  EXPECT_EQ(fromThread->image()->data(), zukit::test::fixtureImage("sample.jpg"));

  // The main thread outside any block counts as the main queue too: set at once.
  const auto outside = std::make_shared<zu::UIImageView>();
  zu_setImageWithURL(outside, target);
  EXPECT_NE(outside->image(), nullptr);
  EXPECT_EQ(server.requestCount("/image/jpeg"), 1);
}

TEST_F(UIImageViewZuWebCacheTest, FailedDownloadsAndBytesThatAreNoImageLeaveTheImage) {
  const std::string dead =
      "http://127.0.0.1:" + std::to_string(zukit::test::unusedLoopbackPort()) + "/image/png";
  const auto view = std::make_shared<zu::UIImageView>(shown);
  zu_setImageWithURL(view, zu::NSURL::URLWithString(Value(dead)));
  ASSERT_TRUE(zukit::test::waitUntil([&] {
    return zukit::test::occurrences(zukit::test::logText(),
                                    "图片下载失败：Could not connect to "
                                    "the server. url：" +
                                        dead) == 1;
  }));
  zukit::test::drainQueue(ZuDownloadManager::sharedManager()->session()->delegateQueue());
  drainMainQueue();
  EXPECT_EQ(view->image(), shown);
  EXPECT_EQ(zu_imageURL(view)->absoluteString(), dead);

  const auto corrupt = url("/image/corrupt");
  zu_setImageWithURL(view, corrupt);
  ASSERT_TRUE(zukit::test::waitUntil([&] {
    return ZuImageDiskCache::cache()->containsImageDataForKey(Value(corrupt->absoluteString()));
  }));
  drainMainQueue();
  EXPECT_EQ(view->image(), shown);
  EXPECT_EQ(zu_imageURL(view), corrupt);
}

TEST_F(UIImageViewZuWebCacheTest, AViewReleasedBeforeItsDownloadCompletesIsNotKeptOrTouched) {
  auto view = std::make_shared<zu::UIImageView>(shown);
  const std::weak_ptr<zu::UIImageView> weakView = view;
  const auto slow = url("/slow?delay=1");
  zu_setImageWithURL(view, slow);
  // The pending download holds the view weakly: dropping the last reference destroys it now.
  view.reset();
  EXPECT_TRUE(weakView.expired());
  ASSERT_TRUE(zukit::test::waitUntil([&] {
    return ZuImageDiskCache::cache()->containsImageDataForKey(Value(slow->absoluteString()));
  }));
  drainMainQueue();

  // Likewise for an image that does decode, with the view gone while the transfer runs.
  auto second = std::make_shared<zu::UIImageView>();
  const std::weak_ptr<zu::UIImageView> weakSecond = second;
  const auto target = url("/image/gif");
  zu_setImageWithURL(second, target);
  second.reset();
  ASSERT_TRUE(zukit::test::waitUntil([&] {
    return ZuImageDiskCache::cache()->containsImageDataForKey(Value(target->absoluteString()));
  }));
  drainMainQueue();
  EXPECT_TRUE(weakSecond.expired());
}

}  // namespace
