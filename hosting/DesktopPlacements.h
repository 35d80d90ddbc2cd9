#pragma once

#include "platform/Result.h"
#include "timeline/Placement.h"
#include "timeline/WidgetDescription.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace hosting {

// The board's placements as they are kept between runs: the `--placements` format, a JSON array
// of {"kind": KIND, "family": FAMILY}, in the user's configuration folder, where a widget
// dragged on the desktop also keeps its cell: "output" (the monitor's connector name, "" for the
// first), "column" and "row". A file without cells is read as before.

// A cell of the desktop grid on an output (monitor), counted from its top-left corner.
struct DesktopCell {
    std::string output;  // the connector's name ("DP-1"); empty, or one not there: the first
    int column = 0;
    int row = 0;

    bool operator==(const DesktopCell&) const = default;
};

// A placement and, once the user has moved it on the desktop, its cell.
struct PlacedWidget {
    timeline::Placement placement;
    std::optional<DesktopCell> cell;

    bool operator==(const PlacedWidget&) const = default;
};

// $XDG_CONFIG_HOME/velmora/placements.json, else ~/.config/velmora/placements.json.
[[nodiscard]] std::filesystem::path userPlacementsFile();

// What a first run shows: Watchlist Glance, then Daily Brief, both in the medium family.
[[nodiscard]] std::vector<PlacedWidget> firstRunPlacements();

// The placements `file` lists; a file that does not exist yet gives the first run's, and an
// empty array an empty board (every widget removed). An error names the file and the fault.
[[nodiscard]] platform::Result<std::vector<PlacedWidget>> loadBoardPlacements(
    const std::filesystem::path& file, const std::vector<timeline::WidgetDescription>& widgets);

// The placements in the file format, one a line.
[[nodiscard]] std::string placementsJson(const std::vector<PlacedWidget>& placements);

// Replaces `file` (making its folder when missing) with the placements, in one step.
[[nodiscard]] platform::Result<void> saveBoardPlacements(
    const std::filesystem::path& file, const std::vector<PlacedWidget>& placements);

}  // namespace hosting
