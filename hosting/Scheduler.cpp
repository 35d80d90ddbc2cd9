#include "hosting/Scheduler.h"

#include "platform/Fatal.h"

#include <algorithm>

using namespace timeline;

namespace hosting {

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

std::vector<TimelineRequestRecord> Scheduler::runDue(const TimelineSource& source,
                                                     const platform::Clock& clock,
                                                     std::vector<RequestFailure>& failures) {
    const platform::Date now = clock.now();
    std::vector<TimelineRequestRecord> records;
    for (const std::size_t i : dueAt(now)) {
        auto answered = source(m_placements[i], clock);
        if (!answered) {
            // Asked again after the back-off: the reload date it had has passed.
            m_reloadAfter[i] = std::max(m_backoff.failed(i, now, std::nullopt),
                                        now + std::chrono::microseconds(1));
            failures.push_back({i, m_placements[i], answered.error(), m_reloadAfter[i]});
            continue;
        }
        ExtensionReload reload = std::move(answered).value();
        const std::size_t number = m_latest[i] ? m_latest[i]->number + 1 : 1;
        TimelineRequestRecord record{
            i, number, m_placements[i], now, std::move(reload.timeline), std::move(reload.drawing)};
        // A reload date at or before now would make the host ask again at once, in a tight
        // loop: wait at least until the next moment after this request.
        m_reloadAfter[i] =
            std::max(record.timeline.policy.date, now + std::chrono::microseconds(1));
        m_latest[i] = record;
        records.push_back(std::move(record));
    }
    return records;
}

RequestFailure Scheduler::drawingFailed(std::size_t index, platform::Error error,
                                        platform::Date now) {
    const platform::Date retry = m_backoff.failed(index, now, m_reloadAfter[index]);
    m_reloadAfter[index] = std::min(m_reloadAfter[index], retry);
    return {index, m_placements[index], std::move(error), m_reloadAfter[index]};
}

platform::Date Scheduler::nextReload() const {
    return *std::min_element(m_reloadAfter.begin(), m_reloadAfter.end());
}

void Scheduler::reloadNow(std::string_view kind) {
    for (std::size_t i = 0; i < m_placements.size(); ++i)
        if (m_placements[i].kind == kind) m_reloadAfter[i] = platform::Date::min();
}

}  // namespace hosting
