#include "records/Field.h"
#include "records/JSONDecoder.h"
#include "records/JSONEncoder.h"
#include "tests/support/Samples.h"
#include "tests/support/Times.h"

#include <gtest/gtest.h>

namespace {

using namespace AppGroupContainer;
using Json = nlohmann::json;
using samples::with;
using testtime::utc;

const JSONDecoder decoder;

template <typename T>
std::string errorOf(const std::string& json) {
    const auto result = decoder.decode<T>(json);
    return result ? std::string("(decoded)") : result.error().description;
}
std::string briefError(const std::string& key, const Json& value = Json::value_t::discarded) {
    return errorOf<DailyBrief>(with(samples::brief, key, value));
}
template <typename T>
std::optional<T> decoded(const std::string& json) {
    const auto result = decoder.decode<T>(json);
    return result ? std::optional<T>(result.value()) : std::nullopt;
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

TEST(Decoding, ReadsEveryFieldOfEachRecordVerbatimWhateverTheOrderAndExtraMembers) {
    const DailyBrief brief{"NVDA", "NVIDIA", "Momentum continues.",
                           "Buy",  78,       utc(2025, 11, 16, 5, 45)};
    EXPECT_EQ(decoded<DailyBrief>(samples::brief), brief);
    EXPECT_EQ(decoded<PortfolioSnapshot>(samples::snapshot),
              (PortfolioSnapshot{10000, 250.5, 2.5, -12.25, -0.12, 12, "Broker sync",
                                 utc(2025, 11, 16, 5, 0)}));
    EXPECT_EQ(decoded<std::vector<WatchlistRow>>(samples::rows),
              (std::vector<WatchlistRow>{{"AAPL", "Apple Inc.", 187.32, 0.84, "Buy", 72},
                                         {"MSFT", std::nullopt, 410, -1.5}}));
    EXPECT_EQ(decoded<std::vector<WatchlistRow>>("[" + row("") + "," + row("") + "]"),
              (std::vector<WatchlistRow>(2, {"X", {}, 1, 0})));
    EXPECT_EQ(decoded<std::vector<WatchlistRow>>("[]"), std::vector<WatchlistRow>());

    // Extra members and member order do not matter.
    EXPECT_EQ(decoded<DailyBrief>(
                  with(with(samples::brief, "sentiment", Json::object({{"x", 1}})), "Ticker", 5)),
              brief);
    EXPECT_EQ(decoded<DailyBrief>(
                  R"({"generatedAt":"2025-11-16T05:45:00Z","score":78,"signal":"Buy",)"
                  R"("summary":"Momentum continues.","companyName":"NVIDIA","ticker":"NVDA"})"),
              brief);
    // Texts are taken as they are: spaces, line breaks, escapes, combining marks.
    const std::string summary = "  Caf\u00e9 \u2014 r\u00e9sum\u00e9\n\U0001F680  ";
    EXPECT_EQ(decoded<DailyBrief>(with(samples::brief, "summary", summary)).value().summary,
              summary);
    const auto escaped = decoded<WatchlistRow>(
        R"({"ticker":"\u0041\u030a","price":1,"changePct":0,"signal":"Strong\tBuy"})");
    EXPECT_EQ(escaped.value().ticker, "A\u030a");  // byte for byte: not composed
    EXPECT_EQ(escaped.value().signal, "Strong\tBuy");
}

TEST(Decoding, MembersMustBePresentNotNullAndOfTheirType) {
    for (auto name : fieldKeys<PortfolioSnapshot>()) {
        const std::string key(name);
        EXPECT_EQ(errorOf<PortfolioSnapshot>(with(samples::snapshot, key)),
                  "missing key \"" + key + "\"");
        EXPECT_EQ(errorOf<PortfolioSnapshot>(with(samples::snapshot, key, nullptr)).rfind(key, 0),
                  0u)
            << key;
    }
    for (const char* key : {"ticker", "summary", "signal", "score", "generatedAt"})
        EXPECT_EQ(briefError(key), "missing key \"" + std::string(key) + "\"");
    // Optional members may be absent or null.
    for (const auto& json :
         {with(samples::brief, "companyName"), with(samples::brief, "companyName", nullptr)})
        EXPECT_EQ(decoded<DailyBrief>(json).value().companyName, std::nullopt);
    for (const auto& json : {row(""), row(R"(,"companyName":null,"signal":null,"score":null)")})
        EXPECT_EQ(decoded<WatchlistRow>(json), (WatchlistRow{"X", {}, 1, 0}));
    expectAll({
        // Present and set, an optional member still has to have its type.
        {errorOf<WatchlistRow>(row(R"(,"score":"high")")),
         "score: expected a number, found a string"},
        {briefError("companyName", 5), "companyName: expected a string, found a number"},
        {briefError("summary", nullptr), "summary: expected a string, found null"},
        {errorOf<WatchlistRow>(R"({"ticker":"X","price":null,"changePct":0})"),
         "price: expected a number, found null"},
        {errorOf<WatchlistRow>(R"({"Ticker":"X","price":1,"changePct":0})"),  // case-sensitive
         "missing key \"ticker\""},
        {briefError("ticker", 42), "ticker: expected a string, found a number"},
        {briefError("score", "78"), "score: expected a number, found a string"},
        {briefError("score", true), "score: expected a number, found a boolean"},
        {briefError("signal", Json::array()), "signal: expected a string, found an array"},
        {errorOf<PortfolioSnapshot>(with(samples::snapshot, "totalPnl", Json::object())),
         "totalPnl: expected a number, found an object"},
        {errorOf<PortfolioSnapshot>(with(samples::snapshot, "holdingCount", "12")),
         "holdingCount: expected an integer, found a string"},
    });
    // Any JSON number is a number: integer literals, exponents, negative zero, integers beyond
    // the 64-bit range.
    for (const char* literal :
         {"42", "-7", "1.5e3", "-0", "0.000001", "18446744073709551615", "-9223372036854775809"})
        EXPECT_EQ(decoded<WatchlistRow>(R"({"ticker":"X","changePct":0,"price":)" +
                                        std::string(literal) + "}")
                      .value()
                      .price,
                  std::strtod(literal, nullptr))
            << literal;
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
        // The parser gives these as doubles, which reach 2^63 (or -2^63, rounded): none may be
        // converted, nor clamped to the end of the range.
        {count("9223372036854775808.0"), "holdingCount: 9223372036854775808" + range},
        {count("-9223372036854775809"), "holdingCount: -9223372036854775808" + range},
        {count("-9223372036854776832"), "holdingCount: -9223372036854775808" + range},
        {count("-9223372036854775808.0"), "holdingCount: -9223372036854775808" + range},
    });
}

TEST(Decoding, DatesMustBeInternetDateTimeStringsWithinTheFourDigitYears) {
    const std::string expected = "generatedAt: expected an RFC 3339 date-time, found ";
    const std::string outside = "\" falls outside the years 0000 to 9999 in UTC";
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
        {briefError("generatedAt", std::string(63, 'x') + "\u00e9\u00e9"),
         expected + "\"" + std::string(63, 'x') + "…\""},
        // fuzz_RoundTrip: an offset can carry an instant out of the four-digit years, where the
        // writing form cannot express it: the host app's writer would break the record.
        {briefError("generatedAt", "0000-01-01T00:00:00+01:00"),
         "generatedAt: \"0000-01-01T00:00:00+01:00" + outside},
        {errorOf<PortfolioSnapshot>(
             with(samples::snapshot, "updatedAt", "9999-12-31T23:59:59-00:01")),
         "updatedAt: \"9999-12-31T23:59:59-00:01" + outside},
    });
    const auto offset = decoder.decode<DailyBrief>(
        with(samples::brief, "generatedAt", "2025-11-16T00:45:00-05:00"));
    ASSERT_TRUE(offset);
    EXPECT_EQ(offset.value().generatedAt, utc(2025, 11, 16, 5, 45));
    // The first and last instants of the range, however their offset spells them, decode and
    // survive the writer.
    for (const char* date :
         {"0000-01-01T00:00:00Z", "0000-01-01T00:00:00+00:00", "0000-01-01T00:00:00-00:01",
          "9999-12-31T23:59:59z", "9999-12-31T23:59:59-00:00", "9999-12-31T23:59:59+23:59"}) {
        const auto kept = decoder.decode<DailyBrief>(with(samples::brief, "generatedAt", date));
        ASSERT_TRUE(kept) << date << ": " << kept.error().description;
        EXPECT_EQ(decoder.decode<DailyBrief>(encode(kept.value())), kept) << date;
    }
}

TEST(Decoding, StructuralErrors) {
    const auto list = [](const std::string& json) {
        return errorOf<std::vector<WatchlistRow>>(json);
    };
    const std::string a = row("");
    const auto nested = [](int levels) {
        return R"({"ticker":)" + std::string(levels, '[') + std::string(levels, ']') + "}";
    };
    const std::string big = std::string(JSONDecoder::documentSizeLimit, ' ');
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
        // Lists decode whole or not at all; the error names the index.
        {list("[" + a + R"(,{"ticker":"B","changePct":0}])"), "[1]: missing key \"price\""},
        {list("[" + a + "," + a + R"(,{"ticker":"C","price":"9","changePct":0}])"),
         "[2].price: expected a number, found a string"},
        {list("[" + a + ",7]"), "[1]: expected an object, found a number"},
        // Malformed JSON is reported with its offset, an overlong number by its start.
        {errorOf<DailyBrief>(R"({"ticker": "NVDA",})"), "not valid JSON at offset 18"},
        {errorOf<DailyBrief>(""), "not valid JSON at offset 0"},
        {list("[1,2"), "not valid JSON at offset 4"},
        {errorOf<DailyBrief>(samples::brief + " trailing"),  // at "a": "tr" began a literal true
         "not valid JSON at offset " + std::to_string(samples::brief.size() + 3)},
        {errorOf<DailyBrief>("{\"ticker\":\"\xff\"}"), "not valid JSON at offset 11"},
        {errorOf<WatchlistRow>(R"({"ticker":"X","price":1e400,"changePct":0})"),
         "not valid JSON: number overflow parsing '1e400'"},
        {errorOf<WatchlistRow>(R"({"ticker":"X","changePct":0,"price":9)" +
                               std::string(400000, '9') + "}"),
         "not valid JSON: number overflow parsing '" + std::string(64, '9') + "…'"},
        // Decoding stops at 64 levels of nesting and above 1 MiB, before parsing the rest.
        {errorOf<DailyBrief>(nested(63)), "ticker: expected a string, found an array"},
        {errorOf<DailyBrief>(nested(64)), "nested deeper than 64 levels at offset 73"},
        {errorOf<DailyBrief>(R"({"ignored": )" + std::string(400000, '[')),
         "nested deeper than 64 levels at offset 75"},
        {errorOf<DailyBrief>(samples::brief + big.substr(samples::brief.size())), "(decoded)"},
        {list(big + "[]"), "document of 1048578 bytes exceeds the 1 MiB limit"},
    });
}

}  // namespace
