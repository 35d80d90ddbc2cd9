#pragma once

#include "host/CommandLine.h"

#include <string>
#include <string_view>

namespace host {

// The desktop board: a toolkit application that shows the placed widgets, asks for their
// timelines at their reload dates, and opens a widget's link when it is clicked.

struct DesktopOptions {
    std::string placementsFile;  // empty: the user's (userPlacementsFile())
};

// The application id, from the host app's bundle identifier: the board's name on the session
// bus, its desktop entry's and icon's name.
[[nodiscard]] std::string_view desktopApplicationId();

// The name of the board's action that asks for new timelines now: its parameter is a widget
// kind, or the empty text for every kind.
inline constexpr std::string_view reloadActionName = "reload";

// Runs the board until its window is closed. A second board started while one runs shows the
// running board's window and ends.
[[nodiscard]] CommandResult runDesktopBoard(const GlobalOptions& globals,
                                            const DesktopOptions& options);

}  // namespace host
