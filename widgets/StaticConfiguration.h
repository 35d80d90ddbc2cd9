#pragma once

#include "timeline/Timeline.h"
#include "timeline/WidgetFamily.h"
#include "ui/EnvironmentValues.h"
#include "ui/View.h"
#include "widgets/AnyEntry.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace widgets {

// A widget's static configuration: its kind, a provider, the content function that draws an
// entry, and what the host lists. Built like the platform's:
//   StaticConfiguration(kind, Provider{}, content)
//       .configurationDisplayName("Daily Brief").description("...").supportedFamilies({...})
// The provider is held inside the request functions; it has no state, so a configuration is
// a plain value that the host may copy, keep or drop at any time.
struct StaticConfiguration {
    using Placeholder = std::function<AnyEntry(const timeline::TimelineProviderContext&)>;
    using Snapshot = std::function<void(const timeline::TimelineProviderContext&,
                                        const std::function<void(AnyEntry)>&)>;
    using TimelineRequest = std::function<void(const timeline::TimelineProviderContext&,
                                               const std::function<void(AnyTimeline)>&)>;
    using Content = std::function<ui::View(const AnyEntry&, const ui::EnvironmentValues&)>;

    std::string kind;
    Placeholder placeholder;
    Snapshot getSnapshot;
    TimelineRequest getTimeline;
    Content content;
    ui::LocalizedStringKey displayName{""};
    ui::LocalizedStringKey descriptionText{""};
    std::vector<timeline::WidgetFamily> families;

    template <typename Provider, typename MakeContent>
    StaticConfiguration(std::string kind, Provider provider, MakeContent makeContent);

    [[nodiscard]] StaticConfiguration configurationDisplayName(ui::LocalizedStringKey name) && {
        displayName = std::move(name);
        return std::move(*this);
    }
    [[nodiscard]] StaticConfiguration description(ui::LocalizedStringKey text) && {
        descriptionText = std::move(text);
        return std::move(*this);
    }
    [[nodiscard]] StaticConfiguration supportedFamilies(
        std::vector<timeline::WidgetFamily> list) && {
        families = std::move(list);
        return std::move(*this);
    }

    [[nodiscard]] bool supports(timeline::WidgetFamily family) const {
        for (auto f : families)
            if (f == family) return true;
        return false;
    }
};

template <typename Provider, typename MakeContent>
StaticConfiguration::StaticConfiguration(std::string kind, Provider provider,
                                         MakeContent makeContent)
    : kind(std::move(kind)) {
    using Entry = typename Provider::Entry;
    placeholder = [provider](const timeline::TimelineProviderContext& context) -> AnyEntry {
        return provider.placeholder(context);
    };
    getSnapshot = [provider](const timeline::TimelineProviderContext& context,
                             const std::function<void(AnyEntry)>& completion) {
        provider.getSnapshot(context, [&](Entry entry) { completion(std::move(entry)); });
    };
    getTimeline = [provider](const timeline::TimelineProviderContext& context,
                             const std::function<void(AnyTimeline)>& completion) {
        provider.getTimeline(context, [&](timeline::Timeline<Entry> timeline) {
            AnyTimeline any{{}, timeline.policy};
            for (auto& entry : timeline.entries) any.entries.emplace_back(std::move(entry));
            completion(std::move(any));
        });
    };
    content = [makeContent](const AnyEntry& entry, const ui::EnvironmentValues& env) -> ui::View {
        // The host only hands a widget its own entries.
        return makeContent(std::get<Entry>(entry), env);
    };
}

}  // namespace widgets
