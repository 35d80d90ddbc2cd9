#include "layout/Symbols.h"
#include "render/Painter.h"
#include "tests/support/Bitmap.h"

#include "style/Palette.h"

#include <gtest/gtest.h>

using namespace ui;
using namespace timeline;

using namespace layout;
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
    const Font font = Font::system(24);
    const Rect frame{6, 8, font.size, font.size};
    for (const char* name : {"sparkles", "chart.line.uptrend.xyaxis", "star"}) {
        EXPECT_TRUE(isKnownSymbol(name));
        const Ink ink = inkOf(name, frame, font);
        // A visible glyph: at least a tenth of its box.
        EXPECT_GT(ink.inside, font.size * font.size * 4 / 10) << name;
        EXPECT_EQ(ink.outside, 0) << name;
    }
}

TEST(Symbols, UnknownNameDrawsNothingAndSaysSoOnce) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(symbolGlyph("cloud.sun.test-only", {0, 0, 13, 13}, Font::system(13)), std::nullopt);
    const Ink ink = inkOf("cloud.sun.test-only", {6, 8, 13, 13}, Font::system(13));
    EXPECT_EQ(ink.inside + ink.outside, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "velmora: unknown symbol 'cloud.sun.test-only'\n");
}
