#include "desktop/DesktopCells.h"

#include <algorithm>
#include <cmath>

using hosting::DesktopCell;
using layout::Point;
using layout::Rect;
using layout::Size;

namespace desktop {

namespace {

double pitch(const DesktopSettings& settings) {
    return settings.columnWidth + settings.gap;
}

// How many cells a widget of `length` points spans along one side.
int span(double length, const DesktopSettings& settings) {
    return std::max(1, int(std::ceil((length + settings.gap) / pitch(settings) - 1e-9)));
}

// The last cell along one side at which a widget of `length` points stands whole on an output
// of `outputLength`, its margin kept; -1 where it fits nowhere.
int lastCell(double length, double outputLength, const DesktopSettings& settings) {
    const double room = outputLength - 2 * settings.margin - length;
    return room < 0 ? -1 : int(std::floor(room / pitch(settings) + 1e-9));
}

struct Span {
    int column, row, columns, rows;
    [[nodiscard]] bool overlaps(const Span& other) const {
        return column < other.column + other.columns && other.column < column + columns &&
               row < other.row + other.rows && other.row < row + rows;
    }
};

}  // namespace

Point cellOrigin(const DesktopCell& cell, const DesktopSettings& settings) {
    return {settings.margin + cell.column * pitch(settings),
            settings.margin + cell.row * pitch(settings)};
}

DesktopCell snappedCell(Point origin, Size size, Size output, const DesktopSettings& settings) {
    const auto nearest = [&](double at, double length, double outputLength) {
        const int last = lastCell(length, outputLength, settings);
        if (last < 0) return 0;
        return std::clamp(int(std::lround((at - settings.margin) / pitch(settings))), 0, last);
    };
    return {"", nearest(origin.x, size.width, output.width),
            nearest(origin.y, size.height, output.height)};
}

std::vector<DesktopCell> arrangedCells(const std::vector<std::optional<DesktopCell>>& cells,
                                       const std::vector<Size>& sizes, Size output,
                                       const DesktopSettings& settings) {
    std::vector<Span> taken;
    const auto spanOf = [&](const DesktopCell& cell, Size size) {
        return Span{cell.column, cell.row, span(size.width, settings), span(size.height, settings)};
    };
    for (std::size_t i = 0; i < cells.size(); ++i)
        if (cells[i]) taken.push_back(spanOf(*cells[i], sizes[i]));

    std::vector<DesktopCell> arranged;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (cells[i]) {
            arranged.push_back(*cells[i]);
            continue;
        }
        DesktopCell found;
        bool fits = false;
        const int columns = lastCell(sizes[i].width, output.width, settings);
        const int rows = lastCell(sizes[i].height, output.height, settings);
        for (int column = 0; !fits && column <= columns; ++column)
            for (int row = 0; !fits && row <= rows; ++row) {
                const auto candidate = spanOf({"", column, row}, sizes[i]);
                if (std::none_of(taken.begin(), taken.end(),
                                 [&](const Span& other) { return other.overlaps(candidate); })) {
                    found = {"", column, row};
                    fits = true;
                }
            }
        taken.push_back(spanOf(found, sizes[i]));
        arranged.push_back(found);
    }
    return arranged;
}

}  // namespace desktop
