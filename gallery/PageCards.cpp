#include "gallery/PageCards.h"

#include "hosting/Extension.h"
#include "platform/Fatal.h"

using namespace timeline;
using namespace ipc;
using namespace hosting;

namespace gallery {

std::string pageDate(platform::Date date) {
    return platform::formatDate(std::chrono::floor<std::chrono::seconds>(date));
}

std::string placementName(const Placement& placement) {
    return placement.kind + " " + std::string(name(placement.family));
}

std::string galleryImageName(const Placement& placement, std::string_view request) {
    return placement.kind + "-" + std::string(name(placement.family)) + "-" + std::string(request) +
           ".png";
}

DrawnCard drawnCard(const Placement& placement, std::string_view request,
                    const ExtensionReload& reload, bool showReload) {
    const auto& timeline = reload.timeline;
    VELMORA_ASSERT(reload.drawing.has_value());
    const auto& drawing = reload.drawing;

    DrawnCard drawn;
    drawn.card.image = galleryImageName(placement, request);
    drawn.card.width = drawing->canvas.width;
    drawn.card.height = drawing->canvas.height;
    drawn.card.kind = placement.kind;
    drawn.card.family = std::string(name(placement.family));
    drawn.card.request = std::string(request);
    drawn.card.entryDate = pageDate(timeline.entries.front());
    drawn.card.nextReload = showReload ? pageDate(timeline.policy.date) : "—";
    drawn.card.url = drawing->url;
    drawn.png = std::string(drawing->image.bytes());
    return drawn;
}

std::vector<GallerySection> gallerySections(const std::vector<WidgetDescription>& widgets,
                                            const std::vector<GalleryCard>& cards) {
    std::vector<GallerySection> sections;
    for (const auto& widget : widgets) {
        GallerySection section{widget.kind, widget.displayName, widget.description, {}};
        for (const auto& card : cards)
            if (card.kind == widget.kind) section.cards.push_back(card);
        if (!section.cards.empty()) sections.push_back(std::move(section));
    }
    return sections;
}

platform::Result<void> prepareOutputDirectory(const std::filesystem::path& directory) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error)
        return platform::Error{"cannot create the folder \"" + directory.string() +
                               "\": " + error.message()};
    if (!std::filesystem::is_directory(directory, error))
        return platform::Error{"\"" + directory.string() + "\" is not a folder"};
    return {};
}

}  // namespace gallery
