#pragma once

#include "platform/Result.h"
#include "platform/Url.h"

#include <memory>
#include <optional>
#include <string>

namespace hosting {

struct ExtensionDrawing;

// A widget as the board shows it: its pixels, what a tap opens and what a screen reader says.
struct DrawnWidget {
    // Cairo's ARGB32: premultiplied alpha, one native-endian word per pixel, `stride` bytes a row.
    std::shared_ptr<const unsigned char[]> pixels;
    int width = 0;
    int height = 0;
    int stride = 0;
    std::optional<platform::Url> link;
    std::string label;        // the widget's display name
    std::string description;  // its texts in reading order, one a line
};

// The board's widget from an ARGB32 drawing the extension made, its corners already cut: its
// pixels, its link and its texts; `label` is the widget's display name. Everything the board
// shows of a widget comes from here.
[[nodiscard]] platform::Result<DrawnWidget> drawnWidget(const ExtensionDrawing& drawing,
                                                        std::string label);

}  // namespace hosting
