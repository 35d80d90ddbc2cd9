#include "records/JSONDecoder.h"

#include "platform/Date.h"

#include <unicode/utf8.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace AppGroupContainer {
namespace {

using Json = nlohmann::json;

// "a string", "an array": how a fault names the JSON type it found.
std::string_view typeName(const Json& value) {
    switch (value.type()) {
        case Json::value_t::null:
            return "null";
        case Json::value_t::object:
            return "an object";
        case Json::value_t::array:
            return "an array";
        case Json::value_t::string:
            return "a string";
        case Json::value_t::boolean:
            return "a boolean";
        case Json::value_t::number_integer:
        case Json::value_t::number_unsigned:
        case Json::value_t::number_float:
            return "a number";
        case Json::value_t::binary:
        case Json::value_t::discarded:
            break;
    }
    return "a value";
}

std::string shortest(double value) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

// What a fault quotes of a found text or number: at most 64 bytes, cut at a character
// boundary, "…" marking the cut. A record is small; whatever is long is no record's.
std::string excerpt(std::string_view text) {
    constexpr std::int32_t limit = 64;
    if (text.size() <= static_cast<std::size_t>(limit)) return std::string(text);
    std::int32_t cut = limit;
    U8_SET_CP_START(reinterpret_cast<const std::uint8_t*>(text.data()), 0, cut);
    return std::string(text.substr(0, static_cast<std::size_t>(cut))) + "…";
}

// A found string as a fault quotes it: JSON-escaped, long texts cut.
std::string quotedExcerpt(std::string_view text) {
    return Json(excerpt(text)).dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Hands the text to the parser and keeps how far it has read, so that a fault the parser does
// not place itself (nesting too deep) can say where it is.
class TrackedReader {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    TrackedReader(const char* at, const char** furthest) : m_at(at), m_furthest(furthest) {}
    reference operator*() const { return *m_at; }
    TrackedReader& operator++() {
        *m_furthest = ++m_at;
        return *this;
    }
    TrackedReader operator++(int) {
        TrackedReader before = *this;
        ++*this;
        return before;
    }
    bool operator==(const TrackedReader& other) const { return m_at == other.m_at; }

private:
    const char* m_at;
    const char** m_furthest;
};

// Builds the value as nlohmann's own DOM parser does, and stops the parser at the first array
// or object nested deeper than the limit, before anything below it is built.
class DepthLimitedBuilder : public nlohmann::detail::json_sax_dom_parser<Json> {
public:
    explicit DepthLimitedBuilder(Json& root) : json_sax_dom_parser(root, true) {}

    bool start_object(std::size_t size) {
        return enter() && json_sax_dom_parser::start_object(size);
    }
    bool start_array(std::size_t size) { return enter() && json_sax_dom_parser::start_array(size); }
    bool end_object() {
        --m_depth;
        return json_sax_dom_parser::end_object();
    }
    bool end_array() {
        --m_depth;
        return json_sax_dom_parser::end_array();
    }

private:
    bool enter() { return ++m_depth <= JSONDecoder::depthLimit; }

    int m_depth = 0;
};

// Runs a SAX handler over the text: the document's size, its syntax and its depth are checked
// here (a handler returns false only when a value nests too deep), whatever the handler builds.
template <typename Handler>
platform::Result<void> saxParse(std::string_view text, Handler& handler) {
    if (text.size() > JSONDecoder::documentSizeLimit)
        return platform::Error{"document of " + std::to_string(text.size()) +
                               " bytes exceeds the " +
                               std::to_string(JSONDecoder::documentSizeLimit >> 20) + " MiB limit"};
    const char* furthest = text.data();
    try {
        // Faults of the text itself are thrown; the handler stops the parser only for depth,
        // just after it has read the bracket that opens the value too deep.
        if (Json::sax_parse(TrackedReader(text.data(), &furthest),
                            TrackedReader(text.data() + text.size(), &furthest), &handler))
            return {};
        return platform::Error{"nested deeper than " + std::to_string(JSONDecoder::depthLimit) +
                               " levels at offset " + std::to_string(furthest - text.data() - 1)};
    } catch (const Json::parse_error& fault) {
        // `byte` counts from 1 and points at the character that stopped the parser.
        const std::size_t offset = fault.byte > 0 ? fault.byte - 1 : 0;
        return platform::Error{"not valid JSON at offset " + std::to_string(offset)};
    } catch (const Json::exception& fault) {
        // A number beyond the double range, the one fault that comes without an offset. Its
        // text may be as long as the document: the description quotes its start.
        std::string_view what = fault.what();
        const auto open = what.find('\''), close = what.rfind('\'');
        if (open != std::string_view::npos && close > open)
            return platform::Error{"not valid JSON: number overflow parsing '" +
                                   excerpt(what.substr(open + 1, close - open - 1)) + "'"};
        if (auto end = what.find("] "); end != std::string_view::npos) what.remove_prefix(end + 2);
        return platform::Error{"not valid JSON: " + excerpt(what)};
    }
}

platform::Result<Json> parse(std::string_view text) {
    Json value;
    DepthLimitedBuilder builder(value);
    if (auto parsed = saxParse(text, builder); !parsed) return parsed.error();
    return value;
}

// The shape of a document that should be a list, read without building it: the type of its
// value and, for an array, how many items it holds. Stops at the first value nested too deep.
class ListShape {
public:
    bool null() { return value(Json::value_t::null); }
    bool boolean(bool) { return value(Json::value_t::boolean); }
    bool number_integer(Json::number_integer_t) { return value(Json::value_t::number_integer); }
    bool number_unsigned(Json::number_unsigned_t) { return value(Json::value_t::number_unsigned); }
    bool number_float(Json::number_float_t, const std::string&) {
        return value(Json::value_t::number_float);
    }
    bool string(std::string&) { return value(Json::value_t::string); }
    bool binary(Json::binary_t&) { return value(Json::value_t::binary); }
    bool start_object(std::size_t) { return value(Json::value_t::object) && enter(); }
    bool key(std::string&) { return true; }
    bool end_object() { return leave(); }
    bool start_array(std::size_t) { return value(Json::value_t::array) && enter(); }
    bool end_array() { return leave(); }
    template <typename Exception>
    bool parse_error(std::size_t, const std::string&, const Exception& fault) {
        throw fault;
    }

    Json::value_t type = Json::value_t::discarded;
    std::size_t items = 0;

private:
    bool value(Json::value_t found) {
        if (m_depth == 0) type = found;
        if (m_depth == 1 && type == Json::value_t::array) ++items;
        return true;
    }
    bool enter() { return ++m_depth <= JSONDecoder::depthLimit; }
    bool leave() {
        --m_depth;
        return true;
    }

    int m_depth = 0;
};

template <typename Record>
platform::Result<Record> decodeRecord(const Json& value, std::string path);

template <typename T>
constexpr bool isOptional = false;
template <typename T>
constexpr bool isOptional<std::optional<T>> = true;

// The fewest bytes of JSON a record's object takes: its braces and, for each required member,
// its quoted key, a colon, the shortest value of its type and a comma.
template <typename Record>
std::size_t leastObjectBytes() {
    std::size_t bytes = 2;
    forEachField<Record>([&](const auto& field) {
        using Value = std::remove_cvref_t<decltype(std::declval<Record>().*(field.member))>;
        if constexpr (!isOptional<Value>)
            bytes += field.key.size() + 3 + (std::is_same_v<Value, std::string> ? 2 : 1) + 1;
    });
    return bytes;
}

// Decodes the items of a top-level array one at a time: each item is built as nlohmann's DOM
// parser builds a value, decoded into a row and dropped, so that a list of a megabyte never
// stands as a document in memory. The text has been checked whole before (ListShape); the first
// row that does not decode stops the parser.
class RowReader {
public:
    explicit RowReader(std::vector<WatchlistRow>& rows) : m_rows(rows) {}

    bool null() { return m_depth > 1 ? m_item->null() : scalar(nullptr); }
    bool boolean(bool b) { return m_depth > 1 ? m_item->boolean(b) : scalar(b); }
    bool number_integer(Json::number_integer_t n) {
        return m_depth > 1 ? m_item->number_integer(n) : scalar(n);
    }
    bool number_unsigned(Json::number_unsigned_t n) {
        return m_depth > 1 ? m_item->number_unsigned(n) : scalar(n);
    }
    bool number_float(Json::number_float_t n, const std::string& text) {
        return m_depth > 1 ? m_item->number_float(n, text) : scalar(n);
    }
    bool string(std::string& text) { return m_depth > 1 ? m_item->string(text) : scalar(text); }
    bool binary(Json::binary_t& bytes) { return m_depth > 1 ? m_item->binary(bytes) : true; }
    bool start_object(std::size_t size) {
        if (++m_depth == 1) return true;  // the list itself is an array; this never comes
        if (m_depth == 2) m_item.emplace(m_value, true);
        return m_item->start_object(size);
    }
    bool key(std::string& name) { return m_item->key(name); }
    bool end_object() { return leave(m_item->end_object()); }
    bool start_array(std::size_t size) {
        if (++m_depth == 1) return true;  // the list
        if (m_depth == 2) m_item.emplace(m_value, true);
        return m_item->start_array(size);
    }
    bool end_array() {
        if (m_depth == 1) return leave(true);
        return leave(m_item->end_array());
    }
    template <typename Exception>
    bool parse_error(std::size_t, const std::string&, const Exception& fault) {
        throw fault;
    }

    std::optional<platform::Error> fault;

private:
    using Builder = nlohmann::detail::json_sax_dom_parser<Json>;

    // An item that is no object, which no row decodes from.
    template <typename Value>
    bool scalar(const Value& value) {
        m_value = Json(value);
        return decoded();
    }
    bool leave(bool built) {
        if (--m_depth == 1 && built) return decoded();
        return built;
    }
    bool decoded() {
        auto row = decodeRecord<WatchlistRow>(m_value, "[" + std::to_string(m_rows.size()) + "]");
        m_item.reset();
        m_value = Json();
        if (!row) {
            fault = std::move(row).error();
            return false;
        }
        m_rows.push_back(std::move(row).value());
        return true;
    }

    std::vector<WatchlistRow>& m_rows;
    Json m_value;  // the item being read
    std::optional<Builder> m_item;
    int m_depth = 0;
};

// An offset can carry a date in year 0000 or 9999 across the turn of the year in UTC, where
// the writing form (four-digit years, UTC) cannot write it back: such an instant is no record
// date, or a record read and written again by the host app would no longer decode.
bool writable(platform::Date date) {
    using namespace std::chrono;
    constexpr auto first = sys_days(year(0) / January / 1);
    constexpr auto afterLast = sys_days(year(10000) / January / 1);
    return date >= first && date < afterLast;
}

// Reads the members of one JSON object into a record's fields. `path` names the object inside
// the whole value: empty for the top level, "[2]" for the third element of a list. The first
// fault is kept; every read after it fails at once.
class FieldReader {
public:
    FieldReader(const Json& object, std::string path) : m_object(object), m_path(std::move(path)) {}

    bool read(std::string_view key, std::string& out) {
        const Json* value = required(key);
        if (value == nullptr || !expect(key, *value, value->is_string(), "a string")) return false;
        out = value->get_ref<const std::string&>();
        return true;
    }

    bool read(std::string_view key, std::optional<std::string>& out) {
        const Json* value = optional(key);
        if (value == nullptr) return !m_error;
        if (!expect(key, *value, value->is_string(), "a string")) return false;
        out = value->get_ref<const std::string&>();
        return true;
    }

    bool read(std::string_view key, double& out) {
        const Json* value = required(key);
        if (value == nullptr || !expect(key, *value, value->is_number(), "a number")) return false;
        out = value->get<double>();
        return true;
    }

    bool read(std::string_view key, std::optional<double>& out) {
        const Json* value = optional(key);
        if (value == nullptr) return !m_error;
        if (!expect(key, *value, value->is_number(), "a number")) return false;
        out = value->get<double>();
        return true;
    }

    // An integral number within the 64-bit signed range, read as the parser typed it: a
    // signed or unsigned integer literal exactly, a number with a fraction or exponent (3.0,
    // 1e2) when its double is a whole number strictly inside the range. Integer literals below
    // the range reach us as doubles too, rounded to -2^63 at best, so that value is refused
    // with them rather than clamped.
    bool read(std::string_view key, std::int64_t& out) {
        const Json* value = required(key);
        if (value == nullptr || !expect(key, *value, value->is_number(), "an integer"))
            return false;
        switch (value->type()) {
            case Json::value_t::number_integer:
                out = value->get<std::int64_t>();
                return true;
            case Json::value_t::number_unsigned: {
                const auto unsignedValue = value->get<std::uint64_t>();
                if (unsignedValue >
                    static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
                    return fail(
                        key, std::to_string(unsignedValue) + " is out of the 64-bit integer range");
                out = static_cast<std::int64_t>(unsignedValue);
                return true;
            }
            default:
                break;
        }
        const double real = value->get<double>();
        if (std::trunc(real) != real) return fail(key, shortest(real) + " is not an integer");
        // 2^63 is a double; every whole double strictly between -2^63 and 2^63 is an int64.
        constexpr double bound = 9223372036854775808.0;
        if (!(real > -bound && real < bound))
            return fail(key, shortest(real) + " is out of the 64-bit integer range");
        out = static_cast<std::int64_t>(real);
        return true;
    }

    bool read(std::string_view key, platform::Date& out) {
        const Json* value = required(key);
        if (value == nullptr) return false;
        // RFC 3339 internet date-times, the only form the records use.
        std::optional<platform::Date> parsed;
        if (value->is_string())
            parsed = platform::parseRecordDate(value->get_ref<const std::string&>());
        if (parsed && !writable(*parsed))
            return fail(key, quotedExcerpt(value->get_ref<const std::string&>()) +
                                 " falls outside the years 0000 to 9999 in UTC");
        if (parsed) {
            out = *parsed;
            return true;
        }
        return fail(key,
                    "expected an RFC 3339 date-time, found " +
                        (value->is_string() ? quotedExcerpt(value->get_ref<const std::string&>())
                                            : std::string(typeName(*value))));
    }

    [[nodiscard]] platform::Error error() && { return std::move(*m_error); }

private:
    // The member under `key`, or a "missing key" fault. Null stays a value here: a required
    // member that is null fails its type check.
    const Json* required(std::string_view key) {
        if (m_error) return nullptr;
        const auto found = m_object.find(key);
        if (found == m_object.end()) {
            std::string description = m_path.empty() ? std::string() : m_path + ": ";
            description += "missing key \"" + std::string(key) + "\"";
            m_error = platform::Error{std::move(description)};
            return nullptr;
        }
        return &*found;
    }

    // The member under `key` when present and not null; absent and null both give nothing.
    const Json* optional(std::string_view key) const {
        if (m_error) return nullptr;
        const auto found = m_object.find(key);
        return found == m_object.end() || found->is_null() ? nullptr : &*found;
    }

    bool expect(std::string_view key, const Json& value, bool matches, std::string_view expected) {
        if (matches) return true;
        return fail(
            key, "expected " + std::string(expected) + ", found " + std::string(typeName(value)));
    }

    bool fail(std::string_view key, std::string_view fault) {
        std::string description = m_path.empty() ? std::string() : m_path + ".";
        description.append(key).append(": ").append(fault);
        m_error = platform::Error{std::move(description)};
        return false;
    }

    const Json& m_object;
    std::string m_path;
    std::optional<platform::Error> m_error;
};

// Every record decodes from one object; `path` says where that object sits.
platform::Result<void> checkObject(const Json& value, const std::string& path) {
    if (value.is_object()) return {};
    std::string description = path.empty() ? std::string() : path + ": ";
    description += "expected an object, found " + std::string(typeName(value));
    return platform::Error{std::move(description)};
}

// A record from one object, field by field in field order; the first fault ends it.
template <typename Record>
platform::Result<Record> decodeRecord(const Json& value, std::string path) {
    if (auto checked = checkObject(value, path); !checked) return checked.error();
    FieldReader reader(value, std::move(path));
    Record record;
    bool read = true;
    forEachField<Record>(
        [&](const auto& field) { read = read && reader.read(field.key, record.*(field.member)); });
    if (read) return record;
    return std::move(reader).error();
}

}  // namespace

template <>
platform::Result<DailyBrief> JSONDecoder::decode<DailyBrief>(std::string_view json) const {
    const auto value = parse(json);
    if (!value) return value.error();
    return decodeRecord<DailyBrief>(*value, {});
}

template <>
platform::Result<PortfolioSnapshot> JSONDecoder::decode<PortfolioSnapshot>(
    std::string_view json) const {
    const auto value = parse(json);
    if (!value) return value.error();
    return decodeRecord<PortfolioSnapshot>(*value, {});
}

template <>
platform::Result<WatchlistRow> JSONDecoder::decode<WatchlistRow>(std::string_view json) const {
    const auto value = parse(json);
    if (!value) return value.error();
    return decodeRecord<WatchlistRow>(*value, {});
}

template <>
platform::Result<std::vector<WatchlistRow>> JSONDecoder::decode<std::vector<WatchlistRow>>(
    std::string_view json) const {
    // Checked whole and counted first, so that the rows take their memory once.
    ListShape shape;
    if (auto checked = saxParse(json, shape); !checked) return checked.error();
    if (shape.type != Json::value_t::array)
        return platform::Error{"expected an array, found " +
                               std::string(typeName(Json(shape.type)))};
    std::vector<WatchlistRow> rows;
    // As many rows as the items, but no more than the text could hold: an item of the list may
    // be two bytes, a row no fewer than its required members take.
    rows.reserve(std::min(shape.items, json.size() / leastObjectBytes<WatchlistRow>()));
    RowReader reader(rows);
    if (auto read = saxParse(json, reader); !read)
        return reader.fault ? *reader.fault : read.error();
    return rows;
}

}  // namespace AppGroupContainer
