#pragma once

#include "platform/Result.h"
#include "timeline/Placement.h"
#include "timeline/WidgetDescription.h"

#include <cstddef>
#include <filesystem>
#include <string_view>
#include <vector>

namespace hosting {

// The most a placements file may hold.
inline constexpr std::size_t placementsFileLimit = 1 << 20;

// The placements a file lists (a regular file of at most placementsFileLimit bytes): a non-empty
// JSON array of {"kind": KIND, "family": FAMILY}, each
// a widget of the bundle in a family it offers, none twice. An error names the file and, where
// one is at fault, the item.
[[nodiscard]] platform::Result<std::vector<timeline::Placement>> readPlacements(
    const std::filesystem::path& file, const std::vector<timeline::WidgetDescription>& widgets);

// The same for the file's text; `file` names it in errors.
[[nodiscard]] platform::Result<std::vector<timeline::Placement>> parsePlacements(
    std::string_view text, std::string_view file,
    const std::vector<timeline::WidgetDescription>& widgets);

}  // namespace hosting
