#pragma once

#include "platform/Result.h"
#include "timeline/Placement.h"
#include "timeline/WidgetFamily.h"

#include <string>
#include <string_view>
#include <vector>

namespace timeline {

// A widget as a host lists it: its kind, its name and description in the host's language, and
// the families it offers. What a host knows of the bundle without running a widget.
struct WidgetDescription {
    std::string kind;
    std::string displayName;
    std::string description;
    std::vector<WidgetFamily> families;

    [[nodiscard]] bool supports(WidgetFamily family) const;
    bool operator==(const WidgetDescription&) const = default;
};

// The widget of `kind` in `widgets`, or an error naming the kinds they offer.
[[nodiscard]] platform::Result<const WidgetDescription*> describedWidget(
    const std::vector<WidgetDescription>& widgets, std::string_view kind);

// The widget of `kind` in the family named `family`, or an error naming the kinds, or the
// families that widget offers.
[[nodiscard]] platform::Result<Placement> describedPlacement(
    const std::vector<WidgetDescription>& widgets, std::string_view kind, std::string_view family);

}  // namespace timeline
