#include "style/SignalColor.h"

#include "style/Palette.h"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <string>

namespace style {

using namespace ui;

namespace {

// The platform's whitespace set for trimming: the space separators and the tab. Line breaks
// (U+000A, U+2028, ...) are not in it.
bool isTrimmedSpace(UChar32 c) {
    return c == u'\t' || u_charType(c) == U_SPACE_SEPARATOR;
}

// Trimmed of spaces and tabs at both ends, then fully lower-cased (root locale), as UTF-8.
std::string normalised(std::string_view signal) {
    icu::UnicodeString text =
        icu::UnicodeString::fromUTF8(icu::StringPiece(signal.data(), int32_t(signal.size())));
    int32_t start = 0;
    int32_t end = text.length();
    while (start < end && isTrimmedSpace(text.char32At(start))) start = text.moveIndex32(start, 1);
    while (end > start) {
        const int32_t last = text.moveIndex32(end, -1);
        if (!isTrimmedSpace(text.char32At(last))) break;
        end = last;
    }
    icu::UnicodeString trimmed(text, start, end - start);
    trimmed.toLower(icu::Locale::getRoot());
    std::string out;
    trimmed.toUTF8String(out);
    return out;
}

}  // namespace

Color signalColor(std::optional<std::string_view> signal) {
    if (!signal) return Palette::neutral;
    const std::string text = normalised(*signal);
    // Substring tests on UTF-8 are safe here: an ASCII phrase can only match whole characters.
    if (text.find("strong buy") != std::string::npos) return Palette::bullish;
    if (text == "buy") return Palette::bullish;
    if (text.find("strong sell") != std::string::npos) return Palette::bearish;
    if (text == "sell") return Palette::bearish;
    return Palette::neutral;
}

}  // namespace style
