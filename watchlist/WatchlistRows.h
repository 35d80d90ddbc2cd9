#pragma once

#include "records/PortfolioSnapshot.h"
#include "records/WatchlistRow.h"
#include "ui/EnvironmentValues.h"
#include "ui/View.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace watchlist {

// The three forms of a watchlist row (one per layout), the signal badge they share and the
// portfolio summary of the large layout. The glance view decides which rows reach them.

// The badge's size: small in the small row block, medium in the medium grid cell, large in
// the large list line.
enum class SignalBadgeSize { small, medium, large };

// The signal verbatim, over a fill of its signal colour at 0.18, clipped to a rounded
// rectangle. Callers decide whether a badge is shown at all.
[[nodiscard]] ui::View signalBadge(std::string_view signal, SignalBadgeSize size);

// The children of the small layout's stack for one row, as a group placed in that stack:
// ticker line (with badge), company, flexible gap, price, change.
[[nodiscard]] ui::View smallRowBlock(const AppGroupContainer::WatchlistRow& row);

// One cell of the medium layout's two-column grid.
[[nodiscard]] ui::View mediumRowCell(const AppGroupContainer::WatchlistRow& row);

// One line of the large layout's list and, unless the row is the last of `shownRows`, the
// divider after it, as a group. `position` counts from 0 in `shownRows`.
[[nodiscard]] ui::View largeRowLine(const AppGroupContainer::WatchlistRow& row,
                                    std::size_t position,
                                    const std::vector<AppGroupContainer::WatchlistRow>& shownRows);

// The portfolio's total value (in the environment's locale) and total return, for the top
// of the large layout.
[[nodiscard]] ui::View portfolioSummary(const AppGroupContainer::PortfolioSnapshot& portfolio,
                                        const ui::EnvironmentValues& env);

}  // namespace watchlist
