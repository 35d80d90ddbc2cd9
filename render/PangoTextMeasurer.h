#pragma once

#include "layout/TextMeasurer.h"

#include <optional>
#include <string>
#include <string_view>

namespace render {

// Text measured as Pango sets it (render/PangoShaping.h): the system font is Inter, the
// monospaced design JetBrains Mono, at the font's size in points (1 pt = 1 user unit). Layout in
// points does not depend on the output: metrics are unhinted and glyph positions unrounded, so a
// text measures the same for PNG at any scale, SVG and PDF. Widths are rounded up to whole
// points (never past the proposed width) so that the painter, wrapping at the frame's width,
// breaks the lines the same way. The whole text given is measured: layout gives no more of it
// than its frame can show (shownText).
class PangoTextMeasurer final : public layout::TextMeasurer {
public:
    [[nodiscard]] layout::TextMetrics measure(std::string_view text, const layout::TextStyle& style,
                                              std::optional<double> width) const override;
    // Fills lines with the advances Pango gives the text's characters (PangoShaping.h).
    [[nodiscard]] std::string_view shownText(std::string_view text, const layout::TextStyle& style,
                                             std::optional<double> width,
                                             std::optional<double> height) const override;
};

// The process-wide measurer. Safe to use from several threads at once (each thread shapes with
// its own Pango context).
[[nodiscard]] const layout::TextMeasurer& pangoTextMeasurer();

// Starts Pango on this thread now. Pango reads the system's font configuration on a thread of
// its own and the first text waits for it: a caller that readies its first drawing meanwhile
// (reads the store, formats the dates) has it done sooner. Measuring needs no call.
void prepareTextMeasurer();

}  // namespace render
