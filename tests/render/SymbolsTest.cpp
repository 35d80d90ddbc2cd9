#include "render/Painter.h"
#include "render/Symbols.h"

#include "style/Palette.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

using namespace render;

namespace {

struct Ink {
    int inside = 0;
    int outside = 0;
};

// Counts the pixels a symbol colours, inside and outside its frame, at scale 2.
Ink inkOf(const std::string& name, const Rect& frame, const Font& font) {
    const DrawList list{{40, 40}, {DrawSymbol{frame, name, font, Palette::accent}}};
    const Bitmap bitmap = renderBitmap(list, 2);
    Ink ink;
    for (int y = 0; y < bitmap.height; ++y) {
        for (int x = 0; x < bitmap.width; ++x) {
            if (bitmap.at(x, y).alpha == 0) continue;
            const bool in = x >= frame.x * 2 && x < frame.maxX() * 2 && y >= frame.y * 2 &&
                            y < frame.maxY() * 2;
            ++(in ? ink.inside : ink.outside);
        }
    }
    return ink;
}

}  // namespace

TEST(Symbols, KnownGlyphsDrawInsideTheirBox) {
    for (const char* name : {"sparkles", "chart.line.uptrend.xyaxis", "star"}) {
        EXPECT_TRUE(isKnownSymbol(name));
        for (const Font& font : {Font::system(24), Font::system(11, FontWeight::semibold),
                                 Font::system(13, FontWeight::bold)}) {
            const Rect frame{6, 8, font.size, font.size};
            const Ink ink = inkOf(name, frame, font);
            // A visible glyph: at least a tenth of its box.
            EXPECT_GT(ink.inside, font.size * font.size * 4 / 10) << name << " at " << font.size;
            EXPECT_EQ(ink.outside, 0) << name << " at " << font.size;
        }
    }
    EXPECT_FALSE(isKnownSymbol("Star"));
    EXPECT_FALSE(isKnownSymbol(""));
}

TEST(Symbols, HeavierWeightsDrawHeavierLines) {
    auto widths = [](const char* name, FontWeight weight) {
        const std::optional<SymbolGlyph> glyph =
            symbolGlyph(name, {0, 0, 20, 20}, Font::system(20, weight));
        std::vector<double> result;
        for (const SymbolGlyphPart& part : glyph.value())
            if (!part.filled) result.push_back(part.lineWidth);
        return result;
    };
    for (const char* name : {"chart.line.uptrend.xyaxis", "star"}) {
        const std::vector<double> regular = widths(name, FontWeight::regular);
        const std::vector<double> bold = widths(name, FontWeight::bold);
        ASSERT_FALSE(regular.empty());
        ASSERT_EQ(regular.size(), bold.size());
        for (std::size_t i = 0; i < regular.size(); ++i) EXPECT_LT(regular[i], bold[i]) << name;
    }
    // Lines scale with the font size.
    const auto small = symbolGlyph("star", {0, 0, 10, 10}, Font::system(10));
    const auto large = symbolGlyph("star", {0, 0, 30, 30}, Font::system(30));
    EXPECT_DOUBLE_EQ(large->front().lineWidth, 3 * small->front().lineWidth);
    // The square is centred in a box that is not square.
    const auto wide = symbolGlyph("star", {0, 0, 30, 10}, Font::system(10));
    EXPECT_EQ(wide->front().path.elements.front().points[0].x, 15);
}

TEST(Symbols, UnknownNameDrawsNothingAndSaysSoOnce) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(symbolGlyph("cloud.sun.test-only", {0, 0, 13, 13}, Font::system(13)), std::nullopt);
    const Ink ink = inkOf("cloud.sun.test-only", {6, 8, 13, 13}, Font::system(13));
    EXPECT_EQ(ink.inside + ink.outside, 0);
    EXPECT_EQ(symbolGlyph("moon.test-only", {0, 0, 13, 13}, Font::system(13)), std::nullopt);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            (void)symbolGlyph("moon.test-only", {0, 0, 9, 9}, Font::system(9));
        });
    for (std::thread& t : threads) t.join();
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_EQ(printed,
              "velmora: unknown symbol 'cloud.sun.test-only'\n"
              "velmora: unknown symbol 'moon.test-only'\n");
}
