#pragma once

// Internal to libzukit (not installed, not exported): the libcurl engine behind NSURLSession.

// The transfer machinery behind NSURLSession: one thread per session driving a libcurl multi
// handle, whose connection cache is the session's connection pool. Internal to the network
// platform; NSURLSession and its tasks are the public face.

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include <curl/curl.h>

#include "zukit/platform/dispatch/DispatchQueue.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/network/NSURLSessionConfiguration.h"
#include "zukit/platform/network/NSURLSessionTask.h"
#include "zukit/platform/network/SessionDeliveryExecutor.h"

namespace zu {

class NSCachedURLResponse;

class URLSessionEngine final : public std::enable_shared_from_this<URLSessionEngine> {
 public:
  // An engine with its own copy of `configuration`; its transfer thread runs until the engine
  // is invalidated and idle, and also runs the blocks of the delegate queue meanwhile.
  static std::shared_ptr<URLSessionEngine> create(
      const std::shared_ptr<NSURLSessionConfiguration>& configuration);
  ~URLSessionEngine();
  URLSessionEngine(const URLSessionEngine&) = delete;
  URLSessionEngine& operator=(const URLSessionEngine&) = delete;

  // The queue that completion handlers run on.
  const dispatch_queue_t& delegateQueue() const { return _delegateQueue; }
  // The engine's configuration (never changed after creation).
  const NSURLSessionConfiguration& configuration() const { return *_configuration; }
  // A new task identifier.
  NSUInteger nextTaskIdentifier() { return _nextIdentifier++; }
  // Hands a resumed task to the transfer thread; false once the engine was invalidated.
  bool start(std::shared_ptr<NSURLSessionTask> task);
  // Asks the transfer thread to cancel the transfer of the task with `identifier`, if it is
  // still running. (Identifiers, unlike addresses, are never reused within a session.)
  void cancel(NSUInteger identifier);
  // Takes no new tasks; running ones finish (or, with `cancelRunning`, are cancelled), then
  // the transfer thread ends.
  void invalidate(bool cancelRunning);
  // Queues a job of the delegate queue for the transfer thread (SessionDeliveryExecutor only).
  void postDeliveryJob(std::function<void()> job);

  // Made by create() only.
  class Passkey {
    friend class URLSessionEngine;
    Passkey() = default;
  };
  URLSessionEngine(Passkey /*unused*/, std::shared_ptr<NSURLSessionConfiguration> configuration);

 private:
  struct Transfer;
  using Clock = std::chrono::steady_clock;

  void run();
  bool hasWorkLocked() const ZU_REQUIRES(_mutex);
  void begin(const std::shared_ptr<NSURLSessionTask>& task);
  void deliverCached(const std::shared_ptr<NSURLSessionTask>& task,
                     const NSCachedURLResponse& cached);
  bool configure(Transfer& transfer);
  void completed(CURL* easy, CURLcode result);
  void finish(CURL* easy, URLSessionTaskOutcome outcome);
  void cancelTransfer(NSUInteger identifier);
  void expireIdleTransfers();
  int pollTimeoutMilliseconds();

  const std::shared_ptr<NSURLSessionConfiguration> _configuration;
  const std::shared_ptr<SessionDeliveryExecutor> _deliveryExecutor;
  const dispatch_queue_t _delegateQueue;
  CURLM* const _multi;
  std::atomic<NSUInteger> _nextIdentifier{1};

  Mutex _mutex;
  std::deque<std::shared_ptr<NSURLSessionTask>> _incoming ZU_GUARDED_BY(_mutex);
  std::vector<NSUInteger> _cancellations ZU_GUARDED_BY(_mutex);
  std::vector<std::function<void()>> _deliveryJobs ZU_GUARDED_BY(_mutex);
  bool _invalidated ZU_GUARDED_BY(_mutex) = false;
  bool _cancelAll ZU_GUARDED_BY(_mutex) = false;
  // True while the transfer thread waits in curl_multi_poll(): only then does new work need
  // to wake it.
  bool _sleeping ZU_GUARDED_BY(_mutex) = false;

  // Touched by the transfer thread only.
  std::unordered_map<CURL*, std::unique_ptr<Transfer>> _active;
  // Finished easy handles, reset and kept for the next transfers: a reused handle keeps its
  // buffers, which saves most of the cost of setting up a transfer.
  std::vector<CURL*> _spareHandles;
};

}  // namespace zu
