// Laying out a medium watchlist widget: header, a two-column grid of four cells with badges,
// about forty nodes. Once with a measurer of fixed advances (layout's own cost), once with
// Pango (what a drawing costs).
#include "render/Layout.h"
#include "render/FrameDump.h"
#include "render/PangoTextMeasurer.h"
#include "style/Palette.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>

using namespace ui;
using namespace timeline;
using namespace render;

using namespace render;

namespace {

// Fixed advances, wrapping at spaces: enough to exercise wrapping without a font.
class SimpleMeasurer final : public TextMeasurer {
public:
    [[nodiscard]] TextMetrics measure(std::string_view text, const TextStyle& style,
                                      std::optional<double> width) const override {
        const double advance = 0.55 * style.font.size;
        const double lineHeight = 1.2 * style.font.size;
        double widest = 0, line = 0;
        int lines = 1;
        std::size_t start = 0;
        while (start <= text.size()) {
            const std::size_t end = std::min(text.find(' ', start), text.size());
            const double word = double(end - start) * advance;
            const double joined = line == 0 ? word : line + advance + word;
            if (width && line > 0 && joined > *width &&
                (!style.lineLimit || lines < *style.lineLimit)) {
                widest = std::max(widest, line);
                line = word;
                ++lines;
            } else {
                line = width ? std::min(joined, *width) : joined;
            }
            start = end + 1;
        }
        widest = std::max(widest, line);
        return {{widest, lines * lineHeight},
                0.9 * style.font.size,
                (lines - 1) * lineHeight + 0.9 * style.font.size};
    }
};

View badge(const std::string& signal, Color color) {
    return Text(Verbatim{signal})
        .font(Font::system(7, FontWeight::semibold))
        .padding(Edges::horizontal, 3)
        .padding(Edges::vertical, 1)
        .background(color.opacity(0.18))
        .foregroundColor(color)
        .clipShape(RoundedRectangle{2, RoundedCornerStyle::continuous});
}

View cell(const std::string& ticker, const std::string& price, const std::string& change,
          const std::string& signal, Color color) {
    const Font mono12 = Font::system(12, FontWeight::bold, FontDesign::monospaced);
    return HStack(
               {.spacing = 6},
               {VStack({.alignment = HorizontalAlignment::leading, .spacing = 1},
                       {Text(Verbatim{ticker}).font(mono12).foregroundColor(Palette::textPrimary),
                        Text(Verbatim{price})
                            .font(Font::system(9, FontWeight::regular, FontDesign::monospaced))
                            .foregroundColor(Palette::textSecondary)}),
                Spacer(),
                VStack({.alignment = HorizontalAlignment::trailing, .spacing = 1},
                       {Text(Verbatim{change})
                            .font(Font::system(10, FontWeight::semibold, FontDesign::monospaced))
                            .foregroundColor(color),
                        badge(signal, color)})})
        .padding(6)
        .background(Palette::surface)
        .clipShape(RoundedRectangle{6, RoundedCornerStyle::continuous});
}

View mediumWatchlist() {
    const View header = HStack(
        {},
        {Image(SystemName{"chart.line.uptrend.xyaxis"})
             .foregroundColor(Palette::accent)
             .font(Font::system(11, FontWeight::semibold)),
         Text("Watchlist")
             .font(Font::system(11, FontWeight::semibold))
             .foregroundColor(Palette::textPrimary),
         Spacer(),
         Text(Verbatim{"2m ago"}).font(Font::system(9)).foregroundColor(Palette::textSecondary)});
    const View grid =
        LazyVGrid({.columns = {GridItem::flexible(), GridItem::flexible()}, .spacing = 6},
                  {cell("NVDA", "$187.46", "+2.31%", "Strong Buy", Palette::bullish),
                   cell("AAPL", "$229.87", "+0.42%", "Buy", Palette::bullish),
                   cell("MSFT", "$415.10", "0.00%", "Hold", Palette::neutral),
                   cell("TSLA", "$251.02", "-3.18%", "Sell", Palette::bearish)});
    return VStack({.alignment = HorizontalAlignment::leading, .spacing = 8}, {header, grid})
        .widgetURL(platform::Url::parse("velmora://stock-universe-dashboard?tab=watchlist"))
        .containerBackground(Palette::background, ContainerBackgroundPlacement::widget);
}

const EnvironmentValues medium{.widgetFamily = WidgetFamily::systemMedium};

void BM_LayoutMediumWatchlist(benchmark::State& state) {
    const View tree = mediumWatchlist();
    const SimpleMeasurer measurer;
    for (auto _ : state) benchmark::DoNotOptimize(layoutWidget(tree, medium, measurer));
}
BENCHMARK(BM_LayoutMediumWatchlist)->Unit(benchmark::kMicrosecond);

void BM_LayoutMediumWatchlistWithPango(benchmark::State& state) {
    const View tree = mediumWatchlist();
    const TextMeasurer& measurer = pangoTextMeasurer();
    for (auto _ : state) benchmark::DoNotOptimize(layoutWidget(tree, medium, measurer));
}
BENCHMARK(BM_LayoutMediumWatchlistWithPango)->Unit(benchmark::kMicrosecond);

void BM_DumpFrames(benchmark::State& state) {
    const LayoutResult laidOut = layoutWidget(mediumWatchlist(), medium, SimpleMeasurer());
    for (auto _ : state) benchmark::DoNotOptimize(dumpFrames(laidOut, Palette::names));
}
BENCHMARK(BM_DumpFrames)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
