#pragma once

#include "platform/Date.h"
#include "timeline/WidgetFamily.h"

#include <string>
#include <string_view>

namespace ui {

// The appearance a widget is drawn in: dark by default; the palette stays, the default
// foreground of texts and symbols follows it.
enum class ColorScheme { dark, light };

[[nodiscard]] constexpr std::string_view name(ColorScheme scheme) {
    return scheme == ColorScheme::light ? "light" : "dark";
}

// What a widget's view reads while it is built: the family it is drawn in, the user's
// locale and time zone, and the moment of drawing. The host fills it for each drawing.
struct EnvironmentValues {
    timeline::WidgetFamily widgetFamily = timeline::WidgetFamily::systemMedium;
    std::string locale = "en_US";  // ICU locale id
    std::string timeZone = "UTC";  // IANA zone id
    platform::Date now{};
    ColorScheme colorScheme = ColorScheme::dark;

    bool operator==(const EnvironmentValues&) const = default;
};

}  // namespace ui
