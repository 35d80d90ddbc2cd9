#pragma once

#include "style/Color.h"

#include <optional>
#include <string_view>

// The one fixed dark colour scheme of both widgets. Constants: initialised at compile time,
// so no first-use race exists.
namespace Palette {

inline constexpr Color background = Color::rgb8(13, 17, 23);       // #0D1117
inline constexpr Color surface = Color::rgb8(22, 27, 34);          // #161B22
inline constexpr Color textPrimary = Color::rgb8(230, 237, 243);   // #E6EDF3
inline constexpr Color textSecondary = Color::rgb8(139, 148, 158); // #8B949E
inline constexpr Color accent = Color::rgb8(234, 88, 12);          // #EA580C
inline constexpr Color bullish = Color::rgb8(34, 197, 94);         // #22C55E
inline constexpr Color bearish = Color::rgb8(239, 68, 68);         // #EF4444
inline constexpr Color neutral = Color::rgb8(156, 163, 175);       // #9CA3AF

// "background", "accent", ... for a colour equal to a palette colour (any opacity
// aside), else nothing. Used by the tree dump.
[[nodiscard]] std::optional<std::string_view> nameOf(const Color& opaque);

}  // namespace Palette
