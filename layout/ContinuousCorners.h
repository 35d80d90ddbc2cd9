#pragma once

#include "layout/Geometry.h"
#include "layout/Path.h"
#include "ui/View.h"

namespace layout {

// How far a continuous corner of radius r reaches along each edge, in units of r.
inline constexpr double continuousCornerExtent = 1.52866483;

// The outline of `rect` with rounded corners, clockwise from the top edge, closed. The radius is
// clamped to half the shorter side; zero or less gives the plain rectangle. Circular corners are
// quarter arcs (as cubics). Continuous corners are the platform's smooth curve, which begins
// 1.52866483·r from each corner; where that does not fit in half the shorter side the corner
// blends toward the circular arc, so that r = min(width, height) / 2 still gives a capsule.
[[nodiscard]] Path roundedRectPath(const Rect& rect, double cornerRadius,
                                   ui::RoundedCornerStyle style);

}  // namespace layout
