#include "layout/Layout.h"
#include "layout/LayoutEngine.h"
#include "tests/layout/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace ui;

using namespace layout;
using namespace layout::testing;

// At 10 points a character is 5 wide and a line 12 high. Drawn at its frame's width with the
// line limit it was fitted with, a text breaks and ends as it was measured.
TEST(LayoutText, WrapsAndCutsToTheWidthAndTheLinesThatFit) {
    const View phrase = Text(Verbatim{"alpha beta gamma delta"}).font(Font::system(10));
    std::string words;
    for (int i = 0; i < 200'000; ++i) words += "word ";
    const struct {
        const char* name;
        View view;
        Size canvas;
        Rect frame;
        std::optional<int> lineLimit;
        std::vector<std::string> lines;
    } cases[] = {
        {"wrapped", phrase, {60, 40}, {2.5, 8, 55, 24}, {}, {"alpha beta", "gamma delta"}},
        {"line limit", phrase.lineLimit(1), {60, 40}, {2.5, 14, 55, 12}, 1, {"alpha beta…"}},
        // Four lines in 40 high: the three that fit, the last ending in "…".
        {"short height", phrase, {30, 40}, {0, 2, 30, 36}, 3, {"alpha", "beta", "gamma…"}},
        {"shorter than the limit",
         phrase.lineLimit(2),
         {60, 20},
         {2.5, 4, 55, 12},
         1,
         {"alpha beta…"}},
        // A megabyte reaches the measurer and the painter only as far as two lines can show.
        {"a megabyte",
         Text(Verbatim{words}).font(Font::system(10)).lineLimit(2).frame({.maxWidth = 30}),
         {60, 40},
         {17.5, 8, 25, 24},
         2,
         {"word", "word…"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto texts = commandsOf<DrawText>(layOut(c.view, c.canvas));
        ASSERT_EQ(texts.size(), 1u);
        const DrawText& drawn = texts.front();
        EXPECT_TRUE(sameRect(drawn.frame, c.frame));
        EXPECT_EQ(drawn.style.lineLimit, c.lineLimit);
        EXPECT_EQ(FakeTextMeasurer::layOut(drawn.text, drawn.style, drawn.frame.width), c.lines);
        EXPECT_LT(drawn.text.size(), 100u);
    }
}

// Texts and sizes are remembered by what they depend on, not by where the view lives: the same
// view measured in another environment measures anew.
TEST(LayoutText, MeasuresAgainInAnotherEnvironment) {
    const View view = Text(Verbatim{"ab cd"});
    const EnvironmentValues environment;
    detail::Engine engine(environment, fakeMeasurer(), 2, Size{100, 100});
    detail::Env ten = engine.rootEnv(), twenty = ten, upper = ten;
    ten.font = upper.font = Font::system(10);
    twenty.font = Font::system(20);
    upper.textCase = TextCase::uppercase;
    const struct {
        const detail::Env& env;
        ProposedSize proposal;
        Size size;
    } cases[] = {
        {ten, {100, 100}, {25, 12}},   {twenty, {100, 100}, {50, 24}}, {ten, {20, 100}, {10, 24}},
        {twenty, {30, 100}, {20, 48}}, {upper, {100, 100}, {25, 12}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(engine.measure({&view, 0}, c.proposal, c.env).size, c.size);
    engine.place({&view, 0}, {0, 0}, {100, 100}, upper, 0);
    EXPECT_EQ(commandsOf<DrawText>(engine.result).front().text, "AB CD");
}

TEST(LayoutText, EnvironmentFlowsDownAndInnerValuesWin) {
    constexpr Color red = Color::rgb8(239, 68, 68);
    constexpr Color blue = Color::rgb8(0, 0, 255);
    const Font twelve = Font::system(12);
    const Font bold = Font::system(20, FontWeight::bold, FontDesign::monospaced);
    const auto styled =
        layOut(VStack({}, {Text(Verbatim{"a"}), Text(Verbatim{"b"}).font(bold).foregroundColor(red),
                           HStack({}, {Image(SystemName{"star"})})})
                   .font(twelve)
                   .foregroundColor(blue)
                   .textCase(TextCase::uppercase),
               {200, 200});
    const auto texts = commandsOf<DrawText>(styled);
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_EQ(texts[0].text, "A");
    EXPECT_EQ(texts[0].style.font, twelve);
    EXPECT_EQ(texts[0].style.color, blue);
    EXPECT_EQ(texts[1].style.font, bold);
    EXPECT_EQ(texts[1].style.color, red);
    const auto symbols = commandsOf<DrawSymbol>(styled);
    ASSERT_EQ(symbols.size(), 1u);
    EXPECT_EQ(symbols[0].font, twelve);
    EXPECT_EQ(symbols[0].color, blue);
}
