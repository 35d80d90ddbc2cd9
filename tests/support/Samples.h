#pragma once

// JSON texts of valid records, as the host app writes them, and variations of them.

#include <nlohmann/json.hpp>

#include <string>

namespace samples {

inline const std::string brief =
    R"({"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues.",)"
    R"("signal":"Buy","score":78,"generatedAt":"2025-11-16T05:45:00Z"})";

inline const std::string snapshot =
    R"({"totalValue":10000,"totalPnl":250.5,"totalReturn":2.5,"dailyChange":-12.25,)"
    R"("dailyChangePct":-0.12,"holdingCount":12,"sourceLabel":"Broker sync",)"
    R"("updatedAt":"2025-11-16T05:00:00Z"})";

inline const std::string rows =
    R"([{"ticker":"AAPL","companyName":"Apple Inc.","price":187.32,"changePct":0.84,)"
    R"("signal":"Buy","score":72},{"ticker":"MSFT","price":410,"changePct":-1.5}])";

// A record's JSON with one member set to `value`, or removed when `value` is discarded.
inline std::string with(const std::string& record, const std::string& key,
                        const nlohmann::json& value = nlohmann::json::value_t::discarded) {
    nlohmann::json json = nlohmann::json::parse(record);
    value.is_discarded() ? void(json.erase(key)) : void(json[key] = value);
    return json.dump();
}

}  // namespace samples
