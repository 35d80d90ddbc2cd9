#include "render/PangoTextMeasurer.h"
#include "tests/support/TextLayoutFacts.h"

#include "layout/ShownText.h"
#include "render/Painter.h"
#include "style/Palette.h"
#include "tests/support/Bitmap.h"

#include <gtest/gtest.h>

using namespace ui;
using namespace timeline;

using namespace layout;
using namespace render;

namespace {

TextStyle style(Font font, std::optional<int> lineLimit = std::nullopt) {
    return {font, Palette::textPrimary, lineLimit};
}

double width(std::string_view text, const TextStyle& s) {
    return pangoTextMeasurer().measure(text, s, std::nullopt).size.width;
}

}  // namespace

TEST(TextMeasurer, WidthsFollowTheTextTheWeightAndTheDesign) {
    const TextStyle body = style(Font::system(13));
    EXPECT_GT(width("Watchlist", style(Font::system(13, FontWeight::bold))),
              width("Watchlist", body));
    // Monospaced figures all advance the same, so columns of prices line up.
    const TextStyle mono = style(Font::system(12, FontWeight::regular, FontDesign::monospaced));
    EXPECT_EQ(width("8888.88", mono), width("1111.11", mono));
}

TEST(TextMeasurer, WrapsToTheWidthAndCutsAtTheLineLimit) {
    const std::string summary =
        "Momentum stays constructive after the earnings beat, with margins widening for a "
        "third quarter and guidance raised above the consensus range.";
    const TextStyle body = style(Font::system(11));
    const TextMetrics ideal = pangoTextMeasurer().measure(summary, body, std::nullopt);
    EXPECT_EQ(describeTextLayout(summary, body, std::nullopt).lineCount, 1);

    const TextMetrics wrapped = pangoTextMeasurer().measure(summary, body, 150);
    const int lines = describeTextLayout(summary, body, 150).lineCount;
    EXPECT_GT(lines, 1);
    EXPECT_LE(wrapped.size.width, 150);
    EXPECT_NEAR(wrapped.size.height, lines * ideal.size.height, 0.01 * lines);
    // The painter wraps at the measured width: the same lines.
    EXPECT_EQ(describeTextLayout(summary, body, wrapped.size.width).lineCount, lines);

    const TextStyle oneLine = style(Font::system(11), 1);
    const TextLayoutFacts cut = describeTextLayout(summary, oneLine, 150);
    EXPECT_EQ(cut.lineCount, 1);
    EXPECT_TRUE(cut.ellipsized);
    EXPECT_NEAR(pangoTextMeasurer().measure(summary, oneLine, 150).size.height, ideal.size.height,
                1e-6);

    // A word too long for its line breaks between two letters and gains no hyphen: the same
    // glyphs as on one line.
    const TextLayoutFacts word = describeTextLayout("VERYLONGTICKERSYMBOL", body, 40);
    EXPECT_GT(word.lineCount, 1);
    EXPECT_EQ(word.glyphs, describeTextLayout("VERYLONGTICKERSYMBOL", body, std::nullopt).glyphs);
}

// Pango is given a long text only as far as its lines can reach: that start measures and sets
// as the whole text, and ends between two characters (grapheme clusters).
TEST(TextMeasurer, TheShownStartOfALongTextSetsAsTheWhole) {
    const std::string family = "👨‍👩‍👧",
                      marked = "e\u0301\u0303",  // one character each
        pile = "a" + [] {
            std::string marks;
            for (int i = 0; i < 200; ++i) marks += "\u0301";
            return marks;
        }();
    std::string mixed, families, marks, piles;
    for (int i = 0; i < 600; ++i) {
        mixed += "Momentum holds " + family + " " + marked + " ";
        families += family;
        marks += marked;
        piles += pile;
    }
    const TextMeasurer& pango = pangoTextMeasurer();
    for (const double width : {40.0, 150.0, 320.0}) {
        // A line limit, or a height of three lines and a half (a line is 13.3 high).
        for (const auto& [limit, height] :
             {std::pair<std::optional<int>, std::optional<double>>{1, {}}, {3, {}}, {{}, 46.5}}) {
            SCOPED_TRACE(std::to_string(width) + " wide, " + std::to_string(limit.value_or(0)));
            const TextStyle s = style(Font::system(11), limit);
            const std::string_view shown = pango.shownText(mixed, s, width, height);
            EXPECT_LT(shown.size(), mixed.size() / 5);
            const TextStyle drawn = style(Font::system(11), limit.value_or(3));
            EXPECT_EQ(pango.measure(shown, drawn, width), pango.measure(mixed, drawn, width));
            EXPECT_EQ(describeTextLayout(shown, drawn, width),
                      describeTextLayout(mixed, drawn, width));
            for (const auto& [text, unit] : {std::pair(&families, family.size()),
                                             {&marks, marked.size()},
                                             {&piles, pile.size()}}) {
                EXPECT_EQ(pango.shownText(*text, s, width, height).size() % unit, 0u);
                EXPECT_EQ(estimatedShownText(*text, s, width, height).size() % unit, 0u);
            }
            // Piles of marks are cut by bytes as well: shaping what a line's clusters could
            // reach of them took Pango half a second.
            EXPECT_LT(estimatedShownText(piles, s, width, height).size(), 64u << 10);
        }
    }
}

// Colour emoji come as bitmaps of 136 pixels: set in a 12 pt text they must take about as much
// room as a letter of it, at every scale, as the system's bitmap scaling rule makes them.
TEST(TextMeasurer, ColourEmojiTakeTheSizeOfTheText) {
    const TextStyle body = style(Font::system(12));
    if (describeTextLayout("🚀", body, std::nullopt).family != "Noto Color Emoji")
        GTEST_SKIP() << "no colour emoji font on this machine";
    const TextMetrics emoji = pangoTextMeasurer().measure("🚀", body, std::nullopt);
    EXPECT_GT(emoji.size.width, 6);
    EXPECT_LT(emoji.size.width, 24);
    EXPECT_LT(emoji.size.height, 24);

    // Drawn, its ink stays near the line it sits on.
    const TextMetrics line = pangoTextMeasurer().measure("Up 🚀", body, std::nullopt);
    const Bitmap bitmap = renderBitmap(
        DrawList{{60, 30}, {DrawText{{2, 2, line.size.width, line.size.height}, "Up 🚀", body}}}, 2);
    int inkBelow = 0;
    for (int y = int((2 + line.size.height + 2) * 2); y < bitmap.height; ++y)
        for (int x = 0; x < bitmap.width; ++x) inkBelow += bitmap.at(x, y).alpha != 0;
    EXPECT_EQ(inkBelow, 0);
}
