#include "layout/Layout.h"
#include "tests/layout/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace ui;

using namespace layout;
using namespace layout::testing;

// Cells of 10-point texts (5 a character, 12 high), centred in their columns.
TEST(LayoutGrid, ColumnsShareTheWidthWithinTheirBoundsRowByRow) {
    auto text = [](const char* s, double size = 10) {
        return Text(Verbatim{s}).font(Font::system(size));
    };
    auto grid = [&](std::vector<GridItem> columns, std::vector<View> cells) {
        return LazyVGrid({.columns = std::move(columns), .spacing = 6}, std::move(cells));
    };
    const GridItem flexible = GridItem::flexible();
    const std::vector<View> cells{text("a"), text("bb bb"), text("c", 20), text("d")};
    const LayoutCase cases[] = {
        // (200 - 8) / 2 = 96 each; rows 12 and 24 high with 6 between, the cells centred in both.
        {"equal columns",
         grid({flexible, flexible}, cells),
         {200, 100},
         {{"LazyVGrid", {0, 29, 200, 42}},
          {"Text \"a\"", {45.5, 29, 5, 12}},
          {"Text \"bb bb\"", {139.5, 29, 25, 12}},
          {"Text \"c\"", {43, 47, 10, 24}},
          {"Text \"d\"", {149.5, 53, 5, 12}}}},
        // A column held at its minimum or maximum leaves the rest to the other.
        {"minimum",
         grid({GridItem::flexible(60), flexible}, {text("a"), text("b")}),
         {100, 20},
         {{"Text \"a\"", {27.5, 4, 5, 12}}, {"Text \"b\"", {81.5, 4, 5, 12}}}},
        {"maximum",
         grid({GridItem::flexible(10, 20), flexible}, {text("a"), text("b")}),
         {100, 20},
         {{"Text \"a\"", {7.5, 4, 5, 12}}, {"Text \"b\"", {61.5, 4, 5, 12}}}},
    };
    for (const LayoutCase& c : cases) expectFrames(c);
    // Offered no width, each column is as wide as its widest cell: 10 + 8 + 25.
    EXPECT_EQ(sizeThatFits(grid({flexible, flexible}, cells), {}, {}, fakeMeasurer()),
              (Size{43, 42}));
}
