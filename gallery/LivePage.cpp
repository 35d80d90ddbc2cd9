#include "gallery/LivePage.h"

#include "gallery/PageCards.h"
#include "hosting/Extension.h"

using namespace timeline;
using namespace ipc;
using namespace hosting;

namespace gallery {

LivePage::LivePage(std::vector<WidgetDescription> widgets, double scale, Extension& extension,
                   std::vector<Placement> placements)
    : m_widgets(std::move(widgets)),
      m_scale(scale),
      m_extension(extension),
      m_placements(std::move(placements)),
      m_cards(m_placements.size()) {}

PageUpdate LivePage::update(const std::vector<TimelineRequestRecord>& requests,
                            platform::Date now) {
    PageUpdate update;
    auto& files = update.files;
    const double scale = m_scale;
    std::vector<bool> asked(m_cards.size());
    for (const auto& request : requests) {
        asked[request.index] = true;
        std::optional<DrawnCard> drawn;
        if (request.drawing) {
            drawn =
                drawnCard(request.placement, "current", {request.timeline, request.drawing}, true);
        } else if (auto again =
                       m_extension.reload(request.placement, Request::timeline, request.requestedAt,
                                          scale, ImageEncoding::png)) {
            drawn = drawnCard(request.placement, "current", *again, true);
        } else {
            update.failures.emplace_back(request.index, again.error());
            if (m_cards[request.index]) continue;
            const auto placeholder = m_extension.reload(request.placement, Request::placeholder,
                                                        now, scale, ImageEncoding::png);
            if (!placeholder) continue;
            drawn = drawnCard(request.placement, "current", *placeholder, false);
        }
        auto card = std::move(*drawn);
        files.push_back({card.card.image, std::move(card.png)});
        // A new address per version, so a refreshing browser never shows a cached image.
        card.card.image += "?v=" + std::to_string(request.number);
        m_cards[request.index] = std::move(card.card);
    }
    // A placement whose timelines failed from the first shows its placeholder meanwhile.
    for (std::size_t index = 0; index < m_cards.size(); ++index) {
        if (m_cards[index] || asked[index]) continue;
        const auto placeholder = m_extension.reload(m_placements[index], Request::placeholder, now,
                                                    scale, ImageEncoding::png);
        if (!placeholder) continue;
        auto card = drawnCard(m_placements[index], "current", *placeholder, false);
        files.push_back({card.card.image, std::move(card.png)});
        m_cards[index] = std::move(card.card);
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
