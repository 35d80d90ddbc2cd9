#include "hosting/Placements.h"

#include "platform/InputFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>

using namespace timeline;

namespace hosting {

platform::Result<std::vector<Placement>> readPlacements(
    const std::filesystem::path& file, const std::vector<WidgetDescription>& widgets) {
    const auto text = platform::readInputFile(file, placementsFileLimit);
    if (!text) return platform::Error{"placements file " + text.error().description};
    return parsePlacements(*text, file.string(), widgets);
}

platform::Result<std::vector<Placement>> parsePlacements(
    std::string_view text, std::string_view file, const std::vector<WidgetDescription>& widgets) {
    const std::string where = "placements file \"" + std::string(file) + "\": ";
    nlohmann::json json;
    try {
        json = nlohmann::json::parse(text);
    } catch (const nlohmann::json::exception& error) {
        // "[json.exception.parse_error.101] parse error at line 1, column 10: ..."
        std::string what = error.what();
        if (const auto end = what.find("] "); end != std::string::npos) what.erase(0, end + 2);
        return platform::Error{where + "not valid JSON: " + what};
    }
    if (!json.is_array() || json.empty())
        return platform::Error{
            where + R"(expected a non-empty JSON array of {"kind": ..., "family": ...})"};

    std::vector<Placement> placements;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const auto& item = json[i];
        const std::string at = where + "item " + std::to_string(i + 1) + ": ";
        if (!item.is_object() || !item.contains("kind") || !item["kind"].is_string() ||
            !item.contains("family") || !item["family"].is_string())
            return platform::Error{at + R"(expected {"kind": TEXT, "family": TEXT})"};
        auto placement = describedPlacement(widgets, item["kind"].get<std::string>(),
                                            item["family"].get<std::string>());
        if (!placement) return platform::Error{at + placement.error().description};
        if (std::find(placements.begin(), placements.end(), *placement) != placements.end())
            return platform::Error{at + placement->kind + " " +
                                   std::string(timeline::name(placement->family)) +
                                   " is placed twice"};
        placements.push_back(*placement);
    }
    return placements;
}

}  // namespace hosting
