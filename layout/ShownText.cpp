#include "layout/ShownText.h"

#include <unicode/brkiter.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>

namespace layout {
namespace {

constexpr double narrowestAdvanceEm = 0.1;  // narrower than any visible glyph
constexpr double lowestLineEm = 0.5;        // lower than any line of any font
constexpr double sparePerLine = 2;          // characters
// The most bytes a tenth of an em of visible text takes: an emoji family with its joiners is 25
// bytes over an em and more, a syllable of the Indic scripts a dozen over half an em, a letter
// with its accents a few over half an em. More than this is a pile of combining marks, which
// shows as no more than a character and would cost Pango seconds to shape: it is cut by bytes.
constexpr double slotBytes = 8;

bool usable(const ui::Font& font) {
    return font.size > 0 && std::isfinite(font.size);
}

bool breaksLine(char c) {
    return c == '\n' || c == '\r';
}

// This thread's iterator over grapheme clusters, made once: its rules take a while to load.
icu::BreakIterator* clusterIterator() {
    thread_local const std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        return U_SUCCESS(status) ? std::move(made) : nullptr;
    }();
    return iterator.get();
}

// Where `text` leaves line `lines`, a line ending at a line break or after `perLine` grapheme
// clusters; the end when it does not. Reads no further than `limit` bytes (a character
// boundary).
std::size_t cutAfterLines(std::string_view text, double perLine, double lines, std::size_t limit) {
    if (!std::isfinite(perLine)) {  // unwrapped: only line breaks end lines
        double line = 1;
        for (std::size_t i = 0; i < limit; ++i) {
            if (!breaksLine(text[i])) continue;
            if (text[i] == '\r' && i + 1 < limit && text[i + 1] == '\n') ++i;
            if (++line > lines) return i + 1;
        }
        return limit;
    }
    icu::BreakIterator* clusters = clusterIterator();
    if (clusters == nullptr) return limit;
    UErrorCode status = U_ZERO_ERROR;
    UText* utext = utext_openUTF8(nullptr, text.data(), std::int64_t(limit), &status);
    clusters->setText(utext, status);  // a shallow copy: the text must outlive the walk only
    utext_close(utext);
    if (U_FAILURE(status)) return limit;
    double line = 1, inLine = 0;
    std::int32_t last = 0;  // where the last cluster read starts
    for (std::int32_t start = clusters->first(), end = clusters->next();
         end != icu::BreakIterator::DONE; start = end, end = clusters->next()) {
        if (inLine >= perLine) {
            ++line;
            inLine = 0;
        }
        if (line > lines) return std::size_t(start);
        if (breaksLine(text[std::size_t(start)])) {
            ++line;
            inLine = 0;
        } else {
            ++inLine;
        }
        last = start;
    }
    // Cut short by bytes: the last cluster read may go on past them, and is left out unless it
    // is all there is.
    if (limit < text.size() && last > 0) return std::size_t(last);
    return limit;
}

}  // namespace

double linesToShow(const TextStyle& style, std::optional<double> height, double lowestLine) {
    if (style.lineLimit) return double(std::max(*style.lineLimit, 1)) + 1;
    if (!height || !(lowestLine > 0) || std::isnan(*height))
        return std::numeric_limits<double>::infinity();
    return std::floor(std::max(*height, 0.0) / lowestLine) + 2;
}

std::string_view estimatedShownText(std::string_view text, const TextStyle& style,
                                    std::optional<double> width, std::optional<double> height) {
    const ui::Font& font = style.font;
    if (!usable(font)) return text;
    const double lines = linesToShow(style, height, lowestLineEm * font.size);
    if (!(lines < std::numeric_limits<double>::infinity())) return text;
    const double perLine =
        width && std::isfinite(*width)
            ? std::floor(std::max(*width, 0.0) / (narrowestAdvanceEm * font.size)) + sparePerLine
            : std::numeric_limits<double>::infinity();
    // Short texts, the widgets' own and nearly every record's, fit as they are.
    const auto size = double(text.size());
    if (size <= perLine && double(std::count_if(text.begin(), text.end(), breaksLine)) + 1 <= lines)
        return text;

    // No more than the lines can hold, nor than the break iterator can count.
    const double readable =
        std::min(lines * perLine * slotBytes, double(std::numeric_limits<std::int32_t>::max()));
    std::size_t limit = text.size();
    if (readable < size) {
        auto bytes = std::int32_t(readable);
        U8_SET_CP_START(reinterpret_cast<const std::uint8_t*>(text.data()), 0, bytes);
        limit = std::size_t(bytes);
    }
    return text.substr(0, cutAfterLines(text, perLine, lines, limit));
}

}  // namespace layout
