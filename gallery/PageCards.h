#pragma once

#include "gallery/PageHtml.h"
#include "platform/Date.h"
#include "platform/Result.h"
#include "timeline/Placement.h"
#include "timeline/WidgetDescription.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

// What the gallery and host commands share: drawing a placement's entry into a card with its
// PNG, grouping cards per widget, and writing the files of an output folder.
namespace hosting {
struct ExtensionReload;
}  // namespace hosting

namespace gallery {

// "WatchlistGlance systemSmall": a placement as error lines name it.
[[nodiscard]] std::string placementName(const timeline::Placement& placement);

// "WatchlistGlance-systemSmall-current.png": the image of a placement's entry for a request.
[[nodiscard]] std::string galleryImageName(const timeline::Placement& placement,
                                           std::string_view request);

// A date as the page shows it: RFC 3339 UTC to the second (the system clock's microseconds are
// noise to a reader).
[[nodiscard]] std::string pageDate(platform::Date date);

// A drawn entry: its card and its image, PNG at the host's scale.
struct DrawnCard {
    GalleryCard card;
    std::string png;
};

// The card of a reload the extension answered with a PNG of the timeline's first entry.
// `showReload`: the card names the timeline's reload date (a timeline request), else "—" (a
// placeholder).
[[nodiscard]] DrawnCard drawnCard(const timeline::Placement& placement, std::string_view request,
                                  const hosting::ExtensionReload& reload, bool showReload);

// The cards under their widgets' display names and descriptions, widgets in bundle order, each
// widget's cards in the order given; widgets without cards are left out.
[[nodiscard]] std::vector<GallerySection> gallerySections(
    const std::vector<timeline::WidgetDescription>& widgets, const std::vector<GalleryCard>& cards);

// Creates `directory` and its parents when missing. An error when that fails or the path is not
// a folder.
[[nodiscard]] platform::Result<void> prepareOutputDirectory(const std::filesystem::path& directory);

}  // namespace gallery
