#pragma once

namespace desktop {

// The board window's widgets, flowed into the desktop grid (DesktopGrid) as wide as the window
// lets it be, in the order they were added; as tall as its rows. It is the toolkit's object, its
// children the widget views; `GTK_WIDGET(grid)` is the widget.
struct BoardGrid;

[[nodiscard]] BoardGrid* newBoardGrid();

}  // namespace desktop
