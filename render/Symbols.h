#pragma once

#include "render/Geometry.h"
#include "style/Font.h"

#include <string_view>

namespace render {

// The system symbols the views use, drawn as vector glyphs. A symbol's box is square, as
// wide and high as its font size, with its baseline at 0.8 of the height (so it lines up
// with text of the same size). Shared by layout (size) and the painter (paths).
[[nodiscard]] inline Size symbolSize(const Font& font) { return {font.size, font.size}; }
[[nodiscard]] inline double symbolBaseline(const Font& font) { return font.size * 0.8; }

// Whether a glyph exists for the name ("sparkles", "chart.line.uptrend.xyaxis", "star").
[[nodiscard]] bool isKnownSymbol(std::string_view name);

}  // namespace render
