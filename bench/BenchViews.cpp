// The view system beside the same work done directly: a 100-view window drawn (and encoded as
// PNG) through the view tree and the same cairo drawing made by hand; a hit test through a
// 10-deep tree by the runtime's hitTest:withEvent: and pointInside:withEvent: sends, and the same
// geometry computed in a plain loop.

#include <cairo.h>

#include <array>
#include <cstdint>
#include <memory>
#include <numbers>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/BenchSupport.h"
#include "zukit/platform/ui/UIEvent.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/ViewRenderer.h"

namespace {

constexpr int kColumns = 10;
constexpr int kRows = 10;
constexpr double kWidth = 390;
constexpr double kHeight = 844;
constexpr double kCellWidth = kWidth / kColumns;
constexpr double kCellHeight = kHeight / kRows;
constexpr double kInset = 3;
constexpr double kRadius = 6;
constexpr int kDepth = 10;
constexpr double kStep = 5;

// The colour of cell `index`: a spread of hues.
zu::CGColorRef cellColor(int index) {
  const double t = static_cast<double>(index) / (kColumns * kRows);
  return zu::CGColorRef{0.2 + 0.8 * t, 0.9 - 0.7 * t, 0.5, 1};
}

zu::CGRect cellFrame(int index) {
  const int column = index % kColumns;
  const int row = index / kColumns;
  return zu::CGRectMake(column * kCellWidth + kInset, row * kCellHeight + kInset,
                        kCellWidth - 2 * kInset, kCellHeight - 2 * kInset);
}

std::shared_ptr<zu::UIWindow> hundredViewWindow() {
  auto window = std::make_shared<zu::UIWindow>(zu::CGRectMake(0, 0, kWidth, kHeight));
  window->setBackgroundColor(zu::UIColor::whiteColor());
  for (int index = 0; index < kColumns * kRows; ++index) {
    auto cell = std::make_shared<zu::UIView>(cellFrame(index));
    cell->setBackgroundColor(zu::UIColor::colorWithCGColor(cellColor(index)));
    cell->layer()->setCornerRadius(kRadius);
    window->addSubview(cell);
  }
  return window;
}

void BM_ViewTreeRender(benchmark::State& state) {
  const auto window = hundredViewWindow();
  for (auto _ : state) {
    std::optional<zu::Bitmap> bitmap = zu::ViewRenderer::render(*window);
    benchmark::DoNotOptimize(bitmap);
  }
}
BENCHMARK(BM_ViewTreeRender)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

void BM_ViewTreePNG(benchmark::State& state) {
  const auto window = hundredViewWindow();
  std::size_t bytes = 0;
  for (auto _ : state) {
    const std::optional<zu::Data> png = zu::ViewRenderer::pngData(*window);
    bytes = png ? png->size() : 0;
    benchmark::DoNotOptimize(bytes);
  }
  if (bytes == 0) state.SkipWithError("no PNG was made");
}
BENCHMARK(BM_ViewTreePNG)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

// The same picture drawn with cairo directly: a white background and 100 rounded rectangles.
void drawDirectly(cairo_t* cairo) {
  cairo_set_source_rgba(cairo, 1, 1, 1, 1);
  cairo_rectangle(cairo, 0, 0, kWidth, kHeight);
  cairo_fill(cairo);
  for (int index = 0; index < kColumns * kRows; ++index) {
    const zu::CGRect r = cellFrame(index);
    const double right = r.origin.x + r.size.width;
    const double bottom = r.origin.y + r.size.height;
    cairo_new_sub_path(cairo);
    cairo_arc(cairo, right - kRadius, r.origin.y + kRadius, kRadius, -std::numbers::pi / 2, 0);
    cairo_arc(cairo, right - kRadius, bottom - kRadius, kRadius, 0, std::numbers::pi / 2);
    cairo_arc(cairo, r.origin.x + kRadius, bottom - kRadius, kRadius, std::numbers::pi / 2,
              std::numbers::pi);
    cairo_arc(cairo, r.origin.x + kRadius, r.origin.y + kRadius, kRadius, std::numbers::pi,
              3 * std::numbers::pi / 2);
    cairo_close_path(cairo);
    const zu::CGColorRef color = cellColor(index);
    cairo_set_source_rgba(cairo, color.red, color.green, color.blue, color.alpha);
    cairo_fill(cairo);
  }
}

cairo_status_t appendPng(void* closure, const unsigned char* data, unsigned int length) {
  auto* out = static_cast<std::vector<unsigned char>*>(closure);
  out->insert(out->end(), data, data + length);
  return CAIRO_STATUS_SUCCESS;
}

void BM_DirectCairoRender(benchmark::State& state) {
  for (auto _ : state) {
    cairo_surface_t* surface = cairo_image_surface_create(
        CAIRO_FORMAT_ARGB32, static_cast<int>(kWidth), static_cast<int>(kHeight));
    cairo_t* cairo = cairo_create(surface);
    drawDirectly(cairo);
    cairo_destroy(cairo);
    cairo_surface_flush(surface);
    benchmark::DoNotOptimize(cairo_image_surface_get_data(surface));
    cairo_surface_destroy(surface);
  }
}
BENCHMARK(BM_DirectCairoRender)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

void BM_DirectCairoPNG(benchmark::State& state) {
  std::vector<unsigned char> png;
  for (auto _ : state) {
    png.clear();
    cairo_surface_t* surface = cairo_image_surface_create(
        CAIRO_FORMAT_ARGB32, static_cast<int>(kWidth), static_cast<int>(kHeight));
    cairo_t* cairo = cairo_create(surface);
    drawDirectly(cairo);
    cairo_destroy(cairo);
    cairo_surface_write_to_png_stream(surface, &appendPng, &png);
    cairo_surface_destroy(surface);
    benchmark::DoNotOptimize(png.data());
  }
  if (png.empty()) state.SkipWithError("no PNG was made");
}
BENCHMARK(BM_DirectCairoPNG)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

// --- A hit test through ten nested views ---

// Ten views, each inset by kStep inside the one before, under a window.
struct DeepTree {
  std::shared_ptr<zu::UIWindow> window;
  std::shared_ptr<zu::UIView> deepest;
};

DeepTree deepTree() {
  DeepTree tree{std::make_shared<zu::UIWindow>(zu::CGRectMake(0, 0, kWidth, kHeight)), nullptr};
  tree.window->setHidden(false);
  std::shared_ptr<zu::UIView> parent = tree.window;
  double size = 300;
  for (int level = 0; level < kDepth; ++level) {
    auto view = std::make_shared<zu::UIView>(zu::CGRectMake(kStep, kStep, size, size));
    parent->addSubview(view);
    parent = view;
    size -= 2 * kStep;
  }
  tree.deepest = parent;
  return tree;
}

// The point to test: inside the deepest view.
constexpr zu::CGPoint kProbe{kStep * kDepth + 10, kStep* kDepth + 10};

void BM_HitTestThroughRuntime(benchmark::State& state) {
  const DeepTree tree = deepTree();
  std::shared_ptr<zu::UIView> hit;
  for (auto _ : state) {
    hit = zu::objc_msgSend<std::shared_ptr<zu::UIView>, zu::CGPoint,
                           const std::shared_ptr<zu::UIEvent>&>(tree.window, zu::hitTestSelector(),
                                                                kProbe, nullptr);
    benchmark::DoNotOptimize(hit);
  }
  if (hit != tree.deepest) state.SkipWithError("the hit test missed the deepest view");
}
BENCHMARK(BM_HitTestThroughRuntime)->Repetitions(5)->ReportAggregatesOnly(true);

// The same geometry by hand: at each level, move the point into the child's coordinates and
// test it against the child's bounds; the deepest level that contains it wins.
struct PlainView {
  zu::CGRect frame;
  bool hidden = false;
  bool interactive = true;
  double alpha = 1;
};

void BM_HitTestDirect(benchmark::State& state) {
  std::array<PlainView, kDepth> levels{};
  double size = 300;
  for (PlainView& level : levels) {
    level.frame = zu::CGRectMake(kStep, kStep, size, size);
    size -= 2 * kStep;
  }
  int found = -1;
  for (auto _ : state) {
    zu::CGPoint point = kProbe;
    benchmark::DoNotOptimize(point);
    found = -1;
    for (int index = 0; index < kDepth; ++index) {
      const PlainView& level = levels[static_cast<std::size_t>(index)];
      if (level.hidden || !level.interactive || level.alpha < 0.01) break;
      point = zu::CGPointMake(point.x - level.frame.origin.x, point.y - level.frame.origin.y);
      if (!zu::CGRectContainsPoint(
              zu::CGRectMake(0, 0, level.frame.size.width, level.frame.size.height), point)) {
        break;
      }
      found = index;
    }
    benchmark::DoNotOptimize(found);
  }
  if (found != kDepth - 1) state.SkipWithError("the direct test missed the deepest level");
}
BENCHMARK(BM_HitTestDirect)->Repetitions(5)->ReportAggregatesOnly(true);

using zukit::bench::RatioRegistration;
// Drawings take milliseconds on a shared machine: five repetitions each, compared by medians.
const RatioRegistration kRender("BM_ViewTreeRender/repeats:5", "BM_DirectCairoRender/repeats:5");
const RatioRegistration kPng("BM_ViewTreePNG/repeats:5", "BM_DirectCairoPNG/repeats:5");
const RatioRegistration kHitTest("BM_HitTestThroughRuntime/repeats:5",
                                 "BM_HitTestDirect/repeats:5");

}  // namespace
