#pragma once

#include "gallery/PageHtml.h"
#include "hosting/Scheduler.h"
#include "platform/Result.h"
#include "timeline/WidgetDescription.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace hosting {
class Extension;
}  // namespace hosting

namespace gallery {

// A file of an output folder, made in memory: its name in the folder and its bytes.
struct OutputFile {
    std::string name;
    std::string bytes;

    bool operator==(const OutputFile&) const = default;
};

// What an update of the page made: the files to write, the images first and the page last; and
// the placements whose drawing failed, by index, with what happened.
struct PageUpdate {
    std::vector<OutputFile> files;
    std::vector<std::pair<std::size_t, platform::Error>> failures;
};

// The live host's page: one card per placement with the entry of its latest timeline, drawn in
// the extension process at the time it was asked for, in a page that an open browser refreshes.
class LivePage {
public:
    // An open browser reloads the page this often, in seconds.
    static constexpr int refreshSeconds = 5;

    // The page lists `widgets` (their names and descriptions) and draws `placements` (the
    // scheduler's, in its order) at `scale`.
    LivePage(std::vector<timeline::WidgetDescription> widgets, double scale,
             hosting::Extension& extension, std::vector<timeline::Placement> placements);

    // Makes each request's card and image from the drawing its reload brought (one reloaded
    // without drawing, as a simulation does, is reloaded again at its date, drawn), then the page
    // with every card so far. A placement whose drawing fails keeps its card; one that has none
    // yet, its timeline or its drawing having failed, gets its placeholder, drawn at `now`, when
    // that can be drawn.
    [[nodiscard]] PageUpdate update(const std::vector<hosting::TimelineRequestRecord>& requests,
                                    platform::Date now);

private:
    std::vector<timeline::WidgetDescription> m_widgets;
    double m_scale = 2;
    hosting::Extension& m_extension;
    std::vector<timeline::Placement> m_placements;
    std::vector<std::optional<GalleryCard>> m_cards;  // per placement
};

}  // namespace gallery
