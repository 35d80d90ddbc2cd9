// Inputs the decoder fuzz targets (fuzz/) found, kept as ordinary cases.

#include "records/JSONDecoder.h"
#include "records/JSONEncoder.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace AppGroupContainer;

const JSONDecoder decoder;

// fuzz_RoundTrip: a brief dated in year 0000 one hour ahead of UTC is an instant in year -1,
// which the writing form cannot express ("-001-12-31T23:00:00Z" does not decode), so a record
// the reader took would have broken on its way back through the host app's writer. The same at
// the far end, where an offset behind UTC carries 9999-12-31 into year 10000.
TEST(FuzzFindings, DatesThatAnOffsetCarriesOutOfTheFourDigitYearsDoNotDecode) {
    const std::string found = R"({"ticker":"OLD","summary":"s","signal":"Sellg","score":-1,)"
                              R"("generatedAt":"0000-01-01T00:00:00+01:00"})";
    const auto brief = decoder.decode<DailyBrief>(found);
    ASSERT_FALSE(brief);
    EXPECT_EQ(brief.error().description,
              "generatedAt: \"0000-01-01T00:00:00+01:00\" falls outside the years 0000 to 9999 "
              "in UTC");

    const std::string lastYear =
        R"({"totalValue":1,"totalPnl":1,"totalReturn":1,"dailyChange":1,"dailyChangePct":1,)"
        R"("holdingCount":1,"sourceLabel":"x","updatedAt":"9999-12-31T23:59:59-00:01"})";
    const auto snapshot = decoder.decode<PortfolioSnapshot>(lastYear);
    ASSERT_FALSE(snapshot);
    EXPECT_EQ(snapshot.error().description,
              "updatedAt: \"9999-12-31T23:59:59-00:01\" falls outside the years 0000 to 9999 in "
              "UTC");

    // The first and last instants of the range, however their offset spells them, still decode
    // and survive the writer.
    for (const std::string date :
         {"0000-01-01T00:00:00Z", "0000-01-01T00:00:00+00:00", "0000-01-01T00:00:00-00:01",
          "9999-12-31T23:59:59z", "9999-12-31T23:59:59-00:00", "9999-12-31T23:59:59+23:59"}) {
        const auto kept = decoder.decode<DailyBrief>(
            R"({"ticker":"OLD","summary":"s","signal":"Sell","score":-1,"generatedAt":")" + date +
            R"("})");
        ASSERT_TRUE(kept) << date << ": " << kept.error().description;
        const auto again = decoder.decode<DailyBrief>(encode(kept.value()));
        ASSERT_TRUE(again) << date << ": " << again.error().description;
        EXPECT_EQ(again.value(), kept.value()) << date;
    }
}

}  // namespace
