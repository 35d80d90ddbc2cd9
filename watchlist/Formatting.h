#pragma once

// The number texts and the change colour that the watchlist's rows and portfolio summary share.

#include "ui/Color.h"

#include <string>
#include <string_view>

namespace watchlist {

// A change in percent units, signed: "+1.50%", "0.00%", "-0.50%" ("%.2f", never localised;
// only values above 0 get a "+", so NaN reads "nan%").
[[nodiscard]] std::string formatChangePercent(double changePct);

// Palette::bullish above 0.001, Palette::bearish below -0.001, else (NaN too) Palette::neutral.
[[nodiscard]] ui::Color changeColor(double changePct);

// "$187.46": a dollar sign and "%.2f", never localised.
[[nodiscard]] std::string formatPrice(double price);

// The portfolio's total value as USD currency in `locale` (an ICU locale id): no fraction digits
// from 10000 up, at most two below (and for NaN); "$" and the shortest text of the value if
// the locale's formatter gives none.
[[nodiscard]] std::string formatPortfolioValue(double value, std::string_view locale);

}  // namespace watchlist
