#include "host/DesktopPlacements.h"

#include "host/GalleryFiles.h"
#include "host/WidgetHost.h"

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace host {

using timeline::WidgetFamily;

namespace {

// The `host` command's rules for the file: each item a widget of the bundle in a family it
// offers, none twice.
platform::Result<std::vector<Placement>> parsePlacements(const nlohmann::json& json,
                                                         const std::string& where,
                                                         const WidgetHost& host) {
    std::vector<Placement> placements;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const auto& item = json[i];
        const std::string at = where + "item " + std::to_string(i + 1) + ": ";
        if (!item.is_object() || !item.contains("kind") || !item["kind"].is_string() ||
            !item.contains("family") || !item["family"].is_string())
            return platform::Error{at + R"(expected {"kind": TEXT, "family": TEXT})"};
        const auto kind = item["kind"].get<std::string>();
        const auto* widget = host.widget(kind);
        if (!widget) return platform::Error{at + "unknown widget kind \"" + kind + "\""};
        const auto family = timeline::widgetFamilyNamed(item["family"].get<std::string>());
        if (!family || !widget->supports(*family))
            return platform::Error{at + "a family " + kind + " does not offer"};
        const Placement placement{kind, *family};
        if (std::find(placements.begin(), placements.end(), placement) != placements.end())
            return platform::Error{at + "placed twice"};
        placements.push_back(placement);
    }
    return placements;
}

}  // namespace

std::filesystem::path userPlacementsFile() {
    // XDG base directories must be absolute; a relative value is ignored.
    std::filesystem::path config;
    if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg != nullptr && xdg[0] == '/')
        config = xdg;
    else if (const char* home = std::getenv("HOME"); home != nullptr && home[0] != '\0')
        config = std::filesystem::path(home) / ".config";
    else
        config = ".config";
    return config / "velmora" / "placements.json";
}

std::vector<Placement> firstRunPlacements() {
    return {{"WatchlistGlance", WidgetFamily::systemMedium},
            {"DailyBrief", WidgetFamily::systemMedium}};
}

platform::Result<std::vector<Placement>> loadBoardPlacements(const std::filesystem::path& file,
                                                             const WidgetHost& host) {
    const std::string where = "placements file \"" + file.string() + "\": ";
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        std::error_code error;
        if (!std::filesystem::exists(file, error) && !error) return firstRunPlacements();
        return platform::Error{where + "cannot be read"};
    }
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    const auto json = nlohmann::json::parse(text, nullptr, false);
    if (!json.is_array())
        return platform::Error{where + R"(expected a JSON array of {"kind": ..., "family": ...})"};
    return parsePlacements(json, where, host);
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
    if (auto error = prepareOutputDirectory(file.parent_path())) return platform::Error{*error};
    if (auto error = writeFileAtomically(file.parent_path(), file.filename().string(),
                                         placementsJson(placements)))
        return platform::Error{*error};
    return {};
}

}  // namespace host
