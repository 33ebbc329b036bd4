#pragma once

#include <memory>
#include <optional>
#include <string>

#include "zukit/platform/network/NSHTTPURLResponse.h"
#include "zukit/platform/network/NSURLSession.h"

namespace zukit::test {

// What the completion handler of one task was given, and where it ran.
struct TaskResult {
  // How often the handler ran (0 when the wait timed out).
  int calls = 0;
  std::optional<zu::Data> data;
  // For download tasks: the file's URL and its bytes as read inside the handler.
  std::shared_ptr<zu::NSURL> location;
  std::optional<zu::Data> fileContents;
  std::shared_ptr<zu::NSURLResponse> response;
  std::shared_ptr<zu::NSError> error;
  bool onMainThread = false;
  std::string queueLabel;

  // The body as text ("" without one).
  std::string text() const;
  // The response as an HTTP response, or none.
  std::shared_ptr<zu::NSHTTPURLResponse> http() const;
};

// Runs a data task for `request` and waits (up to 20 seconds) for its completion.
TaskResult runDataTask(const std::shared_ptr<zu::NSURLSession>& session,
                       const std::shared_ptr<zu::NSURLRequest>& request);
// Runs a data task for a GET of `url` text.
TaskResult fetch(const std::shared_ptr<zu::NSURLSession>& session, const std::string& url);
// Runs a download task for `request` and waits for it; the file is read inside the handler.
TaskResult runDownloadTask(const std::shared_ptr<zu::NSURLSession>& session,
                           const std::shared_ptr<zu::NSURLRequest>& request);

// A session of its own for one test: default settings with a private URL cache.
std::shared_ptr<zu::NSURLSession> makeTestSession();

}  // namespace zukit::test
