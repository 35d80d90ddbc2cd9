#pragma once

#include "platform/WidgetFamily.h"

#include <string>

namespace host {

// A widget placed by the user: a kind in a family.
struct Placement {
    std::string kind;
    WidgetFamily family = WidgetFamily::systemMedium;

    bool operator==(const Placement&) const = default;
};

}  // namespace host
