#include "desktop/ShapeRuns.h"

#include <cstdint>
#include <cstring>

namespace desktop {

std::vector<ShapeRun> shapeRuns(const ArgbPixels& pixels) {
    const auto opaque = [&](int x, int y) {
        std::uint32_t word;
        std::memcpy(&word,
                    pixels.data + std::size_t(y) * std::size_t(pixels.stride) + std::size_t(x) * 4,
                    sizeof word);
        return (word >> 24) >= 128;
    };
    std::vector<ShapeRun> runs;
    for (int y = 0; y < pixels.height; ++y)
        for (int x = 0; x < pixels.width;) {
            if (!opaque(x, y)) {
                ++x;
                continue;
            }
            const int start = x;
            while (x < pixels.width && opaque(x, y)) ++x;
            runs.push_back({start, y, x - start});
        }
    return runs;
}

}  // namespace desktop
