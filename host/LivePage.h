#pragma once

#include "host/GalleryPage.h"
#include "host/Scheduler.h"
#include "platform/Result.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace host {

class WidgetHost;

// A file of an output folder, made in memory: its name in the folder and its bytes.
struct OutputFile {
    std::string name;
    std::string bytes;

    bool operator==(const OutputFile&) const = default;
};

// The live host's page: one card per placement with the entry of its latest timeline, drawn at
// the time it was asked for, in a page that an open browser refreshes.
class LivePage {
public:
    // An open browser reloads the page this often, in seconds.
    static constexpr int refreshSeconds = 5;

    LivePage(const WidgetHost& widgets, std::size_t placementCount);

    // Draws each request's entry into its placement's card and image, then the page with every
    // card drawn so far: the files to write, the images first and the page last.
    [[nodiscard]] platform::Result<std::vector<OutputFile>> update(
        const std::vector<TimelineRequestRecord>& requests);

private:
    const WidgetHost& m_widgets;
    std::vector<std::optional<GalleryCard>> m_cards;  // per placement
};

}  // namespace host
