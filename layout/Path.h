#pragma once

#include "layout/Geometry.h"

#include <vector>

namespace layout {

// A vector path in points: move, line, cubic and close segments, as Cairo, SVG and PDF draw them.
// Pure geometry, so shapes can be built and checked without a drawing library.
struct PathElement {
    enum class Kind { moveTo, lineTo, curveTo, close };
    Kind kind = Kind::moveTo;
    Point points[3];  // moveTo, lineTo: points[0]; curveTo: control 1, control 2, end

    bool operator==(const PathElement&) const = default;
};

struct Path {
    std::vector<PathElement> elements;

    void moveTo(Point p) { elements.push_back({PathElement::Kind::moveTo, {p, {}, {}}}); }
    void lineTo(Point p) { elements.push_back({PathElement::Kind::lineTo, {p, {}, {}}}); }
    void curveTo(Point control1, Point control2, Point end) {
        elements.push_back({PathElement::Kind::curveTo, {control1, control2, end}});
    }
    void close() { elements.push_back({PathElement::Kind::close, {}}); }

    bool operator==(const Path&) const = default;
};

}  // namespace layout
