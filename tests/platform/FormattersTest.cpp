#include "platform/Formatters.h"

#include <gtest/gtest.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <cfloat>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

using namespace std::chrono;
using namespace std::string_literals;

namespace {

const platform::Date briefTime = sys_days{2025y / November / 16} + 6h + 30min;

// Sets an environment variable for one scope and puts the old value back afterwards.
class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const char* value) : m_name(name) {
        if (const char* old = std::getenv(name)) m_old = old;
        set(value);
    }
    ~ScopedEnvironment() { set(m_old ? m_old->c_str() : nullptr); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    void set(const char* value) { value ? ::setenv(m_name, value, 1) : ::unsetenv(m_name); }
    const char* m_name;
    std::optional<std::string> m_old;
};

std::string brief(const platform::Date& date, const char* zone = "UTC",
                  const char* locale = "en_US") {
    return platform::formatDatePattern(date, "MMM d, h:mm a", locale, zone);
}

std::string printfFixed(double value, int digits) {
    std::vector<char> buffer(512);
    std::snprintf(buffer.data(), buffer.size(), "%.*f", digits, value);
    return buffer.data();
}

bool icuKnowsZone(const std::string& id) {
    std::unique_ptr<icu::TimeZone> zone(
        icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(id)));
    icu::UnicodeString resolved;
    zone->getID(resolved);
    return resolved != icu::UnicodeString(u"Etc/Unknown");
}

}  // namespace

TEST(DatePattern, KeepsTheFixedPatternFollowingZoneAndLocale) {
    const std::string text = brief(briefTime);
    EXPECT_EQ(text, "Nov 16, 6:30 AM");
    // Byte for byte: ICU's own en_US time formats use U+202F before the marker; ours must not.
    EXPECT_EQ(text.find("\xE2\x80\xAF"), std::string::npos);
    // No leading zeros on day and hour; minutes keep two digits; the 12-hour clock stays.
    EXPECT_EQ(brief(sys_days{2025y / March / 5} + 21h + 4min), "Mar 5, 9:04 PM");
    EXPECT_EQ(brief(sys_days{2025y / January / 1}), "Jan 1, 12:00 AM");
    EXPECT_EQ(brief(briefTime, "Europe/Berlin"), "Nov 16, 7:30 AM");
    EXPECT_EQ(brief(briefTime, "Pacific/Honolulu"), "Nov 15, 8:30 PM");  // the day changes
    EXPECT_EQ(brief(briefTime, "Nowhere/Land"), "Nov 16, 6:30 AM");      // unknown zone: UTC
    // Other locales: names change, the pattern's order and 12-hour clock do not.
    const std::string german = brief(briefTime, "Europe/Berlin", "de_DE");
    EXPECT_EQ(german.rfind("Nov", 0), 0u) << german;
    EXPECT_NE(german.find(" 16, 7:30 "), std::string::npos) << german;
    const std::string japanese = brief(briefTime, "Asia/Tokyo", "ja_JP");
    EXPECT_NE(japanese.find("11\xE6\x9C\x88 16, 3:30 "), std::string::npos) << japanese;  // 11月
    EXPECT_EQ(japanese.find("PM"), std::string::npos) << japanese;
}

TEST(RelativeDateTime, PicksTheLargestNonZeroUnitInBothDirectionsAndFollowsTheLocale) {
    const std::vector<std::pair<platform::Date::duration, const char*>> cases{
        {-2min, "2m ago"},
        {3h, "in 3h"},
        {0s, "in 0s"},
        {-days(5), "5d ago"},  // reference
        // Each unit, past and future, with the whole count truncated toward zero.
        {-59s, "59s ago"},
        {-999ms, "in 0s"},
        {-(2min + 59s), "2m ago"},
        {59min + 59s, "in 59m"},
        {-(23h + 59min), "23h ago"},
        {days(6) + 23h, "in 6d"},
        {-days(7), "1w ago"},
        {days(20), "in 2w"},
        {-days(45), "1mo ago"},
        {-days(366), "1y ago"}};
    for (const auto& [offset, expected] : cases)
        EXPECT_EQ(platform::formatRelativeDateTime(briefTime + offset, briefTime, "en_US"),
                  expected);
    // Months are calendar months, pinned to the month's end: from Jan 31 one month is
    // reached on Feb 28, and not yet on Feb 27.
    const platform::Date january31 = sys_days{2025y / January / 31};
    for (const auto& [day, expected] : {std::pair{27d, "in 3w"}, {28d, "in 1mo"}})
        EXPECT_EQ(
            platform::formatRelativeDateTime(sys_days{2025y / February / day}, january31, "en_US"),
            expected);
    // Other locales have words of their own.
    const std::string german =
        platform::formatRelativeDateTime(briefTime - minutes(2), briefTime, "de_DE");
    EXPECT_NE(german.find('2'), std::string::npos) << german;
    EXPECT_EQ(german.find("ago"), std::string::npos) << german;
    EXPECT_NE(german, platform::formatRelativeDateTime(briefTime + minutes(2), briefTime, "de_DE"));
}

TEST(Currency, RoundsHalfEvenFollowsTheLocaleAndFailsOnABadCode) {
    const struct {
        double value;
        int digits;
        const char* expected;
    } cases[] = {
        {10000, 0, "$10,000"},   {9999.99, 2, "$9,999.99"},
        {9999.99, 0, "$10,000"}, {5, 2, "$5.00"},  // the currency's two digits stay the minimum
        {-12.5, 2, "-$12.50"},   {10000.5, 0, "$10,000"},
        {10001.5, 0, "$10,002"}, {1234567.891, 2, "$1,234,567.89"},
        {0.125, 2, "$0.12"}};
    for (const auto& c : cases)
        EXPECT_EQ(platform::formatCurrency(c.value, "USD", c.digits, "en_US"), c.expected)
            << c.value;

    // German: grouping by full stops, decimal comma, the symbol after the number.
    const auto german = platform::formatCurrency(1234567.891, "USD", 2, "de_DE");
    ASSERT_TRUE(german.has_value());
    EXPECT_EQ(german->rfind("1.234.567,89", 0), 0u) << *german;
    EXPECT_EQ(german->back(), '$') << *german;

    const auto indian = platform::formatCurrency(1234567.891, "USD", 2, "en_IN");
    ASSERT_TRUE(indian.has_value());
    EXPECT_NE(indian->find("12,34,567.89"), std::string::npos) << *indian;

    EXPECT_FALSE(platform::formatCurrency(1, "US", 2, "en_US").has_value());
}

TEST(Fixed, MatchesPrintfInTheCLocaleSpecialValuesIncluded) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    // Values where rounding direction matters: exact binary halves round to even, values just
    // off a half round by their true binary value.
    std::vector<double> values = {
        0,          -0.0,          0.125,    0.375,  2.675,  1.005,   1.015,     1.025,   0.5,
        1.5,        2.5,           -0.125,   -2.675, 0.001,  -0.001,  0.0049999, 0.005,   -0.005,
        12.5,       187.456,       9999.995, 1e300,  -1e300, DBL_MAX, -DBL_MAX,  DBL_MIN, 4.9e-324,
        1e15 + 0.3, 123456789.125, nan,      -nan,   inf,    -inf};
    std::mt19937_64 random(20251116);
    std::uniform_real_distribution<double> mantissa(-10, 10);
    std::uniform_int_distribution<int> exponent(-12, 20);
    for (int i = 0; i < 5000; ++i)
        values.push_back(mantissa(random) * std::pow(10, exponent(random)));
    for (int k = -400; k <= 400; ++k) values.push_back(k / 8.0);  // every eighth: many exact halves

    for (const double value : values) {
        for (const int digits : {0, 1, 2, 6}) {
            ASSERT_EQ(platform::formatFixed(value, digits), printfFixed(value, digits))
                << value << " with " << digits << " digits";
        }
    }
}

TEST(Shortest, PrintsADoubleAsThePlatformDoes) {
    const std::vector<std::pair<double, const char*>> cases{
        {10000, "10000.0"},
        {-187.456, "-187.456"},
        {0.0001, "0.0001"},
        {0.00001, "1e-05"},  // small values switch to exponents
        {0.0, "0.0"},
        {-0.0, "-0.0"},
        // Up to 2^53 the integers print positionally, beyond it with an exponent.
        {9007199254740992.0, "9007199254740992.0"},
        {9007199254740994.0, "9.007199254740994e+15"},
        {1.25e-300, "1.25e-300"},
        {std::numeric_limits<double>::quiet_NaN(), "nan"},
        {-std::numeric_limits<double>::infinity(), "-inf"}};
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(platform::formatShortest(value), expected);
    // Whatever the form, the text reads back as the same double.
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> mantissa(-10, 10);
    std::uniform_int_distribution<int> exponent(-30, 30);
    for (int i = 0; i < 2000; ++i) {
        const double value = mantissa(random) * std::pow(10, exponent(random));
        const std::string text = platform::formatShortest(value);
        ASSERT_EQ(std::strtod(text.c_str(), nullptr), value) << text;
        ASSERT_TRUE(text.find('.') != std::string::npos || text.find('e') != std::string::npos)
            << text;
    }
}

TEST(Environment, ReadsTheUserLocale) {
    const struct {
        const char* lcAll;
        const char* lang;
        const char* expected;
    } cases[] = {
        {nullptr, nullptr, "en_US"},  // nothing set
        {nullptr, "de_DE.UTF-8", "de_DE"}, {nullptr, "fr_FR.UTF-8@euro", "fr_FR"},
        {nullptr, "de_DE@euro", "de_DE"},  {"ja_JP.eucJP", "de_DE.UTF-8", "ja_JP"},  // LC_ALL wins
        {"", "de_DE.UTF-8", "de_DE"},  // an empty LC_ALL counts as unset
        {nullptr, "C", "en_US"},           {nullptr, "C.UTF-8", "en_US"},
        {nullptr, "POSIX", "en_US"},       {nullptr, "", "en_US"},
        {"POSIX", "de_DE.UTF-8", "en_US"},
    };
    for (const auto& c : cases) {
        const ScopedEnvironment all("LC_ALL", c.lcAll);
        const ScopedEnvironment lang("LANG", c.lang);
        EXPECT_EQ(platform::userLocale(), c.expected)
            << "LC_ALL=" << (c.lcAll ? c.lcAll : "(unset)")
            << " LANG=" << (c.lang ? c.lang : "(unset)");
    }
}

TEST(Environment, ReadsTheUserTimeZone) {
    for (const auto& [tz, expected] : std::vector<std::pair<const char*, const char*>>{
             {"Europe/Berlin", "Europe/Berlin"},
             {":Europe/Berlin", "Europe/Berlin"},
             {"/usr/share/zoneinfo/Asia/Tokyo", "Asia/Tokyo"},
             {":/usr/share/zoneinfo/America/New_York", "America/New_York"},
             {"UTC", "UTC"}}) {
        const ScopedEnvironment zone("TZ", tz);
        EXPECT_EQ(platform::userTimeZone(), expected) << tz;
    }
    // Without TZ the system's zone, which ICU must know.
    for (const char* unset : {static_cast<const char*>(nullptr), ""}) {
        const ScopedEnvironment zone("TZ", unset);
        const std::string system = platform::userTimeZone();
        EXPECT_FALSE(system.empty());
        EXPECT_TRUE(icuKnowsZone(system)) << system;
    }
}

TEST(Locale, IsKnownWhenIcuHasItsLanguageAndKnowsItsCountry) {
    for (const auto& [locale, known] : std::vector<std::pair<const char*, bool>>{
             {"en_US", true},
             {"de_DE", true},
             {"fr", true},          // a language alone
             {"sr_Latn_RS", true},  // with a script
             {"zh_Hant_TW", true},
             {"ja_JP", true},
             {"haw_US", true},  // a three-letter language
             {"xx_US", false},  // no such language
             {"e_US", false},   // a prefix of "en" is no language
             {"en_XX", false},  // no such country
             {"", false},
             {"_US", false},
         }) {
        EXPECT_EQ(platform::isKnownLocale(locale), known) << locale;
    }
}
