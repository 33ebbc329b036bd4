#pragma once

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv
#include <strings.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/MainLoop.h"
#include "tests/support/StderrCapture.h"
#include "tests/support/TestHome.h"
#include "zukit/core/ZuLogger.h"
#include "zukit/network/ZuNetwork.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSJSONSerialization.h"
#include "zukit/platform/network/NSHTTPURLResponse.h"

namespace zukit::test {

// What the callbacks of one ZuNetwork request were given, and where they ran.
class RequestRecorder {
 public:
  struct Record {
    int successCalls = 0;
    int failureCalls = 0;
    std::shared_ptr<zu::NSURLResponse> response;
    zu::Data data;
    std::shared_ptr<zu::NSError> error;
    bool onMainThread = false;
    std::string queueLabel;

    int calls() const { return successCalls + failureCalls; }
    std::string text() const { return std::string(data.begin(), data.end()); }
    std::shared_ptr<zu::NSHTTPURLResponse> http() const {
      return std::dynamic_pointer_cast<zu::NSHTTPURLResponse>(response);
    }
  };

  // The success block that records into this recorder.
  ZuNetworkSuccessBlock success() {
    return
        [state = _state](const std::shared_ptr<zu::NSURLResponse>& response, const zu::Data& data) {
          const std::lock_guard<std::mutex> lock(state->mutex);
          ++state->record.successCalls;
          state->record.response = response;
          state->record.data = data;
          noteWhere(state->record);
        };
  }
  // The failure block that records into this recorder.
  ZuNetworkFailureBlock failure() {
    return [state = _state](const std::shared_ptr<zu::NSError>& error) {
      const std::lock_guard<std::mutex> lock(state->mutex);
      ++state->record.failureCalls;
      state->record.error = error;
      noteWhere(state->record);
    };
  }
  // Waits (up to 20 seconds) for a callback, then returns what was recorded.
  Record wait() const {
    waitUntil([this] { return snapshot().calls() > 0; });
    return snapshot();
  }
  // What was recorded so far.
  Record snapshot() const {
    const std::lock_guard<std::mutex> lock(_state->mutex);
    return _state->record;
  }

 private:
  struct State {
    std::mutex mutex;
    Record record;
  };
  static void noteWhere(Record& record) {
    record.onMainThread = zu::RunLoop::isMainThread();
    record.queueLabel = zu::dispatch_queue_get_label(zu::DISPATCH_CURRENT_QUEUE_LABEL);
  }

  std::shared_ptr<State> _state = std::make_shared<State>();
};

// Waits until every block queued on `queue` so far has run.
inline void drainQueue(const zu::dispatch_queue_t& queue) {
  zu::dispatch_sync(queue, [] {});
}

// This launch's log file, once everything logged before the call has been written.
inline std::string logText() {
  const std::string path = ZuLogger::getInstance()->logFilePath();
  drainQueue(zu_log_get_dispatch_serial_queue());
  return readFile(path);
}

// How often `text` occurs in `haystack`.
inline int occurrences(const std::string& haystack, const std::string& text) {
  int count = 0;
  for (std::size_t at = haystack.find(text); at != std::string::npos;
       at = haystack.find(text, at + text.size())) {
    ++count;
  }
  return count;
}

// The JSON object in `data` (what the echo route answers); empty when it is none.
inline zu::Dictionary echoOf(const zu::Data& data) {
  const zu::Value value = zu::NSJSONSerialization::JSONObjectWithData(data, 0);
  return value.isDictionary() ? *value.asDictionary() : zu::Dictionary();
}

// A text member of the echo, or "<missing>".
inline std::string echoText(const zu::Dictionary& echo, const std::string& key) {
  const zu::Value* value = echo.find(key);
  return value != nullptr && value->isString() ? *value->asString() : std::string("<missing>");
}

// A request header field as the echo route saw it, or "<missing>".
inline std::string echoHeader(const zu::Dictionary& echo, const std::string& name) {
  const zu::Value* headers = echo.find("headers");
  if (headers == nullptr || !headers->isDictionary()) return "<missing>";
  for (const auto& [field, value] : *headers->asDictionary()) {
    if (strcasecmp(field.c_str(), name.c_str()) == 0 && value.isString()) return *value.asString();
  }
  return "<missing>";
}

// Points TMPDIR at a fresh directory of the test home, where download tasks put their files.
// Call at the start of a test, before any session is made.
inline std::string usePrivateTemporaryDirectory() {
  std::string directory =
      TestHome::current() + "/tmp-" + testing::UnitTest::GetInstance()->current_test_info()->name();
  std::filesystem::create_directories(directory);
  setenv("TMPDIR", directory.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
  return directory;
}

// The names of the entries of `directory`.
inline std::vector<std::string> entriesOf(const std::string& directory) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
    names.push_back(entry.path().filename().string());
  }
  return names;
}

// The bytes of a fixture image ("sample.png").
inline zu::Data fixtureImage(const std::string& name) {
  const std::string text = readFile(std::string(ZUKIT_FIXTURES_DIR) + "/images/" + name);
  return {text.begin(), text.end()};
}

}  // namespace zukit::test
