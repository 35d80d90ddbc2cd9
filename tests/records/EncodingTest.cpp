#include "records/JSONDecoder.h"
#include "records/JSONEncoder.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace AppGroupContainer;
using namespace std::chrono;

const platform::Date noon = platform::Date(sys_days(year(2025) / November / 16)) + hours(12);

TEST(Encoding, WritesRequiredKeysAlwaysAndOptionalKeysOnlyWhenSet) {
    EXPECT_EQ(encode(WatchlistRow{.ticker = "AAPL", .price = 187.32, .changePct = -0.5}),
              R"({"ticker":"AAPL","price":187.32,"changePct":-0.5})");
    EXPECT_EQ(encode(WatchlistRow{"AAPL", "Apple Inc.", 187.32, 0.84, "Buy", 72}),
              R"({"ticker":"AAPL","companyName":"Apple Inc.","price":187.32,"changePct":0.84,)"
              R"("signal":"Buy","score":72.0})");
    EXPECT_EQ(
        encode(DailyBrief{
            .ticker = "NVDA", .summary = "Up.", .signal = "Buy", .score = 78, .generatedAt = noon}),
        R"({"ticker":"NVDA","summary":"Up.","signal":"Buy","score":78.0,)"
        R"("generatedAt":"2025-11-16T12:00:00Z"})");
    EXPECT_EQ(encode(PortfolioSnapshot{10000, -1.5, 2.5, 0, 0.125, 12, "Broker", noon}),
              R"({"totalValue":10000.0,"totalPnl":-1.5,"totalReturn":2.5,"dailyChange":0.0,)"
              R"("dailyChangePct":0.125,"holdingCount":12,"sourceLabel":"Broker",)"
              R"("updatedAt":"2025-11-16T12:00:00Z"})");
    EXPECT_EQ(encode(std::vector<WatchlistRow>{}), "[]");
}

template <typename T>
void expectRoundTrip(const T& value) {
    const auto decoded = JSONDecoder().decode<T>(encode(value));
    ASSERT_TRUE(decoded) << decoded.error().description;
    EXPECT_EQ(decoded.value(), value);
}

TEST(Encoding, WhatIsWrittenDecodesToAnEqualRecord) {
    const WatchlistRow bare{.ticker = "TSLA", .price = 251.4, .changePct = -0.55};
    const WatchlistRow full{"Caf\u00e9", "\"Quoted\" \\ name", 0.1 + 0.2,
                            -1e-9,       "Strong Buy",         84.125};
    expectRoundTrip(bare);
    expectRoundTrip(full);
    expectRoundTrip(std::vector<WatchlistRow>{bare, full, bare});
    expectRoundTrip(DailyBrief{"NVDA", "NVIDIA", "Line one\nline two \U0001F680", "Buy", 78, noon});
    expectRoundTrip(
        PortfolioSnapshot{1e12, -3.25, 0, 1, 0.01, INT64_MIN, "", platform::Date(seconds(-86400))});
}

TEST(Encoding, DatesAreWrittenInWholeSeconds) {
    // The readers reject fractions, so the writer drops them rather than write an unreadable
    // record.
    DailyBrief brief{.ticker = "A", .summary = "s", .signal = "Buy", .generatedAt = noon};
    brief.generatedAt += milliseconds(750);
    const std::string json = encode(brief);
    EXPECT_NE(json.find(R"("generatedAt":"2025-11-16T12:00:00Z")"), std::string::npos) << json;
    const auto decoded = JSONDecoder().decode<DailyBrief>(json);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded.value().generatedAt, noon);

    brief.generatedAt = platform::Date(microseconds(-1));  // before the epoch, rounds down
    EXPECT_NE(encode(brief).find("1969-12-31T23:59:59Z"), std::string::npos);
}

}  // namespace
