#pragma once

// The frames dump: the laid-out tree as text, for golden tests and the command line.
//
// Format (stable; golden files depend on it): one line per laid-out frame, each ending in
// "\n", indented by two spaces per depth, then the description, a space and the rect
// "(x, y, w × h)" in canvas points. Numbers are rounded to 0.01 and written without trailing
// zeros (16, 21.6, 0.5); infinity is "∞". Descriptions:
//
//   containerBackground Palette.background           a root container background (the canvas)
//   VStack(leading, spacing 8)   HStack(firstTextBaseline)     spacing left out when default
//   LazyVGrid(2 columns, center, spacing 6)
//   Group   ForEach   EmptyView   Divider   Spacer   Spacer(min 0)
//   Text "NVDA" 18 bold monospaced Palette.textPrimary lineLimit 1 center
//       the string as drawn (looked up, filled in, letter case applied), the font size, weight,
//       "monospaced" for that design, the colour, then the line limit and the multi-line
//       alignment when they are set (alignment only when not leading)
//   Image "sparkles" 24 regular Palette.accent
//   frame(minWidth 56, maxWidth ∞, leading)   padding(6)   padding(top 2, bottom 2)
//   background Palette.bullish.opacity(0.18)   clipShape(RoundedRectangle 3 continuous)
//
// Colours are "Palette.<name>" when the RGB is a palette colour, else "#RRGGBB", followed by
// ".opacity(A)" when the opacity is not 1. Strings are in double quotes with \" \\ \n \t
// escaped.
//
// Example:
//   containerBackground Palette.background (0, 0, 364 × 170)
//     VStack(leading, spacing 8) (16, 16, 332 × 138)
//       Text "Watchlist" 11 semibold Palette.textPrimary (16, 16, 49.5 × 13.2)

#include "layout/LayoutResult.h"
#include "ui/TreeDump.h"

#include <string>
#include <string_view>

namespace layout {

// Colours whose RGB is in `names` are written by name.
[[nodiscard]] std::string dumpFrames(const LayoutResult& result, ui::ColorNames names = {});

// The pieces of a description, as the dump writes them.
[[nodiscard]] std::string dumpLength(double value);  // 0.01 rounding, "∞"
[[nodiscard]] std::string dumpRect(const Rect& rect);

}  // namespace layout
