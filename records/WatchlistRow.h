#pragma once

#include "records/Field.h"

#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace AppGroupContainer {

// One line of the user's watchlist. Its identity is its ticker.
struct WatchlistRow {
    std::string ticker;
    std::optional<std::string> companyName;
    double price = 0;
    double changePct = 0;  // percent units
    std::optional<std::string> signal;
    std::optional<double> score;

    // The fields in field order with their JSON keys (records/Field.h): the keys, decoding,
    // encoding, equality and the extension's frames all come from this list.
    static constexpr auto fields() {
        return std::tuple{Field{"ticker", &WatchlistRow::ticker},
                          Field{"companyName", &WatchlistRow::companyName},
                          Field{"price", &WatchlistRow::price},
                          Field{"changePct", &WatchlistRow::changePct},
                          Field{"signal", &WatchlistRow::signal},
                          Field{"score", &WatchlistRow::score}};
    }

    [[nodiscard]] const std::string& id() const { return ticker; }

    friend bool operator==(const WatchlistRow& a, const WatchlistRow& b) {
        return fieldsEqual(a, b);
    }
};

}  // namespace AppGroupContainer
