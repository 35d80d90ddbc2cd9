#include "studio/DayPlan.h"

#include <iterator>

namespace studio {

DayPlan planDay(hosting::Extension& extension, const std::vector<timeline::Placement>& placements,
                platform::Date from, platform::Date until,
                std::optional<hosting::ReloadBudget> budget) {
    DayPlan plan;
    hosting::HostingSession session(placements, budget);
    for (platform::Date now = from; now < until;) {
        std::vector<hosting::ReloadOutcome> outcomes;
        for (const auto& due : session.due(now))
            outcomes.push_back(hosting::runReload(extension, due, {1, ipc::ImageEncoding::none}));
        auto update = session.apply(std::move(outcomes), now);
        std::move(update.requests.begin(), update.requests.end(),
                  std::back_inserter(plan.requests));
        std::move(update.failures.begin(), update.failures.end(),
                  std::back_inserter(plan.failures));
        const auto next = session.nextReload();
        if (!next) break;
        now = *next;
    }
    return plan;
}

}  // namespace studio
