// Laying out a medium watchlist widget: header, a two-column grid of four cells with badges,
// about forty nodes. Once with a measurer of fixed advances (layout's own cost), once with
// Pango (what a drawing costs). Then the hostile records: the longest texts a record can hold,
// each widget drawn with them (layout and 2x PNG) in every family.
#include "layout/Layout.h"
#include "dailybrief/DailyBriefEntry.h"
#include "layout/FrameDump.h"
#include "render/Painter.h"
#include "render/PangoTextMeasurer.h"
#include "store/DefaultsStore.h"
#include "style/Palette.h"
#include "watchlist/WatchlistEntry.h"
#include "widgets/AnyEntry.h"
#include "widgets/WidgetHost.h"
#include "widgets/Widgets.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace timeline;
using namespace ui;
using namespace layout;
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

// ---- Hostile records ----

enum class Hostile { mSignal, longTicker, mEverywhere, hugeTexts };

std::string repeated(std::string_view unit, std::size_t size) {
    std::string out;
    out.reserve(size + unit.size());
    while (out.size() < size) out += unit;
    return out;
}

// A brief and a watchlist of five rows and a portfolio, sound but for the hostile texts: 8,000
// "M"s as the signal, an 8,000-character ticker, 5,000 "M"s in every text, a summary (the rows: a
// company name) as long as the store lets a record be.
widgets::AnyEntry hostileEntry(Hostile kind, bool brief) {
    const platform::Date at = *platform::parseRecordDate("2025-11-16T05:45:00Z");
    AppGroupContainer::DailyBrief record{.ticker = "NVDA",
                                         .companyName = "NVIDIA",
                                         .summary = "Data-centre demand keeps outrunning supply.",
                                         .signal = "Strong Buy",
                                         .score = 86,
                                         .generatedAt = at};
    AppGroupContainer::WatchlistRow row{.ticker = "NVDA",
                                        .companyName = "NVIDIA",
                                        .price = 488.5,
                                        .changePct = 1.92,
                                        .signal = "Strong Buy",
                                        .score = 86};
    AppGroupContainer::PortfolioSnapshot portfolio{.totalValue = 125430.55,
                                                   .totalReturn = 6.92,
                                                   .holdingCount = 6,
                                                   .sourceLabel = "Demo broker",
                                                   .updatedAt = at};
    const std::string ms(5000, 'M');
    switch (kind) {
        case Hostile::mSignal:
            record.signal = *row.signal = std::string(8000, 'M');
            break;
        case Hostile::longTicker:
            record.ticker = row.ticker = repeated("ABCDEFGHIJ", 8000);
            break;
        case Hostile::mEverywhere:
            record.ticker = *record.companyName = record.summary = record.signal = ms;
            row.ticker = *row.companyName = *row.signal = portfolio.sourceLabel = ms;
            break;
        case Hostile::hugeTexts:
            // Within the store's limit on a value, with room for the record's other members.
            constexpr std::size_t longest = store::DefaultsStore::valueSizeLimit - 1024;
            record.summary = repeated("Momentum continues with options flow signalling. ", longest);
            *row.companyName = repeated("Holdings ", longest / 5);
            break;
    }
    if (brief) return dailybrief::DailyBriefEntry{at, record};
    return watchlist::WatchlistEntry{at, std::vector(5, row), portfolio};
}

// {record, widget (0 watchlist, 1 brief), family}: every record in each widget's families.
void hostileCases(benchmark::internal::Benchmark* b) {
    for (int kind = 0; kind < 4; ++kind)
        for (auto [widget, family] : {std::pair{0, 0}, {0, 1}, {0, 2}, {1, 1}, {1, 2}})
            b->Args({kind, widget, family});
}

const char* const hostileNames[] = {"8,000-M signal", "8,000-character ticker",
                                    "5,000 M everywhere", "1 MB texts"};

const widgets::WidgetHost& drawingHost() {
    static const widgets::WidgetHost host(widgets::VelmoraWidgetsBundle().body(), {});
    return host;
}

// The whole drawing, as the host does it: the view built from the entry, laid out, painted.
void BM_DrawHostileRecord(benchmark::State& state) {
    const bool brief = state.range(1) == 1;
    const timeline::Placement placement{brief ? "DailyBrief" : "WatchlistGlance",
                                        static_cast<WidgetFamily>(state.range(2))};
    const widgets::AnyEntry entry = hostileEntry(static_cast<Hostile>(state.range(0)), brief);
    const platform::Date now = widgets::entryDate(entry);
    for (auto _ : state) {
        const LayoutResult layout = drawingHost().layOut(placement, entry, now);
        benchmark::DoNotOptimize(paintToBytes(layout.drawList, ImageFormat::png, 2));
    }
    state.SetLabel(std::string(hostileNames[state.range(0)]) + ", " + placement.kind + " " +
                   std::string(name(placement.family)));
}
BENCHMARK(BM_DrawHostileRecord)->Apply(hostileCases)->Unit(benchmark::kMillisecond);

// The renderer's part alone: the view built once, then laid out and painted.
void BM_RenderHostileRecord(benchmark::State& state) {
    const bool brief = state.range(1) == 1;
    const timeline::Placement placement{brief ? "DailyBrief" : "WatchlistGlance",
                                        static_cast<WidgetFamily>(state.range(2))};
    const widgets::AnyEntry entry = hostileEntry(static_cast<Hostile>(state.range(0)), brief);
    const platform::Date now = widgets::entryDate(entry);
    const View content = drawingHost().content(placement, entry, now);
    const EnvironmentValues env{.widgetFamily = placement.family, .now = now};
    for (auto _ : state) {
        const LayoutResult layout = layoutWidget(content, env, pangoTextMeasurer());
        benchmark::DoNotOptimize(paintToBytes(layout.drawList, ImageFormat::png, 2));
    }
    state.SetLabel(std::string(hostileNames[state.range(0)]) + ", " + placement.kind + " " +
                   std::string(name(placement.family)));
}
BENCHMARK(BM_RenderHostileRecord)->Apply(hostileCases)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
