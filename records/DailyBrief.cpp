#include "records/DailyBrief.h"

#include "records/CanonicalText.h"

namespace AppGroupContainer {

bool operator==(const DailyBrief& a, const DailyBrief& b) {
    return canonicallyEquivalent(a.ticker, b.ticker) &&
           canonicallyEquivalent(a.companyName, b.companyName) &&
           canonicallyEquivalent(a.summary, b.summary) &&
           canonicallyEquivalent(a.signal, b.signal) && a.score == b.score &&
           a.generatedAt == b.generatedAt;
}

}  // namespace AppGroupContainer
