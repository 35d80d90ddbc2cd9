#include "host/GalleryFiles.h"

#include "host/WidgetHost.h"
#include "render/Painter.h"
#include "ui/LocalizedString.h"

namespace host {

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

std::string galleryImageName(const Placement& placement, std::string_view request) {
    return placement.kind + "-" + std::string(name(placement.family)) + "-" + std::string(request) +
           ".png";
}

platform::Result<DrawnCard> drawCard(const WidgetHost& widgets, const Placement& placement,
                                     std::string_view request, const AnyTimeline& timeline,
                                     bool showReload, platform::Date now) {
    const auto& entry = timeline.entries.front();
    const auto layout = widgets.draw(placement, entry, now);
    auto png =
        render::paintToBytes(layout.drawList, render::ImageFormat::png, widgets.settings().scale);
    if (!png)
        return platform::Error{"cannot draw " + placement.kind + " " +
                               std::string(name(placement.family)) + ": " +
                               png.error().description};

    DrawnCard drawn;
    drawn.card.image = galleryImageName(placement, request);
    drawn.card.width = layout.drawList.canvas.width;
    drawn.card.height = layout.drawList.canvas.height;
    drawn.card.kind = placement.kind;
    drawn.card.family = std::string(name(placement.family));
    drawn.card.request = std::string(request);
    drawn.card.entryDate = pageDate(entryDate(entry));
    drawn.card.nextReload = showReload ? pageDate(timeline.policy.date) : "—";
    if (layout.drawList.url) drawn.card.url = layout.drawList.url->text();
    drawn.png = std::move(png).value();
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

}  // namespace host
