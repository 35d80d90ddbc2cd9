#include "render/Painter.h"

#include "platform/Overloaded.h"
#include "render/ContinuousCorners.h"
#include "render/PangoTextMeasurer.h"
#include "render/Symbols.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>
#include <isa-l/igzip_lib.h>
#include <png.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <csetjmp>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>
#include <vector>

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

std::optional<PaintError> checkCanvas(const Size& canvas) {
    if (!(canvas.width > 0 && canvas.height > 0 && canvas.width <= maxCanvasSide &&
          canvas.height <= maxCanvasSide)) {
        return PaintError{"cannot draw a canvas of " + number(canvas.width) + " x " +
                          number(canvas.height) + " points"};
    }
    return std::nullopt;
}

std::optional<PaintError> checkScale(double scale) {
    if (!(scale >= minScale && scale <= maxScale))
        return PaintError{"the render scale must lie between 1 and 3, not " + number(scale)};
    return std::nullopt;
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
std::optional<PaintError> draw(cairo_t* cairo, const DrawList& list) {
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
        return PaintError{std::string("drawing failed: ") + cairo_status_to_string(status)};
    return std::nullopt;
}

cairo_status_t appendBytes(void* closure, const unsigned char* data, unsigned int length) {
    static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

// PNG encoding tuned for speed: widget images are mostly flat colour, which the fastest
// deflate level packs well without row filters. Cairo's own writer (adaptive filters, zlib
// level 6) spends several times as long. Opaque images are written without alpha.

// A pixel of a Cairo image (native-endian ARGB, premultiplied) with straight alpha.
Rgba straightPixel(std::uint32_t argb) {
    const std::uint32_t a = argb >> 24;
    std::uint32_t r = (argb >> 16) & 0xff, g = (argb >> 8) & 0xff, b = argb & 0xff;
    if (a != 0xff && a != 0) {
        r = (r * 255 + a / 2) / a;
        g = (g * 255 + a / 2) / a;
        b = (b * 255 + a / 2) / a;
    }
    return {std::uint8_t(r), std::uint8_t(g), std::uint8_t(b), std::uint8_t(a)};
}

void writePngBytes(png_structp png, png_bytep data, png_size_t length) {
    static_cast<std::string*>(png_get_io_ptr(png))
        ->append(reinterpret_cast<const char*>(data), length);
}
void ignorePngWarning(png_structp, png_const_charp) {}

// The image data of a PNG: scanlines, each a filter byte ("none") and RGB samples, or RGBA
// samples when the canvas has any transparency, compressed in the zlib format by ISA-L's
// deflate at level 1. On widget pictures that is five to eight times as fast as zlib's fastest
// level, for files of the same size.
class ImageDataWriter {
public:
    // Scanlines are gathered a few at a time, so that they are still in the cache when they
    // are compressed.
    explicit ImageDataWriter(std::size_t lineSize)
        : m_stream(std::make_unique<isal_zstream>()),  // about 100 KB of state
          m_levelBuffer(std::make_unique_for_overwrite<std::uint8_t[]>(ISAL_DEF_LVL1_SMALL)),
          m_lineSize(lineSize),
          m_capacity(std::max<std::size_t>(lineSize, 32 * 1024 / lineSize * lineSize)),
          m_lines(std::make_unique_for_overwrite<unsigned char[]>(m_capacity)) {
        isal_deflate_init(m_stream.get());
        m_stream->level = 1;
        m_stream->level_buf = m_levelBuffer.get();
        m_stream->level_buf_size = ISAL_DEF_LVL1_SMALL;
        m_stream->gzip_flag = IGZIP_ZLIB;
        m_stream->flush = NO_FLUSH;
    }

    // Room for one more line at the end of the gathered ones, left for the caller to fill.
    unsigned char* newLine() {
        if (m_gathered + m_lineSize > m_capacity && !flushLines(false)) return nullptr;
        m_gathered += m_lineSize;
        return m_lines.get() + m_gathered - m_lineSize;
    }

    // The whole stream, after the last line; nothing when the compressor failed.
    std::optional<std::vector<unsigned char>> finish() && {
        if (!flushLines(true)) return std::nullopt;
        m_out.resize(m_written);
        return std::move(m_out);
    }

private:
    bool flushLines(bool last) {
        m_stream->next_in = m_lines.get();
        m_stream->avail_in = static_cast<std::uint32_t>(m_gathered);
        m_stream->end_of_stream = last ? 1 : 0;
        do {
            if (m_written == m_out.size())
                m_out.resize(std::max<std::size_t>(64 * 1024, m_out.size() * 2));
            m_stream->next_out = m_out.data() + m_written;
            m_stream->avail_out = static_cast<std::uint32_t>(m_out.size() - m_written);
            if (isal_deflate(m_stream.get()) != COMP_OK) return false;
            m_written = m_out.size() - m_stream->avail_out;
        } while (m_stream->avail_in > 0 || (last && m_stream->internal_state.state != ZSTATE_END));
        m_gathered = 0;
        return true;
    }

    std::unique_ptr<isal_zstream> m_stream;
    std::unique_ptr<std::uint8_t[]> m_levelBuffer;
    std::size_t m_lineSize;
    std::size_t m_capacity;
    std::unique_ptr<unsigned char[]> m_lines;
    std::size_t m_gathered = 0;
    std::vector<unsigned char> m_out;
    std::size_t m_written = 0;
};

struct ImageData {
    std::vector<unsigned char> stream;
    bool opaque = true;
};

// The two loops over every pixel, built for AVX2 as well as for the baseline and picked when
// the program loads: the byte shuffles that pack 4-byte pixels into 3-byte samples need more
// than the baseline's SSE2 to vectorise.
#define VELMORA_PIXEL_LOOP __attribute__((target_clones("avx2", "default")))

VELMORA_PIXEL_LOOP bool isOpaque(const std::uint32_t* row, int width) {
    std::uint32_t alpha = 0xff;
    for (int x = 0; x < width; ++x) alpha &= row[x] >> 24;
    return alpha == 0xff;
}

// One row's RGB samples. The pointers never alias, and saying so lets the compiler vectorise.
VELMORA_PIXEL_LOOP void rgbSamples(const std::uint32_t* __restrict row,
                                   unsigned char* __restrict out, int width) {
    for (int x = 0; x < width; ++x, out += 3) {
        out[0] = static_cast<unsigned char>(row[x] >> 16);
        out[1] = static_cast<unsigned char>(row[x] >> 8);
        out[2] = static_cast<unsigned char>(row[x]);
    }
}

// The image data with RGB samples, or nothing when a row has any transparency.
std::optional<std::vector<unsigned char>> rgbImageData(cairo_surface_t* surface, bool& failed) {
    const int width = cairo_image_surface_get_width(surface);
    const int height = cairo_image_surface_get_height(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    const unsigned char* data = cairo_image_surface_get_data(surface);
    const std::size_t lineSize = 1 + std::size_t(width) * 3;
    ImageDataWriter writer(lineSize);
    for (int y = 0; y < height; ++y) {
        const auto* row = reinterpret_cast<const std::uint32_t*>(data + std::size_t(y) * stride);
        if (!isOpaque(row, width)) return std::nullopt;
        unsigned char* out = writer.newLine();
        if (out == nullptr) {  // the compressor failed: no image, rather than part of one
            failed = true;
            return std::nullopt;
        }
        out[0] = PNG_FILTER_VALUE_NONE;
        rgbSamples(row, out + 1, width);
    }
    auto stream = std::move(writer).finish();
    failed = !stream;
    return stream;
}

std::optional<std::vector<unsigned char>> rgbaImageData(cairo_surface_t* surface) {
    const int width = cairo_image_surface_get_width(surface);
    const int height = cairo_image_surface_get_height(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    const unsigned char* data = cairo_image_surface_get_data(surface);
    const std::size_t lineSize = 1 + std::size_t(width) * 4;
    ImageDataWriter writer(lineSize);
    for (int y = 0; y < height; ++y) {
        const auto* row = reinterpret_cast<const std::uint32_t*>(data + std::size_t(y) * stride);
        unsigned char* out = writer.newLine();
        if (out == nullptr) return std::nullopt;
        *out++ = PNG_FILTER_VALUE_NONE;
        for (int x = 0; x < width; ++x, out += 4) {
            const Rgba p = straightPixel(row[x]);
            out[0] = p.red;
            out[1] = p.green;
            out[2] = p.blue;
            out[3] = p.alpha;
        }
    }
    return std::move(writer).finish();
}

// RGB when every pixel is opaque (every widget canvas is), else RGBA from the start.
std::optional<ImageData> imageData(cairo_surface_t* surface) {
    bool failed = false;
    if (auto rgb = rgbImageData(surface, failed)) return ImageData{std::move(*rgb), true};
    if (failed) return std::nullopt;
    if (auto rgba = rgbaImageData(surface)) return ImageData{std::move(*rgba), false};
    return std::nullopt;
}

// Kept free of objects with destructors: libpng reports errors by jumping back to the setjmp.
// libpng writes the signature, the header and the chunks around the compressed stream.
bool writePng(png_structp png, png_infop info, int width, int height, bool opaque,
              const std::vector<unsigned char>& stream) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_set_IHDR(png, info, png_uint_32(width), png_uint_32(height), 8,
                 opaque ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_write_chunk(png, reinterpret_cast<png_const_bytep>("IDAT"), stream.data(), stream.size());
    png_write_chunk(png, reinterpret_cast<png_const_bytep>("IEND"), nullptr, 0);
    return true;
}

PaintResult<std::string> encodePng(cairo_surface_t* surface) {
    const auto image = imageData(surface);
    if (!image) return PaintError{"encoding PNG failed: cannot compress the image"};

    std::string bytes;
    bytes.reserve(image->stream.size() + 128);
    png_structp png =
        png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, ignorePngWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    bool written = false;
    if (png && info) {
        png_set_write_fn(png, &bytes, writePngBytes, nullptr);
        written = writePng(png, info, cairo_image_surface_get_width(surface),
                           cairo_image_surface_get_height(surface), image->opaque, image->stream);
    }
    png_destroy_write_struct(&png, &info);
    if (!written) return PaintError{"encoding PNG failed"};
    return bytes;
}

const cairo_user_data_key_t pixelsKey{};

// A transparent ARGB image surface on memory of our own, made resident at once. A render
// process draws one or a few widgets on fresh memory: touched page by page, the 2 MB of a
// large widget at 2x took several hundred page faults, a sizeable part of a whole render
// process, where one request to the kernel maps them together. Memory that the allocator
// hands out again (a warm process) is resident already and costs only the clearing, as with
// Cairo's own allocation, which remains the fallback.
SurfacePtr newImageSurface(int width, int height) {
    const int stride = cairo_format_stride_for_width(CAIRO_FORMAT_ARGB32, width);
    const std::size_t size = std::size_t(stride) * std::size_t(height);
    void* pixels = stride > 0 && size > 0 ? std::malloc(size) : nullptr;
    if (pixels == nullptr)
        return SurfacePtr(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
    const auto page = std::uintptr_t(sysconf(_SC_PAGESIZE));
    const auto first = (std::uintptr_t(pixels) + page - 1) & ~(page - 1);
    const auto last = (std::uintptr_t(pixels) + size) & ~(page - 1);
    if (last > first) madvise(reinterpret_cast<void*>(first), last - first, MADV_POPULATE_WRITE);
    std::memset(pixels, 0, size);
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
PaintResult<SurfacePtr> drawImage(const DrawList& list, double scale) {
    if (auto error = checkCanvas(list.canvas)) return *error;
    if (auto error = checkScale(scale)) return *error;
    SurfacePtr surface =
        newImageSurface(pixels(list.canvas.width, scale), pixels(list.canvas.height, scale));
    ContextPtr cairo(cairo_create(surface.get()));
    cairo_scale(cairo.get(), scale, scale);
    if (auto error = draw(cairo.get(), list)) return *error;
    cairo_surface_flush(surface.get());
    return surface;
}

PaintResult<std::string> finish(cairo_surface_t* surface, std::string&& bytes) {
    cairo_surface_finish(surface);
    if (const cairo_status_t status = cairo_surface_status(surface); status != CAIRO_STATUS_SUCCESS)
        return PaintError{std::string("encoding failed: ") + cairo_status_to_string(status)};
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

PaintResult<std::string> paintToBytes(const DrawList& list, ImageFormat format, double scale) {
    std::string bytes;
    switch (format) {
        case ImageFormat::png: {
            PaintResult<SurfacePtr> image = drawImage(list, scale);
            if (auto* error = std::get_if<PaintError>(&image)) return std::move(*error);
            return encodePng(std::get<SurfacePtr>(image).get());
        }
        case ImageFormat::svg:
        case ImageFormat::pdf: {
            if (auto error = checkCanvas(list.canvas)) return *error;
            const double width = list.canvas.width, height = list.canvas.height;
            SurfacePtr surface(
                format == ImageFormat::svg
                    ? cairo_svg_surface_create_for_stream(appendBytes, &bytes, width, height)
                    : cairo_pdf_surface_create_for_stream(appendBytes, &bytes, width, height));
            if (format == ImageFormat::svg)
                cairo_svg_surface_set_document_unit(surface.get(), CAIRO_SVG_UNIT_PT);
            {
                ContextPtr cairo(cairo_create(surface.get()));
                if (auto error = draw(cairo.get(), list)) return *error;
            }
            return finish(surface.get(), std::move(bytes));
        }
    }
    return PaintError{"unknown image format"};
}

std::optional<PaintError> paintToFile(const DrawList& list, const std::filesystem::path& path,
                                      double scale) {
    const std::optional<ImageFormat> format = imageFormatForPath(path);
    if (!format) {
        return PaintError{"cannot tell the image format of '" + path.string() +
                          "': name it .png, .svg or .pdf"};
    }
    PaintResult<std::string> bytes = paintToBytes(list, *format, scale);
    if (auto* error = std::get_if<PaintError>(&bytes)) return std::move(*error);
    const std::string& data = std::get<std::string>(bytes);

    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) return PaintError{"cannot write '" + path.string() + "': " + std::strerror(errno)};
    out.write(data.data(), std::streamsize(data.size()));
    out.close();
    if (!out) return PaintError{"cannot write '" + path.string() + "': " + std::strerror(errno)};
    return std::nullopt;
}

std::optional<PixelSize> pixelSize(const DrawList& list, double scale) {
    if (checkCanvas(list.canvas) || checkScale(scale)) return std::nullopt;
    const int width = pixels(list.canvas.width, scale), height = pixels(list.canvas.height, scale);
    return PixelSize{width, height, cairo_format_stride_for_width(CAIRO_FORMAT_ARGB32, width)};
}

std::optional<PaintError> paintPixels(const DrawList& list, double scale, PixelTarget target) {
    if (auto error = checkCanvas(list.canvas)) return error;
    if (auto error = checkScale(scale)) return error;
    const std::optional<PixelSize> size = pixelSize(list, scale);
    if (!size || target.data == nullptr || target.width != size->width ||
        target.height != size->height || target.stride < size->stride)
        return PaintError{"the pixel buffer does not fit the canvas"};
    std::memset(target.data, 0, std::size_t(target.stride) * std::size_t(target.height));
    SurfacePtr surface(cairo_image_surface_create_for_data(target.data, CAIRO_FORMAT_ARGB32,
                                                           target.width, target.height,
                                                           target.stride));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        return PaintError{"cannot draw into the pixel buffer"};
    ContextPtr cairo(cairo_create(surface.get()));
    cairo_scale(cairo.get(), scale, scale);
    if (auto error = draw(cairo.get(), list)) return error;
    cairo_surface_flush(surface.get());
    return std::nullopt;
}

Bitmap renderBitmap(const DrawList& list, double scale) {
    PaintResult<SurfacePtr> image = drawImage(list, scale);
    auto* surface = std::get_if<SurfacePtr>(&image);
    if (!surface) return {};
    cairo_surface_t* s = surface->get();
    Bitmap bitmap;
    bitmap.width = cairo_image_surface_get_width(s);
    bitmap.height = cairo_image_surface_get_height(s);
    const unsigned char* data = cairo_image_surface_get_data(s);
    const int stride = cairo_image_surface_get_stride(s);
    bitmap.pixels.resize(std::size_t(bitmap.width) * bitmap.height);
    Rgba* out = bitmap.pixels.data();
    for (int y = 0; y < bitmap.height; ++y) {
        const auto* row = reinterpret_cast<const std::uint32_t*>(data + std::size_t(y) * stride);
        for (int x = 0; x < bitmap.width; ++x) *out++ = straightPixel(row[x]);
    }
    return bitmap;
}

}  // namespace render
