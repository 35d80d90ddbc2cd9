#pragma once

#include "desktop/DesktopSettings.h"
#include "hosting/DesktopPlacements.h"
#include "layout/Geometry.h"

#include <optional>
#include <vector>

namespace desktop {

// Where widgets stand on the desktop itself: on a grid of cells one small widget wide and tall
// (170 points and the 24-point gap after it), from the margin at the output's top-left corner.
// A widget covers the cells its size reaches into: a medium one two columns, a large one
// (382 points tall) two columns and three rows.

// The top-left corner of `cell`, in points from the output's top-left corner.
[[nodiscard]] layout::Point cellOrigin(const hosting::DesktopCell& cell,
                                       const DesktopSettings& settings);

// The cell nearest to a widget of `size` whose top-left corner was dropped at `origin`, on an
// output of `output` points: whole on the output where it fits, the top-left cell otherwise.
[[nodiscard]] hosting::DesktopCell snappedCell(layout::Point origin, layout::Size size,
                                               layout::Size output,
                                               const DesktopSettings& settings);

// The cells of widgets that have none yet, on an output of `output` points: each in turn takes
// the first cell, down the columns from the top-left corner, where it overlaps none of the
// widgets already placed; one that fits nowhere goes to the top-left cell. Cells given stay.
[[nodiscard]] std::vector<hosting::DesktopCell> arrangedCells(
    const std::vector<std::optional<hosting::DesktopCell>>& cells,
    const std::vector<layout::Size>& sizes, layout::Size output, const DesktopSettings& settings);

}  // namespace desktop
