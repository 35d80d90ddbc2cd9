#pragma once

namespace ui {

enum class FontWeight { regular, medium, semibold, bold };
enum class FontDesign { standard, monospaced };  // the platform's .default and .monospaced

// The system font at a size in points, a weight and a design.
struct Font {
    double size = 13;
    FontWeight weight = FontWeight::regular;
    FontDesign design = FontDesign::standard;

    [[nodiscard]] static constexpr Font system(double size, FontWeight weight = FontWeight::regular,
                                               FontDesign design = FontDesign::standard) {
        return {size, weight, design};
    }

    bool operator==(const Font&) const = default;
};

}  // namespace ui
