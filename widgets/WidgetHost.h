#pragma once

#include "layout/LayoutResult.h"
#include "layout/PlatformDefaults.h"
#include "platform/Clock.h"
#include "platform/Result.h"
#include "timeline/Placement.h"
#include "timeline/Request.h"
#include "timeline/Timeline.h"
#include "timeline/WidgetDescription.h"
#include "ui/EnvironmentValues.h"
#include "widgets/StaticConfiguration.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace widgets {

// How this host draws and where its widgets' store lives.
struct HostSettings {
    std::string locale = "en_US";
    std::string timeZone = "UTC";
    ui::ColorScheme colorScheme = ui::ColorScheme::dark;
    double scale = layout::defaults::renderScale;
    std::string storeDirectory;  // empty: the environment's store folder
};

using timeline::Request;

// The stand-in for the platform's widget host: it knows the bundle's widgets, asks their
// providers for entries and draws entries through the widgets' content in a family.
class WidgetHost {
public:
    WidgetHost(std::vector<widgets::StaticConfiguration> widgets, HostSettings settings);

    [[nodiscard]] const std::vector<widgets::StaticConfiguration>& widgets() const {
        return m_widgets;
    }
    [[nodiscard]] const HostSettings& settings() const { return m_settings; }
    [[nodiscard]] const widgets::StaticConfiguration* widget(std::string_view kind) const;
    // The bundle's widgets as a host lists them, their texts in the settings' locale.
    [[nodiscard]] std::vector<timeline::WidgetDescription> describe() const;

    // The widget of `kind`, or an error naming the kinds the bundle offers.
    [[nodiscard]] platform::Result<const widgets::StaticConfiguration*> widgetOfKind(
        std::string_view kind) const;
    // The widget of `kind` in the family named `family`, or an error naming the kinds or the
    // families that widget offers.
    [[nodiscard]] platform::Result<timeline::Placement> placement(std::string_view kind,
                                                                  std::string_view family) const;

    // Every widget in every family it supports, in bundle order.
    [[nodiscard]] std::vector<timeline::Placement> allPlacements() const;

    // A provider request for a placed widget, at the clock's now. A timeline's policy is the
    // provider's; placeholder and snapshot answers come back as a one-entry timeline with no
    // reload (the policy date is the entry's date).
    [[nodiscard]] widgets::AnyTimeline request(const timeline::Placement& placement,
                                               Request request, const platform::Clock& clock) const;

    // The entry drawn through the widget's content, with the family in the environment.
    [[nodiscard]] ui::View content(const timeline::Placement& placement,
                                   const widgets::AnyEntry& entry, platform::Date now) const;
    // That content laid out at the family's size: the frames and the draw list a painter draws.
    [[nodiscard]] layout::LayoutResult layOut(const timeline::Placement& placement,
                                              const widgets::AnyEntry& entry,
                                              platform::Date now) const;
    // A widget's content already built, laid out in `family` at `scale` (pixels it rounds to).
    [[nodiscard]] layout::LayoutResult layOut(const ui::View& content,
                                              timeline::WidgetFamily family, platform::Date now,
                                              double scale) const;

private:
    [[nodiscard]] ui::EnvironmentValues environment(timeline::WidgetFamily family,
                                                    platform::Date now) const;

    std::vector<widgets::StaticConfiguration> m_widgets;
    HostSettings m_settings;
};

}  // namespace widgets
