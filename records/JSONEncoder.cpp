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

template <typename Record>
constexpr std::string key(typename Record::CodingKeys codingKey) {
    return std::string(Record::codingKeyNames[static_cast<std::size_t>(codingKey)]);
}

template <typename T>
void putOptional(Json& object, const std::string& name, const std::optional<T>& value) {
    if (value) object[name] = *value;
}

Json object(const DailyBrief& brief) {
    using K = DailyBrief::CodingKeys;
    Json json = Json::object();
    json[key<DailyBrief>(K::ticker)] = brief.ticker;
    putOptional(json, key<DailyBrief>(K::companyName), brief.companyName);
    json[key<DailyBrief>(K::summary)] = brief.summary;
    json[key<DailyBrief>(K::signal)] = brief.signal;
    json[key<DailyBrief>(K::score)] = brief.score;
    json[key<DailyBrief>(K::generatedAt)] = dateText(brief.generatedAt);
    return json;
}

Json object(const PortfolioSnapshot& snapshot) {
    using K = PortfolioSnapshot::CodingKeys;
    using P = PortfolioSnapshot;
    Json json = Json::object();
    json[key<P>(K::totalValue)] = snapshot.totalValue;
    json[key<P>(K::totalPnl)] = snapshot.totalPnl;
    json[key<P>(K::totalReturn)] = snapshot.totalReturn;
    json[key<P>(K::dailyChange)] = snapshot.dailyChange;
    json[key<P>(K::dailyChangePct)] = snapshot.dailyChangePct;
    json[key<P>(K::holdingCount)] = snapshot.holdingCount;
    json[key<P>(K::sourceLabel)] = snapshot.sourceLabel;
    json[key<P>(K::updatedAt)] = dateText(snapshot.updatedAt);
    return json;
}

Json object(const WatchlistRow& row) {
    using K = WatchlistRow::CodingKeys;
    using R = WatchlistRow;
    Json json = Json::object();
    json[key<R>(K::ticker)] = row.ticker;
    putOptional(json, key<R>(K::companyName), row.companyName);
    json[key<R>(K::price)] = row.price;
    json[key<R>(K::changePct)] = row.changePct;
    putOptional(json, key<R>(K::signal), row.signal);
    putOptional(json, key<R>(K::score), row.score);
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
