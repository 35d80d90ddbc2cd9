// Decoding a DailyBrief from any bytes: never crashes, describes every fault, and ignores the
// order and spelling of the JSON.
#include "fuzz/FuzzChecks.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto json = fuzz::text(data, size);
    const auto result = fuzz::decodeChecked<AppGroupContainer::DailyBrief>(json);
    fuzz::requireSameOutcomeWhenRewritten(json, result);
    return 0;
}
