#include "records/PortfolioSnapshot.h"

#include "records/CanonicalText.h"

namespace AppGroupContainer {

// Doubles compare with ==: a NaN equals nothing, +0 equals -0.
bool operator==(const PortfolioSnapshot& a, const PortfolioSnapshot& b) {
    return a.totalValue == b.totalValue && a.totalPnl == b.totalPnl &&
           a.totalReturn == b.totalReturn && a.dailyChange == b.dailyChange &&
           a.dailyChangePct == b.dailyChangePct && a.holdingCount == b.holdingCount &&
           canonicallyEquivalent(a.sourceLabel, b.sourceLabel) && a.updatedAt == b.updatedAt;
}

}  // namespace AppGroupContainer
