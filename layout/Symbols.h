#pragma once

#include "layout/Geometry.h"
#include "layout/Path.h"
#include "ui/Font.h"

#include <optional>
#include <string_view>
#include <vector>

namespace layout {

// The system symbols the views use, drawn as vector glyphs. A symbol's box is square, as
// wide and high as its font size, with its baseline at 0.8 of the height (so it lines up
// with text of the same size). Shared by layout (size) and the painter (paths).
[[nodiscard]] inline Size symbolSize(const ui::Font& font) {
    return {font.size, font.size};
}
[[nodiscard]] inline double symbolBaseline(const ui::Font& font) {
    return font.size * 0.8;
}

// Whether a glyph exists for the name ("sparkles", "chart.line.uptrend.xyaxis", "star").
[[nodiscard]] bool isKnownSymbol(std::string_view name);

// A symbol's vector glyph: paths filled, or stroked with round caps and joins, in the symbol's
// colour.
struct SymbolGlyphPart {
    Path path;
    bool filled = false;
    double lineWidth = 0;  // for a stroked part, in points
    bool operator==(const SymbolGlyphPart&) const = default;
};
using SymbolGlyph = std::vector<SymbolGlyphPart>;

// The glyph of `name` inside `box` (the symbol's frame; a square as wide as the font size),
// with line weights following the font's size and weight. An unknown name gives nothing and is
// reported on stderr once per thread (each keeps its own record, so no lock is needed).
[[nodiscard]] std::optional<SymbolGlyph> symbolGlyph(std::string_view name, const Rect& box,
                                                     const ui::Font& font);

}  // namespace layout
