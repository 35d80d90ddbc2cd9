#pragma once

// The platform's defaults that our stand-ins reproduce, each fixed once, here.

#include "platform/WidgetFamily.h"
#include "render/Geometry.h"
#include "style/Color.h"
#include "style/EnvironmentValues.h"
#include "style/Font.h"

namespace render::defaults {

// Widget canvas per family, in points.
[[nodiscard]] constexpr Size canvasSize(WidgetFamily family) {
    switch (family) {
    case WidgetFamily::systemSmall: return {170, 170};
    case WidgetFamily::systemMedium: return {364, 170};
    case WidgetFamily::systemLarge: return {364, 382};
    }
    return {364, 170};
}

inline constexpr double contentMargin = 16;       // every side
inline constexpr double renderScale = 2;          // PNG default; 1 and 3 on request
inline constexpr double stackSpacing = 8;         // between neighbours when a stack gives none
inline constexpr double spacerMinLength = 8;      // when a spacer gives none
inline constexpr double gridColumnSpacing = 8;    // between flexible grid columns
inline constexpr Font font = Font::system(13);    // body: a symbol or text given no font

[[nodiscard]] constexpr Color foreground(ColorScheme scheme) {
    return scheme == ColorScheme::dark ? Color::white().opacity(0.85)
                                       : Color::black().opacity(0.85);
}

// Divider: one device pixel (1 / scale points), the separator colour.
[[nodiscard]] constexpr Color separator(ColorScheme scheme) {
    return scheme == ColorScheme::dark ? Color::rgb8(84, 84, 88).opacity(0.6)
                                       : Color::rgb8(60, 60, 67).opacity(0.29);
}

}  // namespace render::defaults
