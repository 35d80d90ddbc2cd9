#pragma once

#include "hosting/Extension.h"

#include <string>
#include <string_view>
#include <vector>

namespace desktop {

// The desktop board: a toolkit application that shows the placed widgets, asks for their
// timelines at their reload dates, and opens a widget's link when it is clicked. The widgets
// stand on the desktop itself where the session offers a desktop layer (Wayland's layer shell,
// an X11 window manager that keeps windows below), and in the board's window where it does not.
// The window is where widgets are added and removed.

struct DesktopOptions {
    std::string placementsFile;   // empty: the user's (userPlacementsFile())
    bool window = false;          // open the window even when the widgets are on the desktop
    bool noDesktopLayer = false;  // show the widgets in the window alone
};

// The extension of a program that sits with the board: the command-line program beside it in
// the build tree, or in the folder for programs once installed, which loads none of the toolkit's
// libraries; the calling program itself when neither is found.
[[nodiscard]] hosting::ExtensionSettings boardExtensionSettings(
    const hosting::ExtensionOptions& options);

// Runs the board, its widgets drawn by an extension launched with `extension`: until its window
// is closed when the widgets are in it, until it is stopped (SIGTERM, SIGINT) when they are on
// the desktop. A second board started while one runs opens the running board's window and ends.
// Its exit status: 0 when it ended as asked.
[[nodiscard]] int runDesktopBoard(const hosting::ExtensionOptions& extension,
                                  const DesktopOptions& options);

}  // namespace desktop
