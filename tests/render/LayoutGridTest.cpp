#include "render/Layout.h"
#include "tests/render/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace ui;
using namespace timeline;

using namespace render;
using namespace render::testing;

TEST(LayoutGrid, TwoFlexibleColumnsShareTheWidthRowByRow) {
    auto text = [](const char* s, double size = 10) {
        return Text(Verbatim{s}).font(Font::system(size));
    };
    std::vector<View> cells{text("a"), text("bb bb"), text("c", 20)};
    auto grid = [&] {
        return LazyVGrid({.columns = {GridItem::flexible(), GridItem::flexible()}, .spacing = 6},
                         cells);
    };
    // 200 wide: two columns of (200 - 8) / 2 = 96, the second starting at 104; rows 12 and 24
    // high with 6 between them.
    const auto three = layOut(grid(), {200, 100});
    EXPECT_TRUE(sameRect(rectOf(three, "LazyVGrid"), {0, 29, 200, 42}));
    EXPECT_TRUE(sameRect(rectOf(three, "Text \"a\""), {45.5, 29, 5, 12}));
    EXPECT_TRUE(sameRect(rectOf(three, "Text \"bb bb\""), {139.5, 29, 25, 12}));
    // The third cell starts the second row, in the leading column.
    EXPECT_TRUE(sameRect(rectOf(three, "Text \"c\""), {43, 47, 10, 24}));

    // A fourth cell fills the second row and is centred in its height.
    cells.push_back(text("d"));
    const auto four = layOut(grid(), {200, 100});
    EXPECT_TRUE(sameRect(rectOf(four, "LazyVGrid"), {0, 29, 200, 42}));
    EXPECT_TRUE(sameRect(rectOf(four, "Text \"c\""), {43, 47, 10, 24}));
    EXPECT_TRUE(sameRect(rectOf(four, "Text \"d\""), {149.5, 53, 5, 12}));
}
