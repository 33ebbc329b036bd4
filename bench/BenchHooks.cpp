// Hooked calls beside the same call unhooked through the runtime and a direct virtual call.

#include <cstdint>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/BenchSupport.h"
#include "zukit/hooks/ZuHookPoints.h"
#include "zukit/hooks/ZuSwizzler.h"
#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/runtime/NSNumber.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace {

// What every variant does: count the calls and the animated ones.
class BenchScreenBase : public zu::Object {
 public:
  virtual void viewDidAppear(bool animated) {
    ++calls;
    animatedCalls += animated ? 1 : 0;
  }
  std::uint64_t calls = 0;
  std::uint64_t animatedCalls = 0;
};

void screenDidAppear(zu::Object* self, zu::SEL /*selector*/, bool animated) {
  auto* screen = static_cast<BenchScreenBase*>(self);
  ++screen->calls;
  screen->animatedCalls += animated ? 1 : 0;
}

void addDidAppear(zu::Class* cls) {
  zu::class_addMethod(cls, zu::sel_registerName("viewDidAppear:"), zu::imp(&screenDidAppear));
}

class BenchPlainScreen : public BenchScreenBase {
 public:
  ZU_RUNTIME_CLASS(BenchPlainScreen, zu::Object, &addDidAppear)
};

class BenchHookedScreen : public BenchScreenBase {
 public:
  ZU_RUNTIME_CLASS(BenchHookedScreen, zu::Object, &addDidAppear)
};

std::uint64_t callbackRuns = 0;

// What every callback does: count its runs.
std::shared_ptr<ZuBlock> countingCallback() {
  return ZuBlock::make<ZuViewAppearanceBlock>([](zu::Object*, zu::SEL, const zu::Value& animated) {
    benchmark::DoNotOptimize(&animated);
    ++callbackRuns;
  });
}

// Hooks the screen's "viewDidAppear:" and leaves exactly `count` callbacks on its record.
void hookWithCallbacks(int count) {
  const zu::SEL selector = zu::sel_registerName("viewDidAppear:");
  for (int i = 0; i < 4; ++i) {
    const std::string name = "callback" + std::to_string(i);
    // The first install replaces the method; with no callback wanted it is removed again.
    if (i < count || UIViewControllerViewDidAppearSwizzle.get() == nullptr) {
      ZuSwizzler::swizzleSelector(selector, BenchHookedScreen::staticClass(), countingCallback(),
                                  name);
    }
    if (i >= count) ZuSwizzler::unswizzleSelector(selector, nullptr, name);
  }
}

void BM_HookedSend(benchmark::State& state) {
  hookWithCallbacks(static_cast<int>(state.range(0)));
  const auto screen = std::make_shared<BenchHookedScreen>();
  const zu::SEL selector = zu::sel_registerName("viewDidAppear:");
  for (auto _ : state) {
    zu::objc_msgSend<void, bool>(screen, selector, true);
  }
  if (screen->calls != static_cast<std::uint64_t>(state.iterations()) ||
      zu::class_getMethodImplementation(BenchHookedScreen::staticClass(), selector) !=
          zuGetSwizzleIMPBySELName("viewDidAppear:")) {
    state.SkipWithError("the call was not hooked, or its own implementation did not run");
  }
}
// Nanosecond calls are noisy on a shared machine: five repetitions each, compared by medians.
BENCHMARK(BM_HookedSend)->Arg(0)->Arg(1)->Arg(4)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_RuntimeSend(benchmark::State& state) {
  const auto screen = std::make_shared<BenchPlainScreen>();
  const zu::SEL selector = zu::sel_registerName("viewDidAppear:");
  for (auto _ : state) {
    zu::objc_msgSend<void, bool>(screen, selector, true);
  }
  benchmark::DoNotOptimize(screen->calls);
}
BENCHMARK(BM_RuntimeSend)->Repetitions(5)->ReportAggregatesOnly(true);

// The raw work a hooked send wraps: the same unhooked runtime send, then the same callbacks
// called directly, as a host would call them by hand.
void BM_SendThenCallbacks(benchmark::State& state) {
  std::vector<std::shared_ptr<ZuBlock>> callbacks;
  callbacks.reserve(static_cast<std::size_t>(state.range(0)));
  for (int i = 0; i < state.range(0); ++i)
    callbacks.push_back(countingCallback());
  const auto screen = std::make_shared<BenchPlainScreen>();
  const zu::SEL selector = zu::sel_registerName("viewDidAppear:");
  const zu::Value& boxed = zu::NSNumber::boxedBool(true);
  for (auto _ : state) {
    zu::objc_msgSend<void, bool>(screen, selector, true);
    for (const auto& callback : callbacks)
      callback->invoke<ZuViewAppearanceBlock>(screen.get(), selector, boxed);
  }
  benchmark::DoNotOptimize(screen->calls);
}
BENCHMARK(BM_SendThenCallbacks)->Arg(0)->Arg(1)->Arg(4)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_VirtualCall(benchmark::State& state) {
  const auto screen = std::make_shared<BenchPlainScreen>();
  BenchScreenBase* base = screen.get();
  for (auto _ : state) {
    // Hidden from the optimiser, so that the call stays a real virtual call.
    benchmark::DoNotOptimize(base);
    base->viewDidAppear(true);
  }
  benchmark::DoNotOptimize(screen->calls);
}
BENCHMARK(BM_VirtualCall)->Repetitions(5)->ReportAggregatesOnly(true);

using zukit::bench::RatioRegistration;
const RatioRegistration kHooked0("BM_HookedSend/0/repeats:5", "BM_RuntimeSend/repeats:5", 3.0);
const RatioRegistration kHooked1("BM_HookedSend/1/repeats:5", "BM_RuntimeSend/repeats:5", 3.0);
const RatioRegistration kHooked4("BM_HookedSend/4/repeats:5", "BM_RuntimeSend/repeats:5", 3.0);
// What the hook machinery adds to the work it wraps.
const RatioRegistration kMachinery0("BM_HookedSend/0/repeats:5",
                                    "BM_SendThenCallbacks/0/repeats:5");
const RatioRegistration kMachinery4("BM_HookedSend/4/repeats:5",
                                    "BM_SendThenCallbacks/4/repeats:5");
const RatioRegistration kSend("BM_RuntimeSend/repeats:5", "BM_VirtualCall/repeats:5", 3.0);

}  // namespace
