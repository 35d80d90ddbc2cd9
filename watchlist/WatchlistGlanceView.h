#pragma once

#include "platform/Date.h"
#include "platform/Url.h"
#include "store/WatchlistRow.h"
#include "style/EnvironmentValues.h"
#include "style/View.h"
#include "watchlist/WatchlistEntry.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The watchlist glance widget's view: one layout per family (small: the first row alone;
// medium, and any other family: a grid of up to four cells; large: the portfolio summary
// and a list of up to five lines), each with its tap link. The widget configuration puts it
// on the container background; the view adds none of its own.
struct WatchlistGlanceView {
    WatchlistEntry entry;

    [[nodiscard]] View body(const EnvironmentValues& env) const;

    bool operator==(const WatchlistGlanceView&) const = default;
};

// The rows worth showing: those with a positive price or a signal (an empty signal counts),
// in order; when none qualifies, every row, so a watchlist of bare tickers still shows.
[[nodiscard]] std::vector<AppGroupContainer::WatchlistRow> displayRows(
    const std::vector<AppGroupContainer::WatchlistRow>& rows);

// "2m ago": the age of `date` at the moment of drawing (env.now), in env.locale.
[[nodiscard]] std::string relativeTimeText(Date date, const EnvironmentValues& env);

// "velmora://stock-detail?ticker=" with the ticker appended unchanged; nothing when that is
// not a valid URL (a ticker with a space, say).
[[nodiscard]] std::optional<platform::Url> stockDetailURL(std::string_view ticker);
// "velmora://stock-universe-dashboard?tab=watchlist".
[[nodiscard]] std::optional<platform::Url> dashboardWatchlistURL();

// The layouts and their shared pieces.
[[nodiscard]] View smallLayout(const WatchlistEntry& entry, const EnvironmentValues& env);
[[nodiscard]] View mediumLayout(const WatchlistEntry& entry, const EnvironmentValues& env);
[[nodiscard]] View largeLayout(const WatchlistEntry& entry, const EnvironmentValues& env);
// "Watchlist" and the entry's age; `withSymbol` puts the chart symbol in front (medium).
[[nodiscard]] View watchlistHeader(Date entryDate, bool withSymbol, const EnvironmentValues& env);
[[nodiscard]] View emptyWatchlistState();
