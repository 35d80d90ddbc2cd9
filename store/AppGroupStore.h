#pragma once

#include "platform/Logger.h"
#include "records/DailyBrief.h"
#include "records/JSONDecoder.h"
#include "records/PortfolioSnapshot.h"
#include "records/WatchlistRow.h"

#include <optional>
#include <string_view>
#include <vector>

// The extension's only access to the store it shares with the host app through the app
// group. Every read opens the suite afresh (the standard defaults when there is no suite),
// takes the bytes under the key, releases the store and decodes the JSON. Nothing is cached.
// Failures give no value. A key that is not set, or holds a text, is no failure and logs
// nothing; a decoding failure, and a store that exists but cannot be read (damaged, foreign,
// locked past the wait, a value above the size limit: store/DefaultsStore.h), log one line
// each at level error.
namespace AppGroupContainer {

// The keys under which the host app leaves its records.
inline constexpr std::string_view dailyBriefKey = "vmDailyBrief";
inline constexpr std::string_view watchlistTickersKey = "vmWatchlistTickers";
inline constexpr std::string_view portfolioSnapshotKey = "vmPortfolioSnapshot";

// The process-wide decoder (ISO 8601 dates) and logger (subsystem: the host app's bundle id,
// category "app"), each created on first use, safely when several threads get there at once.
[[nodiscard]] const JSONDecoder& sharedDecoder();
[[nodiscard]] const platform::Logger& sharedLogger();

// One record decoded from the JSON object stored under `key`: DailyBrief or
// PortfolioSnapshot (or a single WatchlistRow). `storeDirectory` names the store folder;
// empty means the one the environment names (platform/StoreLocation.h).
template <typename Record>
[[nodiscard]] std::optional<Record> readRecord(std::string_view key,
                                               std::string_view storeDirectory = {});
// The same, logging through `logger` instead of the shared one.
template <typename Record>
[[nodiscard]] std::optional<Record> readRecord(std::string_view key,
                                               std::string_view storeDirectory,
                                               const platform::Logger& logger);

// The list of rows decoded from the JSON array under `key`, in stored order. An empty array
// gives an empty list, which is not the same as no value.
[[nodiscard]] std::optional<std::vector<WatchlistRow>> readRows(
    std::string_view key, std::string_view storeDirectory = {});
[[nodiscard]] std::optional<std::vector<WatchlistRow>> readRows(std::string_view key,
                                                                std::string_view storeDirectory,
                                                                const platform::Logger& logger);

extern template std::optional<DailyBrief> readRecord<DailyBrief>(std::string_view,
                                                                 std::string_view);
extern template std::optional<DailyBrief> readRecord<DailyBrief>(std::string_view, std::string_view,
                                                                 const platform::Logger&);
extern template std::optional<PortfolioSnapshot> readRecord<PortfolioSnapshot>(std::string_view,
                                                                               std::string_view);
extern template std::optional<PortfolioSnapshot> readRecord<PortfolioSnapshot>(
    std::string_view, std::string_view, const platform::Logger&);
extern template std::optional<WatchlistRow> readRecord<WatchlistRow>(std::string_view,
                                                                     std::string_view);
extern template std::optional<WatchlistRow> readRecord<WatchlistRow>(std::string_view,
                                                                     std::string_view,
                                                                     const platform::Logger&);

}  // namespace AppGroupContainer
