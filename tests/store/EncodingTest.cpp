#include "store/JSONDecoder.h"
#include "store/JSONEncoder.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace AppGroupContainer;
using namespace std::chrono;

const Date noon = Date(sys_days(year(2025) / November / 16)) + hours(12);

TEST(Encoding, WritesRequiredKeysAlwaysAndOptionalKeysOnlyWhenSet) {
    EXPECT_EQ(encode(WatchlistRow{.ticker = "AAPL", .price = 187.32, .changePct = -0.5}),
              R"({"ticker":"AAPL","price":187.32,"changePct":-0.5})");
    EXPECT_EQ(encode(WatchlistRow{.ticker = "AAPL",
                                  .companyName = "Apple Inc.",
                                  .price = 187.32,
                                  .changePct = 0.84,
                                  .signal = "Buy",
                                  .score = 72}),
              R"({"ticker":"AAPL","companyName":"Apple Inc.","price":187.32,"changePct":0.84,)"
              R"("signal":"Buy","score":72.0})");
    EXPECT_EQ(
        encode(DailyBrief{
            .ticker = "NVDA", .summary = "Up.", .signal = "Buy", .score = 78, .generatedAt = noon}),
        R"({"ticker":"NVDA","summary":"Up.","signal":"Buy","score":78.0,)"
        R"("generatedAt":"2025-11-16T12:00:00Z"})");
    EXPECT_EQ(encode(PortfolioSnapshot{.totalValue = 10000,
                                       .totalPnl = -1.5,
                                       .totalReturn = 2.5,
                                       .dailyChange = 0,
                                       .dailyChangePct = 0.125,
                                       .holdingCount = 12,
                                       .sourceLabel = "Broker",
                                       .updatedAt = noon}),
              R"({"totalValue":10000.0,"totalPnl":-1.5,"totalReturn":2.5,"dailyChange":0.0,)"
              R"("dailyChangePct":0.125,"holdingCount":12,"sourceLabel":"Broker",)"
              R"("updatedAt":"2025-11-16T12:00:00Z"})");
    EXPECT_EQ(encode(std::vector<WatchlistRow>{}), "[]");
}

TEST(Encoding, WhatIsWrittenDecodesToAnEqualRecord) {
    const JSONDecoder decoder;
    const WatchlistRow bare{.ticker = "TSLA", .price = 251.4, .changePct = -0.55};
    const WatchlistRow full{.ticker = "Caf\u00e9",
                            .companyName = "\"Quoted\" \\ name",
                            .price = 0.1 + 0.2,
                            .changePct = -1e-9,
                            .signal = "Strong Buy",
                            .score = 84.125};
    for (const auto& row : {bare, full}) {
        const auto decoded = decoder.decode<WatchlistRow>(encode(row));
        ASSERT_TRUE(decoded) << decoded.error().description;
        EXPECT_EQ(decoded.value(), row);
    }
    const auto rows = decoder.decode<std::vector<WatchlistRow>>(encode({bare, full, bare}));
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows.value(), (std::vector<WatchlistRow>{bare, full, bare}));

    const DailyBrief brief{.ticker = "NVDA",
                           .companyName = "NVIDIA",
                           .summary = "Line one\nline two \U0001F680",
                           .signal = "Buy",
                           .score = 78,
                           .generatedAt = noon};
    const auto decodedBrief = decoder.decode<DailyBrief>(encode(brief));
    ASSERT_TRUE(decodedBrief) << decodedBrief.error().description;
    EXPECT_EQ(decodedBrief.value(), brief);

    const PortfolioSnapshot snapshot{.totalValue = 1e12,
                                     .totalPnl = -3.25,
                                     .totalReturn = 0,
                                     .dailyChange = 1,
                                     .dailyChangePct = 0.01,
                                     .holdingCount = INT64_MIN,
                                     .sourceLabel = "",
                                     .updatedAt = Date(seconds(-86400))};
    const auto decodedSnapshot = decoder.decode<PortfolioSnapshot>(encode(snapshot));
    ASSERT_TRUE(decodedSnapshot) << decodedSnapshot.error().description;
    EXPECT_EQ(decodedSnapshot.value(), snapshot);
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

    brief.generatedAt = Date(microseconds(-1));  // before the epoch, rounds down
    EXPECT_NE(encode(brief).find("1969-12-31T23:59:59Z"), std::string::npos);
}

}  // namespace
