#include "store/CodingKeys.h"
#include "store/JSONDecoder.h"
#include "tests/store/Samples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

namespace {

using namespace AppGroupContainer;
using Json = nlohmann::json;

const JSONDecoder decoder;

// A sample record with one member changed (or removed, for a discarded value).
std::string with(const std::string& record, const std::string& key, const Json& value) {
    Json json = Json::parse(record);
    if (value.is_discarded())
        json.erase(key);
    else
        json[key] = value;
    return json.dump();
}
std::string without(const std::string& record, const std::string& key) {
    return with(record, key, Json(Json::value_t::discarded));
}

template <typename T>
std::string errorOf(const std::string& json) {
    const auto result = decoder.decode<T>(json);
    return result ? std::string("(decoded)") : result.error().description;
}

Date utc(int y, unsigned m, unsigned d, int hh, int mm, int ss) {
    using namespace std::chrono;
    return Date(sys_days(year(y) / month(m) / day(d))) + hours(hh) + minutes(mm) + seconds(ss);
}

TEST(Decoding, ReadsEveryFieldOfEachRecord) {
    const auto brief = decoder.decode<DailyBrief>(samples::brief);
    ASSERT_TRUE(brief) << brief.error().description;
    EXPECT_EQ(brief.value().ticker, "NVDA");
    EXPECT_EQ(brief.value().companyName, "NVIDIA");
    EXPECT_EQ(brief.value().summary, "Momentum continues.");
    EXPECT_EQ(brief.value().signal, "Buy");
    EXPECT_EQ(brief.value().score, 78.0);
    EXPECT_EQ(brief.value().generatedAt, utc(2025, 11, 16, 5, 45, 0));

    const auto snapshot = decoder.decode<PortfolioSnapshot>(samples::snapshot);
    ASSERT_TRUE(snapshot) << snapshot.error().description;
    EXPECT_EQ(snapshot.value().totalValue, 10000.0);  // an integer literal is a number
    EXPECT_EQ(snapshot.value().totalPnl, 250.5);
    EXPECT_EQ(snapshot.value().totalReturn, 2.5);
    EXPECT_EQ(snapshot.value().dailyChange, -12.25);
    EXPECT_EQ(snapshot.value().dailyChangePct, -0.12);
    EXPECT_EQ(snapshot.value().holdingCount, 12);
    EXPECT_EQ(snapshot.value().sourceLabel, "Broker sync");
    EXPECT_EQ(snapshot.value().updatedAt, utc(2025, 11, 16, 5, 0, 0));

    const auto rows = decoder.decode<std::vector<WatchlistRow>>(samples::rows);
    ASSERT_TRUE(rows) << rows.error().description;
    ASSERT_EQ(rows.value().size(), 2u);
    EXPECT_EQ(rows.value()[0].ticker, "AAPL");
    EXPECT_EQ(rows.value()[0].score, 72.0);
    EXPECT_EQ(rows.value()[1].ticker, "MSFT");
    EXPECT_EQ(rows.value()[1].price, 410.0);
    EXPECT_EQ(rows.value()[1].changePct, -1.5);
}

TEST(Decoding, OptionalMembersMayBeAbsentOrNull) {
    for (const auto& json :
         {without(samples::brief, "companyName"), with(samples::brief, "companyName", nullptr)}) {
        const auto brief = decoder.decode<DailyBrief>(json);
        ASSERT_TRUE(brief) << json;
        EXPECT_FALSE(brief.value().companyName.has_value());
    }
    const auto row = decoder.decode<WatchlistRow>(R"({"ticker":"X","price":1,"changePct":0})");
    ASSERT_TRUE(row);
    EXPECT_FALSE(row.value().companyName || row.value().signal || row.value().score);
    const auto nulls = decoder.decode<WatchlistRow>(
        R"({"ticker":"X","companyName":null,"price":1,"changePct":0,"signal":null,"score":null})");
    ASSERT_TRUE(nulls);
    EXPECT_FALSE(nulls.value().companyName || nulls.value().signal || nulls.value().score);
    // Present and set, an optional member still has to have its type.
    EXPECT_EQ(errorOf<WatchlistRow>(R"({"ticker":"X","price":1,"changePct":0,"score":"high"})"),
              "score: expected a number, found a string");
    EXPECT_EQ(errorOf<DailyBrief>(with(samples::brief, "companyName", 5)),
              "companyName: expected a string, found a number");
}

TEST(Decoding, RequiredMembersMustBePresentAndNotNull) {
    for (auto name : PortfolioSnapshot::codingKeyNames) {
        const std::string key(name);
        EXPECT_EQ(errorOf<PortfolioSnapshot>(without(samples::snapshot, key)),
                  "missing key \"" + key + "\"");
        EXPECT_NE(errorOf<PortfolioSnapshot>(with(samples::snapshot, key, nullptr))
                      .find(key + ": expected "),
                  std::string::npos)
            << key;
    }
    for (const char* key : {"ticker", "summary", "signal", "score", "generatedAt"})
        EXPECT_EQ(errorOf<DailyBrief>(without(samples::brief, key)),
                  "missing key \"" + std::string(key) + "\"");
    EXPECT_EQ(errorOf<DailyBrief>(with(samples::brief, "summary", nullptr)),
              "summary: expected a string, found null");
    EXPECT_EQ(errorOf<WatchlistRow>(R"({"ticker":"X","price":null,"changePct":0})"),
              "price: expected a number, found null");
    // Keys are case-sensitive.
    EXPECT_EQ(errorOf<WatchlistRow>(R"({"Ticker":"X","price":1,"changePct":0})"),
              "missing key \"ticker\"");
}

TEST(Decoding, MembersMustHaveTheirFieldsType) {
    EXPECT_EQ(errorOf<DailyBrief>(with(samples::brief, "ticker", 42)),
              "ticker: expected a string, found a number");
    EXPECT_EQ(errorOf<DailyBrief>(with(samples::brief, "score", "78")),
              "score: expected a number, found a string");
    EXPECT_EQ(errorOf<DailyBrief>(with(samples::brief, "score", true)),
              "score: expected a number, found a boolean");
    EXPECT_EQ(errorOf<DailyBrief>(with(samples::brief, "signal", Json::array())),
              "signal: expected a string, found an array");
    EXPECT_EQ(errorOf<PortfolioSnapshot>(with(samples::snapshot, "totalPnl", Json::object())),
              "totalPnl: expected a number, found an object");
    EXPECT_EQ(errorOf<PortfolioSnapshot>(with(samples::snapshot, "holdingCount", "12")),
              "holdingCount: expected an integer, found a string");
    // Any JSON number is a number: integer literals, exponents, negative zero.
    for (const char* literal : {"42", "-7", "1.5e3", "-0", "0.000001", "18446744073709551615"}) {
        const auto row = decoder.decode<WatchlistRow>(
            std::string(R"({"ticker":"X","changePct":0,"price":)") + literal + "}");
        ASSERT_TRUE(row) << literal;
        EXPECT_EQ(row.value().price, std::strtod(literal, nullptr)) << literal;
    }
}

TEST(Decoding, HoldingCountMustBeAnIntegralNumberInRange) {
    const auto count = [](const char* literal) -> DecodeResult<PortfolioSnapshot> {
        Json json = Json::parse(samples::snapshot);
        std::string text = json.dump();
        const std::string from = "\"holdingCount\":12";
        text.replace(text.find(from), from.size(), std::string("\"holdingCount\":") + literal);
        return decoder.decode<PortfolioSnapshot>(text);
    };
    EXPECT_EQ(count("12.5").error().description, "holdingCount: 12.5 is not an integer");
    EXPECT_EQ(count("-0.25").error().description, "holdingCount: -0.25 is not an integer");
    EXPECT_EQ(count("3.0").value().holdingCount, 3);
    EXPECT_EQ(count("1e2").value().holdingCount, 100);
    EXPECT_EQ(count("-12").value().holdingCount, -12);
    EXPECT_EQ(count("9223372036854775807").value().holdingCount, INT64_MAX);
    EXPECT_EQ(count("-9223372036854775808").value().holdingCount, INT64_MIN);
    EXPECT_EQ(count("9223372036854775808").error().description,
              "holdingCount: 9223372036854775808 is out of the 64-bit integer range");
    EXPECT_EQ(count("1e20").error().description,
              "holdingCount: 1e+20 is out of the 64-bit integer range");
    EXPECT_EQ(count("-1e19").error().description,
              "holdingCount: -1e+19 is out of the 64-bit integer range");
}

TEST(Decoding, DatesMustBeInternetDateTimeStrings) {
    EXPECT_EQ(errorOf<DailyBrief>(with(samples::brief, "generatedAt", 1763272800)),
              "generatedAt: expected an RFC 3339 date-time, found a number");
    EXPECT_EQ(errorOf<DailyBrief>(with(samples::brief, "generatedAt", "2025-11-16")),
              "generatedAt: expected an RFC 3339 date-time, found \"2025-11-16\"");
    EXPECT_EQ(errorOf<DailyBrief>(with(samples::brief, "generatedAt", "2025-11-16T05:45:00.250Z")),
              "generatedAt: expected an RFC 3339 date-time, found \"2025-11-16T05:45:00.250Z\"");
    EXPECT_EQ(errorOf<DailyBrief>(with(samples::brief, "generatedAt", nullptr)),
              "generatedAt: expected an RFC 3339 date-time, found null");
    EXPECT_EQ(errorOf<PortfolioSnapshot>(with(samples::snapshot, "updatedAt", "yesterday")),
              "updatedAt: expected an RFC 3339 date-time, found \"yesterday\"");
    // A long text is cut in the description.
    const std::string longText(200, 'x');
    EXPECT_EQ(
        errorOf<DailyBrief>(with(samples::brief, "generatedAt", longText)),
        "generatedAt: expected an RFC 3339 date-time, found \"" + std::string(64, 'x') + "…\"");

    const auto offset = decoder.decode<DailyBrief>(
        with(samples::brief, "generatedAt", "2025-11-16T00:45:00-05:00"));
    ASSERT_TRUE(offset);
    EXPECT_EQ(offset.value().generatedAt, utc(2025, 11, 16, 5, 45, 0));
}

TEST(Decoding, ExtraMembersAndMemberOrderDoNotMatter) {
    const auto plain = decoder.decode<DailyBrief>(samples::brief);
    const auto extra = decoder.decode<DailyBrief>(
        with(with(samples::brief, "sentiment", Json::object({{"x", 1}})), "Ticker", 5));
    const auto reordered = decoder.decode<DailyBrief>(
        R"({"generatedAt":"2025-11-16T05:45:00Z","score":78,"signal":"Buy",)"
        R"("summary":"Momentum continues.","companyName":"NVIDIA","ticker":"NVDA"})");
    ASSERT_TRUE(plain && extra && reordered);
    EXPECT_EQ(extra.value(), plain.value());
    EXPECT_EQ(reordered.value(), plain.value());
}

TEST(Decoding, TheFirstFaultInFieldOrderWins) {
    // Member order in the text is the reverse of field order; the field order decides.
    EXPECT_EQ(errorOf<DailyBrief>(R"({"generatedAt":5,"score":"x","ticker":1})"),
              "ticker: expected a string, found a number");
    EXPECT_EQ(errorOf<DailyBrief>(R"({"generatedAt":5,"score":"x","ticker":"A","summary":"s",)"
                                  R"("signal":"Buy"})"),
              "score: expected a number, found a string");
    EXPECT_EQ(errorOf<PortfolioSnapshot>(R"({"updatedAt":5})"), "missing key \"totalValue\"");
    // The optional companyName is checked before summary.
    EXPECT_EQ(errorOf<DailyBrief>(R"({"ticker":"A","companyName":1})"),
              "companyName: expected a string, found a number");
}

TEST(Decoding, TopLevelValueMustBeTheRightKind) {
    EXPECT_EQ(errorOf<DailyBrief>("[]"), "expected an object, found an array");
    EXPECT_EQ(errorOf<PortfolioSnapshot>("\"text\""), "expected an object, found a string");
    EXPECT_EQ(errorOf<WatchlistRow>("null"), "expected an object, found null");
    EXPECT_EQ(errorOf<std::vector<WatchlistRow>>(samples::brief),
              "expected an array, found an object");
    EXPECT_EQ(errorOf<std::vector<WatchlistRow>>("12"), "expected an array, found a number");
}

TEST(Decoding, ListsDecodeWholeOrNotAtAll) {
    const auto empty = decoder.decode<std::vector<WatchlistRow>>("[]");
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty.value().empty());

    EXPECT_EQ(errorOf<std::vector<WatchlistRow>>(
                  R"([{"ticker":"A","price":1,"changePct":0},{"ticker":"B","changePct":0}])"),
              "[1]: missing key \"price\"");
    EXPECT_EQ(errorOf<std::vector<WatchlistRow>>(
                  R"([{"ticker":"A","price":1,"changePct":0},{"ticker":"B","price":1,)"
                  R"("changePct":0},{"ticker":"C","price":"9","changePct":0}])"),
              "[2].price: expected a number, found a string");
    EXPECT_EQ(errorOf<std::vector<WatchlistRow>>(R"([{"ticker":"A","price":1,"changePct":0},7])"),
              "[1]: expected an object, found a number");

    // Stored order is kept, duplicates included.
    const auto many = decoder.decode<std::vector<WatchlistRow>>(
        R"([{"ticker":"Z","price":1,"changePct":0},{"ticker":"A","price":2,"changePct":0},)"
        R"({"ticker":"Z","price":3,"changePct":0}])");
    ASSERT_TRUE(many);
    ASSERT_EQ(many.value().size(), 3u);
    EXPECT_EQ(many.value()[0].ticker, "Z");
    EXPECT_EQ(many.value()[1].ticker, "A");
    EXPECT_EQ(many.value()[2].price, 3.0);
}

TEST(Decoding, MalformedJsonIsReportedWithItsOffset) {
    EXPECT_EQ(errorOf<DailyBrief>(R"({"ticker": "NVDA",})"), "not valid JSON at offset 18");
    EXPECT_EQ(errorOf<DailyBrief>(""), "not valid JSON at offset 0");
    EXPECT_EQ(errorOf<std::vector<WatchlistRow>>("[1,2"), "not valid JSON at offset 4");
    EXPECT_EQ(errorOf<DailyBrief>(samples::brief + " trailing"),
              "not valid JSON at offset " +
                  std::to_string(samples::brief.size() + 3));  // at "a": "tr" began a literal true
    EXPECT_EQ(errorOf<DailyBrief>("{\"ticker\":\"\xff\"}"), "not valid JSON at offset 11");
    EXPECT_EQ(errorOf<WatchlistRow>(R"({"ticker":"X","price":1e400,"changePct":0})"),
              "not valid JSON: number overflow parsing '1e400'");
}

TEST(Decoding, TextsAreTakenVerbatim) {
    const auto brief = decoder.decode<DailyBrief>(
        with(with(samples::brief, "summary", "  Caf\u00e9 \u2014 r\u00e9sum\u00e9\n\U0001F680  "),
             "ticker", "brk.b"));
    ASSERT_TRUE(brief);
    EXPECT_EQ(brief.value().summary, "  Caf\u00e9 \u2014 r\u00e9sum\u00e9\n\U0001F680  ");
    EXPECT_EQ(brief.value().ticker, "brk.b");
    const auto escaped = decoder.decode<WatchlistRow>(
        R"({"ticker":"\u0041\u030a","price":1,"changePct":0,"signal":"Strong\tBuy"})");
    ASSERT_TRUE(escaped);
    EXPECT_EQ(escaped.value().ticker, "A\u030a");
    EXPECT_EQ(escaped.value().signal, "Strong\tBuy");
}

TEST(CodingKeys, OneCasePerFieldInFieldOrder) {
    EXPECT_EQ(stringValue<DailyBrief>(DailyBrief::CodingKeys::generatedAt), "generatedAt");
    EXPECT_EQ(codingKey<DailyBrief>("companyName"), DailyBrief::CodingKeys::companyName);
    EXPECT_EQ(codingKey<PortfolioSnapshot>("holdingCount"),
              PortfolioSnapshot::CodingKeys::holdingCount);
    EXPECT_EQ(codingKey<WatchlistRow>("score"), WatchlistRow::CodingKeys::score);
    EXPECT_FALSE(codingKey<WatchlistRow>("Score"));
    EXPECT_FALSE(codingKey<WatchlistRow>("generatedAt"));
    EXPECT_FALSE(codingKey<PortfolioSnapshot>(""));
}

}  // namespace
