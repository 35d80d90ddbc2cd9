#pragma once

#include "ui/Color.h"
#include "ui/TreeDump.h"

#include <array>

#include <optional>
#include <string_view>

// The one fixed dark colour scheme of both widgets. Constants: initialised at compile time,
// so no first-use race exists.
namespace Palette {

inline constexpr ui::Color background = ui::Color::rgb8(13, 17, 23);        // #0D1117
inline constexpr ui::Color surface = ui::Color::rgb8(22, 27, 34);           // #161B22
inline constexpr ui::Color textPrimary = ui::Color::rgb8(230, 237, 243);    // #E6EDF3
inline constexpr ui::Color textSecondary = ui::Color::rgb8(139, 148, 158);  // #8B949E
inline constexpr ui::Color accent = ui::Color::rgb8(234, 88, 12);           // #EA580C
inline constexpr ui::Color bullish = ui::Color::rgb8(34, 197, 94);          // #22C55E
inline constexpr ui::Color bearish = ui::Color::rgb8(239, 68, 68);          // #EF4444
inline constexpr ui::Color neutral = ui::Color::rgb8(156, 163, 175);        // #9CA3AF

// The palette's names in the dumps: "Palette.background", "Palette.accent", ...
inline constexpr std::array<ui::ColorName, 8> names{{
    {"Palette.background", background},
    {"Palette.surface", surface},
    {"Palette.textPrimary", textPrimary},
    {"Palette.textSecondary", textSecondary},
    {"Palette.accent", accent},
    {"Palette.bullish", bullish},
    {"Palette.bearish", bearish},
    {"Palette.neutral", neutral},
}};

}  // namespace Palette
