// The timer's tick beside a bare dispatch timer source, both on the manual clock; and one mail
// composed and sent through the composer to a loopback SMTP server beside libcurl sending the
// same MIME message directly.

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include "apps/loopback/EmbeddedSmtpServer.h"
#include "bench/BenchSupport.h"
#include "zukit/core/ZuTimer.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/dispatch/ManualClock.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/mail/MFMailComposeViewController.h"
#include "zukit/platform/ui/MailComposeDelegate.h"

namespace {

using namespace std::chrono_literals;

// --- Ticks ---

// A timer target that counts its actions.
class BenchTickTarget : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(BenchTickTarget, zu::Object, &addMethods)
  std::uint64_t ticks = 0;

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, zu::sel_registerName("tick:"), zu::imp(&tick));
  }
  static void tick(zu::Object* self, zu::SEL /*selector*/, const zu::Value& /*timer*/) {
    ++static_cast<BenchTickTarget*>(self)->ticks;
  }
};

// One tick per iteration: the manual clock moves one interval, the source fires, its handler
// runs on the main queue and sends the action through the runtime.
void BM_ZuTimerTick(benchmark::State& state) {
  const zu::ManualClock clock;
  const auto target = std::make_shared<BenchTickTarget>();
  const auto timer =
      ZuTimer::timerWithTimeInterval(0.001, target, zu::sel_registerName("tick:"), true);
  for (auto _ : state)
    clock.advance(1ms);
  timer->invalidate();
  if (target->ticks != static_cast<std::uint64_t>(state.iterations())) {
    state.SkipWithError("a tick was lost or doubled");
  }
}
BENCHMARK(BM_ZuTimerTick)->Repetitions(5)->ReportAggregatesOnly(true);

// The same on a bare dispatch timer source whose handler counts.
void BM_DispatchSourceTick(benchmark::State& state) {
  const zu::ManualClock clock;
  std::uint64_t ticks = 0;
  const auto source = zu::dispatch_source_create(zu::DISPATCH_SOURCE_TYPE_TIMER, 0, 0,
                                                 zu::dispatch_get_main_queue());
  zu::dispatch_source_set_timer(source, zu::dispatch_time(zu::DISPATCH_TIME_NOW, 1000000), 1000000,
                                0);
  zu::dispatch_source_set_event_handler(source, [&ticks] { ++ticks; });
  zu::dispatch_resume(source);
  for (auto _ : state)
    clock.advance(1ms);
  zu::dispatch_source_cancel(source);
  if (ticks != static_cast<std::uint64_t>(state.iterations())) {
    state.SkipWithError("a tick was lost or doubled");
  }
}
BENCHMARK(BM_DispatchSourceTick)->Repetitions(5)->ReportAggregatesOnly(true);

// --- Mail ---

constexpr const char* kSender = "bench@zukit.example";
constexpr const char* kRecipient = "reader@zukit.example";
constexpr const char* kSubject = "ZuKit bench report";
constexpr const char* kBody = "请查收附件";

// The two attachments of every mail: 16 KiB and 64 KiB of varied bytes.
const std::string& attachment(int index) {
  static const std::string small = [] {
    std::string bytes(16UL * 1024, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
      bytes[i] = static_cast<char>(i * 31 + 7);
    return bytes;
  }();
  static const std::string large = [] {
    std::string bytes(64UL * 1024, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
      bytes[i] = static_cast<char>(i * 131 + 3);
    return bytes;
  }();
  return index == 0 ? small : large;
}

zukit::loopback::EmbeddedSmtpServer& smtpServer() {
  static zukit::loopback::EmbeddedSmtpServer server;
  return server;
}

// The composer's delegate: counts the composers that ended as sent.
class BenchMailDelegate : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(BenchMailDelegate, zu::Object, &addMethods)
  std::uint64_t sent = 0;
  std::uint64_t failed = 0;

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, zu::mailComposeControllerDidFinishSelector(), zu::imp(&didFinish));
  }
  static void didFinish(zu::Object* self, zu::SEL /*selector*/, const zu::Value& /*controller*/,
                        zu::NSInteger result, const zu::Value& /*error*/) {
    auto* delegate = static_cast<BenchMailDelegate*>(self);
    (result == zu::MFMailComposeResultSent ? delegate->sent : delegate->failed) += 1;
  }
};

// One mail per iteration: composed, sent by the tap on "Send" (SMTP on a worker thread), and
// its result reported to the delegate on the main queue.
void BM_ComposerSendMail(benchmark::State& state) {
  auto& server = smtpServer();
  setenv("ZUKIT_SMTP_URL", server.url().c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
  setenv("ZUKIT_MAIL_FROM", kSender, 1);              // NOLINT(concurrency-mt-unsafe)
  const auto delegate = std::make_shared<BenchMailDelegate>();
  const std::size_t before = server.messageCount();
  std::uint64_t ended = 0;
  for (auto _ : state) {
    const auto composer = std::make_shared<zu::MFMailComposeViewController>();
    composer->setMailComposeDelegate(delegate);
    composer->setToRecipients(zu::Array{kRecipient});
    composer->setSubject(kSubject);
    composer->setMessageBody(kBody, false);
    for (int i = 0; i < 2; ++i) {
      const std::string& bytes = attachment(i);
      composer->addAttachmentData(zu::Data(bytes.begin(), bytes.end()), "",
                                  i == 0 ? "report.csv" : "chart.png");
    }
    composer->send();
    ++ended;
    zu::RunLoop::main().runUntil([&] { return delegate->sent + delegate->failed == ended; }, 30s);
  }
  server.clear();
  if (delegate->failed > 0 || server.messageCount() - before != ended) {
    state.SkipWithError("a mail was not delivered");
  }
}
// The work runs on other threads and in the server: measured in real time. Loopback round trips
// on a shared machine are noisy: five repetitions each, compared by medians.
BENCHMARK(BM_ComposerSendMail)
    ->Unit(benchmark::kMicrosecond)
    ->MinTime(0.5)
    ->UseRealTime()
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

// The same message built with libcurl's MIME API and sent with libcurl on the calling thread.
void BM_RawCurlSendMail(benchmark::State& state) {
  auto& server = smtpServer();
  const std::string url = server.url();
  const std::size_t before = server.messageCount();
  std::uint64_t failures = 0;
  for (auto _ : state) {
    CURL* easy = curl_easy_init();
    curl_mime* mime = curl_mime_init(easy);
    curl_mimepart* text = curl_mime_addpart(mime);
    curl_mime_data(text, kBody, CURL_ZERO_TERMINATED);
    curl_mime_type(text, "text/plain; charset=utf-8");
    curl_mime_encoder(text, "quoted-printable");
    for (int i = 0; i < 2; ++i) {
      const std::string& bytes = attachment(i);
      curl_mimepart* part = curl_mime_addpart(mime);
      curl_mime_data(part, bytes.data(), bytes.size());
      curl_mime_type(part, "application/octet-stream");
      curl_mime_encoder(part, "base64");
      curl_mime_filename(part, i == 0 ? "report.csv" : "chart.png");
    }
    curl_slist* headers = nullptr;
    headers = curl_slist_append(headers, "From: bench@zukit.example");
    headers = curl_slist_append(headers, "To: reader@zukit.example");
    headers = curl_slist_append(headers, "Subject: ZuKit bench report");
    curl_slist* recipients = curl_slist_append(nullptr, "<reader@zukit.example>");
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_MAIL_FROM, "<bench@zukit.example>");
    curl_easy_setopt(easy, CURLOPT_MAIL_RCPT, recipients);
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(easy, CURLOPT_MIMEPOST, mime);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    failures += curl_easy_perform(easy) == CURLE_OK ? 0 : 1;
    curl_easy_cleanup(easy);
    curl_mime_free(mime);
    curl_slist_free_all(headers);
    curl_slist_free_all(recipients);
  }
  server.clear();
  if (failures > 0 ||
      server.messageCount() - before != static_cast<std::uint64_t>(state.iterations())) {
    state.SkipWithError("a mail was not delivered");
  }
}
BENCHMARK(BM_RawCurlSendMail)
    ->Unit(benchmark::kMicrosecond)
    ->MinTime(0.5)
    ->UseRealTime()
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

using zukit::bench::RatioRegistration;
const RatioRegistration kTick("BM_ZuTimerTick/repeats:5", "BM_DispatchSourceTick/repeats:5");
const RatioRegistration kMail("BM_ComposerSendMail/min_time:0.500/repeats:5/real_time",
                              "BM_RawCurlSendMail/min_time:0.500/repeats:5/real_time");

}  // namespace
