#pragma once

#include "platform/Date.h"
#include "platform/Url.h"
#include "records/WatchlistRow.h"
#include "ui/EnvironmentValues.h"
#include "ui/View.h"
#include "watchlist/WatchlistEntry.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace watchlist {

// The watchlist glance widget's view: one layout per family (small: the first row alone;
// medium, and any other family: a grid of up to four cells; large: the portfolio summary
// and a list of up to five lines), each with its tap link. The widget configuration puts it
// on the container background; the view adds none of its own.
struct WatchlistGlanceView {
    WatchlistEntry entry;

    [[nodiscard]] ui::View body(const ui::EnvironmentValues& env) const;

    bool operator==(const WatchlistGlanceView&) const = default;
};

// The rows worth showing: those with a positive price or a signal (an empty signal counts),
// in order; when none qualifies, every row, so a watchlist of bare tickers still shows.
[[nodiscard]] std::vector<AppGroupContainer::WatchlistRow> displayRows(
    const std::vector<AppGroupContainer::WatchlistRow>& rows);

// "2m ago": the age of `date` at the moment of drawing (env.now), in env.locale.
[[nodiscard]] std::string relativeTimeText(platform::Date date, const ui::EnvironmentValues& env);

// "velmora://stock-universe-dashboard?tab=watchlist".
[[nodiscard]] std::optional<platform::Url> dashboardWatchlistURL();

// The layouts and their shared pieces.
[[nodiscard]] ui::View smallLayout(const WatchlistEntry& entry, const ui::EnvironmentValues& env);
[[nodiscard]] ui::View mediumLayout(const WatchlistEntry& entry, const ui::EnvironmentValues& env);
[[nodiscard]] ui::View largeLayout(const WatchlistEntry& entry, const ui::EnvironmentValues& env);
// "Watchlist" and the entry's age; `withSymbol` puts the chart symbol in front (medium).
[[nodiscard]] ui::View watchlistHeader(platform::Date entryDate, bool withSymbol,
                                       const ui::EnvironmentValues& env);
[[nodiscard]] ui::View emptyWatchlistState();

}  // namespace watchlist
