#include "render/Layout.h"
#include "tests/render/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace ui;
using namespace timeline;

using namespace render;
using namespace render::testing;

namespace {

View text(const char* s, double size = 10) {
    return Text(Verbatim{s}).font(Font::system(size));
}

}  // namespace

TEST(LayoutStack, SpacersShareTheFreeLengthDownToTheirMinimum) {
    // Texts 10 pt: 5 points a character, 12 high.
    const View stack = VStack({.alignment = HorizontalAlignment::leading, .spacing = 4},
                              {text("Title"), Spacer(), text("Body text"), Spacer(0), text("End")});

    // Room to spare: 100 - 4 × 4 spacing - 3 × 12 texts leaves 48, shared by the two spacers.
    const auto roomy = layOut(stack, {100, 100});
    EXPECT_TRUE(sameRect(rectOf(roomy, "VStack"), {27.5, 0, 45, 100}));
    EXPECT_EQ(rectsOf(roomy, "Spacer"), (std::vector<Rect>{{27.5, 16, 0, 24}, {27.5, 60, 0, 24}}));
    EXPECT_TRUE(sameRect(rectOf(roomy, "Text \"Body text\""), {27.5, 44, 45, 12}));
    EXPECT_TRUE(sameRect(rectOf(roomy, "Text \"End\""), {27.5, 88, 15, 12}));

    // Too little room: the default spacer keeps its 8, the other shrinks to nothing, and the
    // stack overflows its proposal, centred on it.
    const auto tight = layOut(stack, {100, 50});
    EXPECT_TRUE(sameRect(rectOf(tight, "VStack"), {27.5, -5, 45, 60}));
    EXPECT_EQ(rectsOf(tight, "Spacer"), (std::vector<Rect>{{27.5, 11, 0, 8}, {27.5, 39, 0, 0}}));
    EXPECT_TRUE(sameRect(rectOf(tight, "Text \"End\""), {27.5, 43, 15, 12}));
}

TEST(LayoutStack, FirstTextBaselineLinesUpTwoFontSizes) {
    // A 20-point text (24 high, baseline at 18) beside a 10-point one (12 high, baseline 9):
    // the small text drops by 18 - 9; the stack is 18 above the baseline and 6 below it.
    const auto result =
        layOut(HStack({.alignment = VerticalAlignment::firstTextBaseline, .spacing = 4},
                      {text("Big", 20), text("small")}),
               {100, 100});
    EXPECT_TRUE(sameRect(rectOf(result, "HStack"), {20.5, 38, 59, 24}));
    EXPECT_TRUE(sameRect(rectOf(result, "Text \"Big\""), {20.5, 38, 30, 24}));
    EXPECT_TRUE(sameRect(rectOf(result, "Text \"small\""), {54.5, 47, 25, 12}));
}
