#include "records/CanonicalText.h"
#include "records/DailyBrief.h"
#include "records/PortfolioSnapshot.h"
#include "records/WatchlistRow.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace {

using namespace AppGroupContainer;
using namespace std::chrono;

const double nan = std::numeric_limits<double>::quiet_NaN();
const platform::Date noon = platform::Date(sys_days(year(2025) / November / 16)) + hours(12);

const WatchlistRow row{.ticker = "AAPL",
                       .companyName = "Apple Inc.",
                       .price = 187.32,
                       .changePct = 0.84,
                       .signal = "Buy",
                       .score = 72};
const DailyBrief brief{.ticker = "NVDA",
                       .companyName = "NVIDIA",
                       .summary = "Momentum.",
                       .signal = "Buy",
                       .score = 78,
                       .generatedAt = noon};
// Each change to a copy of the value must make it unequal to the value.
template <typename T>
void expectEachChangeMatters(const T& value, const std::vector<std::function<void(T&)>>& changes) {
    for (std::size_t i = 0; i < changes.size(); ++i) {
        auto changed = value;
        changes[i](changed);
        EXPECT_NE(changed, value) << "field " << i;
    }
}

const PortfolioSnapshot snapshot{.totalValue = 10000,
                                 .totalPnl = 250,
                                 .totalReturn = 2.5,
                                 .dailyChange = -12,
                                 .dailyChangePct = -0.1,
                                 .holdingCount = 12,
                                 .sourceLabel = "Broker",
                                 .updatedAt = noon};

TEST(Equality, TextsCompareByCanonicalEquivalence) {
    EXPECT_TRUE(canonicallyEquivalent("caf\u00e9", "cafe\u0301"));       // precomposed vs combining
    EXPECT_TRUE(canonicallyEquivalent("\u212b", "\u00c5"));              // Angstrom sign, singleton
    EXPECT_TRUE(canonicallyEquivalent("\u1e0b\u0323", "\u1e0d\u0307"));  // marks reordered
    EXPECT_TRUE(canonicallyEquivalent("\ud55c", "\u1112\u1161\u11ab"));  // Hangul syllable
    EXPECT_FALSE(canonicallyEquivalent("\ufb01", "fi"));                 // compatibility only
    EXPECT_FALSE(canonicallyEquivalent("Buy", "buy"));
    EXPECT_FALSE(canonicallyEquivalent("Buy", "Buy "));
    EXPECT_FALSE(canonicallyEquivalent("caf\u00e9", "cafe"));
    EXPECT_TRUE(canonicallyEquivalent("", ""));
    EXPECT_FALSE(
        canonicallyEquivalent(std::optional<std::string>(), std::optional<std::string>("")));
    EXPECT_TRUE(canonicallyEquivalent(std::optional<std::string>(), std::optional<std::string>()));

    auto composed = row;
    composed.companyName = "Soci\u00e9t\u00e9";
    auto decomposed = row;
    decomposed.companyName = "Socie\u0301te\u0301";
    EXPECT_EQ(composed, decomposed);
    auto briefDecomposed = brief;
    briefDecomposed.summary = "Caf\u00e9";
    auto briefComposed = brief;
    briefComposed.summary = "Cafe\u0301";
    EXPECT_EQ(briefComposed, briefDecomposed);
}

TEST(Equality, NumbersCompareNumerically) {
    auto a = row;
    auto b = row;
    a.price = 0.0;
    b.price = -0.0;
    EXPECT_EQ(a, b);  // +0 equals -0
    a.score = nan;
    b.score = nan;
    EXPECT_NE(a, b);  // a NaN equals nothing
    EXPECT_NE(a, a);  // not even itself
    a.score = std::nullopt;
    EXPECT_NE(a, b);
    b.score = std::nullopt;
    EXPECT_EQ(a, b);

    auto s = snapshot;
    s.totalReturn = nan;
    EXPECT_NE(s, s);
    auto t = brief;
    t.score = -0.0;
    auto u = brief;
    u.score = 0.0;
    EXPECT_EQ(t, u);
}

TEST(Equality, DatesAreEqualWhenTheyAreTheSameInstant) {
    auto b = brief;
    b.generatedAt = noon + microseconds(1);
    EXPECT_NE(brief, b);
    b.generatedAt = sys_days(year(2025) / November / 16) + hours(12);
    EXPECT_EQ(brief, b);
}

TEST(Equality, EveryFieldTakesPart) {
    EXPECT_EQ(row, row);
    expectEachChangeMatters<WatchlistRow>(row,
                                          {
                                              [](WatchlistRow& r) { r.ticker = "AAPM"; },
                                              [](WatchlistRow& r) { r.companyName = std::nullopt; },
                                              [](WatchlistRow& r) { r.price = 187.33; },
                                              [](WatchlistRow& r) { r.changePct = -0.84; },
                                              [](WatchlistRow& r) { r.signal = "Sell"; },
                                              [](WatchlistRow& r) { r.score = 71; },
                                          });
    // Rows differing only in score are unequal but share their identity.
    auto scored = row;
    scored.score = 10;
    EXPECT_EQ(scored.id(), row.id());

    expectEachChangeMatters<DailyBrief>(brief,
                                        {
                                            [](DailyBrief& b) { b.ticker = "AMD"; },
                                            [](DailyBrief& b) { b.companyName = "Nvidia"; },
                                            [](DailyBrief& b) { b.summary = "Momentum"; },
                                            [](DailyBrief& b) { b.signal = "Strong Buy"; },
                                            [](DailyBrief& b) { b.score = 77.999; },
                                            [](DailyBrief& b) { b.generatedAt += seconds(1); },
                                        });

    expectEachChangeMatters<PortfolioSnapshot>(
        snapshot, {
                      [](PortfolioSnapshot& s) { s.totalValue = 1; },
                      [](PortfolioSnapshot& s) { s.totalPnl = 1; },
                      [](PortfolioSnapshot& s) { s.totalReturn = 1; },
                      [](PortfolioSnapshot& s) { s.dailyChange = 1; },
                      [](PortfolioSnapshot& s) { s.dailyChangePct = 1; },
                      [](PortfolioSnapshot& s) { s.holdingCount = 13; },
                      [](PortfolioSnapshot& s) { s.sourceLabel = "broker"; },
                      [](PortfolioSnapshot& s) { s.updatedAt -= hours(1); },
                  });
}

}  // namespace
