#include "platform/Date.h"

#include "tests/support/Times.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono;
using platform::formatDate;
using platform::parseCommandLineDate;
using platform::parseRecordDate;
using testtime::utc;

TEST(Date, ParsesZuluAndEveryOffsetFormOnValidDays) {
    const platform::Date expected = utc(2025, 11, 16, 6, 30);
    for (const char* text :
         {"2025-11-16T06:30:00Z", "2025-11-16T06:30:00z", "2025-11-16T07:30:00+01:00",
          "2025-11-16T01:00:00-0530", "2025-11-16T11:30:00+05", "2025-11-16T06:30:00-00:00"})
        EXPECT_EQ(parseRecordDate(text), expected) << text;
    const std::pair<const char*, platform::Date> cases[] = {
        // An offset can move the instant across a day and a year.
        {"2025-01-01T00:30:00+01:00", utc(2024, 12, 31, 23, 30)},
        {"1969-12-31T23:59:59Z", platform::Date(seconds(-1))},
        {"2024-02-29T00:00:00Z", utc(2024, 2, 29)},  // leap year
        {"2000-02-29T00:00:00Z", utc(2000, 2, 29)},  // divisible by 400
        {"2025-12-31T23:59:59Z", utc(2025, 12, 31, 23, 59, 59)},
    };
    for (const auto& [text, date] : cases) EXPECT_EQ(parseRecordDate(text), date) << text;
}

TEST(Date, RejectsTextsOutsideTheInternetDateTimeForm) {
    for (const char* text : {
             "",
             "2025-11-16",                 // no time
             "2025-11-16T06:30:00",        // no zone
             "2025-11-16t06:30:00Z",       // lower-case t
             "2025-11-16 06:30:00Z",       // space instead of T
             "2025-11-16T06:30Z",          // no seconds
             "2025-11-16T06:30:00.5Z",     // fractional seconds in a record
             "2025-11-16T06:30:00+1:00",   // one-digit offset hour
             "2025-11-16T06:30:00+01:0",   // one-digit offset minute
             "2025-11-16T06:30:00+01:",    // colon without minutes
             "2025-11-16T06:30:00+0100Z",  // two zones
             "2025-11-16T06:30:00Z ",      // trailing space
             " 2025-11-16T06:30:00Z",      // leading space
             "25-11-16T06:30:00Z",         // two-digit year
             "2025-1-16T06:30:00Z",        // one-digit month
             "2025/11/16T06:30:00Z",       // slashes
             "+2025-11-16T06:30:00Z",      // signed year
             "2025-11-16T06:30:00UTC",     // zone name
             "2025-11-16T06:30:00+24:00",  // offset hour out of range
             "2025-11-16T06:30:00+01:60",  // offset minute out of range
             "20251116T063000Z",           // basic format
             "2025-11-16T06:3a:00Z",       // not a digit
             "2023-02-29T00:00:00Z",       // not a leap year
             "1900-02-29T00:00:00Z",       // divisible by 100 only
             "2025-04-31T00:00:00Z",       // past the month's end
             "2025-13-01T00:00:00Z",
             "2025-00-10T00:00:00Z",
             "2025-01-00T00:00:00Z",
             "2025-01-32T00:00:00Z",
             "2025-01-01T24:00:00Z",
             "2025-01-01T00:60:00Z",
             "2025-01-01T00:00:60Z",  // no leap seconds
         })
        EXPECT_FALSE(parseRecordDate(text).has_value()) << text;
}

TEST(Date, CommandLineAcceptsFractionalSeconds) {
    const platform::Date whole = utc(2025, 11, 16, 6, 30, 0);
    EXPECT_EQ(parseCommandLineDate("2025-11-16T06:30:00Z"), whole);
    EXPECT_EQ(parseCommandLineDate("2025-11-16T06:30:00.000Z"), whole);
    EXPECT_EQ(parseCommandLineDate("2025-11-16T06:30:00.5Z"), whole + milliseconds(500));
    EXPECT_EQ(parseCommandLineDate("2025-11-16T07:30:00.000001+01:00"), whole + microseconds(1));
    // Digits past the microsecond are cut, not rounded.
    EXPECT_EQ(parseCommandLineDate("2025-11-16T06:30:00.1234569Z"), whole + microseconds(123456));
    EXPECT_FALSE(parseCommandLineDate("2025-11-16T06:30:00.Z"));
    EXPECT_FALSE(parseCommandLineDate("2025-11-16T06:30:00,5Z"));
    EXPECT_FALSE(parseCommandLineDate("2025-11-16T06:30:00.5"));
    EXPECT_FALSE(parseCommandLineDate("2025-02-30T06:30:00.5Z"));
}

TEST(Date, FormatsUtcWithFractionsOnlyWhenNotZero) {
    EXPECT_EQ(formatDate(utc(2025, 11, 16, 6, 30, 0)), "2025-11-16T06:30:00Z");
    EXPECT_EQ(formatDate(utc(2025, 11, 16, 6, 30, 0) + milliseconds(500)),
              "2025-11-16T06:30:00.5Z");
    EXPECT_EQ(formatDate(utc(2025, 11, 16, 6, 30, 0) + microseconds(120)),
              "2025-11-16T06:30:00.00012Z");
    EXPECT_EQ(formatDate(platform::Date(microseconds(-500000))), "1969-12-31T23:59:59.5Z");
    EXPECT_EQ(formatDate(utc(2024, 2, 29, 23, 59, 59)), "2024-02-29T23:59:59Z");
    EXPECT_EQ(formatDate(utc(1, 1, 1)), "0001-01-01T00:00:00Z");

    // What the command line writes, it reads back; whole seconds also as a record.
    for (const platform::Date date :
         {utc(2025, 1, 1) + microseconds(987654), utc(2099, 12, 31, 23, 59, 59),
          platform::Date(microseconds(-1))}) {
        EXPECT_EQ(parseCommandLineDate(formatDate(date)), date) << formatDate(date);
    }
    EXPECT_EQ(parseRecordDate(formatDate(utc(2030, 6, 1, 12))), utc(2030, 6, 1, 12));
    // No year outside 0000 to 9999 is ever written.
    EXPECT_EQ(formatDate(platform::endOfDates - microseconds(1)), "9999-12-31T23:59:59.999999Z");
    EXPECT_DEATH((void)formatDate(platform::firstDate - microseconds(1)), "endOfDates");
    EXPECT_DEATH((void)formatDate(platform::endOfDates), "endOfDates");
}

}  // namespace
