#pragma once

#include "layout/TextStyle.h"
#include "render/PangoShaping.h"

#include <pango/pangocairo.h>

#include <optional>
#include <string>
#include <string_view>

namespace render {

// What Pango made of a text, for the tests that check lines, cuts and fallback fonts.
struct TextLayoutFacts {
    int lineCount = 0;
    bool ellipsized = false;  // the text was cut and ends with "…"
    std::string family;       // of the font that sets the first character
    int glyphs = 0;           // on all lines, the ellipsis included
    int unknownGlyphs = 0;    // drawn as a box: no font on the machine has the character
    bool operator==(const TextLayoutFacts&) const = default;
};

inline TextLayoutFacts describeTextLayout(std::string_view text, const layout::TextStyle& style,
                                          std::optional<double> width) {
    const detail::ShapedText shaped = detail::shapeText(text, style, width);
    auto* layout = reinterpret_cast<PangoLayout*>(shaped.layout.get());
    TextLayoutFacts facts{pango_layout_get_line_count(layout),
                          shaped.cutByHand || pango_layout_is_ellipsized(layout),
                          {},
                          0,
                          0};
    for (const GSList* line = pango_layout_get_lines_readonly(layout); line; line = line->next) {
        for (const GSList* run = static_cast<PangoLayoutLine*>(line->data)->runs; run;
             run = run->next) {
            const PangoGlyphString* glyphs = static_cast<PangoGlyphItem*>(run->data)->glyphs;
            facts.glyphs += glyphs->num_glyphs;
            for (int i = 0; i < glyphs->num_glyphs; ++i)
                facts.unknownGlyphs += (glyphs->glyphs[i].glyph & PANGO_GLYPH_UNKNOWN_FLAG) != 0;
        }
    }
    const PangoLayoutLine* first = pango_layout_get_line_readonly(layout, 0);
    if (first && first->runs) {
        const auto* run = static_cast<const PangoGlyphItem*>(first->runs->data);
        PangoFontDescription* description = pango_font_describe(run->item->analysis.font);
        facts.family = pango_font_description_get_family(description);
        pango_font_description_free(description);
    }
    return facts;
}

}  // namespace render
