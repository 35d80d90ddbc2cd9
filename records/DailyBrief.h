#pragma once

#include "platform/Date.h"
#include "records/Field.h"

#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace AppGroupContainer {

// The host app's morning brief of one ticker.
struct DailyBrief {
    std::string ticker;
    std::optional<std::string> companyName;
    std::string summary;
    std::string signal;
    double score = 0;
    platform::Date generatedAt;

    // The fields in field order with their JSON keys (records/Field.h): the keys, decoding,
    // encoding, equality and the extension's frames all come from this list.
    static constexpr auto fields() {
        return std::tuple{
            Field{"ticker", &DailyBrief::ticker},   Field{"companyName", &DailyBrief::companyName},
            Field{"summary", &DailyBrief::summary}, Field{"signal", &DailyBrief::signal},
            Field{"score", &DailyBrief::score},     Field{"generatedAt", &DailyBrief::generatedAt}};
    }

    // Field by field; texts by canonical Unicode equivalence, numbers numerically.
    friend bool operator==(const DailyBrief& a, const DailyBrief& b) { return fieldsEqual(a, b); }
};

}  // namespace AppGroupContainer
