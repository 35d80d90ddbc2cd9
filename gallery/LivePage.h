#pragma once

#include "gallery/PageHtml.h"
#include "hosting/HostingSession.h"
#include "platform/Result.h"
#include "timeline/WidgetDescription.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace gallery {

// A file of an output folder, made in memory: its name in the folder and its bytes.
struct OutputFile {
    std::string name;
    std::string bytes;

    bool operator==(const OutputFile&) const = default;
};

// What an update of the page made: the files to write, the images first and the page last; and
// the placements whose drawing it shows, by index.
struct PageUpdate {
    std::vector<OutputFile> files;
    std::vector<std::size_t> shown;
};

// The live host's page: one card per placement with the entry of its latest timeline, as the
// extension drew it when it was asked for, in a page that an open browser refreshes.
class LivePage {
public:
    // An open browser reloads the page this often, in seconds.
    static constexpr int refreshSeconds = 5;

    // The page lists `widgets` (their names and descriptions).
    LivePage(std::vector<timeline::WidgetDescription> widgets, std::size_t placementCount);

    // Makes a card and its image of each drawing a session's update brought, and of the
    // placeholder of a placement whose first reload failed, then the page with every card so
    // far. A request without a drawing (a simulation's) leaves its placement's card as it was.
    [[nodiscard]] PageUpdate update(const hosting::SessionUpdate& session);

private:
    std::vector<timeline::WidgetDescription> m_widgets;
    std::vector<std::optional<GalleryCard>> m_cards;  // per placement
};

}  // namespace gallery
