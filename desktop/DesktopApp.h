#pragma once

#include "widgets/StaticConfiguration.h"
#include "widgets/WidgetHost.h"

#include <string>
#include <string_view>
#include <vector>

namespace desktop {

// The desktop board: a toolkit application that shows the placed widgets, asks for their
// timelines at their reload dates, and opens a widget's link when it is clicked.

struct DesktopOptions {
    std::string placementsFile;  // empty: the user's (userPlacementsFile())
};

// Runs the board until its window is closed. A second board started while one runs shows the
// running board's window and ends.
// Its exit status: 0 when it ended as asked.
[[nodiscard]] int runDesktopBoard(std::vector<widgets::StaticConfiguration> widgets,
                                  widgets::HostSettings settings, const DesktopOptions& options);

}  // namespace desktop
