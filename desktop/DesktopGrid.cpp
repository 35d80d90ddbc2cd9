#include "desktop/DesktopGrid.h"

#include <algorithm>
#include <cmath>

namespace desktop {

DesktopGrid desktopGrid(const std::vector<layout::Size>& sizes, double width,
                        const DesktopSettings& settings) {
    const double pitch = settings.columnWidth + settings.gap;
    DesktopGrid grid;
    grid.columns = std::max(settings.minimumColumns,
                            int(std::floor((width - 2 * settings.margin + settings.gap) / pitch)));
    const double gridWidth = grid.columns * pitch - settings.gap;
    const double left = std::max(settings.margin, std::floor((width - gridWidth) / 2));

    int column = 0;
    double top = settings.margin;
    double rowHeight = 0;
    for (const auto& size : sizes) {
        const int span =
            std::clamp(int(std::lround((size.width + settings.gap) / pitch)), 1, grid.columns);
        if (column > 0 && column + span > grid.columns) {
            top += rowHeight + settings.gap;
            column = 0;
            rowHeight = 0;
        }
        grid.frames.push_back({left + column * pitch, top, size.width, size.height});
        column += span;
        rowHeight = std::max(rowHeight, size.height);
    }
    grid.size = {gridWidth + 2 * settings.margin, top + rowHeight + settings.margin};
    return grid;
}

}  // namespace desktop
