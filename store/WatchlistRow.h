#pragma once

#include <optional>
#include <string>

namespace AppGroupContainer {

// One line of the user's watchlist. Its identity is its ticker.
struct WatchlistRow {
    std::string ticker;
    std::optional<std::string> companyName;
    double price = 0;
    double changePct = 0;  // percent units
    std::optional<std::string> signal;
    std::optional<double> score;

    [[nodiscard]] const std::string& id() const { return ticker; }

    friend bool operator==(const WatchlistRow&, const WatchlistRow&);
};

}  // namespace AppGroupContainer
