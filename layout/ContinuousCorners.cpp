#include "layout/ContinuousCorners.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace layout {

using namespace ui;
namespace {

// One corner as seen from the corner itself: a point (a, b) lies a along the edge that comes
// into the corner and b along the edge that leaves it, in units of the radius. The curve runs
// from a point on the incoming edge (b = 0) to a point on the outgoing edge (a = 0) as
// cubic, line, cubic, line, cubic: the start, then three points per cubic and one per line.
using CornerPoints = std::array<Point, 12>;

constexpr CornerPoints continuousCorner = {{
    {continuousCornerExtent, 0},
    {1.08849323, 0},
    {0.86840689, 0},
    {0.66993427, 0.065496},
    {0.63149399, 0.074911},
    {0.37282392, 0.16905899},
    {0.16906013, 0.37282401},
    {0.07491176, 0.63149399},
    {0.065496, 0.66993427},
    {0, 0.86840689},
    {0, 1.08849323},
    {0, continuousCornerExtent},
}};

// The quarter circle of radius 1 in the same shape (three cubics of 30 degrees, with empty
// lines between them), so that the two can be blended point by point.
CornerPoints circularCornerInThirds() {
    auto at = [](double angle) { return Point{1 - std::sin(angle), 1 - std::cos(angle)}; };
    auto tangent = [](double angle) { return Point{-std::cos(angle), std::sin(angle)}; };
    constexpr double step = std::numbers::pi / 6;
    const double handle = 4.0 / 3.0 * std::tan(step / 4);
    CornerPoints points;
    points[0] = at(0);
    for (int piece = 0; piece < 3; ++piece) {
        const double from = piece * step;
        const double to = from + step;
        const Point start = at(from), end = at(to), t0 = tangent(from), t1 = tangent(to);
        const int base = 1 + piece * 4;
        points[base] = {start.x + handle * t0.x, start.y + handle * t0.y};
        points[base + 1] = {end.x - handle * t1.x, end.y - handle * t1.y};
        points[base + 2] = end;
        if (piece < 2) points[base + 3] = end;  // the empty line to the next piece
    }
    return points;
}

// A corner of a rectangle: where it is and which way the outline runs through it (clockwise).
struct Corner {
    Point corner;
    Point incoming;  // direction of travel along the edge that arrives at the corner
    Point outgoing;  // direction of travel along the edge that leaves it
};

Point place(const Corner& c, Point local) {
    return {c.corner.x - local.x * c.incoming.x + local.y * c.outgoing.x,
            c.corner.y - local.x * c.incoming.y + local.y * c.outgoing.y};
}

double distance(Point a, Point b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

void lineToUnlessThere(Path& path, Point from, Point to) {
    if (distance(from, to) > 1e-9) path.lineTo(to);
}

}  // namespace

Path roundedRectPath(const Rect& rect, double cornerRadius, RoundedCornerStyle style) {
    Path path;
    const double width = std::max(rect.width, 0.0);
    const double height = std::max(rect.height, 0.0);
    const double half = std::min(width, height) / 2;
    const double r = std::clamp(std::isfinite(cornerRadius) ? cornerRadius : 0.0, 0.0, half);
    const double minX = rect.x, minY = rect.y, maxX = rect.x + width, maxY = rect.y + height;

    if (r <= 0) {
        path.moveTo({minX, minY});
        path.lineTo({maxX, minY});
        path.lineTo({maxX, maxY});
        path.lineTo({minX, maxY});
        path.close();
        return path;
    }

    // The corner's points in units of one point, measured from the corner.
    CornerPoints local;
    if (style == RoundedCornerStyle::circular) {
        // One cubic per quarter circle; the remaining slots stay unused.
        constexpr double k = 0.5522847498307936;
        local[0] = {r, 0};
        local[1] = {r * (1 - k), 0};
        local[2] = {0, r * (1 - k)};
        local[3] = {0, r};
    } else if (continuousCornerExtent * r <= half) {
        for (std::size_t i = 0; i < local.size(); ++i)
            local[i] = {continuousCorner[i].x * r, continuousCorner[i].y * r};
    } else {
        // Too little room for the full curve: the largest continuous corner that fits, blended
        // toward the quarter circle that fits, all the way to it at r = half (a capsule). Both
        // reach exactly half the shorter side; a larger radius only makes the corner rounder.
        static const CornerPoints circular = circularCornerInThirds();
        const double fitted = half / continuousCornerExtent;
        const double t = std::clamp((r - fitted) / (half - fitted), 0.0, 1.0);
        for (std::size_t i = 0; i < local.size(); ++i) {
            local[i] = {(1 - t) * continuousCorner[i].x * fitted + t * circular[i].x * half,
                        (1 - t) * continuousCorner[i].y * fitted + t * circular[i].y * half};
        }
    }

    const Corner corners[4] = {
        {{maxX, minY}, {1, 0}, {0, 1}},    // top right
        {{maxX, maxY}, {0, 1}, {-1, 0}},   // bottom right
        {{minX, maxY}, {-1, 0}, {0, -1}},  // bottom left
        {{minX, minY}, {0, -1}, {1, 0}},   // top left
    };
    const bool circular = style == RoundedCornerStyle::circular;
    Point current = place(corners[3], {0, local[circular ? 3 : 11].y});
    path.moveTo(current);
    for (const Corner& corner : corners) {
        lineToUnlessThere(path, current, place(corner, local[0]));
        if (circular) {
            path.curveTo(place(corner, local[1]), place(corner, local[2]), place(corner, local[3]));
            current = place(corner, local[3]);
            continue;
        }
        for (int piece = 0; piece < 3; ++piece) {
            const int base = 1 + piece * 4;
            path.curveTo(place(corner, local[base]), place(corner, local[base + 1]),
                         place(corner, local[base + 2]));
            current = place(corner, local[base + 2]);
            if (piece < 2) {
                const Point next = place(corner, local[base + 3]);
                lineToUnlessThere(path, current, next);
                current = next;
            }
        }
    }
    path.close();
    return path;
}

}  // namespace layout
