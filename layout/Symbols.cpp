#include "layout/Symbols.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <set>
#include <string>

namespace layout {

using namespace ui;
namespace {

constexpr std::string_view sparkles = "sparkles";
constexpr std::string_view chartLineUptrend = "chart.line.uptrend.xyaxis";
constexpr std::string_view star = "star";

// Stroke weight as a fraction of the font size, heavier with the font's weight.
double lineWeight(FontWeight weight) {
    switch (weight) {
        case FontWeight::regular:
            return 0.08;
        case FontWeight::medium:
            return 0.09;
        case FontWeight::semibold:
            return 0.10;
        case FontWeight::bold:
            return 0.115;
    }
    return 0.08;
}

// The glyphs are drawn in a unit square (0...1 across and down) mapped onto the symbol's box,
// their ink kept clear of the edges by more than half the heaviest line.
struct UnitSquare {
    double x0, y0, side;
    [[nodiscard]] Point operator()(double u, double v) const {
        return {x0 + u * side, y0 + v * side};
    }
};

// A four-pointed sparkle: tips up, right, down and left, joined by inward-curving sides.
void addSparkle(Path& path, const UnitSquare& unit, double cx, double cy, double radius) {
    const Point tips[4] = {
        {cx, cy - radius}, {cx + radius, cy}, {cx, cy + radius}, {cx - radius, cy}};
    const double pull = 0.1 * radius;  // how far each side's waist stays from the centre
    const Point waists[4] = {{cx + pull, cy - pull},
                             {cx + pull, cy + pull},
                             {cx - pull, cy + pull},
                             {cx - pull, cy - pull}};
    path.moveTo(unit(tips[0].x, tips[0].y));
    for (int i = 0; i < 4; ++i) {
        const Point from = tips[i], to = tips[(i + 1) % 4], q = waists[i];
        // The quadratic curve through the waist's control point, as a cubic.
        path.curveTo(unit(from.x + 2.0 / 3 * (q.x - from.x), from.y + 2.0 / 3 * (q.y - from.y)),
                     unit(to.x + 2.0 / 3 * (q.x - to.x), to.y + 2.0 / 3 * (q.y - to.y)),
                     unit(to.x, to.y));
    }
    path.close();
}

SymbolGlyph sparklesGlyph(const UnitSquare& unit) {
    Path stars;
    addSparkle(stars, unit, 0.38, 0.52, 0.34);
    addSparkle(stars, unit, 0.78, 0.22, 0.16);
    addSparkle(stars, unit, 0.80, 0.70, 0.10);
    return {{stars, true, 0}};
}

SymbolGlyph chartGlyph(const UnitSquare& unit, double line) {
    Path axes;
    axes.moveTo(unit(0.10, 0.10));
    axes.lineTo(unit(0.10, 0.86));
    axes.lineTo(unit(0.92, 0.86));
    Path trend;
    trend.moveTo(unit(0.26, 0.66));
    trend.lineTo(unit(0.44, 0.44));
    trend.lineTo(unit(0.60, 0.58));
    trend.lineTo(unit(0.88, 0.22));
    return {{axes, false, line}, {trend, false, line}};
}

SymbolGlyph starGlyph(const UnitSquare& unit, double line) {
    constexpr double cx = 0.5, cy = 0.52, outer = 0.43, inner = 0.43 * 0.47;
    Path outline;
    for (int i = 0; i < 10; ++i) {
        const double angle = i * std::numbers::pi / 5;  // from straight up, clockwise
        const double radius = i % 2 == 0 ? outer : inner;
        const Point p = unit(cx + radius * std::sin(angle), cy - radius * std::cos(angle));
        if (i == 0)
            outline.moveTo(p);
        else
            outline.lineTo(p);
    }
    outline.close();
    return {{outline, false, line}};
}

// The names come from the views' code, so the set stays small.
void reportUnknownOnce(std::string_view name) {
    thread_local std::set<std::string, std::less<>> reported;
    if (!reported.emplace(name).second) return;
    std::fprintf(stderr, "velmora: unknown symbol '%.*s'\n", int(name.size()), name.data());
}

}  // namespace

bool isKnownSymbol(std::string_view name) {
    return name == sparkles || name == chartLineUptrend || name == star;
}

std::optional<SymbolGlyph> symbolGlyph(std::string_view name, const Rect& box, const Font& font) {
    if (!isKnownSymbol(name)) {
        reportUnknownOnce(name);
        return std::nullopt;
    }
    // The largest square centred in the box (the box is square when layout sized it).
    const double side = std::max(0.0, std::min(box.width, box.height));
    const UnitSquare unit{box.x + (box.width - side) / 2, box.y + (box.height - side) / 2, side};
    const double line = std::max(font.size, 0.0) * lineWeight(font.weight);
    if (name == sparkles) return sparklesGlyph(unit);
    if (name == chartLineUptrend) return chartGlyph(unit, line);
    return starGlyph(unit, line);
}

}  // namespace layout
