#include "desktop/ShapeRuns.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

using desktop::ArgbPixels;
using desktop::ShapeRun;
using desktop::shapeRuns;

TEST(ShapeRuns, CutsTheWindowToThePixelsAtLeastHalfOpaque) {
    struct Case {
        const char* what;
        std::vector<std::vector<std::uint32_t>> alphas;  // rows of the same width
        std::vector<ShapeRun> runs;
    };
    const std::vector<Case> cases{
        {"rounded corners: the corner pixels out, the inside in",
         {{0, 40, 255, 255, 40, 0},
          {90, 255, 255, 255, 255, 90},
          {255, 255, 255, 255, 255, 255},
          {0, 200, 255, 255, 200, 0}},
         {{2, 0, 2}, {1, 1, 4}, {0, 2, 6}, {1, 3, 4}}},
        {"half opaque is in, just under it out", {{127, 128, 255, 127}}, {{1, 0, 2}}},
        {"a transparent row has no run; a hole splits a row",
         {{255, 255, 255}, {0, 0, 0}, {255, 0, 255}},
         {{0, 0, 3}, {0, 2, 1}, {2, 2, 1}}},
        {"nothing drawn, nothing kept", {{0, 0}, {0, 0}}, {}},
    };
    for (const auto& c : cases) {
        const int width = int(c.alphas.front().size()), height = int(c.alphas.size());
        // Each row padded with opaque words: what lies past the width is never part of it.
        const int stride = 4 * width + 8;
        std::vector<unsigned char> pixels(std::size_t(stride * height), 0xff);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const std::uint32_t alpha = c.alphas[y][x];
                const std::uint32_t word = alpha << 24 | alpha << 16 | alpha << 8 | alpha;
                std::memcpy(&pixels[std::size_t(y * stride + 4 * x)], &word, sizeof word);
            }
        EXPECT_EQ(shapeRuns(ArgbPixels{pixels.data(), width, height, stride}), c.runs) << c.what;
    }
}
