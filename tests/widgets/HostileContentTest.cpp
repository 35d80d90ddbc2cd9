// Hostile records end to end, as the widgets meet them: the host app's writer puts them into a
// store on disk, the widget host requests a timeline for every placement and draws its entry
// with the Pango measurer, and the painter turns the draw list into PNG bytes. Whatever the
// records hold, every drawing stays on its canvas, inside the content margins, and paints.

#include "host/WidgetHost.h"
#include "platform/Clock.h"
#include "platform/Date.h"
#include "render/Painter.h"
#include "render/PangoTextMeasurer.h"
#include "render/PlatformDefaults.h"
#include "store/AppGroupStore.h"
#include "tests/support/TempStore.h"
#include "watchlist/WatchlistTimelineProvider.h"
#include "widgets/Widgets.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using namespace ui;
using namespace timeline;
using namespace dailybrief;
using namespace watchlist;
using namespace widgets;

namespace {

using namespace AppGroupContainer;
using render::DrawList;
using render::Rect;

// ---- Records as JSON text, written the way the host app writes them ----

// A JSON string literal: quotes, backslashes and every control character escaped (U+0000
// becomes \u0000), everything else as UTF-8.
std::string jsonString(const std::string& text) {
    return nlohmann::json(text).dump();
}

// Numbers are given as JSON text, so that values a double cannot hold reach the decoder.
struct BriefJson {
    std::string ticker = "NVDA";
    std::optional<std::string> companyName = "NVIDIA";
    std::string summary = "Data-centre demand keeps outrunning supply.";
    std::string signal = "Buy";
    std::string score = "78.4";

    [[nodiscard]] std::string json() const {
        std::string out = "{\"ticker\":" + jsonString(ticker);
        if (companyName) out += ",\"companyName\":" + jsonString(*companyName);
        return out + ",\"summary\":" + jsonString(summary) + ",\"signal\":" + jsonString(signal) +
               ",\"score\":" + score + ",\"generatedAt\":\"2025-11-16T06:30:00Z\"}";
    }
};

struct RowJson {
    std::string ticker;
    std::optional<std::string> companyName;
    std::string price = "187.5";
    std::string changePct = "1.25";
    std::optional<std::string> signal = "Buy";
    std::optional<std::string> score;

    [[nodiscard]] std::string json() const {
        std::string out = "{\"ticker\":" + jsonString(ticker);
        if (companyName) out += ",\"companyName\":" + jsonString(*companyName);
        out += ",\"price\":" + price + ",\"changePct\":" + changePct;
        if (signal) out += ",\"signal\":" + jsonString(*signal);
        if (score) out += ",\"score\":" + *score;
        return out + "}";
    }
};

std::string rowsJson(const std::vector<RowJson>& rows) {
    std::string out = "[";
    for (const auto& row : rows) out += (out.size() > 1 ? "," : "") + row.json();
    return out + "]";
}

std::string portfolioJson(std::string_view totalValue, std::string_view totalReturn) {
    return "{\"totalValue\":" + std::string(totalValue) +
           ",\"totalPnl\":2500,\"totalReturn\":" + std::string(totalReturn) +
           ",\"dailyChange\":-300,\"dailyChangePct\":-0.24,\"holdingCount\":25,"
           "\"sourceLabel\":\"Broker sync\",\"updatedAt\":\"2025-11-16T08:55:00Z\"}";
}

std::string negated(std::string_view number) {
    return number.starts_with('-') ? std::string(number.substr(1)) : "-" + std::string(number);
}

std::string repeated(std::string_view piece, std::size_t bytes) {
    std::string out;
    out.reserve(bytes + piece.size());
    while (out.size() < bytes) out += piece;
    return out;
}

// ---- The pipeline ----

struct Drawn {
    host::Placement placement;
    AnyEntry entry;
    render::LayoutResult layout;
};

const platform::FixedClock& clock() {
    static const platform::FixedClock fixed(*platform::parseRecordDate("2025-11-16T09:00:00Z"));
    return fixed;
}

// A store of its own holding the given records, and the host that reads it.
class HostileStore {
public:
    HostileStore() {
        // Decoding failures are expected here; keep them out of the machine's journal.
        ::setenv("VELMORA_LOG", "off", 0);
        host::HostSettings settings;
        settings.storeDirectory = m_store.directory();
        m_host.emplace(VelmoraWidgetsBundle().body(), settings);
    }

    HostileStore& brief(const std::string& json) { return put(dailyBriefKey, json); }
    HostileStore& rows(const std::string& json) { return put(watchlistTickersKey, json); }
    HostileStore& portfolio(const std::string& json) { return put(portfolioSnapshotKey, json); }

    // Every widget in every family: a timeline requested and its entry drawn.
    [[nodiscard]] std::vector<Drawn> drawEverywhere() const {
        std::vector<Drawn> drawn;
        for (const auto& placement : m_host->allPlacements()) {
            const auto timeline = m_host->request(placement, host::Request::timeline, clock());
            const auto& entry = timeline.entries.front();
            drawn.push_back({placement, entry, m_host->draw(placement, entry, clock().now())});
        }
        return drawn;
    }

private:
    HostileStore& put(std::string_view key, const std::string& json) {
        m_store.putData(key, json);
        return *this;
    }
    tempstore::TempStore m_store;
    std::optional<host::WidgetHost> m_host;
};

std::string describe(const host::Placement& placement) {
    return placement.kind + " " + std::string(name(placement.family));
}

// ---- What every drawing must satisfy ----

// Where a drawing may reach past the content area, as it does on the platform.
struct Allowances {
    // The medium watchlist's grid gives each cell the height it asks for, so cells whose texts
    // wrap to many lines make the content taller than the widget; the widget's bounds (here the
    // canvas) cut it. Sideways nothing overflows: texts wrap or are cut.
    bool gridOverflows = false;
    // Stacked combining marks draw their ink above or beside their line, outside the text's
    // frame; text ink is not clipped to its frame.
    bool marksOverhang = false;
};

bool overflowsVertically(const host::Placement& placement, Allowances allowances) {
    return allowances.gridOverflows && placement.kind == "WatchlistGlance" &&
           placement.family == WidgetFamily::systemMedium;
}

constexpr double tolerance = 0.5;  // points

bool finite(const Rect& r) {
    return std::isfinite(r.x) && std::isfinite(r.y) && std::isfinite(r.width) &&
           std::isfinite(r.height);
}

Rect intersection(const Rect& a, const Rect& b) {
    const double x = std::max(a.x, b.x), y = std::max(a.y, b.y);
    return {x, y, std::max(0.0, std::min(a.maxX(), b.maxX()) - x),
            std::max(0.0, std::min(a.maxY(), b.maxY()) - y)};
}

bool inside(const Rect& r, const Rect& bounds) {
    return r.x >= bounds.x - tolerance && r.y >= bounds.y - tolerance &&
           r.maxX() <= bounds.maxX() + tolerance && r.maxY() <= bounds.maxY() + tolerance;
}

std::string str(const Rect& r) {
    char text[96];
    std::snprintf(text, sizeof text, "{%.2f, %.2f, %.2f x %.2f}", r.x, r.y, r.width, r.height);
    return text;
}

Rect contentRect(const DrawList& list) {
    constexpr double margin = render::defaults::contentMargin;
    return {margin, margin, list.canvas.width - 2 * margin, list.canvas.height - 2 * margin};
}

// The widget's container background: the fills over the whole canvas that open the list.
std::size_t backgroundCommands(const DrawList& list) {
    const Rect canvas{0, 0, list.canvas.width, list.canvas.height};
    std::size_t count = 0;
    while (count < list.commands.size()) {
        const auto* fill = std::get_if<render::FillShape>(&list.commands[count]);
        if (fill == nullptr || fill->rect != canvas) break;
        ++count;
    }
    return count;
}

// Every frame is finite and not negative, and clips open and close in pairs. What a fill, text
// or symbol can paint (its frame cut by the clips open around it and by the canvas, which bounds
// every output) lies inside the content area, the canvas less its margins; only the container
// background covers the whole canvas. Content allowed to overflow vertically is held to the
// content area's sides only.
void expectDrawnWithinContent(const DrawList& list, bool mayOverflowVertically) {
    const Rect canvas{0, 0, list.canvas.width, list.canvas.height};
    const Rect content = contentRect(list);
    const std::size_t background = backgroundCommands(list);
    EXPECT_GE(background, 1u) << "no container background";

    std::vector<Rect> clips{canvas};
    for (std::size_t i = 0; i < list.commands.size(); ++i) {
        const auto& command = list.commands[i];
        if (const auto* clip = std::get_if<render::PushClip>(&command)) {
            EXPECT_TRUE(finite(clip->rect)) << "clip " << i;
            clips.push_back(intersection(clips.back(), clip->rect));
            continue;
        }
        if (std::holds_alternative<render::PopClip>(command)) {
            EXPECT_GT(clips.size(), 1u) << "PopClip " << i << " without its PushClip";
            if (clips.size() > 1) clips.pop_back();
            continue;
        }
        const Rect frame = std::visit(
            [](const auto& c) -> Rect {
                if constexpr (requires { c.frame; })
                    return c.frame;
                else if constexpr (requires { c.rect; })
                    return c.rect;
                else
                    return {};
            },
            command);
        std::string what = "command " + std::to_string(i);
        if (const auto* text = std::get_if<render::DrawText>(&command))
            what += " text \"" + text->text.substr(0, 40) + "\"";
        if (const auto* symbol = std::get_if<render::DrawSymbol>(&command))
            what += " symbol " + symbol->systemName;

        ASSERT_TRUE(finite(frame)) << what << " " << str(frame);
        EXPECT_GE(frame.width, 0) << what;
        EXPECT_GE(frame.height, 0) << what;
        const Rect painted = intersection(frame, clips.back());
        if (painted.width <= 0 || painted.height <= 0) continue;
        Rect bounds = i < background ? canvas : content;
        if (mayOverflowVertically) bounds = {bounds.x, canvas.y, bounds.width, canvas.height};
        EXPECT_TRUE(inside(painted, bounds))
            << what << " paints " << str(painted) << " outside " << str(bounds);
    }
    EXPECT_EQ(clips.size(), 1u) << "clips left open";
}

// The PNG encodes, and its margins hold only the container background: nothing painted spills
// out of the content area (a point of slack for antialiased edges). With overhanging marks
// only the encoding is checked; with vertical overflow, only the side margins.
void expectPaintedWithinContent(const DrawList& list, bool mayOverflowVertically,
                                bool marksOverhang) {
    const auto png = render::paintToBytes(list, render::ImageFormat::png, 2);
    ASSERT_TRUE(std::holds_alternative<std::string>(png))
        << std::get<render::PaintError>(png).message;
    const auto& bytes = std::get<std::string>(png);
    ASSERT_GT(bytes.size(), 8u);
    ASSERT_EQ(bytes.substr(1, 3), "PNG");
    if (marksOverhang) return;

    const double scale = 2;
    const auto painted = render::renderBitmap(list, scale);
    DrawList backgroundOnly{list.canvas, {}, std::nullopt};
    backgroundOnly.commands.assign(list.commands.begin(),
                                   list.commands.begin() + long(backgroundCommands(list)));
    const auto expected = render::renderBitmap(backgroundOnly, scale);
    ASSERT_EQ(painted.width, int(list.canvas.width * scale));
    ASSERT_EQ(painted.height, int(list.canvas.height * scale));
    ASSERT_EQ(expected.width, painted.width);

    const double slack = 1;
    const Rect content = contentRect(list);
    int spilled = 0;
    std::string first;
    for (int y = 0; y < painted.height; ++y) {
        for (int x = 0; x < painted.width; ++x) {
            const double px = (x + 0.5) / scale, py = (y + 0.5) / scale;
            const bool side = px < content.x - slack || px > content.maxX() + slack;
            const bool topOrBottom = py < content.y - slack || py > content.maxY() + slack;
            const bool margin = side || (topOrBottom && !mayOverflowVertically);
            if (margin && painted.at(x, y) != expected.at(x, y)) {
                if (spilled++ == 0)
                    first = "(" + std::to_string(px) + ", " + std::to_string(py) + ")";
            }
        }
    }
    EXPECT_EQ(spilled, 0) << "pixels painted in the margins, first at " << first;
}

// The whole pipeline for every placement, with the checks above; returns what was drawn.
std::vector<Drawn> drawAndCheck(const HostileStore& store, Allowances allowances = {}) {
    auto drawn = store.drawEverywhere();
    EXPECT_EQ(drawn.size(), 5u);
    for (const auto& d : drawn) {
        SCOPED_TRACE(describe(d.placement));
        EXPECT_EQ(d.layout.drawList.canvas, render::defaults::canvasSize(d.placement.family));
        const bool overflows = overflowsVertically(d.placement, allowances);
        expectDrawnWithinContent(d.layout.drawList, overflows);
        expectPaintedWithinContent(d.layout.drawList, overflows, allowances.marksOverhang);
    }
    return drawn;
}

// ---- Reading what was drawn ----

std::vector<std::string> texts(const DrawList& list) {
    std::vector<std::string> out;
    for (const auto& command : list.commands)
        if (const auto* text = std::get_if<render::DrawText>(&command)) out.push_back(text->text);
    return out;
}

bool draws(const DrawList& list, std::string_view text) {
    const auto all = texts(list);
    return std::find(all.begin(), all.end(), text) != all.end();
}

const render::DrawText* textStartingWith(const DrawList& list, std::string_view prefix) {
    for (const auto& command : list.commands)
        if (const auto* text = std::get_if<render::DrawText>(&command))
            if (std::string_view(text->text).starts_with(prefix)) return text;
    return nullptr;
}

std::string url(const DrawList& list) {
    return list.url ? list.url->text() : "";
}

const WatchlistEntry& watchlistEntry(const Drawn& drawn) {
    return std::get<WatchlistEntry>(drawn.entry);
}
const DailyBriefEntry& briefEntry(const Drawn& drawn) {
    return std::get<DailyBriefEntry>(drawn.entry);
}
bool isBrief(const Drawn& drawn) {
    return drawn.placement.kind == "DailyBrief";
}

}  // namespace

TEST(HostileContent, TenThousandRowsShowOnlyTheFirstRowsOfEachFamily) {
    std::vector<RowJson> rows;
    for (int i = 0; i < 10000; ++i)
        rows.push_back({.ticker = "R" + std::to_string(i),
                        .companyName = "Company " + std::to_string(i),
                        .changePct = std::to_string((i % 9) - 4)});
    HostileStore store;
    store.rows(rowsJson(rows)).portfolio(portfolioJson("125000.5", "2.04"));

    for (const auto& d : drawAndCheck(store)) {
        if (isBrief(d)) continue;
        SCOPED_TRACE(describe(d.placement));
        EXPECT_EQ(watchlistEntry(d).rows.size(), 10000u);
        int shown = 0;
        for (const auto& text : texts(d.layout.drawList))
            if (text.size() > 1 && text[0] == 'R' &&
                std::isdigit(static_cast<unsigned char>(text[1])))
                ++shown;
        const int expected = d.placement.family == WidgetFamily::systemSmall    ? 1
                             : d.placement.family == WidgetFamily::systemMedium ? 4
                                                                                : 5;
        EXPECT_EQ(shown, expected);
        EXPECT_TRUE(draws(d.layout.drawList, "R0"));
    }
}

TEST(HostileContent, RecordsNearTheStoreSizeLimitFillTheirLinesAndEndInAnEllipsis) {
    BriefJson brief;
    brief.summary =
        repeated("Momentum continues with options flow signalling strength. ", 1000u << 10);
    const std::vector<RowJson> rows = {
        {.ticker = "HUGE", .companyName = repeated("Holdings ", 1000u << 10)},
        {.ticker = "NEXT", .companyName = "Next Corp"}};
    HostileStore store;
    store.brief(brief.json()).rows(rowsJson(rows));

    // What Pango makes of a drawn text at its frame's width, with the limit it was drawn with.
    const auto shown = [](const render::DrawText& text) {
        return render::describeTextLayout(text.text, text.style, text.frame.width);
    };
    for (const auto& d : drawAndCheck(store)) {
        SCOPED_TRACE(describe(d.placement));
        const bool large = d.placement.family == WidgetFamily::systemLarge;
        if (isBrief(d)) {
            ASSERT_TRUE(briefEntry(d).brief.has_value());
            EXPECT_EQ(briefEntry(d).brief->summary.size(), brief.summary.size());
            const auto* summary = textStartingWith(d.layout.drawList, "Momentum continues");
            ASSERT_NE(summary, nullptr);
            // Every line the layout fitted it with (its limit, or fewer when the widget is too
            // short for them) is filled; the text goes on past the last.
            ASSERT_TRUE(summary->style.lineLimit.has_value());
            EXPECT_LE(*summary->style.lineLimit, large ? 8 : 5);
            EXPECT_EQ(shown(*summary).lineCount, *summary->style.lineLimit);
            EXPECT_TRUE(shown(*summary).ellipsized);
        } else {
            ASSERT_EQ(watchlistEntry(d).rows.size(), 2u);
            EXPECT_TRUE(draws(d.layout.drawList, "HUGE"));
            // The medium cell shows no company.
            const auto* company = textStartingWith(d.layout.drawList, "Holdings");
            ASSERT_EQ(company != nullptr, d.placement.family != WidgetFamily::systemMedium);
            if (company == nullptr) continue;
            EXPECT_EQ(shown(*company).lineCount, 1);
            EXPECT_TRUE(shown(*company).ellipsized);
        }
    }
}

TEST(HostileContent, LongAndEmptyTextsDrawWithinTheCanvas) {
    const std::string longTicker = repeated("ABCDEFGHIJ", 1000);
    {
        SCOPED_TRACE("1,000-character tickers");
        BriefJson brief;
        brief.ticker = longTicker;
        RowJson row{.ticker = longTicker, .companyName = "Long Ticker Inc."};
        HostileStore store;
        store.brief(brief.json()).rows(rowsJson({row, {.ticker = "NEXT"}}));
        for (const auto& d : drawAndCheck(store, {.gridOverflows = true})) {
            SCOPED_TRACE(describe(d.placement));
            // The ticker is appended to the link unchanged, however long.
            if (isBrief(d) || d.placement.family == WidgetFamily::systemSmall) {
                EXPECT_EQ(url(d.layout.drawList), "velmora://stock-detail?ticker=" + longTicker);
            }
            EXPECT_NE(textStartingWith(d.layout.drawList, "ABCDEFGHIJ"), nullptr);
        }
    }
    {
        SCOPED_TRACE("empty ticker, summary, signal and company");
        BriefJson brief{.ticker = "", .companyName = "", .summary = "", .signal = ""};
        RowJson row{.ticker = "", .companyName = "", .signal = ""};
        HostileStore store;
        store.brief(brief.json()).rows(rowsJson({row}));
        for (const auto& d : drawAndCheck(store)) {
            SCOPED_TRACE(describe(d.placement));
            if (isBrief(d)) {
                ASSERT_TRUE(briefEntry(d).brief.has_value());
                EXPECT_EQ(url(d.layout.drawList), "velmora://stock-detail?ticker=");
                EXPECT_TRUE(draws(d.layout.drawList, "78"));
            } else {
                // A stored row with empty texts is still a row: no samples stand in for it.
                ASSERT_EQ(watchlistEntry(d).rows.size(), 1u);
                EXPECT_TRUE(draws(d.layout.drawList, "+1.25%"));
            }
        }
    }
}

TEST(HostileContent, EmojiRightToLeftAndControlCharactersDrawWithinTheCanvas) {
    const std::string emoji =
        "\U0001F469\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466 "    // family, ZWJ sequence
        "\U0001F3F3\uFE0F\u200D\U0001F308 "                              // rainbow flag
        "\U0001F1FA\U0001F1F8\U0001F1EF\U0001F1F5\U0001F1E9\U0001F1EA "  // three flags
        "\U0001F44D\U0001F3FD \U0001F680\U0001F4C8";
    const std::string arabic = "شركة أرامكو السعودية";
    const std::string hebrew = "טבע תעשיות פרמצבטיות";
    const std::string arabicSummary = repeated(
        "ارتفعت الأسهم بعد نتائج قوية، ويتوقع المحللون استمرار الزخم في الربع القادم. ", 600);
    std::string controls = "A";
    controls += '\0';
    controls += "B\aC\u202E\u0301\u0301\u0301D\x1b[31mE\u200F\uFEFF\u0308";
    const std::string loneMarks = "\u0301\u0302\u0303\u0304\u0305\u0306\u0307\u0308\u0309";
    const std::string stackedMarks = "Z" + repeated("\u0336\u0337\u0338\u0301\u0302\u0303", 300);

    struct Case {
        const char* name;
        BriefJson brief;
        std::vector<RowJson> rows;
        Allowances allowances;
    };
    const std::vector<Case> cases = {
        {"emoji",
         {.ticker = emoji,
          .companyName = emoji,
          .summary = repeated(emoji + " ", 2000),
          .signal = emoji},
         {{.ticker = emoji, .companyName = emoji, .signal = emoji}, {.ticker = "NEXT"}}},
        {"right to left",
         {.ticker = "2222.SR", .companyName = arabic, .summary = arabicSummary, .signal = "شراء"},
         {{.ticker = "TEVA", .companyName = hebrew, .signal = "קנייה"},
          {.ticker = arabic, .companyName = arabic, .signal = arabic}}},
        {"control characters",
         {.ticker = controls,
          .companyName = controls,
          .summary = controls + loneMarks,
          .signal = controls},
         {{.ticker = controls, .companyName = controls, .signal = controls},
          {.ticker = loneMarks, .companyName = loneMarks, .signal = loneMarks}},
         {.marksOverhang = true}},
        {"stacked combining marks",
         {.ticker = loneMarks,
          .companyName = stackedMarks,
          .summary = stackedMarks,
          .signal = loneMarks},
         {{.ticker = stackedMarks, .companyName = stackedMarks, .signal = stackedMarks}},
         {.marksOverhang = true}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        HostileStore store;
        store.brief(c.brief.json()).rows(rowsJson(c.rows));
        for (const auto& d : drawAndCheck(store, c.allowances)) {
            SCOPED_TRACE(describe(d.placement));
            // The texts decode verbatim, U+0000 included, and reach the drawing.
            if (isBrief(d)) {
                ASSERT_TRUE(briefEntry(d).brief.has_value());
                EXPECT_EQ(briefEntry(d).brief->ticker, c.brief.ticker);
                EXPECT_TRUE(draws(d.layout.drawList, c.brief.ticker));
            } else {
                ASSERT_EQ(watchlistEntry(d).rows.size(), c.rows.size());
                EXPECT_EQ(watchlistEntry(d).rows.front().ticker, c.rows.front().ticker);
                EXPECT_TRUE(draws(d.layout.drawList, c.rows.front().ticker));
            }
        }
    }
}

TEST(HostileContent, ExtremeNumbersDrawWithinTheCanvas) {
    struct Case {
        const char* number;
        const char* scoreShown;  // what the brief shows for it as a score
        bool huge;               // its fixed-point text runs to hundreds of digits
    };
    const std::vector<Case> cases = {
        {"1e300", "—", true},
        {"-1e300", "—", true},
        {"5e-324", "0", false},
        {"1.7976931348623157e308", "—", true},
        {"-9223372036854775808", "-9223372036854775808", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.number);
        BriefJson brief;
        brief.score = c.number;
        const std::vector<RowJson> rows = {
            {.ticker = "PRICE", .price = c.number, .changePct = c.number, .score = c.number},
            {.ticker = "NEG", .price = negated(c.number), .changePct = negated(c.number)},
            {.ticker = "TINY", .price = "5e-324", .changePct = "5e-324", .signal = "Sell"},
        };
        HostileStore store;
        store.brief(brief.json()).rows(rowsJson(rows)).portfolio(portfolioJson(c.number, c.number));
        for (const auto& d : drawAndCheck(store, {.gridOverflows = c.huge})) {
            SCOPED_TRACE(describe(d.placement));
            if (isBrief(d)) {
                EXPECT_TRUE(draws(d.layout.drawList, c.scoreShown));
            } else {
                ASSERT_EQ(watchlistEntry(d).rows.size(), 3u);
                EXPECT_TRUE(draws(d.layout.drawList, "PRICE"));
            }
        }
    }
}

TEST(HostileContent, UndecodableRecordsFallBackToTheEmptyStateAndTheSampleRows) {
    // JSON has no NaN: a writer that tries puts a string where a number belongs, and a number
    // beyond the double range overflows in the parser. Either way the record does not decode.
    const std::vector<std::string> badNumbers = {"\"NaN\"", "\"Infinity\"", "1e309", "-1e309",
                                                 "NaN"};
    for (const auto& bad : badNumbers) {
        SCOPED_TRACE(bad);
        BriefJson brief;
        brief.score = bad;
        const std::vector<RowJson> rows = {{.ticker = "GOOD"}, {.ticker = "BAD", .price = bad}};
        HostileStore store;
        store.brief(brief.json()).rows(rowsJson(rows)).portfolio(portfolioJson(bad, "2.04"));
        for (const auto& d : drawAndCheck(store)) {
            SCOPED_TRACE(describe(d.placement));
            if (isBrief(d)) {
                EXPECT_FALSE(briefEntry(d).brief.has_value());
                EXPECT_TRUE(draws(d.layout.drawList, "Daily Brief"));
                EXPECT_EQ(url(d.layout.drawList), "velmora://stock-universe-dashboard");
            } else {
                // One bad row spoils the list: the samples stand in, and no portfolio shows.
                EXPECT_EQ(watchlistEntry(d).rows, sampleWatchlistRows());
                EXPECT_FALSE(watchlistEntry(d).portfolio.has_value());
                EXPECT_FALSE(draws(d.layout.drawList, "GOOD"));
                EXPECT_TRUE(draws(d.layout.drawList, "AAPL"));
            }
        }
    }
}
