#include "host/ReloadSchedule.h"

#include <algorithm>

namespace host {

using namespace ui;
using namespace timeline;
using namespace widgets;
using namespace dailybrief;
using namespace watchlist;

ReloadSchedule::ReloadSchedule(std::vector<Placement> placements)
    : m_placements(std::move(placements)), m_reloadAfter(m_placements.size()) {}

void ReloadSchedule::runDue(const WidgetHost& host, const platform::Clock& clock,
                            const std::function<void(const TimelineRequestRecord&)>& onRequest) {
    const platform::Date now = clock.now();
    for (std::size_t i = 0; i < m_placements.size(); ++i) {
        if (m_reloadAfter[i] && *m_reloadAfter[i] > now) continue;
        TimelineRequestRecord record{m_placements[i], now,
                                     host.request(m_placements[i], Request::timeline, clock)};
        // A policy in the past would make the host ask in a tight loop: wait at least until
        // the next moment after this request.
        m_reloadAfter[i] =
            std::max(record.timeline.policy.date, now + std::chrono::microseconds(1));
        onRequest(record);
    }
}

std::optional<platform::Date> ReloadSchedule::nextReload() const {
    std::optional<platform::Date> earliest;
    for (const auto& date : m_reloadAfter) {
        if (!date) return std::nullopt;
        if (!earliest || *date < *earliest) earliest = date;
    }
    return earliest;
}

}  // namespace host
