#pragma once

#include "hosting/DrawnWidget.h"
#include "timeline/WidgetFamily.h"

#include <functional>

namespace desktop {

// A widget in the board's windows: a toolkit widget of its family's size that shows a drawing,
// one texel to a device pixel, and is one button to assistive technologies, named and described
// by the drawing. Clicked (or Enter, Space) it does `activate`; given `remove`, it offers
// "Remove Widget" in its context menu (right click, long press, Menu, Shift+F10). It is the
// toolkit's object, made floating and owned by its parent as any widget; `GTK_WIDGET(view)` is
// the widget.
struct WidgetView;

[[nodiscard]] WidgetView* newWidgetView(timeline::WidgetFamily family,
                                        std::function<void(WidgetView*)> activate,
                                        std::function<void(WidgetView*)> remove);

// Adds to the display the views' own style (their continuous corners, their focus ring, the
// look of a disabled one) and `extra`, the program's own rules, at the application's priority.
void addStyle(const char* extra);

// Shows the view `zoom` times its family's size in points (1 unless set): a drawing made at a
// scale other than the window's still shows one texel to a device pixel.
void setZoom(WidgetView* view, double zoom);

// Shows `drawn` in `view`, its pixels as they are (no copy), and tells assistive technologies
// what it shows.
void showDrawing(WidgetView* view, const hosting::DrawnWidget& drawn);

}  // namespace desktop
