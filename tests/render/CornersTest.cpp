#include "render/ContinuousCorners.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace render;

namespace {

std::vector<Point> allPoints(const Path& path) {
    std::vector<Point> points;
    for (const PathElement& e : path.elements) {
        if (e.kind == PathElement::Kind::close) continue;
        const int count = e.kind == PathElement::Kind::curveTo ? 3 : 1;
        for (int i = 0; i < count; ++i) points.push_back(e.points[i]);
    }
    return points;
}

// End points of the segments: the points the outline passes through.
std::vector<Point> onCurvePoints(const Path& path) {
    std::vector<Point> points;
    for (const PathElement& e : path.elements) {
        if (e.kind == PathElement::Kind::curveTo)
            points.push_back(e.points[2]);
        else if (e.kind != PathElement::Kind::close)
            points.push_back(e.points[0]);
    }
    return points;
}

bool inside(Point p, const Rect& r) {
    constexpr double slack = 1e-9;
    return p.x >= r.x - slack && p.x <= r.maxX() + slack && p.y >= r.y - slack &&
           p.y <= r.maxY() + slack;
}

bool contains(const std::vector<Point>& points, Point wanted, double tolerance = 1e-9) {
    for (Point p : points)
        if (std::abs(p.x - wanted.x) < tolerance && std::abs(p.y - wanted.y) < tolerance)
            return true;
    return false;
}

int count(const Path& path, PathElement::Kind kind) {
    int n = 0;
    for (const PathElement& e : path.elements) n += e.kind == kind;
    return n;
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
    EXPECT_EQ(path.elements.back().kind, PathElement::Kind::close);
    EXPECT_EQ(count(path, PathElement::Kind::curveTo), 12);  // three cubics per corner

    for (Point p : allPoints(path)) EXPECT_TRUE(inside(p, rect)) << p.x << ", " << p.y;

    // Each corner's curve reaches 1.52866483·r along both of its edges.
    const std::vector<Point> ends = onCurvePoints(path);
    const double e = 1.52866483 * r;
    for (Point p : {Point{rect.maxX() - e, 20}, Point{rect.maxX(), 20 + e},
                    Point{rect.maxX(), rect.maxY() - e}, Point{rect.maxX() - e, rect.maxY()},
                    Point{10 + e, rect.maxY()}, Point{10, rect.maxY() - e}, Point{10, 20 + e}}) {
        EXPECT_TRUE(contains(ends, p)) << p.x << ", " << p.y;
    }
    // The curve's middle passes at (0.07491176, 0.63149399)·r from the top right corner.
    EXPECT_TRUE(contains(ends, {rect.maxX() - 0.07491176 * r, 20 + 0.63149399 * r}));

    // The four corners are mirror images: the outline is symmetric about both centre lines (to
    // the precision of the published constants, which differ from their mirror in the 7th digit).
    const double cx = rect.x + rect.width / 2, cy = rect.y + rect.height / 2;
    for (Point p : ends) {
        EXPECT_TRUE(contains(ends, {2 * cx - p.x, p.y}, 1e-5 * r)) << p.x << ", " << p.y;
        EXPECT_TRUE(contains(ends, {p.x, 2 * cy - p.y}, 1e-5 * r)) << p.x << ", " << p.y;
    }
}

TEST(ContinuousCorners, HalfTheShorterSideGivesACapsule) {
    const Rect rect{0, 0, 100, 40};
    for (RoundedCornerStyle style :
         {RoundedCornerStyle::continuous, RoundedCornerStyle::circular}) {
        const Path path = roundedRectPath(rect, 20, style);
        EXPECT_EQ(roundedRectPath(rect, 500, style), path) << "the radius is clamped";

        const std::vector<Point> ends = onCurvePoints(path);
        EXPECT_TRUE(contains(ends, {20, 0}));
        EXPECT_TRUE(contains(ends, {80, 0}));
        // The two corners of each short side meet at its middle.
        EXPECT_TRUE(contains(ends, {100, 20}));
        EXPECT_TRUE(contains(ends, {0, 20}));
        // Every point the outline passes through on a cap lies on its half circle.
        for (Point p : ends) {
            if (p.x > 20 && p.x < 80) continue;
            const double centre = p.x <= 20 ? 20 : 80;
            EXPECT_NEAR(std::hypot(p.x - centre, p.y - 20), 20, 1e-9) << p.x << ", " << p.y;
        }
        for (Point p : allPoints(path)) EXPECT_TRUE(inside(p, rect));
    }
}

TEST(ContinuousCorners, BlendsTowardTheArcWhenTheCurveDoesNotFit) {
    const Rect rect{0, 0, 60, 40};
    const double half = 20;
    const double threshold = half / 1.52866483;  // the largest radius whose full curve fits
    const Point corner{60, 0};
    double previousStart = 0, previousDepth = 0;
    for (double r = threshold - 2; r <= half; r += 0.5) {
        const Path path = roundedRectPath(rect, r, RoundedCornerStyle::continuous);
        const double start = path.elements.front().points[0].x;
        if (r <= threshold)
            EXPECT_NEAR(start, 1.52866483 * r, 1e-9);
        else
            EXPECT_NEAR(start, half, 1e-9) << "the curve fills half the shorter side, r = " << r;
        EXPECT_GE(start, previousStart - 1e-9);
        previousStart = start;
        for (Point p : allPoints(path)) EXPECT_TRUE(inside(p, rect)) << "r = " << r;

        // The corner gets rounder: the outline keeps further from the corner itself.
        double depth = INFINITY;
        for (Point p : onCurvePoints(path))
            depth = std::min(depth, std::hypot(p.x - corner.x, p.y - corner.y));
        EXPECT_GT(depth, previousDepth) << "r = " << r;
        previousDepth = depth;
    }
}

TEST(ContinuousCorners, PlainAndCircularShapes) {
    const Rect rect{5, 5, 30, 20};
    for (double radius : {0.0, -3.0, std::nan("")}) {
        const Path plain = roundedRectPath(rect, radius, RoundedCornerStyle::continuous);
        EXPECT_EQ(count(plain, PathElement::Kind::curveTo), 0);
        EXPECT_EQ(onCurvePoints(plain), (std::vector<Point>{{5, 5}, {35, 5}, {35, 25}, {5, 25}}));
    }
    const Path circular = roundedRectPath(rect, 4, RoundedCornerStyle::circular);
    EXPECT_EQ(count(circular, PathElement::Kind::curveTo), 4);
    EXPECT_EQ(circular.elements.front().points[0], (Point{9, 5}));
    const std::vector<Point> ends = onCurvePoints(circular);
    EXPECT_TRUE(contains(ends, {35, 9}));
    EXPECT_TRUE(contains(ends, {5, 21}));
}
