#include "style/Palette.h"

#include <gtest/gtest.h>

TEST(Palette, NamesEachColourByItsRgb) {
    const struct {
        Color color;
        const char* name;
        int red, green, blue;
    } palette[] = {
        {Palette::background, "background", 0x0D, 0x11, 0x17},
        {Palette::surface, "surface", 0x16, 0x1B, 0x22},
        {Palette::textPrimary, "textPrimary", 0xE6, 0xED, 0xF3},
        {Palette::textSecondary, "textSecondary", 0x8B, 0x94, 0x9E},
        {Palette::accent, "accent", 0xEA, 0x58, 0x0C},
        {Palette::bullish, "bullish", 0x22, 0xC5, 0x5E},
        {Palette::bearish, "bearish", 0xEF, 0x44, 0x44},
        {Palette::neutral, "neutral", 0x9C, 0xA3, 0xAF},
    };
    for (const auto& entry : palette) {
        EXPECT_EQ(Palette::nameOf(entry.color), entry.name);
        // The hex table of the host app, component by component.
        EXPECT_EQ(entry.color, Color::rgb8(entry.red, entry.green, entry.blue)) << entry.name;
        EXPECT_EQ(entry.color.alpha, 1.0) << entry.name;
        // Opacity aside: a palette colour at 0.18 keeps its name.
        EXPECT_EQ(Palette::nameOf(entry.color.opacity(0.18)), entry.name);
    }
}

TEST(Palette, LeavesOtherColoursUnnamed) {
    // One step off in a single component is another colour.
    for (const Color& other : {Color::white().opacity(0.04), Color::black(),
                               Color::rgb8(34, 197, 95), Color::rgb8(13, 17, 22)})
        EXPECT_EQ(Palette::nameOf(other), std::nullopt);
}
