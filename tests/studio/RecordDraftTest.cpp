#include "hosting/Extension.h"
#include "studio/DayPlan.h"
#include "studio/RecordDraft.h"
#include "studio/RecordStore.h"
#include "tests/support/TempStore.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace {

platform::Date at(const char* text) {
    return *platform::parseCommandLineDate(text);
}

}  // namespace

// The decoder's message for each kind of mistake, and the part of the text it points at: the
// offset it names, the member its key path names (the row's own, not the first row's), or the
// first line when it names neither. An empty editor is no mistake: the key is not set.
TEST(RecordDraft, MarksWhereTheDecoderSaysTheRecordGoesWrong) {
    struct Case {
        const char* key;
        std::string text;
        const char* message;  // empty: the record decodes
        const char* marked;   // the text under the mark
        int occurrence = 0;   // which of the marked text's occurrences the mark is on
    };
    const std::vector<Case> cases{
        {"vmDailyBrief",
         R"({"ticker":"NVDA","companyName":"NVIDIA","summary":"s","signal":"Buy","score":78,)"
         R"("generatedAt":"2025-11-16T04:00:00Z"})",
         "", ""},
        {"vmDailyBrief", "  \n\t", "", ""},
        {"vmDailyBrief", R"({"ticker": })", "not valid JSON at offset 11", "}"},
        {"vmDailyBrief", R"({"ticker": "NVDA")", "not valid JSON at offset 17", "\"",
         3},  // its end
        {"vmDailyBrief", "{\"ticker\": \"NVDA\"}\nsecond line", "not valid JSON", "\n"},
        {"vmWatchlistTickers",
         R"([{"ticker":"A","price":1,"changePct":1},{"ticker":"B","price":"2","changePct":1}])",
         "[1].price: expected a number, found a string", "\"price\"", 1},
        {"vmWatchlistTickers", R"({"ticker":"A"})", "expected an array", R"({"ticker":"A"})"},
        {"vmPortfolioSnapshot", "{\n  \"totalValue\": \"x\"\n}",
         "totalValue: expected a number, found a string", "\"totalValue\""},
        {"vmDailyBrief", "{\"ticker\": \"NVDA\"}\n", "missing key", "{\"ticker\": \"NVDA\"}"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const auto fault = studio::checkRecord(c.key, c.text);
        if (std::string(c.message).empty()) {
            EXPECT_FALSE(fault) << fault->message;
            continue;
        }
        ASSERT_TRUE(fault);
        EXPECT_NE(fault->message.find(c.message), std::string::npos) << fault->message;
        ASSERT_LE(fault->offset + fault->length, c.text.size());
        if (std::string(c.marked) != "\n") {
            EXPECT_EQ(c.text.substr(fault->offset, fault->length), c.marked);
            auto expected = c.text.find(c.marked);
            for (int i = 0; i < c.occurrence; ++i) expected = c.text.find(c.marked, expected + 1);
            EXPECT_EQ(fault->offset, expected);
        } else {
            EXPECT_GE(fault->offset, c.text.find('\n'));  // past the record, where it goes wrong
        }
    }
}

// The samples the studio opens with are records the widgets decode, dated when asked.
TEST(RecordDraft, SamplesDecodeAndCarryTheirDate) {
    for (const auto& record : studio::studioRecords()) {
        const auto sample = studio::sampleRecord(record.key, at("2025-11-16T05:00:00.25Z"));
        EXPECT_FALSE(studio::checkRecord(record.key, sample)) << record.key;
        if (record.key != "vmWatchlistTickers") {
            EXPECT_NE(sample.find("\"2025-11-16T05:00:00Z\""), std::string::npos) << sample;
        }
    }
}

// The studio's records go to a store and come back byte for byte; a record that is none removes
// its key, and an empty store gives none of them.
TEST(RecordStore, WritesReadsAndRemovesTheRecordsKeys) {
    tempstore::TempStore temp;
    auto empty = studio::readRecords(temp.folder());
    ASSERT_TRUE(empty) << empty.error().description;
    EXPECT_EQ(empty.value(), studio::RecordTexts{});

    const studio::RecordTexts written{"{\"ticker\": \"\xc3\xa9\"}\n", "[]", std::nullopt};
    ASSERT_TRUE(studio::writeRecords(temp.folder(), written));
    auto read = studio::readRecords(temp.folder());
    ASSERT_TRUE(read);
    EXPECT_EQ(read.value(), written);

    ASSERT_TRUE(studio::writeRecords(temp.folder(), {std::nullopt, "[1]", "{}"}));
    EXPECT_EQ(studio::readRecords(temp.folder()).value(),
              (studio::RecordTexts{std::nullopt, "[1]", "{}"}));

    // A folder that cannot hold a store is an error, not an empty store.
    const auto file = temp.folder() / "file";
    std::ofstream(file) << "x";
    EXPECT_FALSE(studio::writeRecords(file / "store", written));
}

// A day planned through the extension: the host's requests at the dates the timelines name, or
// spread by the platform's budget, each late one saying so.
TEST(DayPlan, PlansADayThroughTheExtensionWithAndWithoutABudget) {
    tempstore::TempStore temp;
    auto settings = hosting::extensionSettings({temp.directory(), "en_US", "UTC"});
    settings.program = VELMORA_PROGRAM;
    hosting::Extension extension(settings);
    const std::vector<timeline::Placement> placements{
        {"WatchlistGlance", timeline::WidgetFamily::systemSmall},
        {"DailyBrief", timeline::WidgetFamily::systemMedium}};
    const auto from = at("2025-11-16T00:00:00Z");
    const auto until = at("2025-11-17T00:00:00Z");
    struct Case {
        std::optional<hosting::ReloadBudget> budget;
        int watchlist;
        int late;
    };
    for (const auto& c : {Case{std::nullopt, 96, 0}, Case{hosting::ReloadBudget{40}, 40, 39}}) {
        const auto plan = studio::planDay(extension, placements, from, until, c.budget);
        EXPECT_TRUE(plan.failures.empty());
        std::map<std::string, int> requests, late;
        for (const auto& request : plan.requests) {
            EXPECT_GE(request.requestedAt, from);
            EXPECT_LT(request.requestedAt, until);
            ++requests[request.placement.kind];
            if (request.lateBy().count() > 0) ++late[request.placement.kind];
        }
        EXPECT_EQ(requests["WatchlistGlance"], c.watchlist);
        EXPECT_EQ(late["WatchlistGlance"], c.late);
        EXPECT_EQ(requests["DailyBrief"], 2);
        EXPECT_EQ(late["DailyBrief"], 0);
    }
}
