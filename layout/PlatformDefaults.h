#pragma once

// The platform's defaults that our stand-ins reproduce, each fixed once, here.

#include "layout/Geometry.h"
#include "timeline/WidgetFamily.h"
#include "ui/Color.h"
#include "ui/EnvironmentValues.h"
#include "ui/Font.h"

namespace layout::defaults {

// Widget canvas per family, in points.
[[nodiscard]] constexpr Size canvasSize(timeline::WidgetFamily family) {
    switch (family) {
        case timeline::WidgetFamily::systemSmall:
            return {170, 170};
        case timeline::WidgetFamily::systemMedium:
            return {364, 170};
        case timeline::WidgetFamily::systemLarge:
            return {364, 382};
    }
    return {364, 170};
}

inline constexpr double contentMargin = 16;     // every side
inline constexpr double renderScale = 2;        // PNG default; 1 and 3 on request
inline constexpr double stackSpacing = 8;       // between neighbours when a stack gives none
inline constexpr double spacerMinLength = 8;    // when a spacer gives none
inline constexpr double gridColumnSpacing = 8;  // between flexible grid columns
inline constexpr ui::Font font = ui::Font::system(13);  // body: a symbol or text given no font

[[nodiscard]] constexpr ui::Color foreground(ui::ColorScheme scheme) {
    return scheme == ui::ColorScheme::dark ? ui::Color::white().opacity(0.85)
                                           : ui::Color::black().opacity(0.85);
}

// Divider: one device pixel (1 / scale points), the separator colour.
[[nodiscard]] constexpr ui::Color separator(ui::ColorScheme scheme) {
    return scheme == ui::ColorScheme::dark ? ui::Color::rgb8(84, 84, 88).opacity(0.6)
                                           : ui::Color::rgb8(60, 60, 67).opacity(0.29);
}

}  // namespace layout::defaults
