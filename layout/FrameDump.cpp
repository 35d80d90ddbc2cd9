#include "layout/FrameDump.h"

#include "ui/TreeDump.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace layout {

using namespace ui;

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

std::string dumpRect(const Rect& rect) {
    return "(" + dumpLength(rect.x) + ", " + dumpLength(rect.y) + ", " + dumpLength(rect.width) +
           " × " + dumpLength(rect.height) + ")";
}

std::string dumpFrames(const LayoutResult& result, ui::ColorNames names) {
    std::string out;
    for (const auto& frame : result.frames) {
        out.append(std::size_t(frame.depth) * 2, ' ');
        out += frame.description;
        if (frame.color) out += ' ' + ui::dumpColor(*frame.color, names, dumpLength);
        out += frame.detail;
        out += ' ';
        out += dumpRect(frame.rect);
        out += '\n';
    }
    return out;
}

}  // namespace layout
