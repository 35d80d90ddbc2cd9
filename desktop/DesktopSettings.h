#pragma once

namespace desktop {

// How the desktop board arranges its widgets, in points: a grid of columns that two small
// widgets fill as one medium or large one does (2 × 170 + 24 = 364), rows as tall as their
// tallest widget, and every widget clipped to a continuous rounded rectangle.
struct DesktopSettings {
    double columnWidth = 170;
    double gap = 24;           // between columns, between rows
    double margin = 24;        // around the grid
    double cornerRadius = 22;  // of each widget's continuous corners
    int minimumColumns = 2;    // a medium widget always fits

    bool operator==(const DesktopSettings&) const = default;
};

}  // namespace desktop
