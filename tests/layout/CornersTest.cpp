#include "layout/ContinuousCorners.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace ui;

using namespace layout;

namespace {

// The points a path's segments end at, and whether every point (controls included) lies in `r`.
std::vector<Point> onCurvePoints(const Path& path, const Rect& r, bool& allInside) {
    std::vector<Point> ends;
    allInside = true;
    for (const PathElement& e : path.elements) {
        if (e.kind == PathElement::Kind::close) continue;
        const int count = e.kind == PathElement::Kind::curveTo ? 3 : 1;
        for (int i = 0; i < count; ++i) {
            const Point p = e.points[i];
            allInside = allInside && p.x >= r.x - 1e-9 && p.x <= r.maxX() + 1e-9 &&
                        p.y >= r.y - 1e-9 && p.y <= r.maxY() + 1e-9;
        }
        ends.push_back(e.points[count - 1]);
    }
    return ends;
}

bool contains(const std::vector<Point>& points, Point wanted) {
    for (Point p : points)
        if (std::abs(p.x - wanted.x) < 1e-9 && std::abs(p.y - wanted.y) < 1e-9) return true;
    return false;
}

}  // namespace

TEST(ContinuousCorners, FullCurveBeginsAtItsExtentAndStaysInsideTheRect) {
    const Rect rect{10, 20, 200, 100};
    const double r = 12;
    const Path path = roundedRectPath(rect, r, RoundedCornerStyle::continuous);

    ASSERT_FALSE(path.elements.empty());
    EXPECT_EQ(path.elements.front().kind, PathElement::Kind::moveTo);
    EXPECT_NEAR(path.elements.front().points[0].x, 10 + 1.52866483 * r, 1e-9);
    EXPECT_DOUBLE_EQ(path.elements.front().points[0].y, 20);
    bool allInside = false;
    const std::vector<Point> ends = onCurvePoints(path, rect, allInside);
    EXPECT_TRUE(allInside);
    // The curve's middle passes at (0.07491176, 0.63149399)·r from the top right corner.
    EXPECT_TRUE(contains(ends, {rect.maxX() - 0.07491176 * r, 20 + 0.63149399 * r}));
}

TEST(ContinuousCorners, HalfTheShorterSideGivesACapsule) {
    const Rect rect{0, 0, 100, 40};
    for (RoundedCornerStyle style :
         {RoundedCornerStyle::continuous, RoundedCornerStyle::circular}) {
        const Path path = roundedRectPath(rect, 20, style);
        EXPECT_EQ(roundedRectPath(rect, 500, style), path) << "the radius is clamped";

        bool allInside = false;
        const std::vector<Point> ends = onCurvePoints(path, rect, allInside);
        EXPECT_TRUE(allInside);
        // The two corners of each short side meet at its middle.
        EXPECT_TRUE(contains(ends, {100, 20}));
        EXPECT_TRUE(contains(ends, {0, 20}));
        // Every point the outline passes through on a cap lies on its half circle.
        for (Point p : ends) {
            if (p.x > 20 && p.x < 80) continue;
            const double centre = p.x <= 20 ? 20 : 80;
            EXPECT_NEAR(std::hypot(p.x - centre, p.y - 20), 20, 1e-9) << p.x << ", " << p.y;
        }
    }
}
