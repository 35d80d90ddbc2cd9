#pragma once

#include "layout/Geometry.h"
#include "layout/TextStyle.h"

#include <optional>
#include <string_view>

namespace layout {

struct TextMetrics {
    Size size;                 // of the wrapped (and possibly ellipsised) text
    double firstBaseline = 0;  // from the top of the text's frame
    double lastBaseline = 0;
    bool operator==(const TextMetrics&) const = default;
};

// Measures text as the painter will draw it. `width` absent: one line per paragraph, no
// wrapping (the ideal size). With a width the text wraps on word boundaries and, with a
// line limit, ends its last allowed line with "…".
class TextMeasurer {
public:
    virtual ~TextMeasurer() = default;
    [[nodiscard]] virtual TextMetrics measure(std::string_view text, const TextStyle& style,
                                              std::optional<double> width) const = 0;

    // The start of `text` that can show wrapped at `width` (absent: one line per paragraph) in
    // `height` (absent: any height) or, with the style's line limit, in that many lines: all of
    // it, or a start that reaches past the last line that can show, so that it measures and
    // draws those lines as the whole text would. Layout gives measure() and the painter no more
    // of a text than this. By default the estimate from the font's size (render/ShownText.h).
    [[nodiscard]] virtual std::string_view shownText(std::string_view text, const TextStyle& style,
                                                     std::optional<double> width,
                                                     std::optional<double> height) const;
};

}  // namespace layout
