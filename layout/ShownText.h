#pragma once

// How much of a text can show. Pango itemises and shapes the whole of a text even when only
// its first lines can show, and breaks a long word into lines in time that grows with the
// square of its length, so a text of thousands of characters (a damaged record) took seconds
// each time it was measured or drawn. Layout and the painter give Pango only the start of a
// text that its frame and line limit can show, with room to spare: every line shown is shown
// as for the whole text. A measurer says how much that is (TextMeasurer::shownText); this is
// the estimate from the font's size alone, which bounds the work of any finer answer.

#include "layout/TextStyle.h"

#include <optional>
#include <string_view>

namespace layout {

// The lines of a text in `style` that can show in `height` (absent: any height), no line being
// lower than `lowestLine` points: with a line limit, the limit and one more (the start of the
// line after the last keeps its ellipsis); without, as many as the height holds and two more
// (the one it cuts, and the start of the next).
[[nodiscard]] double linesToShow(const TextStyle& style, std::optional<double> height,
                                 double lowestLine);

// The start of `text` that can show wrapped at `width` (absent: one line per paragraph) in
// `height` or the style's line limit (see linesToShow), estimated for any font: no line is
// lower than half an em, nor holds more characters (grapheme clusters) than its width holds at
// a tenth of an em each (narrower than any visible glyph of either font), nor more than eight
// bytes for each of those tenths (piles of combining marks are cut by bytes), and every line
// break ends a line. The cut falls between two grapheme clusters, so no character is broken,
// unless a single cluster is longer than the bytes allowed; cutting again gives the same text.
[[nodiscard]] std::string_view estimatedShownText(std::string_view text, const TextStyle& style,
                                                  std::optional<double> width,
                                                  std::optional<double> height);

}  // namespace layout
