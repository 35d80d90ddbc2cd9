#include "records/CanonicalText.h"
#include "records/JSONDecoder.h"
#include "tests/support/Samples.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace AppGroupContainer;
using Json = nlohmann::json;
using samples::with;

const JSONDecoder decoder;
const double nan = std::numeric_limits<double>::quiet_NaN();
const std::string row = R"({"ticker":"AAPL","companyName":"Apple Inc.","price":187.32,)"
                        R"("changePct":0.84,"signal":"Buy","score":72})";

template <typename T>
T decoded(const std::string& json) {
    return decoder.decode<T>(json).value();
}

TEST(Equality, TextsCompareByCanonicalEquivalence) {
    const struct {
        std::string a, b;
        bool equal;
    } cases[] = {
        {"caf\u00e9", "cafe\u0301", true},       // precomposed vs combining
        {"\u212b", "\u00c5", true},              // Angstrom sign, a singleton
        {"\u1e0b\u0323", "\u1e0d\u0307", true},  // marks reordered
        {"\ud55c", "\u1112\u1161\u11ab", true},  // Hangul syllable
        {"", "", true},
        {"\ufb01", "fi", false},  // compatibility only
        {"Buy", "buy", false},
        {"Buy", "Buy ", false},
        {"caf\u00e9", "cafe", false},
    };
    for (const auto& c : cases) EXPECT_EQ(canonicallyEquivalent(c.a, c.b), c.equal) << c.a;
    EXPECT_FALSE(
        canonicallyEquivalent(std::optional<std::string>(), std::optional<std::string>("")));
    EXPECT_TRUE(canonicallyEquivalent(std::optional<std::string>(), std::optional<std::string>()));

    // Records compare their texts so.
    EXPECT_EQ(decoded<WatchlistRow>(with(row, "companyName", "Soci\u00e9t\u00e9")),
              decoded<WatchlistRow>(with(row, "companyName", "Socie\u0301te\u0301")));
    EXPECT_EQ(decoded<DailyBrief>(with(samples::brief, "summary", "Caf\u00e9")),
              decoded<DailyBrief>(with(samples::brief, "summary", "Cafe\u0301")));
}

TEST(Equality, NumbersCompareNumericallyAndDatesAsInstants) {
    WatchlistRow a{.ticker = "A", .price = 0.0};
    WatchlistRow b{.ticker = "A", .price = -0.0};
    EXPECT_EQ(a, b);  // +0 equals -0
    a.score = b.score = nan;
    EXPECT_NE(a, b);  // a NaN equals nothing
    EXPECT_NE(a, a);  // not even itself
    a.score = std::nullopt;
    EXPECT_NE(a, b);
    b.score = std::nullopt;
    EXPECT_EQ(a, b);
    const PortfolioSnapshot snapshot{.totalReturn = nan};
    EXPECT_NE(snapshot, snapshot);
    EXPECT_EQ(DailyBrief{.score = -0.0}, DailyBrief{.score = 0.0});

    EXPECT_EQ(
        decoded<DailyBrief>(samples::brief),
        decoded<DailyBrief>(with(samples::brief, "generatedAt", "2025-11-16T00:45:00-05:00")));
    auto later = decoded<DailyBrief>(samples::brief);
    later.generatedAt += std::chrono::microseconds(1);
    EXPECT_NE(later, decoded<DailyBrief>(samples::brief));
}

// Changing any one member of a sample (each of `changes`) makes it unequal to the sample.
template <typename T>
void expectEachMemberMatters(const std::string& sample, const std::string& changes) {
    const T original = decoded<T>(sample);
    EXPECT_EQ(decoded<T>(sample), original);
    const Json members = Json::parse(changes);
    for (const auto& [key, value] : members.items())
        EXPECT_NE(decoded<T>(with(sample, key, value)), original) << key;
}

TEST(Equality, EveryFieldTakesPart) {
    expectEachMemberMatters<DailyBrief>(
        samples::brief,
        R"({"ticker":"AMD","companyName":null,"summary":"Momentum",)"
        R"("signal":"Strong Buy","score":77.999,"generatedAt":"2025-11-16T05:45:01Z"})");
    expectEachMemberMatters<PortfolioSnapshot>(
        samples::snapshot, R"({"totalValue":1,"totalPnl":1,"totalReturn":1,"dailyChange":1,)"
                           R"("dailyChangePct":1,"holdingCount":13,"sourceLabel":"broker sync",)"
                           R"("updatedAt":"2025-11-16T04:00:00Z"})");
    expectEachMemberMatters<WatchlistRow>(
        row, R"({"ticker":"AAPM","companyName":null,"price":187.33,"changePct":-0.84,)"
             R"("signal":"Sell","score":71})");
    // Rows differing only in score are unequal but share their identity.
    EXPECT_EQ(decoded<WatchlistRow>(with(row, "score", 10)).id(), "AAPL");
}

}  // namespace
