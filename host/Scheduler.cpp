#include "host/Scheduler.h"

#include "platform/Fatal.h"

#include <algorithm>

namespace host {

using namespace widgets;

Scheduler::Scheduler(std::vector<Placement> placements)
    : m_placements(std::move(placements)),
      m_reloadAfter(m_placements.size(), platform::Date::min()),
      m_latest(m_placements.size()) {
    VELMORA_ASSERT(!m_placements.empty());
}

std::vector<std::size_t> Scheduler::dueAt(platform::Date now) const {
    std::vector<std::size_t> due;
    for (std::size_t i = 0; i < m_placements.size(); ++i)
        if (m_reloadAfter[i] <= now) due.push_back(i);
    return due;
}

std::vector<TimelineRequestRecord> Scheduler::runDue(const WidgetHost& host,
                                                     const platform::Clock& clock) {
    const platform::Date now = clock.now();
    std::vector<TimelineRequestRecord> records;
    for (const std::size_t i : dueAt(now)) {
        const std::size_t number = m_latest[i] ? m_latest[i]->number + 1 : 1;
        TimelineRequestRecord record{i, number, m_placements[i], now,
                                     host.request(m_placements[i], Request::timeline, clock)};
        // A reload date at or before now would make the host ask again at once, in a tight
        // loop: wait at least until the next moment after this request.
        m_reloadAfter[i] =
            std::max(record.timeline.policy.date, now + std::chrono::microseconds(1));
        m_latest[i] = record;
        records.push_back(std::move(record));
    }
    return records;
}

platform::Date Scheduler::nextReload() const {
    return *std::min_element(m_reloadAfter.begin(), m_reloadAfter.end());
}

void Scheduler::reloadNow(std::string_view kind) {
    for (std::size_t i = 0; i < m_placements.size(); ++i)
        if (m_placements[i].kind == kind) m_reloadAfter[i] = platform::Date::min();
}

}  // namespace host
