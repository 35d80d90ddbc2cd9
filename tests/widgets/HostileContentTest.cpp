// Hostile records end to end, as the widgets meet them: the host app's writer puts them into a
// store on disk, the widget host requests a timeline for every placement and draws its entry
// with the Pango measurer, and the painter turns the draw list into PNG bytes. Whatever the
// records hold, every drawing stays on its canvas, inside the content margins, and paints.

#include "layout/PlatformDefaults.h"
#include "platform/Clock.h"
#include "platform/Date.h"
#include "render/Painter.h"
#include "render/PangoTextMeasurer.h"
#include "store/AppGroupStore.h"
#include "tests/support/Bitmap.h"
#include "tests/support/TempStore.h"
#include "tests/support/TextLayoutFacts.h"
#include "widgets/WidgetHost.h"
#include "widgets/Widgets.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using namespace timeline;
using namespace dailybrief;
using namespace watchlist;
using namespace widgets;

namespace {

using namespace AppGroupContainer;
using layout::DrawList;
using layout::Rect;

// ---- Records as JSON text, written the way the host app writes them ----

// A JSON string literal: quotes, backslashes and every control character escaped (U+0000
// becomes \u0000), everything else as UTF-8.
std::string jsonString(const std::string& text) {
    return nlohmann::json(text).dump();
}

// Numbers are given as JSON text, so that values a double cannot hold reach the decoder.
struct BriefJson {
    std::string ticker = "NVDA";
    std::string companyName = "NVIDIA";
    std::string summary = "Data-centre demand keeps outrunning supply.";
    std::string signal = "Buy";
    std::string score = "78.4";

    [[nodiscard]] std::string json() const {
        return "{\"ticker\":" + jsonString(ticker) + ",\"companyName\":" + jsonString(companyName) +
               ",\"summary\":" + jsonString(summary) + ",\"signal\":" + jsonString(signal) +
               ",\"score\":" + score + ",\"generatedAt\":\"2025-11-16T06:30:00Z\"}";
    }
};

struct RowJson {
    std::string ticker;
    std::string companyName = "Company";
    std::string signal = "Buy";
    std::string price = "187.5";  // also the change and the score

    [[nodiscard]] std::string json() const {
        return "{\"ticker\":" + jsonString(ticker) + ",\"companyName\":" + jsonString(companyName) +
               ",\"signal\":" + jsonString(signal) + ",\"price\":" + price +
               ",\"changePct\":" + price + ",\"score\":" + price + "}";
    }
};

std::string rowsJson(const std::vector<RowJson>& rows) {
    std::string out = "[";
    for (const auto& row : rows) out += (out.size() > 1 ? "," : "") + row.json();
    return out + "]";
}

std::string portfolioJson(std::string_view value) {
    return "{\"totalValue\":" + std::string(value) +
           ",\"totalPnl\":2500,\"totalReturn\":" + std::string(value) +
           ",\"dailyChange\":-300,\"dailyChangePct\":-0.24,\"holdingCount\":25,"
           "\"sourceLabel\":\"Broker sync\",\"updatedAt\":\"2025-11-16T08:55:00Z\"}";
}

std::string repeated(std::string_view piece, std::size_t bytes) {
    std::string out;
    while (out.size() < bytes) out += piece;
    return out;
}

// ---- The pipeline ----

struct Drawn {
    timeline::Placement placement;
    AnyEntry entry;
    layout::LayoutResult layout;

    [[nodiscard]] bool isBrief() const { return placement.kind == "DailyBrief"; }
    [[nodiscard]] const std::optional<DailyBrief>& brief() const {
        return std::get<DailyBriefEntry>(entry).brief;
    }
    [[nodiscard]] const std::vector<WatchlistRow>& rows() const {
        return std::get<WatchlistEntry>(entry).rows;
    }
    // The first text drawn that starts with `prefix`, or that is `prefix` when `whole`.
    [[nodiscard]] const layout::DrawText* text(std::string_view prefix, bool whole = false) const {
        for (const auto& command : layout.drawList.commands)
            if (const auto* text = std::get_if<layout::DrawText>(&command))
                if (whole ? text->text == prefix : text->text.starts_with(prefix)) return text;
        return nullptr;
    }
    [[nodiscard]] bool draws(std::string_view text) const { return this->text(text, true); }
    // Whether a text far too long for any widget is drawn as a beginning of it, at least as many
    // characters as a line holds: the layout hands the painter only what can show.
    [[nodiscard]] bool drawsBeginningOf(std::string_view text) const {
        for (const auto& command : layout.drawList.commands)
            if (const auto* drawn = std::get_if<layout::DrawText>(&command))
                if (drawn->text.size() >= 10 && text.starts_with(drawn->text)) return true;
        return false;
    }
};

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

constexpr double tolerance = 0.5;  // points

Rect intersection(const Rect& a, const Rect& b) {
    const double x = std::max(a.x, b.x), y = std::max(a.y, b.y);
    return {x, y, std::max(0.0, std::min(a.maxX(), b.maxX()) - x),
            std::max(0.0, std::min(a.maxY(), b.maxY()) - y)};
}

// The widget's container background: the fills over the whole canvas that open the list.
std::size_t backgroundCommands(const DrawList& list) {
    const Rect canvas{0, 0, list.canvas.width, list.canvas.height};
    std::size_t count = 0;
    while (count < list.commands.size()) {
        const auto* fill = std::get_if<layout::FillShape>(&list.commands[count]);
        if (fill == nullptr || fill->rect != canvas) break;
        ++count;
    }
    return count;
}

// Every frame is finite and not negative, and clips open and close in pairs. What a fill, text
// or symbol can paint (its frame cut by the clips open around it and by the canvas, which bounds
// every output) lies inside `content`; only the container background covers the whole canvas.
void expectDrawnWithin(const DrawList& list, const Rect& content) {
    const Rect canvas{0, 0, list.canvas.width, list.canvas.height};
    const std::size_t background = backgroundCommands(list);
    EXPECT_GE(background, 1u) << "no container background";
    std::vector<Rect> clips{canvas};
    for (std::size_t i = 0; i < list.commands.size(); ++i) {
        const auto& command = list.commands[i];
        if (const auto* clip = std::get_if<layout::PushClip>(&command)) {
            clips.push_back(intersection(clips.back(), clip->rect));
            continue;
        }
        if (std::holds_alternative<layout::PopClip>(command)) {
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
        const std::string what = "command " + std::to_string(i);
        ASSERT_TRUE(std::isfinite(frame.x + frame.y + frame.width + frame.height)) << what;
        EXPECT_TRUE(frame.width >= 0 && frame.height >= 0) << what;
        const Rect painted = intersection(frame, clips.back());
        const Rect bounds = i < background ? canvas : content;
        const bool paints = painted.width > 0 && painted.height > 0;
        EXPECT_TRUE(!paints ||
                    (painted.x >= bounds.x - tolerance && painted.y >= bounds.y - tolerance &&
                     painted.maxX() <= bounds.maxX() + tolerance &&
                     painted.maxY() <= bounds.maxY() + tolerance))
            << what << " paints outside the content area";
    }
    EXPECT_EQ(clips.size(), 1u) << "clips left open";
}

// The PNG encodes, and outside `content` it holds only the container background: nothing
// painted spills out (a point of slack for antialiased edges).
void expectPaintedWithin(const DrawList& list, const Rect& content, bool checkPixels) {
    const auto png = render::paintToBytes(list, render::ImageFormat::png, 2);
    ASSERT_TRUE(png.ok()) << png.error().description;
    ASSERT_EQ(png->substr(1, 3), "PNG");
    if (!checkPixels) return;
    const double scale = 2, slack = 1;
    const auto painted = render::renderBitmap(list, scale);
    DrawList backgroundOnly{list.canvas, {}, std::nullopt};
    backgroundOnly.commands.assign(list.commands.begin(),
                                   list.commands.begin() + long(backgroundCommands(list)));
    const auto expected = render::renderBitmap(backgroundOnly, scale);
    ASSERT_EQ(painted.width, int(list.canvas.width * scale));
    ASSERT_EQ(expected.width, painted.width);
    int spilled = 0;
    for (int y = 0; y < painted.height; ++y) {
        for (int x = 0; x < painted.width; ++x) {
            const double px = (x + 0.5) / scale, py = (y + 0.5) / scale;
            const bool margin = px < content.x - slack || px > content.maxX() + slack ||
                                py < content.y - slack || py > content.maxY() + slack;
            spilled += margin && painted.at(x, y) != expected.at(x, y);
        }
    }
    EXPECT_EQ(spilled, 0) << "pixels painted in the margins";
}

// One hostile store: its records, where its drawings may overflow, and what they must show.
struct Case {
    const char* name;
    std::optional<std::string> brief;
    std::optional<std::string> rows;
    std::optional<std::string> portfolio;
    Allowances allowances;
    std::function<void(const Drawn&)> expect;
};

// Every placement's drawing of its timeline entry, for the records in `store`, in `locale`.
void forEachDrawing(const tempstore::TempStore& store, const char* locale,
                    const std::function<void(const Drawn&)>& check) {
    const widgets::WidgetHost widgets(VelmoraWidgetsBundle().body(),
                                      {.locale = locale, .storeDirectory = store.directory()});
    const platform::FixedClock clock(*platform::parseRecordDate("2025-11-16T09:00:00Z"));
    for (const auto& placement : widgets.allPlacements()) {
        SCOPED_TRACE(std::string(locale) + " " + placement.kind + " " +
                     std::string(name(placement.family)));
        const auto entry = widgets.request(placement, widgets::Request::timeline, clock).entries[0];
        check({placement, entry, widgets.layOut(placement, entry, clock.now())});
    }
}

// The whole pipeline for every placement of a store holding the case's records, with the checks
// above: the content area is the canvas less its margins (the sides only where the grid may
// overflow), checked pixel by pixel unless marks overhang.
void drawAndCheck(const Case& c) {
    SCOPED_TRACE(c.name);
    ::setenv("VELMORA_LOG", "off", 0);  // decoding failures are expected here
    tempstore::TempStore store;
    if (c.brief) store.putData(dailyBriefKey, *c.brief);
    if (c.rows) store.putData(watchlistTickersKey, *c.rows);
    if (c.portfolio) store.putData(portfolioSnapshotKey, *c.portfolio);
    forEachDrawing(store, "en_US", [&](const Drawn& drawn) {
        const auto& list = drawn.layout.drawList;
        EXPECT_EQ(list.canvas, layout::defaults::canvasSize(drawn.placement.family));
        constexpr double margin = layout::defaults::contentMargin;
        Rect content{margin, margin, list.canvas.width - 2 * margin,
                     list.canvas.height - 2 * margin};
        if (c.allowances.gridOverflows && !drawn.isBrief() &&
            drawn.placement.family == WidgetFamily::systemMedium)
            content = {content.x, 0, content.width, list.canvas.height};
        expectDrawnWithin(list, content);
        expectPaintedWithin(list, content, !c.allowances.marksOverhang);
        c.expect(drawn);
    });
}

}  // namespace

TEST(HostileContent, HugeRecordsFillTheirLinesAndEndInAnEllipsis) {
    std::vector<RowJson> many;
    for (int i = 0; i < 10000; ++i) many.push_back({"R" + std::to_string(i)});
    drawAndCheck({"ten thousand rows",
                  std::nullopt,
                  rowsJson(many),
                  portfolioJson("125000.5"),
                  {},
                  [](const Drawn& d) { EXPECT_TRUE(d.isBrief() || d.rows().size() == 10000u); }});

    // Every line the layout fitted a text with is filled, and it goes on past the last.
    BriefJson brief;
    brief.summary =
        repeated("Momentum continues with options flow signalling strength. ", 1000u << 10);
    const auto rows = rowsJson({{"HUGE", repeated("Holdings ", 1000u << 10)}, {"NEXT"}});
    drawAndCheck(
        {"texts near the size limit", brief.json(), rows, std::nullopt, {}, [](const Drawn& d) {
             const auto* text = d.text(d.isBrief() ? "Momentum" : "Holdings");
             if (!d.isBrief() && d.placement.family == WidgetFamily::systemMedium) {
                 EXPECT_EQ(text, nullptr);  // the medium cell shows no company
                 return;
             }
             ASSERT_TRUE(text && text->style.lineLimit);
             const auto shown =
                 render::describeTextLayout(text->text, text->style, text->frame.width);
             EXPECT_EQ(shown.lineCount, *text->style.lineLimit);
             EXPECT_TRUE(shown.ellipsized);
         }});
}

TEST(HostileContent, StrangeTextsDrawVerbatimWithinTheCanvas) {
    const std::string emoji =
        "\U0001F469\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466 "    // family, ZWJ sequence
        "\U0001F3F3\uFE0F\u200D\U0001F308 "                              // rainbow flag
        "\U0001F1FA\U0001F1F8\U0001F1EF\U0001F1F5\U0001F1E9\U0001F1EA "  // three flags
        "\U0001F44D\U0001F3FD \U0001F680\U0001F4C8";
    const std::string arabic = "شركة أرامكو السعودية";
    const std::string rtl = repeated("ارتفعت الأسهم بعد نتائج قوية، ويتوقع المحللون الزخم. ", 600);
    const std::string controls =
        std::string("A\0B\aC\u202E\u0301\u0301\u0301D\x1b[31mE\u200F\uFEFF\u0308", 29);
    const std::string marks = "\u0301\u0302\u0303\u0304\u0305\u0306\u0307\u0308\u0309";
    const std::string stacked = "Z" + repeated("\u0336\u0337\u0338\u0301\u0302\u0303", 300);
    const std::string longTicker = repeated("ABCDEFGHIJ", 1000);

    struct Texts {
        const char* name;
        BriefJson brief;
        RowJson row;
        Allowances allowances;
    };
    const std::vector<Texts> cases{
        {"1,000-character tickers", {longTicker}, {longTicker}, {true, false}},
        {"empty texts", {"", "", "", ""}, {"", "", ""}, {}},
        {"emoji", {emoji, emoji, repeated(emoji + " ", 2000), emoji}, {emoji, emoji, emoji}, {}},
        {"right to left", {"2222.SR", arabic, rtl, "شراء"}, {arabic, "טבע תעשיות", "קנייה"}, {}},
        {"control characters",
         {controls, controls, controls + marks, controls},
         {controls, marks, controls},
         {false, true}},
        {"stacked combining marks",
         {marks, stacked, stacked, marks},
         {stacked, stacked, stacked},
         {false, true}},
    };
    // The texts decode verbatim, U+0000 included, and reach the drawing; a stored row with empty
    // texts is still a row.
    for (const auto& c : cases) {
        drawAndCheck({c.name, c.brief.json(), rowsJson({c.row, {"NEXT"}}), std::nullopt,
                      c.allowances, [&](const Drawn& d) {
                          const auto& ticker = d.isBrief() ? c.brief.ticker : c.row.ticker;
                          ASSERT_TRUE(d.isBrief() ? d.brief().has_value() : d.rows().size() == 2);
                          EXPECT_EQ(d.isBrief() ? d.brief()->ticker : d.rows()[0].ticker, ticker);
                          EXPECT_TRUE(ticker.empty() || d.draws(ticker) ||
                                      (ticker.size() > 500 && d.drawsBeginningOf(ticker)));
                      }});
    }
}

// Records in the scripts the locales write, under each of those locales: every character of
// every text drawn, from a record or a formatter (dates, relative times, numbers), comes from
// some installed font, none is drawn as the unknown glyph's box.
TEST(HostileContent, EveryScriptDrawsInEachLocaleWithoutEmptyBoxes) {
    const std::vector<std::pair<std::string, std::string>> names = {
        {"トヨタ自動車株式会社",
         "好調な決算を受けて株価は上昇し、来期も勢いが続くと予想されます。"},
        {"삼성전자", "반도체 수요 회복으로 실적 개선이 기대됩니다."},
        {"贵州茅台", "业绩稳健增长，分析师预计势头将持续。"},
        {"ปตท. จำกัด", "ผลประกอบการแข็งแกร่ง นักวิเคราะห์คาดว่าโมเมนตัมจะต่อเนื่อง"},
        {"रिलायंस इंडस्ट्रीज", "मजबूत नतीजों के बाद शेयर में तेजी आई।"},
        {"شركة أرامكو السعودية", "ارتفعت الأسهم بعد نتائج قوية."},
        {"טבע תעשיות", "המניה עלתה לאחר דוחות חזקים."},
        {"Сбербанк", "Акции выросли после сильной отчётности."},
        {"Müller Größe AG", "Die Aktie stieg nach starken Zahlen."},
    };
    std::vector<RowJson> rows;
    for (const auto& [company, summary] : names) rows.push_back({"T", company, summary});
    tempstore::TempStore store;
    store.putData(watchlistTickersKey, rowsJson(rows));
    store.putData(portfolioSnapshotKey, portfolioJson("125000.5"));
    for (const char* locale : {"en_US", "de_DE", "ar_EG", "he_IL", "ja_JP", "ko_KR", "zh_CN",
                               "th_TH", "hi_IN", "ru_RU"}) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            BriefJson brief{"T", names[i].first, names[i].second,
                            names[(i + 1) % names.size()].first};
            store.putData(dailyBriefKey, brief.json());
            forEachDrawing(store, locale, [](const Drawn& drawn) {
                for (const auto& command : drawn.layout.drawList.commands) {
                    const auto* text = std::get_if<layout::DrawText>(&command);
                    if (text == nullptr) continue;
                    const auto facts =
                        render::describeTextLayout(text->text, text->style, text->frame.width);
                    EXPECT_EQ(facts.unknownGlyphs, 0) << text->text;
                }
            });
        }
    }
}

// JSON has no NaN: a writer that tries puts a string where a number belongs, and a number beyond
// the double range overflows in the parser. Either way the record does not decode: the brief
// shows its empty state and the sample rows stand in for the list.
TEST(HostileContent, ExtremeAndUndecodableNumbersDrawWithinTheCanvas) {
    struct Number {
        const char* json;
        const char* scoreShown;  // the brief's score; none: the record does not decode
        bool huge;               // its fixed-point text runs to hundreds of digits
    };
    const std::vector<Number> numbers{
        {"1e300", "—", true},        {"-1e300", "—", true},
        {"5e-324", "0", false},      {"-9223372036854775808", "-9223372036854775808", false},
        {"\"NaN\"", nullptr, false}, {"1e309", nullptr, false},
        {"NaN", nullptr, false},
    };
    for (const auto& n : numbers) {
        BriefJson brief;
        brief.score = n.json;
        const auto rows =
            rowsJson({{"PRICE", "Co", "Buy", n.json}, {"TINY", "Co", "Sell", "5e-324"}});
        drawAndCheck({n.json,
                      brief.json(),
                      rows,
                      portfolioJson(n.json),
                      {n.huge, false},
                      [&](const Drawn& d) {
                          const bool decodes = n.scoreShown != nullptr;
                          if (d.isBrief()) {
                              EXPECT_EQ(d.brief().has_value(), decodes);
                              EXPECT_TRUE(d.draws(decodes ? n.scoreShown : "Daily Brief"));
                          } else {
                              EXPECT_EQ(d.draws("PRICE"), decodes);
                          }
                      }});
    }
}
