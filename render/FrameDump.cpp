#include "render/FrameDump.h"

#include "style/Palette.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace render {

std::string dumpLength(double value) {
    if (std::isinf(value)) return value > 0 ? "∞" : "-∞";
    if (std::isnan(value)) return "nan";
    double rounded = std::round(value * 100) / 100;
    if (rounded == 0) rounded = 0;  // no "-0"
    char buffer[64];
    auto end =
        std::to_chars(buffer, buffer + sizeof buffer, rounded, std::chars_format::fixed, 2).ptr;
    while (end[-1] == '0') --end;
    if (end[-1] == '.') --end;
    return std::string(buffer, end);
}

std::string dumpColorName(const Color& color) {
    std::string out;
    if (const auto name = Palette::nameOf(color)) {
        out = "Palette.";
        out += *name;
    } else {
        auto byte = [](double component) {
            return static_cast<unsigned>(std::lround(std::clamp(component, 0.0, 1.0) * 255));
        };
        char hex[8];
        std::snprintf(hex, sizeof hex, "#%02X%02X%02X", byte(color.red), byte(color.green),
                      byte(color.blue));
        out = hex;
    }
    if (color.alpha != 1) out += ".opacity(" + dumpLength(color.alpha) + ")";
    return out;
}

std::string dumpRect(const Rect& rect) {
    return "(" + dumpLength(rect.x) + ", " + dumpLength(rect.y) + ", " + dumpLength(rect.width) +
           " × " + dumpLength(rect.height) + ")";
}

std::string dumpFrames(const LayoutResult& result) {
    std::string out;
    for (const auto& frame : result.frames) {
        out.append(std::size_t(frame.depth) * 2, ' ');
        out += frame.description;
        out += ' ';
        out += dumpRect(frame.rect);
        out += '\n';
    }
    return out;
}

}  // namespace render
