#pragma once

#include "platform/Result.h"

#include <optional>
#include <string_view>

namespace appgroup {

// The records the host app leaves for the widgets, one under each of its keys
// (store/AppGroupStore.h names them).
enum class RecordKind {
    dailyBrief,         // vmDailyBrief: one object
    watchlistRows,      // vmWatchlistTickers: an array of row objects
    portfolioSnapshot,  // vmPortfolioSnapshot: one object
};

// The record a key holds; nothing for any other key.
[[nodiscard]] std::optional<RecordKind> recordKindOf(std::string_view key);

// Whether the widgets would take `json` as a record of `kind`: decoded with their own decoder,
// and refused with its message (where in the text, which key path) when they would not.
[[nodiscard]] platform::Result<void> checkRecord(RecordKind kind, std::string_view json);

}  // namespace appgroup
