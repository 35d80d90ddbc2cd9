#include "desktop/DesktopCells.h"

#include <gtest/gtest.h>

#include <ostream>

namespace hosting {
void PrintTo(const DesktopCell& cell, std::ostream* out) {
    *out << '"' << cell.output << "\" " << cell.column << ", " << cell.row;
}
}  // namespace hosting

using desktop::arrangedCells;
using desktop::cellOrigin;
using desktop::DesktopSettings;
using desktop::snappedCell;
using hosting::DesktopCell;
using layout::Point;
using layout::Size;

namespace {

const DesktopSettings settings;
constexpr Size small{170, 170}, medium{364, 170}, large{364, 382};
constexpr Size screen{1024, 768};  // 5 columns (24 + 5 × 194 − 24 = 970), 3 rows

}  // namespace

TEST(DesktopCells, CellsStandOnTheGridOfSmallWidgetsFromTheMargin) {
    EXPECT_EQ(cellOrigin({"", 0, 0}, settings), (Point{24, 24}));
    EXPECT_EQ(cellOrigin({"DP-1", 2, 1}, settings), (Point{412, 218}));
    // A medium widget spans two columns exactly: the grid's promise.
    EXPECT_EQ(cellOrigin({"", 2, 0}, settings).x - cellOrigin({"", 0, 0}, settings).x,
              medium.width + settings.gap);
}

TEST(DesktopCells, ADropSnapsToTheNearestCellWhereTheWidgetFitsWhole) {
    struct Case {
        Point dropped;
        Size size;
        DesktopCell cell;
    };
    const Case cases[] = {
        {{24, 24}, small, {"", 0, 0}},
        {{120, 24}, small, {"", 0, 0}},  // just short of half a cell
        {{122, 24}, small, {"", 1, 0}},  // just past it
        {{54, 424}, small, {"", 0, 2}},
        {{-300, -90}, small, {"", 0, 0}},   // off the top-left corner
        {{2000, 2000}, small, {"", 4, 2}},  // off the bottom-right: the last cell
        {{2000, 24}, medium, {"", 3, 0}},   // two columns wide: its right column is the last
        {{24, 2000}, large, {"", 0, 1}},    // 218 + 382 leaves its bottom margin on screen
    };
    for (const auto& c : cases)
        EXPECT_EQ(snappedCell(c.dropped, c.size, screen, settings), c.cell)
            << c.dropped.x << ", " << c.dropped.y;
    // A widget wider than the screen goes to the top-left cell.
    EXPECT_EQ(snappedCell({500, 300}, large, {300, 300}, settings), (DesktopCell{"", 0, 0}));
}

TEST(DesktopCells, WidgetsWithoutCellsFillTheColumnsAroundTheOnesPlaced) {
    struct Case {
        const char* what;
        std::vector<std::optional<DesktopCell>> cells;
        std::vector<Size> sizes;
        std::vector<DesktopCell> arranged;
    };
    const Case cases[] = {
        {"down the first column, then the next",
         {{}, {}, {}, {}},
         {small, small, small, small},
         {{"", 0, 0}, {"", 0, 1}, {"", 0, 2}, {"", 1, 0}}},
        {"around a widget placed, which stays",
         {{}, DesktopCell{"DP-1", 0, 1}, {}},
         {small, medium, small},
         {{"", 0, 0}, {"DP-1", 0, 1}, {"", 0, 2}}},
        {"a wide one skips the cells it does not fit",
         {DesktopCell{"", 1, 0}, {}},
         {small, medium},
         {{"", 1, 0}, {"", 0, 1}}},
        {"a large one takes three rows: the next small starts the third column",
         {{}, {}},
         {large, small},
         {{"", 0, 0}, {"", 2, 0}}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(arrangedCells(c.cells, c.sizes, screen, settings), c.arranged) << c.what;
    // With no room left, the top-left cell.
    EXPECT_EQ(arrangedCells({{}, {}}, {large, large}, {420, 450}, settings),
              (std::vector<DesktopCell>{{"", 0, 0}, {"", 0, 0}}));
}
