#include "gallery/PageCards.h"

#include "hosting/Extension.h"
#include "ui/LocalizedString.h"
#include "widgets/WidgetHost.h"

using namespace timeline;
using namespace widgets;
using namespace ipc;
using namespace hosting;

namespace gallery {

using namespace ui;
using namespace timeline;
using namespace widgets;
using namespace dailybrief;
using namespace watchlist;
namespace {

std::string text(const LocalizedStringKey& key, const std::string& locale) {
    return resolveText(TextNode{key}, std::nullopt, locale);
}

}  // namespace

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

platform::Result<DrawnCard> drawCard(Extension& extension, double scale, const Placement& placement,
                                     std::string_view request, const AnyTimeline& timeline,
                                     bool showReload, platform::Date now) {
    const auto& entry = timeline.entries.front();
    auto drawing = extension.draw(placement, entry, now, scale, ImageEncoding::png);
    if (!drawing) return drawing.error();

    DrawnCard drawn;
    drawn.card.image = galleryImageName(placement, request);
    drawn.card.width = drawing->canvas.width;
    drawn.card.height = drawing->canvas.height;
    drawn.card.kind = placement.kind;
    drawn.card.family = std::string(name(placement.family));
    drawn.card.request = std::string(request);
    drawn.card.entryDate = pageDate(entryDate(entry));
    drawn.card.nextReload = showReload ? pageDate(timeline.policy.date) : "—";
    drawn.card.url = drawing->url;
    drawn.png = std::string(drawing->image.bytes());
    return drawn;
}

std::vector<GallerySection> gallerySections(const WidgetHost& widgets,
                                            const std::vector<GalleryCard>& cards) {
    const auto& locale = widgets.settings().locale;
    std::vector<GallerySection> sections;
    for (const auto& widget : widgets.widgets()) {
        GallerySection section{widget.kind,
                               text(widget.displayName, locale),
                               text(widget.descriptionText, locale),
                               {}};
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
