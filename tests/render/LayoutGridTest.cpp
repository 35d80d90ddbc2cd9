#include "render/Layout.h"
#include "tests/render/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace render;
using namespace render::testing;

namespace {

View text(const char* s, double size = 10) {
    return Text(Verbatim{s}).font(Font::system(size));
}

View grid(std::vector<View> cells, HorizontalAlignment alignment = HorizontalAlignment::center,
          std::vector<GridItem> columns = {GridItem::flexible(), GridItem::flexible()}) {
    return LazyVGrid({.columns = std::move(columns), .alignment = alignment, .spacing = 6},
                     std::move(cells));
}

}  // namespace

TEST(LayoutGrid, TwoFlexibleColumnsShareTheWidthRowByRow) {
    // 200 wide: two columns of (200 - 8) / 2 = 96, the second starting at 104.
    const auto three = layOut(grid({text("a"), text("bb bb"), text("c", 20)}), {200, 100});
    // Rows 12 and 24 high with 6 between them.
    EXPECT_TRUE(sameRect(rectOf(three, "LazyVGrid"), {0, 29, 200, 42}));
    EXPECT_TRUE(sameRect(rectOf(three, "Text \"a\""), {45.5, 29, 5, 12}));
    EXPECT_TRUE(sameRect(rectOf(three, "Text \"bb bb\""), {139.5, 29, 25, 12}));
    // The third cell starts the second row, in the leading column.
    EXPECT_TRUE(sameRect(rectOf(three, "Text \"c\""), {43, 47, 10, 24}));

    // A fourth cell fills the second row and is centred in its height.
    const auto four =
        layOut(grid({text("a"), text("bb bb"), text("c", 20), text("d")}), {200, 100});
    EXPECT_TRUE(sameRect(rectOf(four, "LazyVGrid"), {0, 29, 200, 42}));
    EXPECT_TRUE(sameRect(rectOf(four, "Text \"c\""), {43, 47, 10, 24}));
    EXPECT_TRUE(sameRect(rectOf(four, "Text \"d\""), {149.5, 53, 5, 12}));

    // Cells are proposed their column's width: a flexible cell fills it.
    const auto filled = layOut(
        grid({text("a").frame({.maxWidth = infinity}), text("b").frame({.maxWidth = infinity})}),
        {200, 100});
    const auto frames = rectsOf(filled, "frame");
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_TRUE(sameRect(frames[0], {0, 44, 96, 12}));
    EXPECT_TRUE(sameRect(frames[1], {104, 44, 96, 12}));
}

TEST(LayoutGrid, AlignmentSpacingAndColumnBounds) {
    const auto leading =
        layOut(grid({text("a"), text("bb bb")}, HorizontalAlignment::leading), {200, 12});
    EXPECT_TRUE(sameRect(rectOf(leading, "Text \"a\""), {0, 0, 5, 12}));
    EXPECT_TRUE(sameRect(rectOf(leading, "Text \"bb bb\""), {104, 0, 25, 12}));
    const auto trailing =
        layOut(grid({text("a"), text("bb bb")}, HorizontalAlignment::trailing), {200, 12});
    EXPECT_TRUE(sameRect(rectOf(trailing, "Text \"bb bb\""), {175, 0, 25, 12}));

    // A column held at its minimum leaves the rest to the other; a column's own spacing
    // replaces the default after it.
    const auto bounded = layOut(grid({text("a"), text("b")}, HorizontalAlignment::leading,
                                     {GridItem::flexible(150), GridItem::flexible()}),
                                {200, 12});
    EXPECT_TRUE(sameRect(rectOf(bounded, "Text \"b\""), {158, 0, 5, 12}));
    const auto capped = layOut(grid({text("a"), text("b")}, HorizontalAlignment::leading,
                                    {GridItem{10, 40, 2}, GridItem::flexible()}),
                               {200, 12});
    EXPECT_TRUE(sameRect(rectOf(capped, "Text \"b\""), {42, 0, 5, 12}));
    EXPECT_TRUE(sameRect(rectOf(capped, "LazyVGrid"), {0, 0, 200, 12}));

    // A cell narrower than its content wraps to the column.
    const auto wrapped = layOut(grid({text("aaaa bbbb"), text("c")}), {60, 100});
    EXPECT_TRUE(sameRect(rectOf(wrapped, "Text \"aaaa bbbb\""), {3, 38, 20, 24}));

    // Proposed no width, each column is as wide as its widest cell.
    EXPECT_EQ(fit(grid({text("a"), text("bb bb"), text("cccc")}), {}), (Size{53, 30}));
}
