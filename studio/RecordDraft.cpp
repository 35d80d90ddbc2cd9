#include "studio/RecordDraft.h"

#include "records/JSONDecoder.h"
#include "store/AppGroupStore.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <vector>

namespace studio {

using namespace AppGroupContainer;

const std::array<StudioRecord, 3>& studioRecords() {
    static const std::array<StudioRecord, 3> records{{
        {dailyBriefKey, "Daily brief"},
        {watchlistTickersKey, "Watchlist rows"},
        {portfolioSnapshotKey, "Portfolio"},
    }};
    return records;
}

namespace {

template <typename Record>
std::optional<std::string> decodeFailure(std::string_view text) {
    auto decoded = sharedDecoder().decode<Record>(text);
    if (decoded) return std::nullopt;
    return decoded.error().description;
}

// "not valid JSON at offset 11": 11.
std::optional<std::size_t> namedOffset(std::string_view message) {
    constexpr std::string_view marker = "at offset ";
    const auto at = message.find(marker);
    if (at == std::string_view::npos) return std::nullopt;
    const auto digits = message.substr(at + marker.size());
    std::size_t offset = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), offset);
    if (error != std::errc() || end == digits.data()) return std::nullopt;
    return offset;
}

// "[1].price: expected a number": the second `"price"` member of the text, the one the path's
// row index names (a row without the member shifts it; the place is a pointer, not a parse).
std::optional<std::pair<std::size_t, std::size_t>> namedMember(std::string_view text,
                                                               std::string_view message) {
    const auto colon = message.find(": ");
    if (colon == std::string_view::npos) return std::nullopt;
    const auto path = message.substr(0, colon);
    if (path.empty() || path.find(' ') != std::string_view::npos) return std::nullopt;
    const auto dot = path.rfind('.');
    const auto member = dot == std::string_view::npos ? path : path.substr(dot + 1);
    if (member.empty() || member.front() == '[') return std::nullopt;
    std::size_t index = 0;
    if (path.front() == '[') std::from_chars(path.data() + 1, path.data() + path.size(), index);
    const std::string quoted = "\"" + std::string(member) + "\"";
    std::size_t at = text.find(quoted);
    for (std::size_t i = 0; i < index && at != std::string_view::npos; ++i)
        at = text.find(quoted, at + 1);
    if (at == std::string_view::npos) return std::nullopt;
    return std::pair{at, quoted.size()};
}

}  // namespace

std::optional<RecordFault> checkRecord(std::string_view key, std::string_view text) {
    if (std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isspace(c); }))
        return std::nullopt;
    std::optional<std::string> failure;
    if (key == watchlistTickersKey)
        failure = decodeFailure<std::vector<WatchlistRow>>(text);
    else if (key == portfolioSnapshotKey)
        failure = decodeFailure<PortfolioSnapshot>(text);
    else
        failure = decodeFailure<DailyBrief>(text);
    if (!failure) return std::nullopt;
    RecordFault fault{*failure};
    if (const auto offset = namedOffset(*failure)) {
        fault.offset = std::min(*offset, text.size());
        fault.length = fault.offset < text.size() ? 1 : 0;
        if (fault.length == 0 && fault.offset > 0) {  // the text ended early: mark its end
            fault.offset -= 1;
            fault.length = 1;
        }
    } else if (const auto member = namedMember(text, *failure)) {
        fault.offset = member->first;
        fault.length = member->second;
    } else {
        fault.length = std::min(text.find('\n'), text.size());
    }
    return fault;
}

std::string sampleRecord(std::string_view key, platform::Date now) {
    const std::string date = platform::formatDate(std::chrono::floor<std::chrono::seconds>(now));
    if (key == watchlistTickersKey)
        return R"([
  {"ticker": "NVDA", "companyName": "NVIDIA", "price": 488.5, "changePct": 1.92, "signal": "Strong Buy", "score": 86},
  {"ticker": "AAPL", "companyName": "Apple Inc.", "price": 187.32, "changePct": 0.84, "signal": "Buy", "score": 72},
  {"ticker": "MSFT", "companyName": "Microsoft", "price": 411.22, "changePct": -0.31, "signal": "Hold", "score": 64},
  {"ticker": "TSLA", "companyName": "Tesla", "price": 251.4, "changePct": -2.55, "signal": "Sell", "score": 38},
  {"ticker": "AMZN", "companyName": "Amazon", "price": 178.9, "changePct": 0.12, "signal": "Buy", "score": 69},
  {"ticker": "INTC", "companyName": "Intel", "price": 24.1, "changePct": -1.34, "signal": "Strong Sell", "score": 22}
]
)";
    if (key == portfolioSnapshotKey)
        return R"({
  "totalValue": 125430.55,
  "totalPnl": 8120.4,
  "totalReturn": 6.92,
  "dailyChange": -412.3,
  "dailyChangePct": -0.33,
  "holdingCount": 6,
  "sourceLabel": "Demo broker",
  "updatedAt": ")" +
               date + R"("
}
)";
    return R"({
  "ticker": "NVDA",
  "companyName": "NVIDIA",
  "summary": "Data-centre demand keeps outrunning supply; guidance and options flow both point to another beat, with valuation the main risk.",
  "signal": "Strong Buy",
  "score": 86,
  "generatedAt": ")" +
           date + R"("
}
)";
}

}  // namespace studio
