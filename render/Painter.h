#pragma once

#include "layout/DrawList.h"
#include "layout/PlatformDefaults.h"
#include "platform/Result.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace render {

// Draws a DrawList with Cairo: PNG at a scale (the canvas times the scale in pixels), SVG and PDF
// at the canvas size in points. Commands are drawn in order, antialiased; a PopClip without its
// PushClip is ignored and clips still open at the end are closed. Texts are drawn by
// render/PangoTextPainter.h, symbols from render/Symbols.h, PNG bytes written by
// render/PngEncoder.h.

enum class ImageFormat { png, svg, pdf };

// The format a file name asks for by its extension, in any letter case: .png, .svg or .pdf.
[[nodiscard]] std::optional<ImageFormat> imageFormatForPath(const std::filesystem::path& path);

// The encoded image. The scale applies to PNG only and must lie between 1 and 3.
[[nodiscard]] platform::Result<std::string> paintToBytes(
    const layout::DrawList& list, ImageFormat format, double scale = layout::defaults::renderScale);

// A pixel with straight (not premultiplied) alpha.
struct Rgba {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 0;
    bool operator==(const Rgba&) const = default;
};

// Memory that holds an image in Cairo's ARGB32 form: premultiplied alpha, one native-endian
// 32-bit word per pixel, rows `stride` bytes apart. The caller owns it (shared memory, a
// window's buffer).
struct PixelTarget {
    unsigned char* data = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;
};

// The size in pixels of the list's canvas at `scale`, and the row stride its ARGB32 image takes.
struct PixelSize {
    int width = 0;
    int height = 0;
    int stride = 0;
    bool operator==(const PixelSize&) const = default;
};
[[nodiscard]] std::optional<PixelSize> pixelSize(const layout::DrawList& list, double scale);

// Draws the list into `target`, which must be pixelSize(list, scale) large and is cleared
// first.
[[nodiscard]] platform::Result<void> paintPixels(const layout::DrawList& list, double scale,
                                                 PixelTarget target);

// Makes the pixels of `target`, a `canvas` drawn at `scale`, transparent outside continuous
// corners of `cornerRadius` points, and partly so along their curve. Applied after painting:
// drawn through a clip, the glyphs and hairlines near the edges would blend a shade differently
// from the same widget drawn square.
[[nodiscard]] platform::Result<void> cutContinuousCorners(PixelTarget target, layout::Size canvas,
                                                          double scale, double cornerRadius);

}  // namespace render
