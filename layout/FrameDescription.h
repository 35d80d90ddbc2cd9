#pragma once

// What the frames dump (render/FrameDump.h, which documents the format) says of each laid-out
// node and modifier: the description, the colour and the detail of a LaidOutFrame, whose depth
// and rect the layout fills in.

#include "layout/LayoutResult.h"
#include "layout/TextStyle.h"
#include "ui/View.h"

#include <string_view>

namespace layout {

// A node as laid out. A text is described by `text` and `style` as drawn (its string looked
// up, filled in and cased; its fitted line limit), a symbol by the font and colour of `style`;
// other nodes need neither.
[[nodiscard]] LaidOutFrame describeNode(const ui::View::Node& node, std::string_view text,
                                        const TextStyle& style);

// A modifier with a frame of its own: frame, padding, background, clip shape and the container
// background. The others are folded into the texts they style and get no line.
[[nodiscard]] LaidOutFrame describeModifier(const ui::Modifier& modifier);

}  // namespace layout
