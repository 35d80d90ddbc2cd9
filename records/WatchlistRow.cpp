#include "records/WatchlistRow.h"

#include "records/CanonicalText.h"

namespace AppGroupContainer {

bool operator==(const WatchlistRow& a, const WatchlistRow& b) {
    return canonicallyEquivalent(a.ticker, b.ticker) &&
           canonicallyEquivalent(a.companyName, b.companyName) && a.price == b.price &&
           a.changePct == b.changePct && canonicallyEquivalent(a.signal, b.signal) &&
           a.score == b.score;
}

}  // namespace AppGroupContainer
