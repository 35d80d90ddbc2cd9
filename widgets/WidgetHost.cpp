#include "widgets/WidgetHost.h"

#include "layout/Layout.h"
#include "platform/Fatal.h"
#include "render/PangoTextMeasurer.h"
#include "ui/LocalizedString.h"

namespace widgets {

using namespace ui;
using namespace timeline;
using namespace widgets;
using namespace dailybrief;
using namespace watchlist;

WidgetHost::WidgetHost(std::vector<StaticConfiguration> widgets, HostSettings settings)
    : m_widgets(std::move(widgets)), m_settings(std::move(settings)) {}

const StaticConfiguration* WidgetHost::widget(std::string_view kind) const {
    for (const auto& widget : m_widgets)
        if (widget.kind == kind) return &widget;
    return nullptr;
}

std::vector<WidgetDescription> WidgetHost::describe() const {
    std::vector<WidgetDescription> described;
    described.reserve(m_widgets.size());
    for (const auto& widget : m_widgets)
        described.push_back(
            {widget.kind,
             resolveText(TextNode{widget.displayName}, std::nullopt, m_settings.locale),
             resolveText(TextNode{widget.descriptionText}, std::nullopt, m_settings.locale),
             widget.families});
    return described;
}

platform::Result<const StaticConfiguration*> WidgetHost::widgetOfKind(std::string_view kind) const {
    if (const auto* found = widget(kind)) return found;
    return describedWidget(describe(), kind).error();
}

platform::Result<Placement> WidgetHost::placement(std::string_view kind,
                                                  std::string_view family) const {
    return describedPlacement(describe(), kind, family);
}

std::vector<Placement> WidgetHost::allPlacements() const {
    std::vector<Placement> placements;
    for (const auto& widget : m_widgets)
        for (auto family : widget.families) placements.push_back({widget.kind, family});
    return placements;
}

AnyTimeline WidgetHost::request(const Placement& placement, Request request,
                                const platform::Clock& clock) const {
    const auto* configuration = widget(placement.kind);
    VELMORA_ASSERT(configuration != nullptr);
    TimelineProviderContext context(clock);
    context.storeDirectory = m_settings.storeDirectory;

    std::optional<AnyTimeline> answer;
    switch (request) {
        case Request::placeholder: {
            auto entry = configuration->placeholder(context);
            const auto date = entryDate(entry);
            answer = AnyTimeline{{std::move(entry)}, TimelineReloadPolicy::after(date)};
            break;
        }
        case Request::snapshot:
            configuration->getSnapshot(context, [&](AnyEntry entry) {
                const auto date = entryDate(entry);
                answer = AnyTimeline{{std::move(entry)}, TimelineReloadPolicy::after(date)};
            });
            break;
        case Request::timeline:
            configuration->getTimeline(context,
                                       [&](AnyTimeline timeline) { answer = std::move(timeline); });
            break;
    }
    // Providers complete before they return; a missing answer is a provider bug.
    VELMORA_ASSERT(answer.has_value() && !answer->entries.empty());
    return std::move(*answer);
}

EnvironmentValues WidgetHost::environment(WidgetFamily family, platform::Date now) const {
    EnvironmentValues env;
    env.widgetFamily = family;
    env.locale = m_settings.locale;
    env.timeZone = m_settings.timeZone;
    env.now = now;
    env.colorScheme = m_settings.colorScheme;
    return env;
}

View WidgetHost::content(const Placement& placement, const AnyEntry& entry,
                         platform::Date now) const {
    const auto* configuration = widget(placement.kind);
    VELMORA_ASSERT(configuration != nullptr);
    return configuration->content(entry, environment(placement.family, now));
}

layout::LayoutResult WidgetHost::layOut(const Placement& placement, const AnyEntry& entry,
                                        platform::Date now) const {
    return layOut(content(placement, entry, now), placement.family, now, m_settings.scale);
}

layout::LayoutResult WidgetHost::layOut(const View& content, WidgetFamily family,
                                        platform::Date now, double scale) const {
    return layout::layoutWidget(content, environment(family, now), render::pangoTextMeasurer(),
                                scale);
}

}  // namespace widgets
