#pragma once

#include "desktop/DesktopSettings.h"
#include "hosting/DesktopPlacements.h"
#include "hosting/DrawnWidget.h"
#include "layout/Geometry.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace desktop {

// A placed widget as the desktop layer shows it: its size in points, its cell (none: the layer
// finds it one) and the title its surface carries.
struct DesktopWidget {
    layout::Size size;
    std::optional<hosting::DesktopCell> cell;
    std::string title;

    bool operator==(const DesktopWidget&) const = default;
};

// What the desktop layer tells the board, on the main loop.
struct DesktopLayerEvents {
    std::function<void(std::size_t index)> activated;  // clicked: its link is to be opened
    // Dragged and dropped on a cell: it stands there now, and the board keeps it.
    std::function<void(std::size_t index, const hosting::DesktopCell& cell)> moved;
    std::function<void()> scaleChanged;  // drawings at another scale are wanted from now on
    std::function<void()> presented;     // a drawing shown has reached the screen
};

// The widgets on the desktop itself, each a surface of its own: over the wallpaper, under every
// window, on every workspace, out of the task switcher and the pagers, never taking the
// keyboard. A widget is clicked to open its link and dragged to another cell of the grid. Its
// drawing arrives with its corners cut; outside them the wallpaper shows.
class DesktopLayer {
public:
    virtual ~DesktopLayer() = default;

    // The widgets to show, in placement order; every surface is made anew, and shows nothing
    // until its drawing comes.
    virtual void place(const std::vector<DesktopWidget>& widgets) = 0;
    // Shows the drawing of the widget at `index` (its pixels at scale()).
    virtual void show(std::size_t index, const hosting::DrawnWidget& drawn) = 0;
    // The scale the drawings are wanted at: the highest of the outputs the widgets stand on.
    [[nodiscard]] virtual int scale() const = 0;
    // The scale the drawing of the widget at `index` is wanted at: its output's.
    [[nodiscard]] virtual int scaleOf(std::size_t) const { return scale(); }
    // What the layer is, for the log: "Wayland layer shell", "X11 windows kept below".
    [[nodiscard]] virtual std::string_view kind() const = 0;
};

// The layer-shell desktop layer of the Wayland compositor the session runs on; none when there
// is no Wayland display or its compositor offers no layer shell.
[[nodiscard]] std::unique_ptr<DesktopLayer> openWaylandDesktopLayer(
    DesktopLayerEvents events, const DesktopSettings& settings);

// Windows kept below the others by the X11 session's EWMH window manager; none when there is no
// X display or no such window manager runs.
[[nodiscard]] std::unique_ptr<DesktopLayer> openX11DesktopLayer(DesktopLayerEvents events,
                                                                const DesktopSettings& settings);

}  // namespace desktop
