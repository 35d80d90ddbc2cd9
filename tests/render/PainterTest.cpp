#include "render/Painter.h"

#include "render/PangoTextMeasurer.h"
#include "style/Palette.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <unistd.h>

using namespace render;

namespace {

constexpr Size canvas{40, 30};

Rgba opaque(const Color& c) {
    auto channel = [](double v) { return std::uint8_t(std::lround(v * 255)); };
    return {channel(c.red), channel(c.green), channel(c.blue), 255};
}

DrawList withBackground(std::vector<DrawCommand> commands) {
    DrawList list{canvas,
                  {FillShape{{0, 0, canvas.width, canvas.height},
                             0,
                             RoundedCornerStyle::continuous,
                             Palette::background}}};
    for (DrawCommand& c : commands) list.commands.push_back(std::move(c));
    return list;
}

bool near(Rgba a, Rgba b, int tolerance) {
    return std::abs(a.red - b.red) <= tolerance && std::abs(a.green - b.green) <= tolerance &&
           std::abs(a.blue - b.blue) <= tolerance && std::abs(a.alpha - b.alpha) <= tolerance;
}

std::string describe(Rgba p) {
    std::ostringstream s;
    s << "rgba(" << int(p.red) << ", " << int(p.green) << ", " << int(p.blue) << ", "
      << int(p.alpha) << ")";
    return s.str();
}

// Whether device pixel (x, y) lies wholly outside `frame` (in points) at `scale`.
bool pixelOutside(int x, int y, const Rect& frame, double scale) {
    return (x + 1) / scale <= frame.x || x / scale >= frame.maxX() || (y + 1) / scale <= frame.y ||
           y / scale >= frame.maxY();
}

struct PngSize {
    int width = 0, height = 0;
};

cairo_status_t readFrom(void* closure, unsigned char* data, unsigned int length) {
    auto* source = static_cast<std::string_view*>(closure);
    if (source->size() < length) return CAIRO_STATUS_READ_ERROR;
    std::copy_n(source->data(), length, data);
    source->remove_prefix(length);
    return CAIRO_STATUS_SUCCESS;
}

std::optional<PngSize> decodePng(std::string_view bytes) {
    cairo_surface_t* surface = cairo_image_surface_create_from_png_stream(readFrom, &bytes);
    std::optional<PngSize> size;
    if (cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS)
        size = PngSize{cairo_image_surface_get_width(surface),
                       cairo_image_surface_get_height(surface)};
    cairo_surface_destroy(surface);
    return size;
}

// Where a text's ink lies, in points, and whether any of it lies outside `frame`.
struct InkBox {
    Rect box;
    int pixels = 0;
    int straying = 0;
};

InkBox inkOf(const DrawList& list, const Rect& frame, double scale) {
    const Bitmap bitmap = renderBitmap(list, scale);
    double minX = INFINITY, minY = INFINITY, maxX = -INFINITY, maxY = -INFINITY;
    InkBox ink;
    for (int y = 0; y < bitmap.height; ++y) {
        for (int x = 0; x < bitmap.width; ++x) {
            if (bitmap.at(x, y) == opaque(Palette::background)) continue;
            ++(pixelOutside(x, y, frame, scale) ? ink.straying : ink.pixels);
            minX = std::min(minX, x / scale);
            minY = std::min(minY, y / scale);
            maxX = std::max(maxX, (x + 1) / scale);
            maxY = std::max(maxY, (y + 1) / scale);
        }
    }
    ink.box = {minX, minY, maxX - minX, maxY - minY};
    return ink;
}

}  // namespace

TEST(Pixels, FillsCoverTheCanvasAndCompositeTheirOpacity) {
    const Color label = Palette::bullish.opacity(0.18);
    const DrawList list =
        withBackground({FillShape{{10, 10, 20, 10}, 0, RoundedCornerStyle::continuous, label}});
    // The label over the background, channel by channel.
    auto composite = [&](double over, double under) {
        return std::lround((over * 0.18 + under * 0.82) * 255);
    };
    const Rgba expected{std::uint8_t(composite(Palette::bullish.red, Palette::background.red)),
                        std::uint8_t(composite(Palette::bullish.green, Palette::background.green)),
                        std::uint8_t(composite(Palette::bullish.blue, Palette::background.blue)),
                        255};

    for (double scale : {1.0, 2.0}) {
        const Bitmap bitmap = renderBitmap(list, scale);
        ASSERT_EQ(bitmap.width, int(40 * scale));
        ASSERT_EQ(bitmap.height, int(30 * scale));
        const int w = bitmap.width - 1, h = bitmap.height - 1;
        for (auto [x, y] : {std::pair{0, 0}, {w, 0}, {0, h}, {w, h}})
            EXPECT_EQ(bitmap.at(x, y), opaque(Palette::background))
                << x << ", " << y << " at " << scale;

        const Rgba centre = bitmap.at(int(20 * scale), int(15 * scale));
        EXPECT_TRUE(near(centre, expected, 1)) << describe(centre) << " vs " << describe(expected);
        // The label's edges are crisp on whole points: its first and last pixels are fully in.
        EXPECT_EQ(bitmap.at(int(10 * scale), int(10 * scale)), centre);
        EXPECT_EQ(bitmap.at(int(30 * scale) - 1, int(20 * scale) - 1), centre);
        EXPECT_EQ(bitmap.at(int(10 * scale) - 1, int(15 * scale)), opaque(Palette::background));
    }
    // Nothing drawn is transparent.
    const Bitmap empty = renderBitmap(DrawList{canvas, {}});
    EXPECT_EQ(empty.at(20, 15), (Rgba{0, 0, 0, 0}));
}

TEST(Pixels, TextStaysInsideItsMeasuredFrameAtEveryScale) {
    const TextStyle style{Font::system(12, FontWeight::semibold), Palette::textPrimary};
    const std::string text = "Hg jq";
    const TextMetrics metrics = pangoTextMeasurer().measure(text, style, std::nullopt);
    const Rect frame{6, 4, metrics.size.width, metrics.size.height};
    ASSERT_LT(frame.maxX(), canvas.width);
    ASSERT_LT(frame.maxY(), canvas.height);
    const DrawList list = withBackground({DrawText{frame, text, style}});

    const InkBox atOne = inkOf(list, frame, 1);
    for (double scale : {1.0, 2.0, 3.0}) {
        const InkBox ink = inkOf(list, frame, scale);
        EXPECT_GT(ink.pixels, 20 * scale * scale) << "at " << scale;
        EXPECT_EQ(ink.straying, 0) << "at " << scale;
        // The same layout in points at every scale: the ink covers the same area, give or take
        // the antialiased pixel at each edge.
        EXPECT_NEAR(ink.box.x, atOne.box.x, 1) << "at " << scale;
        EXPECT_NEAR(ink.box.maxX(), atOne.box.maxX(), 1) << "at " << scale;
        EXPECT_NEAR(ink.box.y, atOne.box.y, 1) << "at " << scale;
        EXPECT_NEAR(ink.box.maxY(), atOne.box.maxY(), 1) << "at " << scale;
    }

    // A wrapped, limited text drawn in its measured frame breaks the same lines: its ink fills
    // the frame's height (three lines) and nothing spills below or beside it.
    const DrawList wide{
        {200, 80},
        {FillShape{{0, 0, 200, 80}, 0, RoundedCornerStyle::continuous, Palette::background}}};
    const TextStyle body{Font::system(11), Palette::textPrimary, 3};
    const std::string summary =
        "Momentum stays constructive after the earnings beat, with margins "
        "widening for a third quarter and guidance raised.";
    const TextMetrics wrapped = pangoTextMeasurer().measure(summary, body, 120.0);
    const Rect paragraph{10, 10, wrapped.size.width, wrapped.size.height};
    DrawList withParagraph = wide;
    withParagraph.commands.push_back(DrawText{paragraph, summary, body});
    const InkBox ink = inkOf(withParagraph, paragraph, 2);
    EXPECT_EQ(ink.straying, 0);
    EXPECT_GT(ink.box.maxY(), paragraph.y + 2.4 * wrapped.size.height / 3) << "three lines drawn";
    EXPECT_GT(ink.box.width, 0.8 * paragraph.width);

    // A frame lower than its text shows only the lines that fit.
    DrawList squeezed = wide;
    const Rect twoLines{10, 10, wrapped.size.width, wrapped.size.height * 2 / 3};
    squeezed.commands.push_back(DrawText{twoLines, summary, body});
    EXPECT_EQ(inkOf(squeezed, twoLines, 2).straying, 0);

    // A frame reaching past the canvas draws what is on the canvas and nothing else goes wrong.
    const DrawList spilling =
        withBackground({DrawText{{30, 20, 60, 30}, "Overflowing text", style}});
    const Bitmap bitmap = renderBitmap(spilling, 2);
    EXPECT_EQ(bitmap.width, 80);
    EXPECT_EQ(bitmap.height, 60);
    EXPECT_EQ(bitmap.at(0, 0), opaque(Palette::background));
}

TEST(Pixels, ContinuousClipLeavesTheCornerOut) {
    const Rect clip{10, 5, 20, 20};
    const DrawList list{
        canvas,
        {PushClip{clip, 6, RoundedCornerStyle::continuous},
         FillShape{{0, 0, 40, 30}, 0, RoundedCornerStyle::continuous, Palette::accent}, PopClip{},
         // After the clip ends, drawing reaches everywhere again.
         FillShape{{0, 28, 40, 2}, 0, RoundedCornerStyle::continuous, Palette::bearish}}};
    for (double scale : {1.0, 2.0}) {
        const Bitmap bitmap = renderBitmap(list, scale);
        auto pixel = [&](double x, double y) { return bitmap.at(int(x * scale), int(y * scale)); };
        EXPECT_EQ(pixel(10, 5).alpha, 0) << "top left corner at " << scale;
        EXPECT_EQ(pixel(29.9, 5).alpha, 0) << "top right corner";
        EXPECT_EQ(pixel(10, 24.9).alpha, 0) << "bottom left corner";
        EXPECT_EQ(pixel(29.9, 24.9).alpha, 0) << "bottom right corner";
        EXPECT_EQ(pixel(20, 15), opaque(Palette::accent)) << "centre";
        EXPECT_EQ(pixel(20, 5), opaque(Palette::accent)) << "middle of the top edge";
        EXPECT_EQ(pixel(5, 15).alpha, 0) << "outside the clip";
        EXPECT_EQ(pixel(0, 29), opaque(Palette::bearish));
    }

    // A PopClip without its PushClip is ignored; a clip left open ends with the drawing.
    const DrawList unbalanced{
        canvas,
        {PopClip{}, PushClip{{0, 0, 10, 10}},
         FillShape{{0, 0, 40, 30}, 0, RoundedCornerStyle::continuous, Palette::accent}}};
    const Bitmap bitmap = renderBitmap(unbalanced, 1);
    EXPECT_EQ(bitmap.at(5, 5), opaque(Palette::accent));
    EXPECT_EQ(bitmap.at(20, 20).alpha, 0);
}

TEST(Painter, EncodesEachFormat) {
    DrawList list = withBackground(
        {DrawText{{4, 4, 30, 16}, "Buy", {Font::system(11), Palette::bullish}},
         DrawSymbol{{24, 14, 13, 13}, "star", Font::system(13), Palette::textSecondary}});

    for (double scale : {1.0, 2.0, 3.0, 1.5}) {
        const PaintResult<std::string> png = paintToBytes(list, ImageFormat::png, scale);
        ASSERT_TRUE(std::holds_alternative<std::string>(png)) << std::get<PaintError>(png).message;
        const std::optional<PngSize> size = decodePng(std::get<std::string>(png));
        ASSERT_TRUE(size.has_value()) << "at " << scale;
        EXPECT_EQ(size->width, std::lround(40 * scale));
        EXPECT_EQ(size->height, std::lround(30 * scale));
    }

    const PaintResult<std::string> svg = paintToBytes(list, ImageFormat::svg, 2);
    ASSERT_TRUE(std::holds_alternative<std::string>(svg));
    const std::string& svgText = std::get<std::string>(svg);
    EXPECT_TRUE(svgText.starts_with("<?xml") || svgText.starts_with("<svg"))
        << svgText.substr(0, 40);
    EXPECT_NE(svgText.find("width=\"40pt\""), std::string::npos)
        << "drawn at the canvas size in points";
    EXPECT_NE(svgText.find("</svg>"), std::string::npos);

    const PaintResult<std::string> pdf = paintToBytes(list, ImageFormat::pdf, 2);
    ASSERT_TRUE(std::holds_alternative<std::string>(pdf));
    const std::string& pdfBytes = std::get<std::string>(pdf);
    EXPECT_TRUE(pdfBytes.starts_with("%PDF-"));
    EXPECT_NE(pdfBytes.find("%%EOF"), std::string::npos);
    EXPECT_NE(pdfBytes.find("/MediaBox [ 0 0 40 30 ]"), std::string::npos);
}

TEST(Painter, WritesFilesAndReportsFailures) {
    EXPECT_EQ(imageFormatForPath("out/widget.png"), ImageFormat::png);
    EXPECT_EQ(imageFormatForPath("widget.SVG"), ImageFormat::svg);
    EXPECT_EQ(imageFormatForPath("/tmp/a.b/widget.Pdf"), ImageFormat::pdf);
    EXPECT_EQ(imageFormatForPath("widget.jpeg"), std::nullopt);
    EXPECT_EQ(imageFormatForPath("png"), std::nullopt);

    const DrawList list = withBackground({});
    const std::filesystem::path dir =
        std::filesystem::temp_directory_path() / ("velmora-paint-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    for (const char* name : {"w.png", "w.svg", "w.pdf"}) {
        const std::optional<PaintError> error = paintToFile(list, dir / name);
        EXPECT_FALSE(error.has_value()) << error->message;
        std::ifstream in(dir / name, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), {});
        EXPECT_TRUE(bytes.starts_with("\x89PNG") || bytes.starts_with("<?xml") ||
                    bytes.starts_with("%PDF-"))
            << name;
    }
    std::ifstream in(dir / "w.png", std::ios::binary);
    EXPECT_EQ(std::string((std::istreambuf_iterator<char>(in)), {}),
              std::get<std::string>(paintToBytes(list, ImageFormat::png)))
        << "the file holds the encoding in memory";
    std::filesystem::remove_all(dir);

    auto failure = [&](const DrawList& l, const std::filesystem::path& path, double scale = 2) {
        const std::optional<PaintError> error = paintToFile(l, path, scale);
        return error ? error->message : std::string("no error");
    };
    EXPECT_EQ(failure(list, "/nonexistent-velmora-dir/w.png"),
              "cannot write '/nonexistent-velmora-dir/w.png': No such file or directory");
    EXPECT_EQ(failure(list, "/tmp/w.bmp"),
              "cannot tell the image format of '/tmp/w.bmp': name it .png, .svg or .pdf");
    EXPECT_EQ(failure(list, "/tmp/w.png", 0.5),
              "the render scale must lie between 1 and 3, not 0.5");
    EXPECT_EQ(failure(list, "/tmp/w.png", NAN),
              "the render scale must lie between 1 and 3, not nan");
    EXPECT_EQ(failure(DrawList{{0, 30}, {}}, "/tmp/w.svg"),
              "cannot draw a canvas of 0 x 30 points");
    EXPECT_TRUE(renderBitmap(list, 4).pixels.empty());
}
