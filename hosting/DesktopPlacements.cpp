#include "hosting/DesktopPlacements.h"

#include "platform/UserFolders.h"

#include "hosting/Placements.h"
#include "platform/AtomicFile.h"
#include "platform/InputFile.h"

#include <nlohmann/json.hpp>

#include <cstdlib>

using namespace timeline;

namespace hosting {

using timeline::WidgetFamily;

std::filesystem::path userPlacementsFile() {
    return platform::userFolder(platform::UserFolder::config) / "velmora" / "placements.json";
}

std::vector<Placement> firstRunPlacements() {
    return {{"WatchlistGlance", WidgetFamily::systemMedium},
            {"DailyBrief", WidgetFamily::systemMedium}};
}

platform::Result<std::vector<Placement>> loadBoardPlacements(
    const std::filesystem::path& file, const std::vector<WidgetDescription>& widgets) {
    std::error_code missing;
    if (!std::filesystem::exists(file, missing) && !missing) return firstRunPlacements();
    const auto text = platform::readInputFile(file, placementsFileLimit);
    if (!text) return platform::Error{"placements file " + text.error().description};
    // The host's format has at least one placement; the board's file holds none once the user
    // has removed every widget.
    const auto json = nlohmann::json::parse(*text, nullptr, false);
    if (json.is_array() && json.empty()) return std::vector<Placement>{};
    return parsePlacements(*text, file.string(), widgets);
}

std::string placementsJson(const std::vector<Placement>& placements) {
    std::string text = "[";
    for (std::size_t i = 0; i < placements.size(); ++i) {
        const nlohmann::ordered_json item{{"kind", placements[i].kind},
                                          {"family", std::string(name(placements[i].family))}};
        text += (i == 0 ? "\n  " : ",\n  ") + item.dump();
    }
    return text + (placements.empty() ? "]\n" : "\n]\n");
}

platform::Result<void> saveBoardPlacements(const std::filesystem::path& file,
                                           const std::vector<Placement>& placements) {
    std::error_code error;
    std::filesystem::create_directories(file.parent_path(), error);
    if (error)
        return platform::Error{"cannot make \"" + file.parent_path().string() +
                               "\": " + error.message()};
    return platform::writeFileAtomically(file, placementsJson(placements));
}

}  // namespace hosting
