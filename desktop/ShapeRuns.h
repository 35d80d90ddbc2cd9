#pragma once

#include <vector>

namespace desktop {

// A drawing's pixels as they are read, never written: Cairo's ARGB32, premultiplied, one
// native-endian word a pixel, `stride` bytes a row.
struct ArgbPixels {
    const unsigned char* data = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;
};

// A stretch of one row of pixels, `width` wide from `x`.
struct ShapeRun {
    int x = 0;
    int y = 0;
    int width = 0;

    bool operator==(const ShapeRun&) const = default;
};

// The stretches of each row whose pixels are at least half opaque (alpha 128 and up), left to
// right and top to bottom: the outline of a window cut to a drawing's rounded corners where no
// compositor blends its edges. A row with no such pixel has none.
[[nodiscard]] std::vector<ShapeRun> shapeRuns(const ArgbPixels& pixels);

}  // namespace desktop
