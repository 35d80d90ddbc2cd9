#include "render/Painter.h"
#include "tests/support/Bitmap.h"

#include "render/PangoTextMeasurer.h"
#include "style/Palette.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

using namespace ui;
using namespace timeline;

using namespace layout;
using namespace render;

namespace {

constexpr Size canvas{40, 30};

Rgba opaque(const Color& c) {
    auto channel = [](double v) { return std::uint8_t(std::lround(v * 255)); };
    return {channel(c.red), channel(c.green), channel(c.blue), 255};
}

DrawList withBackground(std::vector<DrawCommand> commands, Size size = canvas) {
    DrawList list{size,
                  {FillShape{{0, 0, size.width, size.height},
                             0,
                             RoundedCornerStyle::continuous,
                             Palette::background}}};
    for (DrawCommand& c : commands) list.commands.push_back(std::move(c));
    return list;
}

cairo_status_t readFrom(void* closure, unsigned char* data, unsigned int length) {
    auto* source = static_cast<std::string_view*>(closure);
    if (source->size() < length) return CAIRO_STATUS_READ_ERROR;
    std::copy_n(source->data(), length, data);
    source->remove_prefix(length);
    return CAIRO_STATUS_SUCCESS;
}

// A Cairo ARGB32 pixel (premultiplied) with straight alpha.
Rgba straightFromArgb(std::uint32_t word) {
    const std::uint32_t a = word >> 24;
    auto straight = [a](std::uint32_t premultiplied) {
        return std::uint8_t(a == 0 ? 0 : (premultiplied * 255 + a / 2) / a);
    };
    return {straight((word >> 16) & 0xff), straight((word >> 8) & 0xff), straight(word & 0xff),
            std::uint8_t(a)};
}

// A PNG decoded by Cairo's reader (libpng and zlib, not our writer's compressor), with
// straight alpha; an empty bitmap when it does not decode.
Bitmap decodePng(std::string_view bytes) {
    cairo_surface_t* surface = cairo_image_surface_create_from_png_stream(readFrom, &bytes);
    Bitmap bitmap;
    if (cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS) {
        cairo_surface_flush(surface);
        bitmap.width = cairo_image_surface_get_width(surface);
        bitmap.height = cairo_image_surface_get_height(surface);
        const unsigned char* data = cairo_image_surface_get_data(surface);
        for (int y = 0; y < bitmap.height; ++y) {
            const auto* row = reinterpret_cast<const std::uint32_t*>(
                data + std::size_t(y) * cairo_image_surface_get_stride(surface));
            for (int x = 0; x < bitmap.width; ++x)
                bitmap.pixels.push_back(straightFromArgb(row[x]));
        }
    }
    cairo_surface_destroy(surface);
    return bitmap;
}

// How many pixels differ by more than `tolerance` in some channel.
int differingPixels(const Bitmap& a, const Bitmap& b, int tolerance) {
    int differing = 0;
    for (std::size_t i = 0; i < std::min(a.pixels.size(), b.pixels.size()); ++i) {
        const Rgba p = a.pixels[i], q = b.pixels[i];
        differing +=
            std::abs(p.red - q.red) > tolerance || std::abs(p.green - q.green) > tolerance ||
            std::abs(p.blue - q.blue) > tolerance || std::abs(p.alpha - q.alpha) > tolerance;
    }
    return differing;
}

}  // namespace

TEST(Pixels, FillsCoverTheCanvasAndCompositeTheirOpacity) {
    const DrawList list = withBackground({FillShape{
        {10, 10, 20, 10}, 0, RoundedCornerStyle::continuous, Palette::bullish.opacity(0.18)}});
    const Bitmap bitmap = renderBitmap(list, 2);
    const int w = bitmap.width - 1, h = bitmap.height - 1;
    for (auto [x, y] : {std::pair{0, 0}, {w, 0}, {0, h}, {w, h}})
        EXPECT_EQ(bitmap.at(x, y), opaque(Palette::background)) << x << ", " << y;

    // The label over the background, channel by channel.
    const Rgba centre = bitmap.at(40, 30);
    auto composite = [](double over, double under) { return (over * 0.18 + under * 0.82) * 255; };
    EXPECT_NEAR(centre.red, composite(Palette::bullish.red, Palette::background.red), 1);
    EXPECT_NEAR(centre.green, composite(Palette::bullish.green, Palette::background.green), 1);
    EXPECT_NEAR(centre.blue, composite(Palette::bullish.blue, Palette::background.blue), 1);
    EXPECT_EQ(centre.alpha, 255);
}

TEST(Pixels, TextStaysInsideItsMeasuredFrame) {
    const TextStyle style{Font::system(12, FontWeight::semibold), Palette::textPrimary};
    const TextMetrics metrics = pangoTextMeasurer().measure("Hg jq", style, std::nullopt);
    const Rect frame{6, 4, metrics.size.width, metrics.size.height};
    for (double scale : {1.0, 2.0}) {
        const Bitmap bitmap =
            renderBitmap(withBackground({DrawText{frame, "Hg jq", style}}), scale);
        int inside = 0, straying = 0;
        for (int y = 0; y < bitmap.height; ++y) {
            for (int x = 0; x < bitmap.width; ++x) {
                if (bitmap.at(x, y) == opaque(Palette::background)) continue;
                const bool out = (x + 1) / scale <= frame.x || x / scale >= frame.maxX() ||
                                 (y + 1) / scale <= frame.y || y / scale >= frame.maxY();
                ++(out ? straying : inside);
            }
        }
        EXPECT_GT(inside, 20 * scale * scale) << "at " << scale;
        EXPECT_EQ(straying, 0) << "at " << scale;
    }
}

TEST(Pixels, ContinuousClipLeavesTheCornerOut) {
    const DrawList list{
        canvas,
        {PushClip{{10, 5, 20, 20}, 6, RoundedCornerStyle::continuous},
         FillShape{{0, 0, 40, 30}, 0, RoundedCornerStyle::continuous, Palette::accent}, PopClip{}}};
    const Bitmap bitmap = renderBitmap(list, 2);
    EXPECT_EQ(bitmap.at(20, 10).alpha, 0) << "top left corner";
    EXPECT_EQ(bitmap.at(40, 30), opaque(Palette::accent)) << "centre";
}

// The PNG at each scale is checked pixel by pixel below.
TEST(Painter, EncodesEachFormat) {
    const DrawList list = withBackground(
        {DrawText{{4, 4, 30, 16}, "Buy", {Font::system(11), Palette::bullish}},
         DrawSymbol{{24, 14, 13, 13}, "star", Font::system(13), Palette::textSecondary}});
    const auto svg = paintToBytes(list, ImageFormat::svg, 2);
    ASSERT_TRUE(svg.ok());
    EXPECT_NE(svg->find("<svg"), std::string::npos);
    const auto pdf = paintToBytes(list, ImageFormat::pdf, 2);
    ASSERT_TRUE(pdf.ok());
    EXPECT_TRUE(pdf->starts_with("%PDF-"));
}

// The PNG writer packs rows in batches, eight pixels at a time where it can, and switches to
// RGBA when any row has transparency: its pixels must be the painted ones in every case.
TEST(Painter, PngHoldsThePaintedPixels) {
    const TextStyle style{Font::system(9), Palette::textPrimary};
    const DrawText text{{3, 3, 30, 20}, "Momentum continues", style};
    struct Case {
        const char* name;
        DrawList list;
        double scale;
    };
    const std::vector<Case> cases = {
        // Odd widths leave a tail after the wide loops.
        {"opaque, odd width", withBackground({text}, {41, 23}), 1},
        {"opaque at 3x, with a symbol",
         withBackground(
             {text, DrawSymbol{{24, 4, 13, 13}, "star", Font::system(13), Palette::accent}},
             {41, 23}),
         3},
        // Opaque rows first, then transparent ones: the writer starts over as RGBA.
        {"transparent lower half",
         DrawList{canvas,
                  {FillShape{{0, 0, 40, 15}, 0, RoundedCornerStyle::continuous, Palette::surface},
                   FillShape{{5, 12, 20, 10},
                             4,
                             RoundedCornerStyle::continuous,
                             Palette::bullish.opacity(0.4)},
                   text}},
         2},
        // Many batches of rows.
        {"large canvas",
         withBackground({DrawText{{10, 10, 380, 280}, std::string(600, 'W'), style}}, {400, 300}),
         2},
    };
    for (const Case& c : cases) {
        const auto png = paintToBytes(c.list, ImageFormat::png, c.scale);
        ASSERT_TRUE(png.ok()) << c.name;
        const Bitmap painted = renderBitmap(c.list, c.scale);
        const Bitmap decoded = decodePng(*png);
        ASSERT_EQ(decoded.width, std::lround(c.list.canvas.width * c.scale)) << c.name;
        ASSERT_EQ(std::pair(decoded.width, decoded.height),
                  std::pair(painted.width, painted.height));
        // Straight alpha goes through premultiplication in the reader: a unit of rounding.
        EXPECT_EQ(differingPixels(decoded, painted, 1), 0) << c.name;

        // Drawn into memory of the caller's (with a wider stride and old contents), the same.
        const auto size = pixelSize(c.list, c.scale);
        ASSERT_TRUE(size) << c.name;
        const int stride = size->stride + 64;
        std::vector<unsigned char> memory(std::size_t(stride) * size->height, 0xAB);
        ASSERT_TRUE(
            paintPixels(c.list, c.scale, {memory.data(), size->width, size->height, stride}).ok());
        Bitmap fromMemory{size->width, size->height, {}};
        for (int y = 0; y < size->height; ++y) {
            for (int x = 0; x < size->width; ++x) {
                std::uint32_t word;
                std::memcpy(&word, &memory[std::size_t(y) * stride + std::size_t(x) * 4], 4);
                fromMemory.pixels.push_back(straightFromArgb(word));
            }
        }
        EXPECT_EQ(differingPixels(fromMemory, painted, 1), 0) << c.name;
    }
}

// Drawn texts are remembered by frame: the same text in another frame or colour, or again
// after others, must draw as if for the first time.
TEST(Painter, TextsDrawnAgainDrawTheSame) {
    const TextStyle style{Font::system(10), Palette::textPrimary};
    const std::string words = "Momentum continues with options flow signaling continuation";
    const auto draw = [&](Rect frame, Color color) {
        return renderBitmap(withBackground({DrawText{frame, words, {style.font, color}}}), 2);
    };
    const Bitmap tall = draw({2, 2, 36, 26}, Palette::textPrimary);
    const Bitmap shortFrame = draw({2, 2, 36, 8}, Palette::textPrimary);
    const Bitmap bullish = draw({2, 2, 36, 26}, Palette::bullish);
    EXPECT_EQ(draw({2, 2, 36, 26}, Palette::textPrimary), tall);
    EXPECT_GT(differingPixels(tall, shortFrame, 0), 0) << "a lower frame shows fewer lines";
    EXPECT_GT(differingPixels(tall, bullish, 0), 0) << "the colour is the command's";
    int bullishPixels = 0;
    for (const Rgba& p : bullish.pixels) bullishPixels += p == opaque(Palette::bullish);
    EXPECT_GT(bullishPixels, 0);
}
