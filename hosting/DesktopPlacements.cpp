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

std::vector<PlacedWidget> firstRunPlacements() {
    return {{{"WatchlistGlance", WidgetFamily::systemMedium}, {}},
            {{"DailyBrief", WidgetFamily::systemMedium}, {}}};
}

namespace {

// The cell an item of a placements file keeps, if any; an error says what is wrong with it.
platform::Result<std::optional<DesktopCell>> cellOf(const nlohmann::json& item) {
    if (!item.contains("column") && !item.contains("row") && !item.contains("output"))
        return std::optional<DesktopCell>{};
    constexpr int mostCells = 1000;  // far beyond any screen
    const auto count = [&](const char* key) -> std::optional<int> {
        const auto found = item.find(key);
        if (found == item.end() || !found->is_number_integer()) return {};
        const auto value = found->get<long long>();
        if (value < 0 || value >= mostCells) return {};
        return int(value);
    };
    const auto column = count("column"), row = count("row");
    const auto output = item.find("output");
    if (!column || !row || (output != item.end() && !output->is_string()))
        return platform::Error{
            R"(a cell is {"output": TEXT, "column": 0 to 999, "row": 0 to 999}, the output optional)"};
    return std::optional<DesktopCell>{
        DesktopCell{output != item.end() ? output->get<std::string>() : "", *column, *row}};
}

}  // namespace

platform::Result<std::vector<PlacedWidget>> loadBoardPlacements(
    const std::filesystem::path& file, const std::vector<WidgetDescription>& widgets) {
    std::error_code missing;
    if (!std::filesystem::exists(file, missing) && !missing) return firstRunPlacements();
    const auto text = platform::readInputFile(file, placementsFileLimit);
    if (!text) return platform::Error{"placements file " + text.error().description};
    // The host's format has at least one placement; the board's file holds none once the user
    // has removed every widget.
    const auto json = nlohmann::json::parse(*text, nullptr, false);
    if (json.is_array() && json.empty()) return std::vector<PlacedWidget>{};
    auto placements = parsePlacements(*text, file.string(), widgets);
    if (!placements) return placements.error();
    // Parsed already: the same array, each item an object.
    std::vector<PlacedWidget> placed;
    for (std::size_t i = 0; i < placements->size(); ++i) {
        auto cell = cellOf(json[i]);
        if (!cell)
            return platform::Error{"placements file \"" + file.string() + "\": item " +
                                   std::to_string(i + 1) + ": " + cell.error().description};
        placed.push_back({(*placements)[i], *cell});
    }
    return placed;
}

std::string placementsJson(const std::vector<PlacedWidget>& placements) {
    std::string text = "[";
    for (std::size_t i = 0; i < placements.size(); ++i) {
        const auto& [placement, cell] = placements[i];
        nlohmann::ordered_json item{{"kind", placement.kind},
                                    {"family", std::string(name(placement.family))}};
        if (cell) {
            if (!cell->output.empty()) item["output"] = cell->output;
            item["column"] = cell->column;
            item["row"] = cell->row;
        }
        text += (i == 0 ? "\n  " : ",\n  ") + item.dump();
    }
    return text + (placements.empty() ? "]\n" : "\n]\n");
}

platform::Result<void> saveBoardPlacements(const std::filesystem::path& file,
                                           const std::vector<PlacedWidget>& placements) {
    std::error_code error;
    std::filesystem::create_directories(file.parent_path(), error);
    if (error)
        return platform::Error{"cannot make \"" + file.parent_path().string() +
                               "\": " + error.message()};
    return platform::writeFileAtomically(file, placementsJson(placements));
}

}  // namespace hosting
