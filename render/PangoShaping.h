#pragma once

// Text set with Pango, shared by the measurer (render/PangoTextMeasurer.h) and the text painter
// (render/PangoTextPainter.h): one Pango context per thread, and the one place where a text's
// layout is configured, so that measuring and drawing see the same lines. Internal to render/.

#include "layout/Geometry.h"
#include "layout/TextStyle.h"
#include "ui/Font.h"
#include "ui/View.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace render::detail {

// A Pango layout, opaque here so that Pango stays out of headers: the files that include Pango
// cast it back (pangoLayout() in PangoShaping.cpp).
struct PangoText;
struct PangoTextRelease {
    void operator()(PangoText* text) const;
};
using PangoTextPtr = std::unique_ptr<PangoText, PangoTextRelease>;

struct ShapedText {
    PangoTextPtr layout;
    bool cutByHand = false;  // several paragraphs, cut after the line limit and marked "…"
};

// Makes this thread's Pango context now (see prepareTextMeasurer()).
void preparePango();

// `text` set in `style` with this thread's Pango context: the system font is Inter, the
// monospaced design JetBrains Mono, 1 pt to the unit, unhinted. Wrapped at `width` on word
// boundaries (absent or infinite: one line per paragraph); with a line limit, the last allowed
// line ends in "…" when text was left over.
[[nodiscard]] ShapedText shapeText(std::string_view text, const layout::TextStyle& style,
                                   std::optional<double> width);

// The start of `text` that can show (see TextMeasurer::shownText), as Pango sets it: the estimate
// (render/ShownText.h) bounds the work; within it, lines are filled cluster by cluster with
// the advances Pango gives them on one line (white space hangs past a line's end, as Pango lets
// it), and no line is lower than the lowest font that sets the text. Line breaking on words
// fits no more than that in a line, so the lines shown are those of the whole text.
[[nodiscard]] std::string_view shownByPango(std::string_view text, const layout::TextStyle& style,
                                            std::optional<double> width,
                                            std::optional<double> height);

// A text as drawn in `frame`: shaped at the frame's width, cut to the lines that fit its height
// (at least one), and given to Pango only as far as those lines can reach.
[[nodiscard]] PangoTextPtr shapeForFrame(std::string_view text, const layout::TextStyle& style,
                                         const layout::Rect& frame);

// What a text's shaping depends on, for the per-thread caches of what was measured and drawn.
struct ShapingKey {
    std::string text;
    ui::Font font;
    std::optional<int> lineLimit;
    ui::TextAlignment alignment = ui::TextAlignment::leading;
    std::optional<double> width;
    bool operator==(const ShapingKey&) const = default;
};
struct ShapingKeyHash {
    [[nodiscard]] std::size_t operator()(const ShapingKey& key) const;
};

}  // namespace render::detail
