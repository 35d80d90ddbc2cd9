#pragma once

#include "hosting/Extension.h"

#include <optional>
#include <string>

namespace studio {

// The preview studio: an editor for each record the host app writes, every widget in every
// family drawn by the extension as the records are typed, pickers for the locale, the time
// zone, the scale and the appearance, and a scrubber that moves "now" over a day, with each
// widget's timeline entries and reload dates on its track, as a host would ask them or as the
// platform would under its daily budget. The records go to the chosen store only when the
// developer writes them there; until then the widgets read a private copy.
struct StudioOptions {
    std::string storeDirectory;         // the store the studio opens and writes; empty: the user's
    hosting::ExtensionOptions drawing;  // locale, time zone and appearance to start with
    std::string at;                     // RFC 3339: the moment to start at; empty: now
    bool timing = false;                // print how long each redraw took
};

// Runs the studio until its window is closed. Its exit status: 0 when it ended as asked.
[[nodiscard]] int runStudio(const StudioOptions& options);

}  // namespace studio
