#include "report/svg_clip.h"

#include <algorithm>
#include <cmath>

namespace fiofla::report_detail {

bool ClipSegment(SPoint& a, SPoint& b, SRect const& r) {
  double t0 = 0.0, t1 = 1.0;
  double const dx = b.x - a.x, dy = b.y - a.y;
  auto edge = [&](double p, double q) {
    if (p == 0.0) return q >= 0.0;
    double const t = q / p;
    if (p < 0.0) {
      if (t > t1) return false;
      t0 = std::max(t0, t);
    } else {
      if (t < t0) return false;
      t1 = std::min(t1, t);
    }
    return true;
  };
  if (!edge(-dx, a.x - r.left) || !edge(dx, r.right - a.x) || !edge(-dy, a.y - r.top) ||
      !edge(dy, r.bottom - a.y))
    return false;
  SPoint const start{a.x + t0 * dx, a.y + t0 * dy};
  SPoint const end{a.x + t1 * dx, a.y + t1 * dy};
  a = start;
  b = end;
  return true;
}

std::vector<std::vector<SPoint>> ClipPolyline(std::vector<SPoint> const& points, SRect const& r) {
  std::vector<std::vector<SPoint>> runs;
  std::vector<SPoint> run;
  auto flush = [&] {
    if (run.size() >= 2) runs.push_back(run);
    run.clear();
  };
  for (std::size_t i = 1; i < points.size(); ++i) {
    SPoint a = points[i - 1], b = points[i];
    if (!ClipSegment(a, b, r)) {
      flush();
      continue;
    }
    if (run.empty() || std::hypot(run.back().x - a.x, run.back().y - a.y) > 1e-6) {
      flush();
      run.push_back(a);
    }
    run.push_back(b);
  }
  flush();
  return runs;
}

}  // namespace fiofla::report_detail
