#pragma once

// The final string of a text view: a fixed text looked up in the string table and filled
// with its argument, a record's text as it is, then the environment's letter case.

#include "ui/View.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace ui {

// Translations of the views' fixed texts: locale ("de", "pt_BR") -> key -> translated text.
// A key is the English text itself, with its "%@" or "%lld" placeholder.
using StringTable =
    std::map<std::string, std::map<std::string, std::string, std::less<>>, std::less<>>;

// The extension's own table; it carries no translations yet, so every fixed text shows as
// written. Created once, never changed.
[[nodiscard]] const StringTable& builtInStringTable();

// The translation of `key` for `locale` (an ICU id such as "de_CH"): the full id first, then
// its language alone. None when the table has no entry.
[[nodiscard]] std::optional<std::string_view> lookUpTranslation(const StringTable& table,
                                                                std::string_view key,
                                                                std::string_view locale);

// `text` in upper or lower case by the full Unicode mapping of `locale` (so "i" upper-cases to
// "İ" in Turkish).
[[nodiscard]] std::string applyTextCase(std::string_view text, TextCase textCase,
                                        std::string_view locale);

// The string a text view shows. A localised key is translated (falling back to the key),
// then "%@" takes a text argument and "%lld" an integer argument in plain decimal; a verbatim
// text is kept as it is; then the letter case applies.
[[nodiscard]] std::string resolveText(const TextNode& text, std::optional<TextCase> textCase,
                                      std::string_view locale);
[[nodiscard]] std::string resolveText(const TextNode& text, std::optional<TextCase> textCase,
                                      std::string_view locale, const StringTable& table);

}  // namespace ui
