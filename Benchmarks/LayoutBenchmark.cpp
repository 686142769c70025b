#include <benchmark/benchmark.h>

#include "Campaign/Popup/Model/KLPopupModel.h"
#include "Foundation/KLJSON.h"
#include "Platform/Headless/KLHeadlessPresentation.h"
#include "PopupText.h"

// A popup of 200 elements, from its text to its frames, where measuring a text costs nothing.

namespace kaleo::bench {
namespace {

class NoMeasuring final : public KLTextMeasurer {
 public:
  KLSize measure(const KLAttributedText&, double width) const override { return {width, 20}; }
};

void parseJSON(benchmark::State& state) {
  const std::string text = popupOf200Elements();
  for (auto _ : state) benchmark::DoNotOptimize(KLJSON::parse(text));
}

void parseAndLayOut(benchmark::State& state) {
  const std::string text = popupOf200Elements();
  const KLHeadlessScreen screen;
  const NoMeasuring measurer;
  const KLHostRegistry registry;
  const KLLog log(registry);
  for (auto _ : state) {
    const KLPopupModel popup(*KLJSON::parse(text), {screen, log, {}});
    popup.element->layoutWithContainerWidth(KLShorterSide(screen), measurer);
    benchmark::DoNotOptimize(popup.element->frame());
  }
}

}  // namespace

BENCHMARK(parseJSON)->Name("layout/json")->Unit(benchmark::kMicrosecond);
BENCHMARK(parseAndLayOut)->Name("layout/unmeasured")->Unit(benchmark::kMicrosecond);

}  // namespace kaleo::bench
