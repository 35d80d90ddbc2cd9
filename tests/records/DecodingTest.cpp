#include "records/CodingKeys.h"
#include "records/JSONDecoder.h"
#include "tests/support/Samples.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using namespace AppGroupContainer;
using Json = nlohmann::json;

const JSONDecoder decoder;

// A sample record with one member changed (or removed, for a discarded value).
std::string with(const std::string& record, const std::string& key,
                 const Json& value = Json(Json::value_t::discarded)) {
    Json json = Json::parse(record);
    value.is_discarded() ? void(json.erase(key)) : void(json[key] = value);
    return json.dump();
}

template <typename T>
std::string errorOf(const std::string& json) {
    const auto result = decoder.decode<T>(json);
    return result ? std::string("(decoded)") : result.error().description;
}
std::string briefError(const std::string& key, const Json& value = Json(Json::value_t::discarded)) {
    return errorOf<DailyBrief>(with(samples::brief, key, value));
}
std::string row(const std::string& members) {
    return R"({"ticker":"X","price":1,"changePct":0)" + members + "}";
}

struct Case {
    std::string got, want;
};
void expectAll(const std::vector<Case>& cases) {
    for (const auto& c : cases) {
        SCOPED_TRACE(c.want);
        EXPECT_EQ(c.got, c.want);
    }
}

platform::Date utc(int y, unsigned m, unsigned d, int hh, int mm) {
    using namespace std::chrono;
    return platform::Date(sys_days(year(y) / month(m) / day(d))) + hours(hh) + minutes(mm);
}

TEST(Decoding, ReadsEveryFieldOfEachRecordWhateverTheOrderAndExtraMembers) {
    const auto brief = decoder.decode<DailyBrief>(samples::brief);
    ASSERT_TRUE(brief) << brief.error().description;
    EXPECT_EQ(brief.value(), (DailyBrief{"NVDA", "NVIDIA", "Momentum continues.", "Buy", 78,
                                         utc(2025, 11, 16, 5, 45)}));
    const auto snapshot = decoder.decode<PortfolioSnapshot>(samples::snapshot);
    ASSERT_TRUE(snapshot) << snapshot.error().description;
    EXPECT_EQ(snapshot.value(), (PortfolioSnapshot{10000, 250.5, 2.5, -12.25, -0.12, 12,
                                                   "Broker sync", utc(2025, 11, 16, 5, 0)}));
    const auto rows = decoder.decode<std::vector<WatchlistRow>>(samples::rows);
    ASSERT_TRUE(rows) << rows.error().description;
    EXPECT_EQ(rows.value(),
              (std::vector<WatchlistRow>{{"AAPL", "Apple Inc.", 187.32, 0.84, "Buy", 72},
                                         {"MSFT", std::nullopt, 410, -1.5}}));

    // Extra members and member order do not matter.
    const auto extra = decoder.decode<DailyBrief>(
        with(with(samples::brief, "sentiment", Json::object({{"x", 1}})), "Ticker", 5));
    const auto reordered = decoder.decode<DailyBrief>(
        R"({"generatedAt":"2025-11-16T05:45:00Z","score":78,"signal":"Buy",)"
        R"("summary":"Momentum continues.","companyName":"NVIDIA","ticker":"NVDA"})");
    ASSERT_TRUE(extra && reordered);
    EXPECT_EQ(extra.value(), brief.value());
    EXPECT_EQ(reordered.value(), brief.value());
}

TEST(Decoding, OptionalMembersMayBeAbsentOrNull) {
    for (const auto& json :
         {with(samples::brief, "companyName"), with(samples::brief, "companyName", nullptr)}) {
        const auto brief = decoder.decode<DailyBrief>(json);
        ASSERT_TRUE(brief) << json;
        EXPECT_FALSE(brief.value().companyName.has_value());
    }
    for (const auto& json : {row(""), row(R"(,"companyName":null,"signal":null,"score":null)")}) {
        const auto decoded = decoder.decode<WatchlistRow>(json);
        ASSERT_TRUE(decoded) << json;
        EXPECT_FALSE(decoded.value().companyName || decoded.value().signal ||
                     decoded.value().score);
    }
    // Present and set, an optional member still has to have its type.
    expectAll({{errorOf<WatchlistRow>(row(R"(,"score":"high")")),
                "score: expected a number, found a string"},
               {briefError("companyName", 5), "companyName: expected a string, found a number"}});
}

TEST(Decoding, RequiredMembersMustBePresentAndNotNull) {
    for (auto name : PortfolioSnapshot::codingKeyNames) {
        const std::string key(name);
        EXPECT_EQ(errorOf<PortfolioSnapshot>(with(samples::snapshot, key)),
                  "missing key \"" + key + "\"");
        EXPECT_EQ(errorOf<PortfolioSnapshot>(with(samples::snapshot, key, nullptr)).rfind(key, 0),
                  0u)
            << key;
    }
    for (const char* key : {"ticker", "summary", "signal", "score", "generatedAt"})
        EXPECT_EQ(briefError(key), "missing key \"" + std::string(key) + "\"");
    expectAll({
        {briefError("summary", nullptr), "summary: expected a string, found null"},
        {errorOf<WatchlistRow>(R"({"ticker":"X","price":null,"changePct":0})"),
         "price: expected a number, found null"},
        {errorOf<WatchlistRow>(R"({"Ticker":"X","price":1,"changePct":0})"),  // case-sensitive
         "missing key \"ticker\""},
    });
}

TEST(Decoding, MembersMustHaveTheirFieldsType) {
    expectAll({
        {briefError("ticker", 42), "ticker: expected a string, found a number"},
        {briefError("score", "78"), "score: expected a number, found a string"},
        {briefError("score", true), "score: expected a number, found a boolean"},
        {briefError("signal", Json::array()), "signal: expected a string, found an array"},
        {errorOf<PortfolioSnapshot>(with(samples::snapshot, "totalPnl", Json::object())),
         "totalPnl: expected a number, found an object"},
        {errorOf<PortfolioSnapshot>(with(samples::snapshot, "holdingCount", "12")),
         "holdingCount: expected an integer, found a string"},
    });
    // Any JSON number is a number: integer literals, exponents, negative zero.
    for (const char* literal : {"42", "-7", "1.5e3", "-0", "0.000001", "18446744073709551615"}) {
        const auto decoded = decoder.decode<WatchlistRow>(
            std::string(R"({"ticker":"X","changePct":0,"price":)") + literal + "}");
        ASSERT_TRUE(decoded) << literal;
        EXPECT_EQ(decoded.value().price, std::strtod(literal, nullptr)) << literal;
    }
}

TEST(Decoding, HoldingCountMustBeAnIntegralNumberInRange) {
    const auto count = [](const std::string& literal) {
        std::string text = Json::parse(samples::snapshot).dump();
        const std::string from = "\"holdingCount\":12";
        text.replace(text.find(from), from.size(), "\"holdingCount\":" + literal);
        const auto result = decoder.decode<PortfolioSnapshot>(text);
        return result ? std::to_string(result.value().holdingCount) : result.error().description;
    };
    const std::string range = " is out of the 64-bit integer range";
    expectAll({
        {count("12.5"), "holdingCount: 12.5 is not an integer"},
        {count("-0.25"), "holdingCount: -0.25 is not an integer"},
        {count("3.0"), "3"},
        {count("1e2"), "100"},
        {count("-12"), "-12"},
        {count("9223372036854775807"), "9223372036854775807"},
        {count("-9223372036854775808"), "-9223372036854775808"},
        {count("9223372036854775808"), "holdingCount: 9223372036854775808" + range},
        {count("1e20"), "holdingCount: 1e+20" + range},
        {count("-1e19"), "holdingCount: -1e+19" + range},
    });
}

TEST(Decoding, DatesMustBeInternetDateTimeStrings) {
    const std::string expected = "generatedAt: expected an RFC 3339 date-time, found ";
    expectAll({
        {briefError("generatedAt", 1763272800), expected + "a number"},
        {briefError("generatedAt", "2025-11-16"), expected + "\"2025-11-16\""},
        {briefError("generatedAt", "2025-11-16T05:45:00.250Z"),
         expected + "\"2025-11-16T05:45:00.250Z\""},
        {briefError("generatedAt", nullptr), expected + "null"},
        {errorOf<PortfolioSnapshot>(with(samples::snapshot, "updatedAt", "yesterday")),
         "updatedAt: expected an RFC 3339 date-time, found \"yesterday\""},
        // A long text is cut in the description.
        {briefError("generatedAt", std::string(200, 'x')),
         expected + "\"" + std::string(64, 'x') + "…\""},
    });
    const auto offset = decoder.decode<DailyBrief>(
        with(samples::brief, "generatedAt", "2025-11-16T00:45:00-05:00"));
    ASSERT_TRUE(offset);
    EXPECT_EQ(offset.value().generatedAt, utc(2025, 11, 16, 5, 45));
}

TEST(Decoding, StructuralErrors) {
    const auto list = [](const std::string& json) {
        return errorOf<std::vector<WatchlistRow>>(json);
    };
    const std::string a = row("");
    expectAll({
        // Member order in the text is the reverse of field order; the field order decides.
        {errorOf<DailyBrief>(R"({"generatedAt":5,"score":"x","ticker":1})"),
         "ticker: expected a string, found a number"},
        {errorOf<DailyBrief>(R"({"generatedAt":5,"score":"x","ticker":"A","summary":"s",)"
                             R"("signal":"Buy"})"),
         "score: expected a number, found a string"},
        {errorOf<PortfolioSnapshot>(R"({"updatedAt":5})"), "missing key \"totalValue\""},
        {errorOf<DailyBrief>(R"({"ticker":"A","companyName":1})"),  // optional before summary
         "companyName: expected a string, found a number"},
        // The top-level value must be the right kind.
        {errorOf<DailyBrief>("[]"), "expected an object, found an array"},
        {errorOf<PortfolioSnapshot>("\"text\""), "expected an object, found a string"},
        {errorOf<WatchlistRow>("null"), "expected an object, found null"},
        {list(samples::brief), "expected an array, found an object"},
        {list("12"), "expected an array, found a number"},
        // Lists decode whole or not at all; the error names the index.
        {list("[" + a + R"(,{"ticker":"B","changePct":0}])"), "[1]: missing key \"price\""},
        {list("[" + a + "," + a + R"(,{"ticker":"C","price":"9","changePct":0}])"),
         "[2].price: expected a number, found a string"},
        {list("[" + a + ",7]"), "[1]: expected an object, found a number"},
        // Malformed JSON is reported with its offset.
        {errorOf<DailyBrief>(R"({"ticker": "NVDA",})"), "not valid JSON at offset 18"},
        {errorOf<DailyBrief>(""), "not valid JSON at offset 0"},
        {list("[1,2"), "not valid JSON at offset 4"},
        {errorOf<DailyBrief>(samples::brief + " trailing"),  // at "a": "tr" began a literal true
         "not valid JSON at offset " + std::to_string(samples::brief.size() + 3)},
        {errorOf<DailyBrief>("{\"ticker\":\"\xff\"}"), "not valid JSON at offset 11"},
        {errorOf<WatchlistRow>(R"({"ticker":"X","price":1e400,"changePct":0})"),
         "not valid JSON: number overflow parsing '1e400'"},
    });
}

TEST(Decoding, ListsKeepStoredOrderAndTextsAreVerbatim) {
    EXPECT_TRUE(decoder.decode<std::vector<WatchlistRow>>("[]").value().empty());
    const auto many = decoder.decode<std::vector<WatchlistRow>>(
        R"([{"ticker":"Z","price":1,"changePct":0},{"ticker":"A","price":2,"changePct":0},)"
        R"({"ticker":"Z","price":3,"changePct":0}])");
    ASSERT_TRUE(many);
    EXPECT_EQ(many.value(),
              (std::vector<WatchlistRow>{{"Z", {}, 1, 0}, {"A", {}, 2, 0}, {"Z", {}, 3, 0}}));
    const std::string summary = "  Caf\u00e9 \u2014 r\u00e9sum\u00e9\n\U0001F680  ";
    const auto brief = decoder.decode<DailyBrief>(
        with(with(samples::brief, "summary", summary), "ticker", "brk.b"));
    ASSERT_TRUE(brief);
    EXPECT_EQ(brief.value().summary, summary);
    EXPECT_EQ(brief.value().ticker, "brk.b");
    const auto escaped = decoder.decode<WatchlistRow>(
        R"({"ticker":"\u0041\u030a","price":1,"changePct":0,"signal":"Strong\tBuy"})");
    ASSERT_TRUE(escaped);
    EXPECT_EQ(escaped.value().ticker, "A\u030a");
    EXPECT_EQ(escaped.value().signal, "Strong\tBuy");
}

TEST(CodingKeys, OneCasePerFieldInFieldOrder) {
    EXPECT_EQ(stringValue<DailyBrief>(DailyBrief::CodingKeys::generatedAt), "generatedAt");
    EXPECT_EQ(codingKey<PortfolioSnapshot>("holdingCount"),
              PortfolioSnapshot::CodingKeys::holdingCount);
    EXPECT_FALSE(codingKey<WatchlistRow>("Score"));
    EXPECT_FALSE(codingKey<WatchlistRow>("generatedAt"));
}

}  // namespace
