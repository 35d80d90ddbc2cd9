#include "platform/Date.h"

#include "platform/Fatal.h"

#include <cstdio>

namespace platform {
namespace {

using namespace std::chrono;

// A cursor over the text that reads fixed-width digit groups and single characters.
class Reader {
public:
    explicit Reader(std::string_view text) : m_text(text) {}

    bool digits(int count, int& value) {
        if (m_text.size() - m_pos < static_cast<std::size_t>(count)) return false;
        value = 0;
        for (int i = 0; i < count; ++i) {
            const char c = m_text[m_pos + i];
            if (c < '0' || c > '9') return false;
            value = value * 10 + (c - '0');
        }
        m_pos += count;
        return true;
    }

    bool character(char expected) {
        if (m_pos >= m_text.size() || m_text[m_pos] != expected) return false;
        ++m_pos;
        return true;
    }

    [[nodiscard]] bool atEnd() const { return m_pos == m_text.size(); }
    [[nodiscard]] char peek() const { return m_pos < m_text.size() ? m_text[m_pos] : '\0'; }
    void advance() { ++m_pos; }

private:
    std::string_view m_text;
    std::size_t m_pos = 0;
};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Fractional seconds after the full stop: one digit at least; digits past the microsecond
// are cut off (an instant here has microsecond resolution).
bool readFraction(Reader& reader, microseconds& fraction) {
    if (!isDigit(reader.peek())) return false;
    long long micros = 0;
    int used = 0;
    while (isDigit(reader.peek())) {
        if (used < 6) {
            micros = micros * 10 + (reader.peek() - '0');
            ++used;
        }
        reader.advance();
    }
    for (; used < 6; ++used) micros *= 10;
    fraction = microseconds(micros);
    return true;
}

// Z, z, or a signed offset +HH:MM, +HHMM, +HH. The offset is how far local time is ahead of UTC.
bool readZone(Reader& reader, minutes& offset) {
    if (reader.character('Z') || reader.character('z')) {
        offset = minutes(0);
        return true;
    }
    int sign = 0;
    if (reader.character('+'))
        sign = 1;
    else if (reader.character('-'))
        sign = -1;
    else
        return false;
    int hh = 0;
    int mm = 0;
    if (!reader.digits(2, hh)) return false;
    // The minutes follow a colon, or directly when anything follows the hours.
    if ((reader.character(':') || !reader.atEnd()) && !reader.digits(2, mm)) return false;
    if (hh > 23 || mm > 59) return false;
    offset = minutes(sign * (hh * 60 + mm));
    return true;
}

std::optional<Date> parse(std::string_view text, bool allowFraction) {
    Reader reader(text);
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (!reader.digits(4, year) || !reader.character('-') || !reader.digits(2, month) ||
        !reader.character('-') || !reader.digits(2, day) || !reader.character('T') ||
        !reader.digits(2, hour) || !reader.character(':') || !reader.digits(2, minute) ||
        !reader.character(':') || !reader.digits(2, second))
        return std::nullopt;

    microseconds fraction{0};
    if (reader.peek() == '.') {
        if (!allowFraction) return std::nullopt;
        reader.advance();
        if (!readFraction(reader, fraction)) return std::nullopt;
    }
    minutes offset{0};
    if (!readZone(reader, offset) || !reader.atEnd()) return std::nullopt;

    const year_month_day date{std::chrono::year(year), std::chrono::month(month),
                              std::chrono::day(day)};
    if (!date.ok() || hour > 23 || minute > 59 || second > 59) return std::nullopt;

    return Date(sys_days(date)) + hours(hour) + minutes(minute) + seconds(second) + fraction -
           offset;
}

}  // namespace

std::optional<Date> parseRecordDate(std::string_view text) {
    return parse(text, false);
}

std::optional<Date> parseCommandLineDate(std::string_view text) {
    return parse(text, true);
}

std::string formatDate(Date date) {
    VELMORA_ASSERT(date >= firstDate && date < endOfDates);
    const auto day = floor<days>(date);
    const year_month_day ymd{day};
    const hh_mm_ss time{date - day};

    char buffer[64];
    int length = std::snprintf(
        buffer, sizeof buffer, "%04d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(ymd.year()),
        static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()),
        static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
        static_cast<int>(time.seconds().count()));
    std::string text(buffer, static_cast<std::size_t>(length));

    long long micros = time.subseconds().count();
    if (micros != 0) {
        char fraction[8];
        std::snprintf(fraction, sizeof fraction, ".%06lld", micros);
        std::string digits(fraction);
        while (digits.back() == '0') digits.pop_back();
        text += digits;
    }
    text += 'Z';
    return text;
}

}  // namespace platform
