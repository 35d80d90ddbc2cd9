#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace AppGroupContainer {

// One line of the user's watchlist. Its identity is its ticker.
struct WatchlistRow {
    std::string ticker;
    std::optional<std::string> companyName;
    double price = 0;
    double changePct = 0;  // percent units
    std::optional<std::string> signal;
    std::optional<double> score;

    // The JSON keys, one per field in field order (store/CodingKeys.h).
    enum class CodingKeys { ticker, companyName, price, changePct, signal, score };
    static constexpr std::array<std::string_view, 6> codingKeyNames = {
        "ticker", "companyName", "price", "changePct", "signal", "score"};

    [[nodiscard]] const std::string& id() const { return ticker; }

    friend bool operator==(const WatchlistRow&, const WatchlistRow&);
};

}  // namespace AppGroupContainer
