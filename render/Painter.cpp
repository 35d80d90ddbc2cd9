#include "render/Painter.h"

#include "layout/ContinuousCorners.h"
#include "layout/Symbols.h"
#include "platform/Overloaded.h"
#include "render/PangoTextPainter.h"
#include "render/PngEncoder.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

using namespace layout;

namespace render {

using namespace ui;
namespace {

struct SurfaceDestroy {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct ContextDestroy {
    void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
};
using SurfacePtr = std::unique_ptr<cairo_surface_t, SurfaceDestroy>;
using ContextPtr = std::unique_ptr<cairo_t, ContextDestroy>;

constexpr double minScale = 1, maxScale = 3;
constexpr double maxCanvasSide = 10000;  // points; far beyond any widget

bool isFinite(const Rect& r) {
    return std::isfinite(r.x) && std::isfinite(r.y) && std::isfinite(r.width) &&
           std::isfinite(r.height);
}
bool isDrawable(const Rect& r) {
    return isFinite(r) && r.width > 0 && r.height > 0;
}

// The shortest text that reads back as the same number ("0.5", "364").
std::string number(double value) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

platform::Result<void> checkCanvas(const Size& canvas) {
    if (!(canvas.width > 0 && canvas.height > 0 && canvas.width <= maxCanvasSide &&
          canvas.height <= maxCanvasSide)) {
        return platform::Error{"cannot draw a canvas of " + number(canvas.width) + " x " +
                               number(canvas.height) + " points"};
    }
    return {};
}

platform::Result<void> checkScale(double scale) {
    if (!(scale >= minScale && scale <= maxScale))
        return platform::Error{"the render scale must lie between 1 and 3, not " + number(scale)};
    return {};
}

int pixels(double points, double scale) {
    return int(std::ceil(points * scale - 1e-9));
}

void appendPath(cairo_t* cairo, const Path& path) {
    for (const PathElement& e : path.elements) {
        switch (e.kind) {
            case PathElement::Kind::moveTo:
                cairo_move_to(cairo, e.points[0].x, e.points[0].y);
                break;
            case PathElement::Kind::lineTo:
                cairo_line_to(cairo, e.points[0].x, e.points[0].y);
                break;
            case PathElement::Kind::curveTo:
                cairo_curve_to(cairo, e.points[0].x, e.points[0].y, e.points[1].x, e.points[1].y,
                               e.points[2].x, e.points[2].y);
                break;
            case PathElement::Kind::close:
                cairo_close_path(cairo);
                break;
        }
    }
}

void setColor(cairo_t* cairo, const Color& c) {
    cairo_set_source_rgba(cairo, c.red, c.green, c.blue, c.alpha);
}

void drawSymbol(cairo_t* cairo, const DrawSymbol& symbol) {
    const std::optional<SymbolGlyph> glyph =
        symbolGlyph(symbol.systemName, symbol.frame, symbol.font);
    if (!glyph) return;
    cairo_save(cairo);
    setColor(cairo, symbol.color);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
    for (const SymbolGlyphPart& part : *glyph) {
        appendPath(cairo, part.path);
        if (part.filled) {
            cairo_fill(cairo);
        } else {
            cairo_set_line_width(cairo, part.lineWidth);
            cairo_stroke(cairo);
        }
    }
    cairo_restore(cairo);
}

// Draws the commands on a context whose user space is the canvas in points.
platform::Result<void> draw(cairo_t* cairo, const DrawList& list) {
    int openClips = 0;
    for (const DrawCommand& command : list.commands) {
        std::visit(
            platform::Overloaded{
                [&](const FillShape& fill) {
                    if (!isDrawable(fill.rect) || fill.color.alpha <= 0) return;
                    appendPath(cairo,
                               roundedRectPath(fill.rect, fill.cornerRadius, fill.cornerStyle));
                    setColor(cairo, fill.color);
                    cairo_fill(cairo);
                },
                [&](const PushClip& clip) {
                    cairo_save(cairo);
                    ++openClips;
                    const Rect r = isDrawable(clip.rect) ? clip.rect : Rect{};
                    appendPath(cairo, roundedRectPath(r, clip.cornerRadius, clip.cornerStyle));
                    cairo_clip(cairo);
                },
                [&](const PopClip&) {
                    if (openClips == 0) return;
                    cairo_restore(cairo);
                    --openClips;
                },
                [&](const DrawText& text) {
                    if (text.text.empty() || !isFinite(text.frame) || text.style.color.alpha <= 0)
                        return;
                    detail::drawText(reinterpret_cast<detail::CairoContext*>(cairo), text);
                },
                [&](const DrawSymbol& symbol) {
                    if (!isFinite(symbol.frame) || symbol.color.alpha <= 0) return;
                    drawSymbol(cairo, symbol);
                },
            },
            command);
    }
    for (; openClips > 0; --openClips) cairo_restore(cairo);
    if (const cairo_status_t status = cairo_status(cairo); status != CAIRO_STATUS_SUCCESS)
        return platform::Error{std::string("drawing failed: ") + cairo_status_to_string(status)};
    return {};
}

cairo_status_t appendBytes(void* closure, const unsigned char* data, unsigned int length) {
    static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

const cairo_user_data_key_t pixelsKey{};

// A transparent ARGB image surface on memory of our own, made resident at once. A render
// process draws one or a few widgets on fresh memory: touched page by page, the 2 MB of a
// large widget at 2x took several hundred page faults, a sizeable part of a whole render
// process, where one request to the kernel maps them together. Fresh pages come cleared, and
// calloc() clears only memory that the allocator hands out again (a warm process), as with
// Cairo's own allocation, which remains the fallback.
SurfacePtr newImageSurface(int width, int height) {
    const int stride = cairo_format_stride_for_width(CAIRO_FORMAT_ARGB32, width);
    const std::size_t size = std::size_t(stride) * std::size_t(height);
    void* pixels = stride > 0 && size > 0 ? std::calloc(size, 1) : nullptr;
    if (pixels == nullptr)
        return SurfacePtr(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
    // The whole pages inside the block; their address is an offset from `pixels`, not an integer
    // made into a pointer.
    const auto page = std::uintptr_t(sysconf(_SC_PAGESIZE));
    const auto start = std::uintptr_t(pixels);
    const auto first = (start + page - 1) & ~(page - 1);
    const auto last = (start + size) & ~(page - 1);
    if (last > first)
        madvise(static_cast<char*>(pixels) + (first - start), last - first, MADV_POPULATE_WRITE);
    SurfacePtr surface(cairo_image_surface_create_for_data(
        static_cast<unsigned char*>(pixels), CAIRO_FORMAT_ARGB32, width, height, stride));
    if (cairo_surface_set_user_data(surface.get(), &pixelsKey, pixels, std::free) !=
        CAIRO_STATUS_SUCCESS) {
        surface.reset();  // the memory must outlive the surface that draws on it
        std::free(pixels);
        return SurfacePtr(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
    }
    return surface;
}

// The canvas drawn on an image surface at the scale.
platform::Result<SurfacePtr> drawImage(const DrawList& list, double scale) {
    if (auto canvas = checkCanvas(list.canvas); !canvas) return canvas.error();
    if (auto scaled = checkScale(scale); !scaled) return scaled.error();
    SurfacePtr surface =
        newImageSurface(pixels(list.canvas.width, scale), pixels(list.canvas.height, scale));
    ContextPtr cairo(cairo_create(surface.get()));
    cairo_scale(cairo.get(), scale, scale);
    if (auto drawn = draw(cairo.get(), list); !drawn) return drawn.error();
    cairo_surface_flush(surface.get());
    return surface;
}

platform::Result<std::string> finish(cairo_surface_t* surface, std::string&& bytes) {
    cairo_surface_finish(surface);
    if (const cairo_status_t status = cairo_surface_status(surface); status != CAIRO_STATUS_SUCCESS)
        return platform::Error{std::string("encoding failed: ") + cairo_status_to_string(status)};
    return std::move(bytes);
}

}  // namespace

std::optional<ImageFormat> imageFormatForPath(const std::filesystem::path& path) {
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    if (extension == ".png") return ImageFormat::png;
    if (extension == ".svg") return ImageFormat::svg;
    if (extension == ".pdf") return ImageFormat::pdf;
    return std::nullopt;
}

platform::Result<std::string> paintToBytes(const DrawList& list, ImageFormat format, double scale) {
    std::string bytes;
    switch (format) {
        case ImageFormat::png: {
            platform::Result<SurfacePtr> image = drawImage(list, scale);
            if (!image) return image.error();
            cairo_surface_t* surface = image->get();
            platform::Result<std::string> png = encodePng(
                {cairo_image_surface_get_data(surface), cairo_image_surface_get_width(surface),
                 cairo_image_surface_get_height(surface), cairo_image_surface_get_stride(surface)});
            return png;
        }
        case ImageFormat::svg:
        case ImageFormat::pdf: {
            if (auto canvas = checkCanvas(list.canvas); !canvas) return canvas.error();
            const double width = list.canvas.width, height = list.canvas.height;
            SurfacePtr surface(
                format == ImageFormat::svg
                    ? cairo_svg_surface_create_for_stream(appendBytes, &bytes, width, height)
                    : cairo_pdf_surface_create_for_stream(appendBytes, &bytes, width, height));
            if (format == ImageFormat::svg)
                cairo_svg_surface_set_document_unit(surface.get(), CAIRO_SVG_UNIT_PT);
            {
                ContextPtr cairo(cairo_create(surface.get()));
                if (auto drawn = draw(cairo.get(), list); !drawn) return drawn.error();
            }
            return finish(surface.get(), std::move(bytes));
        }
    }
    return platform::Error{"unknown image format"};
}

std::optional<PixelSize> pixelSize(const DrawList& list, double scale) {
    if (!checkCanvas(list.canvas) || !checkScale(scale)) return std::nullopt;
    const int width = pixels(list.canvas.width, scale), height = pixels(list.canvas.height, scale);
    return PixelSize{width, height, cairo_format_stride_for_width(CAIRO_FORMAT_ARGB32, width)};
}

platform::Result<void> paintPixels(const DrawList& list, double scale, PixelTarget target) {
    if (auto canvas = checkCanvas(list.canvas); !canvas) return canvas;
    if (auto scaled = checkScale(scale); !scaled) return scaled;
    const std::optional<PixelSize> size = pixelSize(list, scale);
    if (!size || target.data == nullptr || target.width != size->width ||
        target.height != size->height || target.stride < size->stride)
        return platform::Error{"the pixel buffer does not fit the canvas"};
    std::memset(target.data, 0, std::size_t(target.stride) * std::size_t(target.height));
    SurfacePtr surface(cairo_image_surface_create_for_data(
        target.data, CAIRO_FORMAT_ARGB32, target.width, target.height, target.stride));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        return platform::Error{"cannot draw into the pixel buffer"};
    ContextPtr cairo(cairo_create(surface.get()));
    cairo_scale(cairo.get(), scale, scale);
    platform::Result<void> drawn = draw(cairo.get(), list);
    cairo_surface_flush(surface.get());
    return drawn;
}

platform::Result<void> cutContinuousCorners(PixelTarget target, layout::Size canvas, double scale,
                                            double cornerRadius) {
    DrawList shape;
    shape.canvas = canvas;
    const std::optional<PixelSize> size = pixelSize(shape, scale);
    if (!size || target.data == nullptr || target.width != size->width ||
        target.height != size->height || target.stride < size->stride)
        return platform::Error{"the pixel buffer does not fit the canvas"};
    // Only the bands along the top and bottom edges hold corners, so the coverage of the rounded
    // canvas is painted for their rows alone, into one band's buffer.
    const int band = std::min(
        size->height, int(std::ceil(layout::continuousCornerExtent * cornerRadius * scale)) + 1);
    auto coverage = std::make_unique_for_overwrite<unsigned char[]>(std::size_t(size->stride) *
                                                                    std::size_t(band));
    const auto cut = [&](int firstRow, int rows) -> platform::Result<void> {
        DrawList edge;
        edge.canvas = {canvas.width, rows / scale};
        edge.commands.push_back(layout::FillShape{
            layout::Rect{0, -firstRow / scale, canvas.width, canvas.height}, cornerRadius,
            ui::RoundedCornerStyle::continuous, ui::Color::white()});
        if (auto painted =
                paintPixels(edge, scale, {coverage.get(), size->width, rows, size->stride});
            !painted)
            return painted;
        for (int y = 0; y < rows; ++y) {
            auto* row = reinterpret_cast<std::uint32_t*>(
                target.data + std::ptrdiff_t(firstRow + y) * target.stride);
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
    if (auto top = cut(0, band); !top) return top;
    const int bottom = std::max(band, size->height - band);
    if (bottom < size->height) return cut(bottom, size->height - bottom);
    return {};
}

}  // namespace render
