#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <QGuiApplication>

#include "Campaign/Popup/Model/KLPopupModel.h"
#include "Foundation/KLJSON.h"
#include "Platform/Headless/KLHeadlessPresentation.h"
#include "Platform/Qt/KLQtTextMeasurer.h"
#include "PopupText.h"

// Texts measured in a font, alone and in the layout of a popup. Built with Qt only.

namespace kaleo::bench {
namespace {

constexpr double kFontSize = 14;
constexpr double kWidth = 263;

/// The application that fonts need, made at the first use, without a screen.
KLQtSystemFont systemFont() {
  static int count = 1;
  static char name[] = "kaleo_bench";
  static char* arguments[] = {name, nullptr};
  static const bool offscreen = qputenv("QT_QPA_PLATFORM", "offscreen");
  static const QGuiApplication application(count, arguments);
  benchmark::DoNotOptimize(offscreen);
  return {};
}

KLAttributedText styled(int number) { return {textOf200Characters(number), kFontSize, std::nullopt, 1, kFontSize / 5}; }

void measureFirst(benchmark::State& state) {
  const KLQtTextMeasurer measurer(systemFont());
  KLAttributedText text = styled(0);
  int number = 0;
  for (auto _ : state) {
    fmt::format_to_n(text.text.data(), 8, "{:08}", ++number);
    benchmark::DoNotOptimize(measurer.measure(text, kWidth));
  }
}

void measureAgain(benchmark::State& state) {
  const KLQtTextMeasurer measurer(systemFont());
  const KLAttributedText text = styled(1);
  for (auto _ : state) benchmark::DoNotOptimize(measurer.measure(text, kWidth));
}

void parseAndLayOut(benchmark::State& state, bool again) {
  const std::string text = popupOf200Elements();
  const KLHeadlessScreen screen;
  const KLHostRegistry registry;
  const KLLog log(registry);
  const KLQtSystemFont font = systemFont();
  auto measurer = std::make_unique<KLQtTextMeasurer>(font);
  for (auto _ : state) {
    if (!again) measurer = std::make_unique<KLQtTextMeasurer>(font);
    const KLPopupModel popup(*KLJSON::parse(text), {screen, log, {}});
    popup.element->layoutWithContainerWidth(KLShorterSide(screen), *measurer);
    benchmark::DoNotOptimize(popup.element->frame());
  }
}

}  // namespace

BENCHMARK(measureFirst)->Name("text/first")->Unit(benchmark::kMicrosecond);
BENCHMARK(measureAgain)->Name("text/again");
BENCHMARK_CAPTURE(parseAndLayOut, first, false)->Name("layout/measured")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(parseAndLayOut, again, true)->Name("layout/measured_before")->Unit(benchmark::kMicrosecond);

}  // namespace kaleo::bench
