#pragma once

#include "layout/DrawList.h"
#include "layout/PlatformDefaults.h"
#include "render/Painter.h"
#include "render/PngEncoder.h"

#include <cstdint>
#include <vector>

namespace render {

// Pixels in rows from the top, each row from the left, with straight (not premultiplied) alpha.
struct Bitmap {
    int width = 0;
    int height = 0;
    std::vector<Rgba> pixels;

    [[nodiscard]] Rgba at(int x, int y) const { return pixels[std::size_t(y) * width + x]; }
    bool operator==(const Bitmap&) const = default;
};

// The list drawn as a PNG would be, before encoding: canvas × scale pixels, transparent where
// nothing is drawn. An invalid canvas or scale gives an empty bitmap.
inline Bitmap renderBitmap(const layout::DrawList& list,
                           double scale = layout::defaults::renderScale) {
    const auto size = pixelSize(list, scale);
    if (!size) return {};
    std::vector<std::uint32_t> words(std::size_t(size->stride / 4) * std::size_t(size->height));
    if (!paintPixels(list, scale,
                     {reinterpret_cast<unsigned char*>(words.data()), size->width, size->height,
                      size->stride}))
        return {};
    Bitmap bitmap{size->width, size->height, {}};
    bitmap.pixels.reserve(std::size_t(size->width) * std::size_t(size->height));
    for (int y = 0; y < size->height; ++y)
        for (int x = 0; x < size->width; ++x)
            bitmap.pixels.push_back(
                straightPixel(words[std::size_t(y) * std::size_t(size->stride / 4) + x]));
    return bitmap;
}

}  // namespace render
