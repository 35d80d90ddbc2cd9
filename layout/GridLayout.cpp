#include "layout/LayoutEngine.h"

namespace layout::detail {

using namespace ui;

// Flexible columns share the proposed width after the spacing between them, each kept within
// its minimum and maximum; cells go row by row, leading to trailing, each proposed its column's
// width and placed in it by the grid's alignment, centred in a row as tall as its tallest cell.
Arrangement Engine::arrangeGrid(const LazyVGridNode& grid, std::vector<Child> children,
                                ProposedSize p) {
    Arrangement out;
    const std::vector<GridItem>& columns = grid.columns;
    const std::size_t columnCount = columns.size();
    if (columnCount == 0 || children.empty()) return out;

    std::vector<double> gaps(columnCount, 0);  // after each column
    double gapTotal = 0;
    for (std::size_t c = 0; c + 1 < columnCount; ++c) {
        gaps[c] = columns[c].spacing.value_or(defaults::gridColumnSpacing);
        gapTotal += gaps[c];
    }

    std::vector<double> widths(columnCount, 0);
    if (p.width) {
        // Share out equally; a column held at a bound leaves the rest to the others.
        const double available = std::max(0.0, *p.width - gapTotal);
        std::vector<bool> settled(columnCount, false);
        for (bool changed = true; changed;) {
            changed = false;
            double left = available;
            std::size_t open = 0;
            for (std::size_t c = 0; c < columnCount; ++c) {
                if (settled[c])
                    left -= widths[c];
                else
                    ++open;
            }
            if (open == 0) break;
            const double share = std::max(0.0, left / double(open));
            for (std::size_t c = 0; c < columnCount; ++c) {
                if (settled[c]) continue;
                widths[c] = share;
                if (share < columns[c].minimum || share > columns[c].maximum) {
                    widths[c] = std::clamp(share, columns[c].minimum,
                                           std::max(columns[c].minimum, columns[c].maximum));
                    settled[c] = true;
                    changed = true;
                }
            }
        }
    } else {
        // Ideal: each column as wide as its widest cell, within its bounds.
        for (std::size_t i = 0; i < children.size(); ++i) {
            const Measured m = measure(children[i].ref, {}, children[i].env);
            widths[i % columnCount] = std::max(widths[i % columnCount], m.size.width);
        }
        for (std::size_t c = 0; c < columnCount; ++c)
            widths[c] = clampTo(widths[c], columns[c].minimum, columns[c].maximum);
    }

    std::vector<double> columnX(columnCount, 0);
    for (std::size_t c = 1; c < columnCount; ++c)
        columnX[c] = columnX[c - 1] + widths[c - 1] + gaps[c - 1];
    const double rowSpacing = grid.spacing.value_or(defaults::stackSpacing);

    out.children.resize(children.size());
    double y = 0;
    for (std::size_t rowStart = 0; rowStart < children.size(); rowStart += columnCount) {
        const std::size_t rowEnd = std::min(children.size(), rowStart + columnCount);
        double rowHeight = 0;
        for (std::size_t i = rowStart; i < rowEnd; ++i) {
            PlacedChild& cell = out.children[i];
            cell.child = children[i];
            cell.proposal = {widths[i - rowStart], std::nullopt};
            cell.measured = measure(cell.child.ref, cell.proposal, cell.child.env);
            rowHeight = std::max(rowHeight, cell.measured.size.height);
        }
        for (std::size_t i = rowStart; i < rowEnd; ++i) {
            PlacedChild& cell = out.children[i];
            const std::size_t c = i - rowStart;
            cell.offset = {
                columnX[c] + offsetFor(grid.alignment, widths[c] - cell.measured.size.width),
                y + (rowHeight - cell.measured.size.height) / 2};
        }
        y += rowHeight + rowSpacing;
    }
    out.measured.size = {columnX.back() + widths.back(), y - rowSpacing};
    const PlacedChild& first = out.children.front();
    out.measured.baseline = first.offset.y + first.measured.baseline;
    return out;
}

}  // namespace layout::detail
