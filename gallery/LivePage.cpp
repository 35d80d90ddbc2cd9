#include "gallery/LivePage.h"

#include "gallery/PageCards.h"
#include "hosting/Extension.h"
#include "widgets/WidgetHost.h"

using namespace timeline;
using namespace widgets;
using namespace ipc;
using namespace hosting;

namespace gallery {

LivePage::LivePage(const WidgetHost& widgets, Extension& extension, std::size_t placementCount)
    : m_widgets(widgets), m_extension(extension), m_cards(placementCount) {}

PageUpdate LivePage::update(const std::vector<TimelineRequestRecord>& requests,
                            platform::Date now) {
    PageUpdate update;
    auto& files = update.files;
    const double scale = m_widgets.settings().scale;
    for (const auto& request : requests) {
        auto drawn = drawCard(m_extension, scale, request.placement, "current", request.timeline,
                              true, request.requestedAt);
        if (!drawn) {
            update.failures.emplace_back(request.index, drawn.error());
            if (m_cards[request.index]) continue;
            const auto placeholder =
                m_extension.request(request.placement, Request::placeholder, now);
            if (!placeholder) continue;
            drawn = drawCard(m_extension, scale, request.placement, "current", *placeholder, false,
                             now);
            if (!drawn) continue;
        }
        auto card = std::move(drawn).value();
        files.push_back({card.card.image, std::move(card.png)});
        // A new address per version, so a refreshing browser never shows a cached image.
        card.card.image += "?v=" + std::to_string(request.number);
        m_cards[request.index] = std::move(card.card);
    }
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
