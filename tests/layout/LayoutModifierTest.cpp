#include "layout/Layout.h"
#include "style/Palette.h"
#include "tests/layout/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace ui;
using namespace timeline;

using namespace layout;
using namespace layout::testing;

TEST(LayoutFrame, InfiniteMaximumsTakeTheProposalAndAlignTheChild) {
    // "ab" is 10 × 12; the frame fills the 100 × 60 canvas.
    const std::pair<Alignment, Point> cases[] = {
        {Alignment::topLeading, {0, 0}},
        {Alignment::center, {45, 24}},
        {Alignment::trailing, {90, 24}},
        {{HorizontalAlignment::leading, VerticalAlignment::bottom}, {0, 48}},
    };
    for (const auto& [alignment, child] : cases) {
        expectFrames(
            {"frame",
             Text(Verbatim{"ab"})
                 .font(Font::system(10))
                 .frame({.maxWidth = infinity, .maxHeight = infinity, .alignment = alignment}),
             {100, 60},
             {{"frame", {0, 0, 100, 60}}, {"Text", {child.x, child.y, 10, 12}}}});
    }
}

TEST(LayoutModifiers, PaddingThenBackgroundThenClip) {
    // The signal label: "Buy" 15 × 12, padded 5 on the sides and 2 above and below.
    const Color fill = Color::rgb8(34, 197, 94).opacity(0.18);
    const auto result = layOut(Text(Verbatim{"Buy"})
                                   .font(Font::system(10))
                                   .padding(Edges::horizontal, 5)
                                   .padding(Edges::vertical, 2)
                                   .background(fill)
                                   .clipShape(RoundedRectangle{3, RoundedCornerStyle::continuous}),
                               {100, 100});
    const Rect padded{37.5, 42, 25, 16};
    EXPECT_TRUE(sameRect(rectOf(result, "Text"), {42.5, 44, 15, 12}));

    // Clip, fill of the whole padded rect, text, end of clip, in that order.
    const auto& commands = result.drawList.commands;
    ASSERT_EQ(commands.size(), 4u);
    const auto* clip = std::get_if<PushClip>(&commands[0]);
    ASSERT_NE(clip, nullptr);
    EXPECT_TRUE(sameRect(clip->rect, padded));
    EXPECT_EQ(clip->cornerRadius, 3);
    const auto* background = std::get_if<FillShape>(&commands[1]);
    ASSERT_NE(background, nullptr);
    EXPECT_TRUE(sameRect(background->rect, padded));
    EXPECT_EQ(background->color, fill);
    EXPECT_TRUE(std::holds_alternative<DrawText>(commands[2]));
    EXPECT_TRUE(std::holds_alternative<PopClip>(commands[3]));
}
