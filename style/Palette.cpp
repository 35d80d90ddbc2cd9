#include "style/Palette.h"

#include <array>
#include <utility>

namespace Palette {

std::optional<std::string_view> nameOf(const Color& opaque) {
    static constexpr std::array<std::pair<std::string_view, Color>, 8> named{{
        {"background", background},
        {"surface", surface},
        {"textPrimary", textPrimary},
        {"textSecondary", textSecondary},
        {"accent", accent},
        {"bullish", bullish},
        {"bearish", bearish},
        {"neutral", neutral},
    }};
    for (const auto& [name, color] : named) {
        if (color.red == opaque.red && color.green == opaque.green && color.blue == opaque.blue) {
            return name;
        }
    }
    return std::nullopt;
}

}  // namespace Palette
