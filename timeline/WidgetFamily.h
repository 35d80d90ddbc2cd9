#pragma once

#include <optional>
#include <string_view>

namespace timeline {

// The size class in which a widget is drawn.
enum class WidgetFamily { systemSmall, systemMedium, systemLarge };

[[nodiscard]] constexpr std::string_view name(WidgetFamily family) {
    switch (family) {
        case WidgetFamily::systemSmall:
            return "systemSmall";
        case WidgetFamily::systemMedium:
            return "systemMedium";
        case WidgetFamily::systemLarge:
            return "systemLarge";
    }
    return "systemMedium";
}

[[nodiscard]] constexpr std::optional<WidgetFamily> widgetFamilyNamed(std::string_view text) {
    for (auto family :
         {WidgetFamily::systemSmall, WidgetFamily::systemMedium, WidgetFamily::systemLarge})
        if (name(family) == text) return family;
    return std::nullopt;
}

}  // namespace timeline
