#include "watchlist/Formatting.h"

#include "platform/Formatters.h"
#include "style/Palette.h"

namespace watchlist {

using namespace ui;

namespace {

// A thousandth of one percent: smaller changes count as no change for the colour.
constexpr double changeThreshold = 0.001;

// 10000 dollars and more are shown without cents.
constexpr double wholeDollarsFrom = 10000;

}  // namespace

std::string formatChangePercent(double changePct) {
    std::string text = changePct > 0 ? "+" : "";
    text += platform::formatFixed(changePct, 2);
    text += '%';
    return text;
}

Color changeColor(double changePct) {
    if (changePct > changeThreshold) return Palette::bullish;
    if (changePct < -changeThreshold) return Palette::bearish;
    return Palette::neutral;
}

std::string formatPrice(double price) {
    return "$" + platform::formatFixed(price, 2);
}

std::string formatPortfolioValue(double value, std::string_view locale) {
    // NaN fails the comparison and keeps two digits.
    const int maximumFractionDigits = value >= wholeDollarsFrom ? 0 : 2;
    if (auto text = platform::formatCurrency(value, "USD", maximumFractionDigits, locale)) {
        return *text;
    }
    return "$" + platform::formatShortest(value);
}

}  // namespace watchlist
