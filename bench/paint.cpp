// Drawing a medium watchlist widget's worth of commands, and measuring text.
#include "render/Painter.h"
#include "render/PangoTextMeasurer.h"
#include "style/Palette.h"

#include <benchmark/benchmark.h>

#include <array>
#include <string>

using namespace ui;
using namespace timeline;
using namespace layout;
using namespace render;

namespace {

// About what layout produces for the medium watchlist: background, header with symbol and age,
// four rounded cells each with ticker, badge, price and change, and a footer symbol.
DrawList mediumWidget() {
    const TextMeasurer& measurer = pangoTextMeasurer();
    DrawList list{{364, 170}, {}};
    auto& c = list.commands;
    auto text = [&](double x, double y, const std::string& s, const TextStyle& style) {
        const TextMetrics m = measurer.measure(s, style, std::nullopt);
        c.push_back(DrawText{{x, y, m.size.width, m.size.height}, s, style});
        return m.size;
    };
    c.push_back(
        FillShape{{0, 0, 364, 170}, 0, RoundedCornerStyle::continuous, Palette::background});
    c.push_back(DrawSymbol{{16, 16, 11, 11},
                           "chart.line.uptrend.xyaxis",
                           Font::system(11, FontWeight::semibold),
                           Palette::accent});
    text(31, 13, "Watchlist", {Font::system(13, FontWeight::semibold), Palette::textPrimary});
    text(310, 15, "2m ago", {Font::system(10), Palette::textSecondary});

    const std::array<const char*, 4> tickers = {"NVDA", "AAPL", "MSFT", "TSLA"};
    const std::array<const char*, 4> signals = {"Strong Buy", "Buy", "Hold", "Sell"};
    const std::array<Color, 4> colors = {Palette::bullish, Palette::bullish, Palette::neutral,
                                         Palette::bearish};
    for (int i = 0; i < 4; ++i) {
        const Rect cell{16.0 + (i % 2) * 170, 38.0 + (i / 2) * 58, 162, 50};
        c.push_back(PushClip{cell, 8, RoundedCornerStyle::continuous});
        c.push_back(FillShape{cell, 0, RoundedCornerStyle::continuous, Palette::surface});
        text(cell.x + 8, cell.y + 6, tickers[i],
             {Font::system(12, FontWeight::bold, FontDesign::monospaced), Palette::textPrimary});
        const TextStyle badge{Font::system(9, FontWeight::semibold), colors[i]};
        const TextMetrics b = measurer.measure(signals[i], badge, std::nullopt);
        const Rect label{cell.maxX() - 8 - b.size.width - 10, cell.y + 6, b.size.width + 10,
                         b.size.height + 4};
        c.push_back(PushClip{label, 3, RoundedCornerStyle::continuous});
        c.push_back(FillShape{label, 0, RoundedCornerStyle::continuous, colors[i].opacity(0.18)});
        c.push_back(
            DrawText{{label.x + 5, label.y + 2, b.size.width, b.size.height}, signals[i], badge});
        c.push_back(PopClip{});
        text(cell.x + 8, cell.y + 28, "$1,234.56",
             {Font::system(11, FontWeight::medium, FontDesign::monospaced), Palette::textPrimary});
        text(cell.x + 100, cell.y + 28, "+2.31%",
             {Font::system(11, FontWeight::medium, FontDesign::monospaced), colors[i]});
        c.push_back(PopClip{});
    }
    c.push_back(DrawSymbol{{340, 150, 13, 13}, "star", Font::system(13), Palette::textSecondary});
    return list;
}

void BM_PaintMediumWidgetPng(benchmark::State& state) {
    const DrawList list = mediumWidget();
    std::size_t bytes = 0;
    for (auto _ : state) {
        const auto png = paintToBytes(list, ImageFormat::png, 2);
        bytes = png->size();
        benchmark::DoNotOptimize(bytes);
    }
    state.counters["commands"] = double(list.commands.size());
    state.counters["png_bytes"] = double(bytes);
}
BENCHMARK(BM_PaintMediumWidgetPng)->Unit(benchmark::kMicrosecond);

void BM_PaintMediumWidgetSvg(benchmark::State& state) {
    const DrawList list = mediumWidget();
    for (auto _ : state) benchmark::DoNotOptimize(paintToBytes(list, ImageFormat::svg, 2));
}
BENCHMARK(BM_PaintMediumWidgetSvg)->Unit(benchmark::kMicrosecond);

// Measuring repeats (layout asks for the same texts several times) and so mostly finds the
// thread's remembered result; the "Shaping" variants change the width a hair every time, so
// every call shapes the text afresh.
void BM_MeasureShortLabel(benchmark::State& state) {
    const TextStyle style{Font::system(9, FontWeight::semibold), Palette::bullish};
    for (auto _ : state)
        benchmark::DoNotOptimize(pangoTextMeasurer().measure("Strong Buy", style, std::nullopt));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_MeasureShortLabel)->Unit(benchmark::kMicrosecond)->Threads(1)->Threads(2);

void BM_MeasureShortLabelShaping(benchmark::State& state) {
    const TextStyle style{Font::system(9, FontWeight::semibold), Palette::bullish};
    double width = 200;
    for (auto _ : state) {
        width += 1.0 / 256;
        benchmark::DoNotOptimize(pangoTextMeasurer().measure("Strong Buy", style, width));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_MeasureShortLabelShaping)->Unit(benchmark::kMicrosecond)->Threads(1)->Threads(2);

const std::string tenWords =
    "Momentum stays constructive after the earnings beat with margins widening";

void BM_MeasureTenWordsWrapped(benchmark::State& state) {
    const TextStyle style{Font::system(11), Palette::textPrimary, 5};
    for (auto _ : state)
        benchmark::DoNotOptimize(pangoTextMeasurer().measure(tenWords, style, 120.0));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_MeasureTenWordsWrapped)->Unit(benchmark::kMicrosecond)->Threads(1)->Threads(2);

void BM_MeasureTenWordsWrappedShaping(benchmark::State& state) {
    const TextStyle style{Font::system(11), Palette::textPrimary, 5};
    double width = 120;
    for (auto _ : state) {
        width += 1.0 / 256;
        benchmark::DoNotOptimize(pangoTextMeasurer().measure(tenWords, style, width));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_MeasureTenWordsWrappedShaping)->Unit(benchmark::kMicrosecond)->Threads(1)->Threads(2);

}  // namespace

BENCHMARK_MAIN();
