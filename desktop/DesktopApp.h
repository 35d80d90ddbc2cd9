#pragma once

#include "hosting/Extension.h"

#include <string>
#include <string_view>
#include <vector>

namespace desktop {

// The desktop board: a toolkit application that shows the placed widgets, asks for their
// timelines at their reload dates, and opens a widget's link when it is clicked.

struct DesktopOptions {
    std::string placementsFile;  // empty: the user's (userPlacementsFile())
};

// Runs the board, its widgets drawn by an extension launched with `extension`, until its window
// is closed. A second board started while one runs shows the running board's window and ends.
// Its exit status: 0 when it ended as asked.
[[nodiscard]] int runDesktopBoard(const hosting::ExtensionOptions& extension,
                                  const DesktopOptions& options);

}  // namespace desktop
