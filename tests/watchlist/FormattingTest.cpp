#include "watchlist/Formatting.h"

#include "style/Palette.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

const double quietNaN = std::numeric_limits<double>::quiet_NaN();

std::string colorName(double changePct) {
    const auto name = Palette::nameOf(changeColor(changePct));
    return name ? std::string(*name) : "not a palette colour";
}

}  // namespace

TEST(ChangeFormatting, TextAndColourTogether) {
    const struct {
        double value;
        const char* text;
        const char* color;
    } cases[] = {
        {0, "0.00%", "neutral"},
        {12.5, "+12.50%", "bullish"},
        {-0.5, "-0.50%", "bearish"},
        {0.0001, "+0.00%", "neutral"},   // a "+" but too small to colour
        {-0.0001, "-0.00%", "neutral"},  // the minus sign comes from the format
        {0.002, "+0.00%", "bullish"},    // rounds to zero yet coloured
        {-0.002, "-0.00%", "bearish"},
        {0.001, "+0.00%", "neutral"},  // the thresholds are strict
        {-0.001, "-0.00%", "neutral"},
        {1.5, "+1.50%", "bullish"},
        {-3.2, "-3.20%", "bearish"},
        {-0.0, "-0.00%", "neutral"},               // negative zero keeps its sign and gets no "+"
        {0.005, "+0.01%", "bullish"},              // 0.005 lies just above the half in binary
        {0.125, "+0.12%", "bullish"},              // an exact half rounds to even
        {1234567.891, "+1234567.89%", "bullish"},  // no grouping
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formatChangePercent(c.value), c.text) << c.value;
        EXPECT_EQ(colorName(c.value), c.color) << c.value;
    }
}

TEST(ChangeFormatting, NonNumbersAreNeutralWithoutPlus) {
    EXPECT_EQ(formatChangePercent(quietNaN), "nan%");
    EXPECT_EQ(formatChangePercent(-quietNaN), "-nan%");
    EXPECT_EQ(colorName(quietNaN), "neutral");
    EXPECT_EQ(colorName(-quietNaN), "neutral");
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(formatChangePercent(infinity), "+inf%");
    EXPECT_EQ(formatChangePercent(-infinity), "-inf%");
    EXPECT_EQ(colorName(infinity), "bullish");
    EXPECT_EQ(colorName(-infinity), "bearish");
    // The threshold's closest neighbours on either side.
    EXPECT_EQ(colorName(std::nextafter(0.001, 1.0)), "bullish");
    EXPECT_EQ(colorName(std::nextafter(-0.001, -1.0)), "bearish");
}

TEST(PriceFormatting, DollarsWithTwoDecimals) {
    EXPECT_EQ(formatPrice(187.456), "$187.46");
    EXPECT_EQ(formatPrice(0), "$0.00");
    EXPECT_EQ(formatPrice(12345.6), "$12345.60");  // never grouped
    EXPECT_EQ(formatPrice(0.125), "$0.12");
    EXPECT_EQ(formatPrice(-4.5), "$-4.50");
    EXPECT_EQ(formatPrice(quietNaN), "$nan");
}

TEST(PortfolioValueFormatting, DropsCentsFromTenThousand) {
    EXPECT_EQ(formatPortfolioValue(9999.99, "en_US"), "$9,999.99");
    EXPECT_EQ(formatPortfolioValue(9999.5, "en_US"), "$9,999.50");
    EXPECT_EQ(formatPortfolioValue(10000, "en_US"), "$10,000");
    EXPECT_EQ(formatPortfolioValue(10000.49, "en_US"), "$10,000");
    EXPECT_EQ(formatPortfolioValue(10000.5, "en_US"), "$10,000");  // half-even
    EXPECT_EQ(formatPortfolioValue(10001.5, "en_US"), "$10,002");
    EXPECT_EQ(formatPortfolioValue(184230.5, "en_US"), "$184,230");
    // Just below the threshold two digits stay, even when they round up to 10,000.
    EXPECT_EQ(formatPortfolioValue(9999.999, "en_US"), "$10,000.00");
    EXPECT_EQ(formatPortfolioValue(0, "en_US"), "$0.00");
    EXPECT_EQ(formatPortfolioValue(-12.5, "en_US"), "-$12.50");
    const std::string notANumber = formatPortfolioValue(quietNaN, "en_US");
    EXPECT_NE(notANumber.find("NaN"), std::string::npos) << notANumber;
}

TEST(PortfolioValueFormatting, FollowsTheLocale) {
    // German: full stop groups, comma decimals, symbol after the figure.
    const std::string small = formatPortfolioValue(9999.99, "de_DE");
    EXPECT_EQ(small.rfind("9.999,99", 0), 0u) << small;
    EXPECT_EQ(small.back(), '$') << small;
    const std::string large = formatPortfolioValue(12345.67, "de_DE");
    EXPECT_EQ(large.rfind("12.346", 0), 0u) << large;
    EXPECT_EQ(large.find(','), std::string::npos) << large;
    EXPECT_EQ(large.back(), '$') << large;
}
