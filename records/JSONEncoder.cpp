#include "records/JSONEncoder.h"

#include "platform/Date.h"

#include <nlohmann/json.hpp>

#include <chrono>

namespace AppGroupContainer {
namespace {

// Ordered, so that the keys come out in field order.
using Json = nlohmann::ordered_json;

// Whole seconds, as the platform's ISO 8601 encoder writes them: the readers reject fractions.
std::string dateText(platform::Date date) {
    return platform::formatDate(std::chrono::floor<std::chrono::seconds>(date));
}

void put(Json& object, std::string_view key, const std::string& value) {
    object[std::string(key)] = value;
}
void put(Json& object, std::string_view key, double value) {
    object[std::string(key)] = value;
}
void put(Json& object, std::string_view key, std::int64_t value) {
    object[std::string(key)] = value;
}
void put(Json& object, std::string_view key, platform::Date value) {
    object[std::string(key)] = dateText(value);
}
// An optional field without value is left out.
template <typename T>
void put(Json& object, std::string_view key, const std::optional<T>& value) {
    if (value) put(object, key, *value);
}

template <typename Record>
Json object(const Record& record) {
    Json json = Json::object();
    forEachField<Record>([&](const auto& field) { put(json, field.key, record.*(field.member)); });
    return json;
}

// Texts that are not UTF-8 cannot come from a decoded record; a writer's own bad text is
// written with replacement characters rather than failing.
std::string text(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string encode(const DailyBrief& brief) {
    return text(object(brief));
}
std::string encode(const PortfolioSnapshot& snapshot) {
    return text(object(snapshot));
}
std::string encode(const WatchlistRow& row) {
    return text(object(row));
}

std::string encode(const std::vector<WatchlistRow>& rows) {
    Json json = Json::array();
    for (const auto& row : rows) json.push_back(object(row));
    return text(json);
}

}  // namespace AppGroupContainer
