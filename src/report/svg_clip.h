// Points, rectangles and the clipping of lines to a graph's plot area, for the SVG graphs
// of the HTML report.
#pragma once

#include <vector>

namespace fiofla::report_detail {

/// A point in pixels.
struct SPoint {
  double x;
  double y;
};

/// A rectangle in pixels, y downwards.
struct SRect {
  double left;
  double top;
  double right;
  double bottom;
  bool Contains(SPoint p, double tolerance = 0.0) const {
    return p.x >= left - tolerance && p.x <= right + tolerance && p.y >= top - tolerance &&
           p.y <= bottom + tolerance;
  }
};

/// Cuts segment a-b to `r` (Liang-Barsky); false when nothing of it is inside.
bool ClipSegment(SPoint& a, SPoint& b, SRect const& r);

/// The visible runs of a polyline. The SVG clip path would hide the rest anyway; cutting
/// here keeps far-off coordinates out of the file.
std::vector<std::vector<SPoint>> ClipPolyline(std::vector<SPoint> const& points, SRect const& r);

}  // namespace fiofla::report_detail
