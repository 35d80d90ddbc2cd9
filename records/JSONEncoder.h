#pragma once

#include "records/DailyBrief.h"
#include "records/PortfolioSnapshot.h"
#include "records/WatchlistRow.h"

#include <string>
#include <vector>

namespace AppGroupContainer {

// The writing form of the records: one JSON object with every required key, each optional key
// only when its field holds a value (never null), keys in field order, dates as RFC 3339 UTC in
// whole seconds (a fraction of a second is dropped, as the platform's encoder does, since readers
// reject fractions). The host app's writer; the widgets never write. Compact JSON text.
[[nodiscard]] std::string encode(const DailyBrief& brief);
[[nodiscard]] std::string encode(const PortfolioSnapshot& snapshot);
[[nodiscard]] std::string encode(const WatchlistRow& row);
[[nodiscard]] std::string encode(const std::vector<WatchlistRow>& rows);

}  // namespace AppGroupContainer
