#pragma once

#include "widgets/StaticConfiguration.h"

#include <string>
#include <vector>

namespace widgets {

// The two widgets. Each holds only its kind; its body is its static configuration.
struct WatchlistGlanceWidget {
    const std::string kind = "WatchlistGlance";
    [[nodiscard]] StaticConfiguration body() const;
};

struct DailyBriefWidget {
    const std::string kind = "DailyBrief";
    [[nodiscard]] StaticConfiguration body() const;
};

// The extension's bundle: the watchlist widget, then the daily brief widget.
struct VelmoraWidgetsBundle {
    [[nodiscard]] std::vector<StaticConfiguration> body() const;
};

}  // namespace widgets
