#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace AppGroupContainer {

// The platform's string equality: two UTF-8 texts are equal when they are canonically
// equivalent ("é" precomposed equals "e" followed by a combining acute accent).
[[nodiscard]] bool canonicallyEquivalent(std::string_view a, std::string_view b);
[[nodiscard]] inline bool canonicallyEquivalent(const std::string& a, const std::string& b) {
    return canonicallyEquivalent(std::string_view(a), std::string_view(b));
}

// Both without value, or both with canonically equivalent texts.
[[nodiscard]] bool canonicallyEquivalent(const std::optional<std::string>& a,
                                         const std::optional<std::string>& b);

}  // namespace AppGroupContainer
