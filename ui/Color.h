#pragma once

namespace ui {

// An sRGB colour with an opacity; components in 0...1.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    // From 0-255 components, opaque.
    [[nodiscard]] static constexpr Color rgb8(int r, int g, int b) {
        return {r / 255.0, g / 255.0, b / 255.0, 1.0};
    }
    [[nodiscard]] static constexpr Color white() { return {1, 1, 1, 1}; }
    [[nodiscard]] static constexpr Color black() { return {0, 0, 0, 1}; }

    // The same colour at `factor` times its opacity (the platform's Color.opacity).
    [[nodiscard]] constexpr Color opacity(double factor) const {
        return {red, green, blue, alpha * factor};
    }

    bool operator==(const Color&) const = default;
};

}  // namespace ui
