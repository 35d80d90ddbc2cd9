#pragma once

#include "platform/Timeline.h"
#include "platform/WidgetFamily.h"
#include "style/EnvironmentValues.h"
#include "style/View.h"
#include "widgets/AnyEntry.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

// A widget's static configuration: its kind, a provider, the content function that draws an
// entry, and what the host lists. Built like the platform's:
//   StaticConfiguration(kind, Provider{}, content)
//       .configurationDisplayName("Daily Brief").description("...").supportedFamilies({...})
// The provider is held inside the request functions; it has no state, so a configuration is
// a plain value that the host may copy, keep or drop at any time.
struct StaticConfiguration {
    using Placeholder = std::function<AnyEntry(const TimelineProviderContext&)>;
    using Snapshot =
        std::function<void(const TimelineProviderContext&, const std::function<void(AnyEntry)>&)>;
    using TimelineRequest = std::function<void(const TimelineProviderContext&,
                                               const std::function<void(AnyTimeline)>&)>;
    using Content = std::function<View(const AnyEntry&, const EnvironmentValues&)>;

    std::string kind;
    Placeholder placeholder;
    Snapshot getSnapshot;
    TimelineRequest getTimeline;
    Content content;
    LocalizedStringKey displayName{""};
    LocalizedStringKey descriptionText{""};
    std::vector<WidgetFamily> families;

    template <typename Provider, typename MakeContent>
    StaticConfiguration(std::string kind, Provider provider, MakeContent makeContent);

    [[nodiscard]] StaticConfiguration configurationDisplayName(LocalizedStringKey name) && {
        displayName = std::move(name);
        return std::move(*this);
    }
    [[nodiscard]] StaticConfiguration description(LocalizedStringKey text) && {
        descriptionText = std::move(text);
        return std::move(*this);
    }
    [[nodiscard]] StaticConfiguration supportedFamilies(std::vector<WidgetFamily> list) && {
        families = std::move(list);
        return std::move(*this);
    }

    [[nodiscard]] bool supports(WidgetFamily family) const {
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
    placeholder = [provider](const TimelineProviderContext& context) -> AnyEntry {
        return provider.placeholder(context);
    };
    getSnapshot = [provider](const TimelineProviderContext& context,
                             const std::function<void(AnyEntry)>& completion) {
        provider.getSnapshot(context, [&](Entry entry) { completion(std::move(entry)); });
    };
    getTimeline = [provider](const TimelineProviderContext& context,
                             const std::function<void(AnyTimeline)>& completion) {
        provider.getTimeline(context, [&](Timeline<Entry> timeline) {
            AnyTimeline any{{}, timeline.policy};
            for (auto& entry : timeline.entries) any.entries.emplace_back(std::move(entry));
            completion(std::move(any));
        });
    };
    content = [makeContent](const AnyEntry& entry, const EnvironmentValues& env) -> View {
        // The host only hands a widget its own entries.
        return makeContent(std::get<Entry>(entry), env);
    };
}
