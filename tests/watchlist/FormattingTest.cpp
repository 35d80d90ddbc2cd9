#include "watchlist/Formatting.h"

#include "style/Palette.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using namespace ui;
using namespace watchlist;

namespace {

const double quietNaN = std::numeric_limits<double>::quiet_NaN();

}  // namespace

TEST(ChangeFormatting, TextAndColourTogether) {
    const struct {
        double value;
        const char* text;
        const char* color;
    } cases[] = {
        {12.5, "+12.50%", "bullish"},   {-0.5, "-0.50%", "bearish"},   {0, "0.00%", "neutral"},
        {-0.0, "-0.00%", "neutral"},     // negative zero keeps its sign and gets no "+"
        {0.0001, "+0.00%", "neutral"},   // a "+" but too small to colour
        {-0.0001, "-0.00%", "neutral"},  // the minus sign comes from the format
        {0.002, "+0.00%", "bullish"},    // rounds to zero yet coloured
        {-0.002, "-0.00%", "bearish"},  {0.001, "+0.00%", "neutral"},  // the thresholds are strict
        {-0.001, "-0.00%", "neutral"},  {quietNaN, "nan%", "neutral"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formatChangePercent(c.value), c.text) << c.value;
        EXPECT_EQ(dumpColor(changeColor(c.value), Palette::names),
                  "Palette." + std::string(c.color))
            << c.value;
    }
}

TEST(PriceFormatting, DollarsWithTwoDecimalsAndPortfolioCentsBelowTenThousand) {
    const std::pair<double, const char*> prices[] = {
        {187.456, "$187.46"}, {12345.6, "$12345.60"}, {quietNaN, "$nan"}};
    for (const auto& [value, text] : prices) EXPECT_EQ(formatPrice(value), text) << value;

    const std::pair<double, const char*> values[] = {
        {9999.99, "$9,999.99"},
        {10000, "$10,000"},
        {10000.49, "$10,000"},
        // Just below the threshold two digits stay, even when they round up to 10,000.
        {9999.999, "$10,000.00"},
    };
    for (const auto& [value, text] : values)
        EXPECT_EQ(formatPortfolioValue(value, "en_US"), text) << value;
}
