#pragma once

#include "desktop/DesktopSettings.h"
#include "layout/Geometry.h"

#include <vector>

namespace desktop {

// Where the board's widgets go: their frames in placement order and the size the whole grid
// needs, in points from the board's top-left corner.
struct DesktopGrid {
    int columns = 0;
    std::vector<layout::Rect> frames;
    layout::Size size;

    bool operator==(const DesktopGrid&) const = default;
};

// The widgets of `sizes` flowed into as many columns as `width` holds (at least the settings'
// minimum): each takes the columns its width spans and starts a new row when the current one
// has too few left; no later widget goes back to fill a gap. The grid stands centred in
// `width`, on whole points so that it meets the device pixels at every integer scale.
[[nodiscard]] DesktopGrid desktopGrid(const std::vector<layout::Size>& sizes, double width,
                                      const DesktopSettings& settings);

}  // namespace desktop
