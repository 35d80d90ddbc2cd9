#pragma once

#include "platform/Result.h"
#include "timeline/Placement.h"
#include "timeline/WidgetDescription.h"

#include <filesystem>
#include <string>
#include <vector>

namespace hosting {

// The board's placements as they are kept between runs: the `--placements` format, a JSON array
// of {"kind": KIND, "family": FAMILY}, in the user's configuration folder.

// $XDG_CONFIG_HOME/velmora/placements.json, else ~/.config/velmora/placements.json.
[[nodiscard]] std::filesystem::path userPlacementsFile();

// What a first run shows: Watchlist Glance, then Daily Brief, both in the medium family.
[[nodiscard]] std::vector<timeline::Placement> firstRunPlacements();

// The placements `file` lists; a file that does not exist yet gives the first run's, and an
// empty array an empty board (every widget removed). An error names the file and the fault.
[[nodiscard]] platform::Result<std::vector<timeline::Placement>> loadBoardPlacements(
    const std::filesystem::path& file, const std::vector<timeline::WidgetDescription>& widgets);

// The placements in the file format, one a line.
[[nodiscard]] std::string placementsJson(const std::vector<timeline::Placement>& placements);

// Replaces `file` (making its folder when missing) with the placements, in one step.
[[nodiscard]] platform::Result<void> saveBoardPlacements(
    const std::filesystem::path& file, const std::vector<timeline::Placement>& placements);

}  // namespace hosting
