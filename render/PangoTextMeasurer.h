#pragma once

#include "render/DrawList.h"
#include "render/TextMeasurer.h"

#include <optional>
#include <string>
#include <string_view>

namespace render {

// Text set with Pango: the system font is Inter, the monospaced design JetBrains Mono, at the
// font's size in points (1 pt = 1 user unit). Layout in points does not depend on the output:
// metrics are unhinted and glyph positions unrounded, so a text measures the same for PNG at
// any scale, SVG and PDF. Widths are rounded up to whole points (never past the proposed width)
// so that the painter, wrapping at the frame's width, breaks the lines the same way.
class PangoTextMeasurer final : public TextMeasurer {
public:
    [[nodiscard]] TextMetrics measure(std::string_view text, const TextStyle& style,
                                      std::optional<double> width) const override;
};

// The process-wide measurer. Safe to use from several threads at once (each thread shapes with
// its own Pango context).
[[nodiscard]] const TextMeasurer& pangoTextMeasurer();

// What Pango made of a text, for tests and diagnostics.
struct TextLayoutFacts {
    int lineCount = 0;
    bool ellipsized = false;  // the text was cut and ends with "…"
    std::string family;       // of the font that sets the first character
    bool operator==(const TextLayoutFacts&) const = default;
};
[[nodiscard]] TextLayoutFacts describeTextLayout(std::string_view text, const TextStyle& style,
                                                 std::optional<double> width);

namespace detail {

// The painter's Cairo context, passed through by pointer so that Cairo stays out of headers.
struct CairoContext;

// Draws the text of `command` on `cairo` with the very layout that measure() builds, wrapped at
// the frame's width, its top-left corner at the frame's origin.
void drawText(CairoContext* cairo, const DrawText& command);

}  // namespace detail
}  // namespace render
