#include "ui/LocalizedString.h"

#include <unicode/locid.h>
#include <unicode/stringpiece.h>
#include <unicode/unistr.h>

#include <charconv>
#include <cstdint>
#include <variant>

namespace ui {

namespace {

std::string decimal(std::int64_t value) {
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::string argumentText(const LocalizedStringKey::Argument& argument) {
    if (const auto* text = std::get_if<std::string>(&argument)) return *text;
    return decimal(std::get<std::int64_t>(argument));
}

// Fills a format with its one argument as the platform's string formatting does: "%@" and
// "%lld" (also numbered, "%1$@") take the argument, "%%" is a percent sign; anything else
// is kept as written.
std::string format(std::string_view pattern, const LocalizedStringKey::Argument& argument) {
    std::string out;
    out.reserve(pattern.size() + 16);
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != '%' || i + 1 == pattern.size()) {
            out += pattern[i];
            continue;
        }
        std::string_view rest = pattern.substr(i + 1);
        if (rest.front() == '%') {
            out += '%';
            ++i;
            continue;
        }
        std::size_t skipped = 0;
        if (rest.starts_with("1$")) {
            rest.remove_prefix(2);
            skipped = 2;
        }
        if (rest.starts_with("@")) {
            out += argumentText(argument);
            i += skipped + 1;
        } else if (rest.starts_with("lld")) {
            out += argumentText(argument);
            i += skipped + 3;
        } else {
            out += '%';
        }
    }
    return out;
}

std::string_view languageOf(std::string_view locale) {
    const auto end = locale.find_first_of("_-@.");
    return end == std::string_view::npos ? locale : locale.substr(0, end);
}

}  // namespace

const StringTable& builtInStringTable() {
    static const StringTable table{};
    return table;
}

std::optional<std::string_view> lookUpTranslation(const StringTable& table, std::string_view key,
                                                  std::string_view locale) {
    for (std::string_view id : {locale, languageOf(locale)}) {
        const auto strings = table.find(id);
        if (strings == table.end()) continue;
        const auto found = strings->second.find(key);
        if (found != strings->second.end()) return std::string_view(found->second);
    }
    return std::nullopt;
}

std::string applyTextCase(std::string_view text, TextCase textCase, std::string_view locale) {
    icu::UnicodeString unicode =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), std::int32_t(text.size())));
    const icu::Locale icuLocale(std::string(locale).c_str());
    if (textCase == TextCase::uppercase)
        unicode.toUpper(icuLocale);
    else
        unicode.toLower(icuLocale);
    std::string out;
    unicode.toUTF8String(out);
    return out;
}

std::string resolveText(const TextNode& text, std::optional<TextCase> textCase,
                        std::string_view locale) {
    return resolveText(text, textCase, locale, builtInStringTable());
}

std::string resolveText(const TextNode& text, std::optional<TextCase> textCase,
                        std::string_view locale, const StringTable& table) {
    std::string shown;
    if (const auto* key = std::get_if<LocalizedStringKey>(&text.content)) {
        const std::string_view pattern =
            lookUpTranslation(table, key->key, locale).value_or(std::string_view(key->key));
        shown = key->argument ? format(pattern, *key->argument) : std::string(pattern);
    } else {
        shown = std::get<Verbatim>(text.content).text;
    }
    if (textCase) return applyTextCase(shown, *textCase, locale);
    return shown;
}

}  // namespace ui
