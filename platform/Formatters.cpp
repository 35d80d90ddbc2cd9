#include "platform/Formatters.h"

#include "platform/Fatal.h"

#include <unicode/calendar.h>
#include <unicode/decimfmt.h>
#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/numfmt.h>
#include <unicode/reldatefmt.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/uloc.h>
#include <unicode/unistr.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <system_error>

namespace platform {

namespace {

icu::Locale toLocale(std::string_view locale) {
    return icu::Locale(std::string(locale).c_str());
}

icu::UnicodeString toUnicode(std::string_view text) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), int32_t(text.size())));
}

std::string toUtf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

// An unknown zone id makes ICU fall back to "Etc/Unknown", which behaves as UTC: exactly the
// fallback the views want, so no separate check is needed.
std::unique_ptr<icu::TimeZone> toTimeZone(std::string_view timeZone) {
    return std::unique_ptr<icu::TimeZone>(icu::TimeZone::createTimeZone(toUnicode(timeZone)));
}

UDate toUDate(Date date) {
    return double(date.time_since_epoch().count()) / 1000.0;  // microseconds to milliseconds
}

}  // namespace

std::string formatDatePattern(Date date, std::string_view pattern, std::string_view locale,
                              std::string_view timeZone) {
    UErrorCode status = U_ZERO_ERROR;
    // applyPattern semantics: the literal characters of the pattern (the ASCII space before
    // the day-period marker included) are copied as written; only fields are localised.
    icu::SimpleDateFormat formatter(toUnicode(pattern), toLocale(locale), status);
    if (U_FAILURE(status)) return {};
    formatter.adoptTimeZone(toTimeZone(timeZone).release());
    icu::UnicodeString out;
    formatter.format(toUDate(date), out);
    return toUtf8(out);
}

std::string formatRelativeDateTime(Date date, Date now, std::string_view locale) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale icuLocale = toLocale(locale);

    // Calendar-aware whole counts, largest unit first: walking a calendar from `now` toward
    // `date` one field at a time leaves each smaller field the remainder of the larger ones.
    // The counts carry the direction: negative when `date` lies before `now`.
    icu::GregorianCalendar calendar(icu::TimeZone::getGMT()->clone(), icuLocale, status);
    if (U_FAILURE(status)) return {};
    calendar.setTime(toUDate(now), status);
    const UDate target = toUDate(date);

    struct Step {
        UCalendarDateFields field;
        URelativeDateTimeUnit unit;
    };
    constexpr std::array<Step, 7> steps{{
        {UCAL_YEAR, UDAT_REL_UNIT_YEAR},
        {UCAL_MONTH, UDAT_REL_UNIT_MONTH},
        {UCAL_WEEK_OF_YEAR, UDAT_REL_UNIT_WEEK},
        {UCAL_DATE, UDAT_REL_UNIT_DAY},
        {UCAL_HOUR_OF_DAY, UDAT_REL_UNIT_HOUR},
        {UCAL_MINUTE, UDAT_REL_UNIT_MINUTE},
        {UCAL_SECOND, UDAT_REL_UNIT_SECOND},
    }};
    int32_t count = 0;
    URelativeDateTimeUnit unit = UDAT_REL_UNIT_SECOND;
    for (const Step& step : steps) {
        count = calendar.fieldDifference(target, step.field, status);
        if (U_FAILURE(status)) return {};
        if (count != 0) {
            unit = step.unit;
            break;
        }
    }

    icu::RelativeDateTimeFormatter formatter(icuLocale, nullptr, UDAT_STYLE_NARROW,
                                             UDISPCTX_CAPITALIZATION_NONE, status);
    if (U_FAILURE(status)) return {};
    // Always the numeric phrase: zero reads "in 0s", never "now"; +0.0 counts as the future.
    icu::UnicodeString out;
    formatter.formatNumeric(double(count), unit, out, status);
    if (U_FAILURE(status)) return {};
    return toUtf8(out);
}

std::optional<std::string> formatCurrency(double value, std::string_view currencyCode,
                                          int maximumFractionDigits, std::string_view locale) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::NumberFormat> formatter(
        icu::NumberFormat::createInstance(toLocale(locale), UNUM_CURRENCY, status));
    if (U_FAILURE(status) || !formatter) return std::nullopt;
    icu::UnicodeString code = toUnicode(currencyCode);
    if (code.length() != 3) return std::nullopt;
    formatter->setCurrency(code.getTerminatedBuffer(), status);
    if (U_FAILURE(status)) return std::nullopt;
    // Lowering the maximum below the currency's own digits lowers the minimum with it,
    // as the platform's number formatter does ("$10,000", not "$10,000.00").
    formatter->setMaximumFractionDigits(maximumFractionDigits);
    formatter->setRoundingMode(icu::NumberFormat::kRoundHalfEven);
    icu::UnicodeString out;
    icu::FieldPosition position;
    formatter->format(value, out, position, status);
    if (U_FAILURE(status) || out.isEmpty()) return std::nullopt;
    return toUtf8(out);
}

std::string formatFixed(double value, int digits) {
    VELMORA_ASSERT(digits >= 0 && digits <= 100);
    // The widest finite double has 309 integer digits; sign, point and fraction on top.
    std::array<char, 320 + 100> buffer;
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                            std::chars_format::fixed, digits);
    VELMORA_ASSERT(error == std::errc());
    return std::string(buffer.data(), end);
}

std::string formatShortest(double value) {
    if (std::isnan(value)) return std::signbit(value) ? "-nan" : "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    if (value == 0) return std::signbit(value) ? "-0.0" : "0.0";

    // Shortest round-trip digits in scientific form: "-d.ddde±XX".
    std::array<char, 64> buffer;
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                            std::chars_format::scientific);
    VELMORA_ASSERT(error == std::errc());
    std::string scientific(buffer.data(), end);

    const bool negative = scientific.front() == '-';
    const std::size_t ePosition = scientific.find('e');
    std::string digits;
    for (std::size_t i = negative ? 1 : 0; i < ePosition; ++i) {
        if (scientific[i] != '.') digits += scientific[i];
    }
    const int exponent = std::atoi(scientific.c_str() + ePosition + 1);

    // value = 0.<digits> x 10^pointPosition. Very small values and values beyond the
    // integers a double holds exactly (2^53) print in exponent form, the rest in positional
    // form that always shows a fraction.
    const int pointPosition = exponent + 1;
    if (pointPosition < -3 || std::fabs(value) > 0x1.0p53) return scientific;

    std::string out = negative ? "-" : "";
    const int digitCount = int(digits.size());
    if (pointPosition <= 0) {
        out += "0.";
        out.append(std::size_t(-pointPosition), '0');
        out += digits;
    } else if (pointPosition < digitCount) {
        out += digits.substr(0, std::size_t(pointPosition));
        out += '.';
        out += digits.substr(std::size_t(pointPosition));
    } else {
        out += digits;
        out.append(std::size_t(pointPosition - digitCount), '0');
        out += ".0";
    }
    return out;
}

bool isKnownLocale(std::string_view locale) {
    const icu::Locale parsed = toLocale(locale);
    if (parsed.isBogus() || std::string_view(parsed.getLanguage()).empty()) return false;
    // ICU takes any well-formed id and falls back to its root data: known means ICU has data
    // for the language, and knows the country when one is named.
    const std::string_view language = parsed.getLanguage();
    const std::string_view country = parsed.getCountry();
    // The installed ids as ICU lists them ("en", "en_150", "zh_Hant_TW"): their strings, not
    // Locale objects, which would each be parsed and canonicalised again.
    bool languageKnown = false;
    const int32_t count = uloc_countAvailable();
    for (int32_t i = 0; i < count && !languageKnown; ++i) {
        const std::string_view id = uloc_getAvailable(i);
        languageKnown = id.substr(0, id.find('_')) == language;
    }
    if (!languageKnown) return false;
    if (country.empty()) return true;
    for (const char* const* known = icu::Locale::getISOCountries(); *known != nullptr; ++known)
        if (country == *known) return true;
    return false;
}

bool isKnownTimeZone(std::string_view timeZone) {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString canonical;
    UBool isSystemId = false;
    icu::TimeZone::getCanonicalID(toUnicode(timeZone), canonical, isSystemId, status);
    return U_SUCCESS(status) && isSystemId;
}

namespace {

std::string nonEmptyEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? std::string(value) : std::string();
}

}  // namespace

std::string userLocale() {
    std::string name = nonEmptyEnvironment("LC_ALL");
    if (name.empty()) name = nonEmptyEnvironment("LANG");
    // "de_DE.UTF-8@euro" names the locale "de_DE": drop the modifier, then the encoding.
    name = name.substr(0, name.find('@'));
    name = name.substr(0, name.find('.'));
    if (name.empty() || name == "C" || name == "POSIX") return "en_US";
    return name;
}

std::string userTimeZone() {
    // ICU reads TZ, else the system's zone (/etc/localtime). A TZ that names a zoneinfo file
    // ("/usr/share/zoneinfo/Asia/Tokyo", as glibc allows) comes back as that path.
    const std::unique_ptr<icu::TimeZone> host(icu::TimeZone::detectHostTimeZone());
    icu::UnicodeString id;
    if (host) host->getID(id);
    std::string zone;
    id.toUTF8String(zone);
    constexpr std::string_view marker = "zoneinfo/";
    if (const std::size_t at = zone.rfind(marker); at != std::string::npos)
        zone.erase(0, at + marker.size());
    return isKnownTimeZone(zone) ? zone : "UTC";
}

}  // namespace platform
