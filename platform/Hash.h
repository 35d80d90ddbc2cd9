#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace platform {

// Folds the standard hash of one more field into `seed`, so that a key of several fields
// hashes as a whole: the golden-ratio constant spreads small values, the shifts carry every
// earlier field into every bit.
template <typename T>
void hashCombine(std::size_t& seed, const T& value) {
    seed ^= std::hash<T>{}(value) + 0x9e3779b97f4a7c15ull + (seed << 6) + (seed >> 2);
}

// A double's bits, -0 as 0 so that equal doubles hash alike: the standard hash of a double
// hashes its bytes one by one, several times slower, and hot keys hold several.
[[nodiscard]] inline std::uint64_t hashBits(double value) {
    return std::bit_cast<std::uint64_t>(value + 0.0);
}

}  // namespace platform
