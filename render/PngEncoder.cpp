#include "render/PngEncoder.h"

#include <isa-l/igzip_lib.h>
#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <memory>
#include <optional>
#include <vector>

using namespace layout;

namespace render {
namespace {

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
          m_capacity(std::max<std::size_t>(lineSize, std::size_t(32) * 1024 / lineSize * lineSize)),
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
                m_out.resize(std::max<std::size_t>(std::size_t(64) * 1024, m_out.size() * 2));
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

// The two loops over every pixel. On x86-64 they are built for AVX2 as well as for the
// baseline and picked when the program loads: the byte shuffles that pack 4-byte pixels into
// 3-byte samples need more than the baseline's SSE2 to vectorise. Elsewhere the compiler's
// baseline (NEON on arm64) does.
#if defined(__x86_64__) && defined(__GNUC__)
#define VELMORA_PIXEL_LOOP __attribute__((target_clones("avx2", "default")))
#else
#define VELMORA_PIXEL_LOOP
#endif

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
std::optional<std::vector<unsigned char>> rgbImageData(const PremultipliedImage& image,
                                                       bool& failed) {
    const auto [data, width, height, stride] = image;
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

std::optional<std::vector<unsigned char>> rgbaImageData(const PremultipliedImage& image) {
    const auto [data, width, height, stride] = image;
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
std::optional<ImageData> imageData(const PremultipliedImage& image) {
    bool failed = false;
    if (auto rgb = rgbImageData(image, failed)) return ImageData{std::move(*rgb), true};
    if (failed) return std::nullopt;
    if (auto rgba = rgbaImageData(image)) return ImageData{std::move(*rgba), false};
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

}  // namespace

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

platform::Result<std::string> encodePng(const PremultipliedImage& image) {
    const auto data = imageData(image);
    if (!data) return platform::Error{"encoding PNG failed: cannot compress the image"};

    std::string bytes;
    bytes.reserve(data->stream.size() + 128);
    png_structp png =
        png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, ignorePngWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    bool written = false;
    if (png && info) {
        png_set_write_fn(png, &bytes, writePngBytes, nullptr);
        written = writePng(png, info, image.width, image.height, data->opaque, data->stream);
    }
    png_destroy_write_struct(&png, &info);
    if (!written) return platform::Error{"encoding PNG failed"};
    return bytes;
}

}  // namespace render
