#include "cli/EntryJson.h"

#include "platform/Date.h"
#include "records/JSONEncoder.h"

#include <nlohmann/json.hpp>

using namespace timeline;
using namespace widgets;

namespace cli {

using namespace dailybrief;
using namespace watchlist;
namespace {

using Json = nlohmann::ordered_json;

// A record in its writing form, as the store's encoder makes it.
template <typename Record>
Json recordJson(const Record& record) {
    return Json::parse(AppGroupContainer::encode(record));
}

template <typename Record>
Json optionalJson(const std::optional<Record>& record) {
    return record ? recordJson(*record) : Json(nullptr);
}

Json entryObject(const DailyBriefEntry& entry) {
    Json json = Json::object();
    json["date"] = platform::formatDate(entry.date);
    json["brief"] = optionalJson(entry.brief);
    return json;
}

Json entryObject(const WatchlistEntry& entry) {
    Json json = Json::object();
    json["date"] = platform::formatDate(entry.date);
    json["rows"] = recordJson(entry.rows);
    json["portfolio"] = optionalJson(entry.portfolio);
    return json;
}

Json entryObject(const AnyEntry& entry) {
    return std::visit([](const auto& e) { return entryObject(e); }, entry);
}

std::string text(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string entryJson(const AnyEntry& entry) {
    return text(entryObject(entry));
}

std::string timelineJson(const AnyTimeline& timeline) {
    Json json = Json::object();
    json["entries"] = Json::array();
    for (const auto& entry : timeline.entries) json["entries"].push_back(entryObject(entry));
    json["reloadAfter"] = platform::formatDate(timeline.policy.date);
    return text(json);
}

}  // namespace cli
