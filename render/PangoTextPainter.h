#pragma once

// Drawing texts with Pango on the painter's Cairo context, with the very layout that the Pango
// measurer measures (render/PangoShaping.h). Internal to render/: the painter's part.

#include "layout/DrawList.h"

namespace render::detail {

// The painter's Cairo context, passed through by pointer so that Cairo stays out of headers.
struct CairoContext;

// Draws the text of `command` in its colour on `context`, wrapped at the frame's width and cut
// to the lines that fit its height, its top-left corner at the frame's origin.
void drawText(CairoContext* context, const layout::DrawText& command);

}  // namespace render::detail
