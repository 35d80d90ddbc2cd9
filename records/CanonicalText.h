#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <string_view>

namespace AppGroupContainer {

// The platform's string equality: two UTF-8 texts are equal when they are canonically
// equivalent ("é" precomposed equals "e" followed by a combining acute accent).
[[nodiscard]] bool canonicallyEquivalent(std::string_view a, std::string_view b);

// Optional texts: both without value, or both with canonically equivalent texts.
template <typename Optional>
requires std::same_as<Optional, std::optional<std::string>>
[[nodiscard]] bool canonicallyEquivalent(const Optional& a, const Optional& b) {
    if (a.has_value() != b.has_value()) return false;
    return !a || canonicallyEquivalent(std::string_view(*a), std::string_view(*b));
}

}  // namespace AppGroupContainer
