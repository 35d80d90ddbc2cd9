#pragma once

// PNG encoding tuned for speed: widget images are mostly flat colour, which the fastest deflate
// level packs well without row filters; Cairo's own writer (adaptive filters, zlib level 6)
// spends several times as long. libpng writes the container, ISA-L compresses the image data.

#include "platform/Result.h"
#include "render/Painter.h"

#include <cstdint>
#include <string>

namespace render {

// An image in Cairo's pixel format, borrowed: rows of native-endian 32-bit ARGB with
// premultiplied alpha, each `stride` bytes after the one before.
struct PremultipliedImage {
    const unsigned char* data = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;
    bool operator==(const PremultipliedImage&) const = default;
};

// A pixel of such an image, with straight alpha.
[[nodiscard]] Rgba straightPixel(std::uint32_t argb);

// The image as PNG bytes: RGB samples when every pixel is opaque (every widget canvas is), else
// RGBA. Fails only when the compressor or libpng does.
[[nodiscard]] platform::Result<std::string> encodePng(const PremultipliedImage& image);

}  // namespace render
