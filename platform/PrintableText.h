#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

// Text from outside (what the user typed, what another process said) as one line of a log or an
// error message shows it: control characters (C0, DEL, C1) and bytes that are no UTF-8 written as
// escapes ("\n", "\t", "\x1B"), so that the line stays one and a terminal does nothing the text
// tells it; and, past `limit` bytes of `text`, cut where a character starts, "…" marking the cut.
[[nodiscard]] std::string printableText(std::string_view text, std::size_t limit);

// What an error line quotes of the user's input: printableText, cut at this many bytes, in
// double quotes ("\"later\"").
inline constexpr std::size_t quotedInputLimit = 120;
[[nodiscard]] std::string quotedInput(std::string_view text);

}  // namespace platform
