#pragma once

#include "layout/DrawList.h"
#include "layout/Geometry.h"
#include "ui/Color.h"

#include <optional>
#include <string>
#include <vector>

namespace layout {

// One node or layout modifier as laid out: how deep it sits (a modifier wraps the node and the
// modifiers before it, so it sits one level above them), what it is, and where, in canvas points.
// Modifiers without a frame of their own (font, colour, line limit, letter case, text alignment,
// widget link) are folded into the text they style and get no line.
struct LaidOutFrame {
    int depth = 0;
    std::string description;         // what it is, up to its colour
    std::optional<ui::Color> color;  // the text's, symbol's or fill's
    std::string detail;              // what follows the colour: a text's line limit and alignment
    Rect rect;
    bool operator==(const LaidOutFrame&) const = default;
};

struct LayoutResult {
    DrawList drawList;                 // canvas, commands in paint order, tap link
    std::vector<LaidOutFrame> frames;  // in tree order, parents before their contents
    bool operator==(const LayoutResult&) const = default;
};

}  // namespace layout
