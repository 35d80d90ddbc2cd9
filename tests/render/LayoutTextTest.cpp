#include "render/Layout.h"
#include "tests/render/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace ui;
using namespace timeline;

using namespace render;
using namespace render::testing;

namespace {

DrawText onlyText(const LayoutResult& result) {
    const auto texts = commandsOf<DrawText>(result);
    EXPECT_EQ(texts.size(), 1u);
    return texts.empty() ? DrawText{} : texts.front();
}

}  // namespace

TEST(LayoutText, LineLimitsCutAtTheProposedWidth) {
    // 22 characters, 110 wide at 10 points, in 60.
    const View phrase = Text(Verbatim{"alpha beta gamma delta"}).font(Font::system(10));
    const DrawText cut = onlyText(layOut(phrase.lineLimit(1), {60, 40}));
    EXPECT_TRUE(sameRect(cut.frame, {2.5, 14, 55, 12}));
    EXPECT_EQ(cut.style.lineLimit, 1);
    // Drawn at its frame's width, the text breaks and ends as it was measured.
    EXPECT_EQ(FakeTextMeasurer::layOut(cut.text, cut.style, cut.frame.width),
              (std::vector<std::string>{"alpha beta…"}));
    // Without a limit it wraps onto as many lines as it needs.
    EXPECT_TRUE(sameRect(onlyText(layOut(phrase, {60, 40})).frame, {2.5, 8, 55, 24}));
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
