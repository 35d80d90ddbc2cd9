#include "gallery/LivePage.h"

#include "gallery/PageCards.h"
#include "hosting/Extension.h"

using namespace timeline;
using namespace ipc;
using namespace hosting;

namespace gallery {

LivePage::LivePage(std::vector<WidgetDescription> widgets, std::size_t placementCount)
    : m_widgets(std::move(widgets)), m_cards(placementCount) {}

PageUpdate LivePage::update(const SessionUpdate& session) {
    PageUpdate update;
    auto& files = update.files;
    // A new address per version, the timeline's number (none for the placeholder, which shows
    // only until the first timeline), so a refreshing browser never shows a cached image.
    const auto show = [&](std::size_t index, std::size_t version, DrawnCard drawn) {
        files.push_back({drawn.card.image, std::move(drawn.png)});
        if (version > 0) drawn.card.image += "?v=" + std::to_string(version);
        m_cards[index] = std::move(drawn.card);
        update.shown.push_back(index);
    };
    for (const auto& request : session.requests)
        if (request.drawing && request.index < m_cards.size())
            show(
                request.index, request.number,
                drawnCard(request.placement, "current", {request.timeline, request.drawing}, true));
    for (const auto& placeholder : session.placeholders)
        if (placeholder.index < m_cards.size() && !m_cards[placeholder.index] &&
            placeholder.reload.drawing)
            show(placeholder.index, 0,
                 drawnCard(placeholder.placement, "current", placeholder.reload, false));
    std::vector<GalleryCard> cards;
    for (const auto& card : m_cards)
        if (card) cards.push_back(*card);
    GalleryPageOptions page;
    page.title = "Velmora Widgets — live host";
    page.subtitle = "Each placement's current entry, redrawn whenever its timeline reloads. " +
                    std::to_string(m_cards.size()) + " placements; this page refreshes every " +
                    std::to_string(refreshSeconds) + " s.";
    page.refreshSeconds = refreshSeconds;
    files.push_back({"index.html", galleryPage(gallerySections(m_widgets, cards), page)});
    return update;
}

}  // namespace gallery
