#pragma once

#include "timeline/WidgetFamily.h"

#include <string>

namespace timeline {

// A widget placed by the user: a kind in a family.
struct Placement {
    std::string kind;
    timeline::WidgetFamily family = timeline::WidgetFamily::systemMedium;

    bool operator==(const Placement&) const = default;
};

}  // namespace timeline
