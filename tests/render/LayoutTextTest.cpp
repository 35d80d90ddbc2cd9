#include "render/Layout.h"
#include "tests/render/LayoutTesting.h"

#include <gtest/gtest.h>

#include <map>
#include <tuple>

using namespace render;
using namespace render::testing;

namespace {

View text(const char* s, double size = 10) {
    return Text(Verbatim{s}).font(Font::system(size));
}

constexpr Color red = Color::rgb8(239, 68, 68);
constexpr Color blue = Color::rgb8(0, 0, 255);

DrawText onlyText(const LayoutResult& result) {
    const auto texts = commandsOf<DrawText>(result);
    EXPECT_EQ(texts.size(), 1u);
    return texts.empty() ? DrawText{} : texts.front();
}

// Counts how often each text is measured at each width and line limit.
class CountingMeasurer final : public TextMeasurer {
public:
    [[nodiscard]] TextMetrics measure(std::string_view text, const TextStyle& style,
                                      std::optional<double> width) const override {
        ++calls[{std::string(text), width.value_or(-1), style.lineLimit.value_or(0)}];
        return fakeMeasurer().measure(text, style, width);
    }
    mutable std::map<std::tuple<std::string, double, int>, int> calls;
};

}  // namespace

TEST(LayoutText, LineLimitsCutAtTheProposedWidth) {
    // 22 characters, 110 wide at 10 points, in 60.
    const View phrase = text("alpha beta gamma delta");
    const auto cut = layOut(phrase.lineLimit(1), {60, 40});
    const DrawText drawn = onlyText(cut);
    EXPECT_TRUE(sameRect(drawn.frame, {2.5, 14, 55, 12}));
    EXPECT_EQ(drawn.text, "alpha beta gamma delta");
    EXPECT_EQ(drawn.style.lineLimit, 1);
    // Drawn at its frame's width, the text breaks and ends as it was measured.
    EXPECT_EQ(FakeTextMeasurer::layOut(drawn.text, drawn.style, drawn.frame.width),
              (std::vector<std::string>{"alpha beta…"}));

    // Without a limit it wraps onto as many lines as it needs.
    EXPECT_TRUE(sameRect(onlyText(layOut(phrase, {60, 40})).frame, {2.5, 8, 55, 24}));
    // A limit of 2 on three lines keeps two, the second cut to fit with its ellipsis.
    const DrawText two = onlyText(layOut(text("aa bb cc").lineLimit(2), {10, 40}));
    EXPECT_TRUE(sameRect(two.frame, {0, 8, 10, 24}));
    EXPECT_EQ(FakeTextMeasurer::layOut(two.text, two.style, two.frame.width),
              (std::vector<std::string>{"aa", "b…"}));

    // A word that cannot break is cut at the proposed width under a line limit, and
    // overflows without one.
    const View word = text("Supercalifragilistic");
    EXPECT_TRUE(sameRect(onlyText(layOut(word.lineLimit(1), {60, 40})).frame, {0, 14, 60, 12}));
    EXPECT_TRUE(sameRect(onlyText(layOut(word, {60, 40})).frame, {-20, 14, 100, 12}));

    // Proposed its ideal width or more, a text stays on one line at its ideal size.
    EXPECT_EQ(fit(phrase, {110, 10}), (Size{110, 12}));
    EXPECT_EQ(fit(phrase, {500, 10}), (Size{110, 12}));
    EXPECT_EQ(fit(phrase, {}), (Size{110, 12}));
    EXPECT_EQ(fit(phrase, {109.5, 100}), (Size{80, 24}));
}

TEST(LayoutText, TextsGiveUpLinesToFitTheHeightOffered) {
    // Three lines (36 high) offered 30 keep two, the second ending in an ellipsis.
    const DrawText two = onlyText(layOut(text("aa bb cc"), {10, 30}));
    EXPECT_TRUE(sameRect(two.frame, {0, 3, 10, 24}));
    EXPECT_EQ(two.style.lineLimit, 2);
    EXPECT_EQ(FakeTextMeasurer::layOut(two.text, two.style, two.frame.width),
              (std::vector<std::string>{"aa", "b…"}));
    // With room, a text keeps its own limit; below one line's height it keeps one line.
    const DrawText roomy = onlyText(layOut(text("aa bb cc").lineLimit(5), {10, 100}));
    EXPECT_EQ(roomy.frame.height, 36);
    EXPECT_EQ(roomy.style.lineLimit, 5);
    const DrawText squeezed = onlyText(layOut(text("aa bb cc"), {10, 5}));
    EXPECT_TRUE(sameRect(squeezed.frame, {0, -3.5, 10, 12}));
    EXPECT_EQ(FakeTextMeasurer::layOut(squeezed.text, squeezed.style, squeezed.frame.width),
              (std::vector<std::string>{"a…"}));

    // In a column the fixed texts are sized first: a long text between them gets what they
    // leave (80 - 3 × 8 spacing - 2 × 12), two of its five lines, and the last text stays at
    // the bottom.
    const View column =
        VStack({.alignment = HorizontalAlignment::leading, .spacing = 8},
               {text("Top"), text("aaaa aaaa aaaa aaaa aaaa aaaa aaaa aaaa aaaa aaaa").lineLimit(5),
                Spacer(0), text("Footer")});
    const auto result = layOut(column, {60, 80});
    EXPECT_TRUE(sameRect(rectOf(result, "Text \"aaaa"), {5, 20, 50, 24}));
    EXPECT_TRUE(sameRect(rectOf(result, "Spacer"), {5, 52, 0, 8}));
    EXPECT_TRUE(sameRect(rectOf(result, "Text \"Footer\""), {5, 68, 30, 12}));
    EXPECT_EQ(rectsOf(result,
                      "Text \"aaaa aaaa aaaa aaaa aaaa aaaa aaaa aaaa aaaa aaaa\" 10 "
                      "regular #FFFFFF.opacity(0.85) lineLimit 2")
                  .size(),
              1u);
}

TEST(LayoutText, EnvironmentFlowsDownAndInnerValuesWin) {
    // Defaults: the body font and the appearance's foreground.
    const DrawText plain = onlyText(layOut(Text(Verbatim{"a"}), {100, 100}));
    EXPECT_EQ(plain.style.font, defaults::font);
    EXPECT_EQ(plain.style.color, Color::white().opacity(0.85));
    EXPECT_EQ(plain.style.lineLimit, std::nullopt);
    EXPECT_EQ(plain.style.alignment, TextAlignment::leading);
    EXPECT_EQ(onlyText(layOut(Text(Verbatim{"a"}), {100, 100}, {.colorScheme = ColorScheme::light}))
                  .style.color,
              Color::black().opacity(0.85));
    const auto bareSymbol = commandsOf<DrawSymbol>(layOut(Image(SystemName{"star"}), {100, 100}));
    ASSERT_EQ(bareSymbol.size(), 1u);
    EXPECT_EQ(bareSymbol[0].font, defaults::font);
    EXPECT_TRUE(sameRect(bareSymbol[0].frame, {43.5, 43.5, 13, 13}));

    // A stack's font and colour reach every text and symbol inside; a child's own win.
    const Font twelve = Font::system(12);
    const Font bold = Font::system(20, FontWeight::bold, FontDesign::monospaced);
    const auto styled =
        layOut(VStack({}, {Text(Verbatim{"a"}), Text(Verbatim{"b"}).font(bold).foregroundColor(red),
                           HStack({}, {Image(SystemName{"star"})})})
                   .font(twelve)
                   .foregroundColor(blue),
               {200, 200});
    const auto texts = commandsOf<DrawText>(styled);
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_EQ(texts[0].style.font, twelve);
    EXPECT_EQ(texts[0].style.color, blue);
    EXPECT_EQ(texts[1].style.font, bold);
    EXPECT_EQ(texts[1].style.color, red);
    const auto symbols = commandsOf<DrawSymbol>(styled);
    ASSERT_EQ(symbols.size(), 1u);
    EXPECT_EQ(symbols[0].font, twelve);
    EXPECT_EQ(symbols[0].color, blue);
    EXPECT_EQ(symbols[0].frame.width, 12);
    // Of two modifiers on one view the inner one, nearer the text, wins.
    EXPECT_EQ(onlyText(layOut(Text(Verbatim{"a"}).font(twelve).font(bold), {100, 100})).style.font,
              twelve);

    // Line limit, letter case and multi-line alignment flow the same way; an inner "none"
    // lifts an outer value.
    const auto flowed =
        layOut(VStack({}, {Text(LocalizedStringKey("Daily brief · %@", std::string("nov 16"))),
                           Text(Verbatim{"free"}).lineLimit(std::nullopt).textCase(std::nullopt)})
                   .lineLimit(1)
                   .textCase(TextCase::uppercase)
                   .multilineTextAlignment(TextAlignment::center),
               {200, 200});
    const auto flowedTexts = commandsOf<DrawText>(flowed);
    ASSERT_EQ(flowedTexts.size(), 2u);
    EXPECT_EQ(flowedTexts[0].text, "DAILY BRIEF · NOV 16");
    EXPECT_EQ(flowedTexts[0].style.lineLimit, 1);
    EXPECT_EQ(flowedTexts[0].style.alignment, TextAlignment::center);
    EXPECT_EQ(flowedTexts[1].text, "free");
    EXPECT_EQ(flowedTexts[1].style.lineLimit, std::nullopt);
    EXPECT_EQ(flowedTexts[1].style.alignment, TextAlignment::center);

    // Letter case follows the environment's locale; keys are filled, records kept.
    EXPECT_EQ(onlyText(layOut(Text(Verbatim{"istanbul"}).textCase(TextCase::uppercase), {200, 50},
                              {.locale = "tr_TR"}))
                  .text,
              "İSTANBUL");
    EXPECT_EQ(onlyText(layOut(Text(LocalizedStringKey("%lld", std::int64_t{78})), {100, 50})).text,
              "78");
    EXPECT_EQ(onlyText(layOut(Text(Verbatim{"%lld"}), {100, 50})).text, "%lld");
}

TEST(LayoutText, EachTextIsMeasuredOncePerWidth) {
    // Nested stacks ask their children for sizes many times over; each (text, width) pair
    // reaches the measurer once in a layout.
    auto row = [](const std::string& ticker) {
        return HStack({},
                      {VStack({.alignment = HorizontalAlignment::leading},
                              {Text(Verbatim{ticker}), text("NVIDIA Corporation").lineLimit(1)}),
                       Spacer(),
                       VStack({.alignment = HorizontalAlignment::trailing},
                              {text("+1.25%"), text("Buy").padding(4).background(red)})});
    };
    std::vector<View> rows;
    for (const char* ticker : {"NVDA", "AAPL", "MSFT", "AMZN", "TSLA"}) rows.push_back(row(ticker));
    const View tree = VStack({}, {HStack({}, {text("Watchlist"), Spacer(), text("2m ago")}),
                                  VStack({.spacing = 0}, std::move(rows)), Spacer(0)});
    CountingMeasurer counting;
    const auto result = layoutView(tree, {332, 350}, {}, counting);
    ASSERT_FALSE(result.frames.empty());
    // The texts repeated in every row are distinct views, each measured on its own.
    for (const auto& [call, count] : counting.calls) {
        const auto& [string, width, lineLimit] = call;
        const bool repeated =
            string == "NVIDIA Corporation" || string == "+1.25%" || string == "Buy";
        EXPECT_LE(count, repeated ? 5 : 1) << string << " at " << width << " limit " << lineLimit;
        // Everything fits at its ideal width, so no text is measured at a width, not even at
        // zero to rank the children by flexibility.
        EXPECT_EQ(width, -1) << string;
    }
    EXPECT_EQ(counting.calls.size(), 10u);
}
