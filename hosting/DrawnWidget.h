#pragma once

#include "platform/Date.h"
#include "platform/Result.h"
#include "platform/Url.h"
#include "timeline/Placement.h"
#include "ui/View.h"
#include "widgets/AnyEntry.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace widgets {
class WidgetHost;
}  // namespace widgets

namespace hosting {

class Extension;

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

// Draws `entry` of `placement` as it stands at `now` in the extension, at the host's scale, then
// cuts it to continuous corners of `cornerRadius` points. Everything the board shows of a widget
// comes from here.
[[nodiscard]] platform::Result<DrawnWidget> drawWidget(Extension& extension,
                                                       const widgets::WidgetHost& host,
                                                       const timeline::Placement& placement,
                                                       const widgets::AnyEntry& entry,
                                                       platform::Date now, double cornerRadius);

}  // namespace hosting
