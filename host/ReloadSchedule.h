#pragma once

#include "host/Placement.h"
#include "host/WidgetHost.h"
#include "platform/Clock.h"

#include <functional>
#include <optional>
#include <vector>

namespace host {

// What the host did for one placement at one moment.
struct TimelineRequestRecord {
    Placement placement;
    platform::Date requestedAt;
    widgets::AnyTimeline timeline;
};

// Honours the placements' reload policies: a placement's first timeline is asked for at once,
// every later one at or after the date its last timeline named, never before.
class ReloadSchedule {
public:
    explicit ReloadSchedule(std::vector<Placement> placements);

    // Asks for a timeline for every placement that is due at the clock's now, in placement
    // order, and hands each answer to `onRequest`.
    void runDue(const WidgetHost& host, const platform::Clock& clock,
                const std::function<void(const TimelineRequestRecord&)>& onRequest);

    // The earliest reload date of any placement; none before the first run.
    [[nodiscard]] std::optional<platform::Date> nextReload() const;

    [[nodiscard]] const std::vector<Placement>& placements() const { return m_placements; }

private:
    std::vector<Placement> m_placements;
    std::vector<std::optional<platform::Date>> m_reloadAfter;  // per placement; none: never asked
};

}  // namespace host
