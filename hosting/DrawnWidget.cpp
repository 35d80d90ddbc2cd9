#include "hosting/DrawnWidget.h"

#include "hosting/Extension.h"
#include "layout/ContinuousCorners.h"
#include "render/Painter.h"
#include "ui/LocalizedString.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>
#include <variant>

using namespace timeline;
using namespace widgets;
using namespace ipc;

namespace hosting {

using namespace ui;

platform::Result<DrawnWidget> drawnWidget(const ExtensionDrawing& drawing, double scale,
                                          double cornerRadius, std::string label) {
    layout::DrawList shape;
    shape.canvas = drawing.canvas;
    const auto size = render::pixelSize(shape, scale);
    if (!size || size->width != drawing.width || size->height != drawing.height ||
        size->stride != drawing.stride)
        return platform::Error{"the extension drew " + label + " at another size"};
    const std::size_t bytes = std::size_t(size->stride) * std::size_t(size->height);
    auto pixels = std::make_shared_for_overwrite<unsigned char[]>(bytes);
    std::memcpy(pixels.get(), drawing.image.data(), bytes);

    // The corners go afterwards, by the coverage of the rounded canvas: drawn through a clip,
    // the glyphs and hairlines near the edges would blend a shade differently from the
    // renderer's own images. Only the bands along the top and bottom edges hold corners, so the
    // coverage is painted for their rows alone, into one band's buffer.
    const layout::Size canvas = drawing.canvas;
    const int band = std::min(
        size->height, int(std::ceil(layout::continuousCornerExtent * cornerRadius * scale)) + 1);
    auto coverage = std::make_unique_for_overwrite<unsigned char[]>(std::size_t(size->stride) *
                                                                    std::size_t(band));
    const auto cutCorners = [&](int firstRow, int rows) -> platform::Result<void> {
        layout::DrawList edge;
        edge.canvas = {canvas.width, rows / scale};
        edge.commands.push_back(
            layout::FillShape{layout::Rect{0, -firstRow / scale, canvas.width, canvas.height},
                              cornerRadius, RoundedCornerStyle::continuous, Color::white()});
        if (auto painted =
                render::paintPixels(edge, scale, {coverage.get(), size->width, rows, size->stride});
            !painted)
            return painted;
        for (int y = 0; y < rows; ++y) {
            auto* row = reinterpret_cast<std::uint32_t*>(
                pixels.get() + std::ptrdiff_t(firstRow + y) * size->stride);
            const auto* mask = reinterpret_cast<const std::uint32_t*>(
                coverage.get() + std::ptrdiff_t(y) * size->stride);
            for (int x = 0; x < size->width; ++x) {
                const std::uint32_t alpha = mask[x] >> 24;
                if (alpha == 255) continue;
                std::uint32_t pixel = 0;  // premultiplied: every channel scales with the coverage
                for (int shift = 0; shift < 32; shift += 8)
                    pixel |= (((row[x] >> shift & 0xFF) * alpha + 127) / 255) << shift;
                row[x] = pixel;
            }
        }
        return {};
    };
    if (auto cut = cutCorners(0, band); !cut) return cut.error();
    const int bottom = std::max(band, size->height - band);
    if (bottom < size->height)
        if (auto cut = cutCorners(bottom, size->height - bottom); !cut) return cut.error();

    DrawnWidget drawn;
    drawn.pixels = std::move(pixels);
    drawn.width = size->width;
    drawn.height = size->height;
    drawn.stride = size->stride;
    if (drawing.url) drawn.link = platform::Url::parse(*drawing.url);
    drawn.label = std::move(label);
    drawn.description = drawing.texts;
    return drawn;
}

}  // namespace hosting
