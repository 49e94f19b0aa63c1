#include <algorithm>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

#include "fiofla/num/interpolate.h"
#include "fiofla/report/report_render.h"
#include "report/render_common.h"
#include "report/svg_clip.h"

namespace fiofla {
namespace {

using report_detail::ClipPolyline;
using report_detail::EscapeXml;
using report_detail::SPoint;
using report_detail::SRect;

std::string Esc(CStr const& text) {
  return EscapeXml(text.str());
}

/// An SVG coordinate: at most two decimals, and independent of the C locale, which could
/// otherwise turn the decimal point into a comma and break every path.
std::string Px(double v) {
  if (!std::isfinite(v)) v = 0.0;
  v = std::clamp(v, -1e6, 1e6);
  char buffer[32];
  auto const result = std::to_chars(buffer, buffer + sizeof buffer, v, std::chars_format::fixed, 2);
  std::string text(buffer, result.ptr);
  while (text.back() == '0') text.pop_back();
  if (text.back() == '.') text.pop_back();
  return text == "-0" ? "0" : text;
}

// ---- Scaling and ticks --------------------------------------------------------------------

constexpr double kGraphWidth = 640.0;
constexpr double kGraphHeight = 440.0;
constexpr double kSymbolRadius = 3.6;
// Pixel coordinates are held within this before clipping, so a value far off the axis
// cannot overflow into infinities; the clipped direction error this causes is far below a pixel.
constexpr double kPixelLimit = 1e9;

/// 1, 2 or 5 times a power of ten, close to span / target.
double NiceStep(double span, int target) {
  double const raw = span / target;
  double const magnitude = std::pow(10.0, std::floor(std::log10(raw)));
  double const norm = raw / magnitude;
  double const nice = norm < 1.5 ? 1.0 : norm < 3.0 ? 2.0 : norm < 7.0 ? 5.0 : 10.0;
  return nice * magnitude;
}

/// An axis as drawn: its range in display units and where that range lies on the page.
struct SScale {
  CRSGraphAxisData const* axis = nullptr;  // null: stand-in for a graph that has no such axis
  CRSGraphAxisData::EAxisType type = CRSGraphAxisData::eBottom;
  bool log = false;
  double low = 0.0;
  double high = 1.0;
  double step = 0.2;
  std::vector<double> ticks;
  double pixelLow = 0.0;
  double pixelHigh = 1.0;
  std::vector<double> values;  // display values the auto-scaling must take in

  bool Horizontal() const {
    return type == CRSGraphAxisData::eBottom || type == CRSGraphAxisData::eTop;
  }
  CQuantityFormatter const* Formatter() const { return axis ? axis->Formatter() : nullptr; }
  double Display(double internal) const { return report_detail::ToDisplay(Formatter(), internal); }
  double Internal(double display) const {
    auto const* formatter = Formatter();
    return formatter ? formatter->Units().ToInternal(display) : display;
  }
  bool Usable(double display) const { return std::isfinite(display) && (!log || display > 0.0); }
  double Pixel(double display) const {
    double const t =
        log ? (std::log10(display) - std::log10(low)) / (std::log10(high) - std::log10(low))
            : (display - low) / (high - low);
    return std::clamp(pixelLow + t * (pixelHigh - pixelLow), -kPixelLimit, kPixelLimit);
  }
};

/// The 1-2-5 step after `step`.
double NextNiceStep(double step) {
  double const magnitude = std::pow(10.0, std::floor(std::log10(step) + 1e-9));
  double const norm = step / magnitude;
  return (norm < 1.5 ? 2.0 : norm < 3.0 ? 5.0 : 10.0) * magnitude;
}

void LinearTicks(SScale& s, double step) {
  s.step = step;
  s.ticks.clear();
  double const first = std::ceil(s.low / s.step - 1e-9);
  double const last = std::floor(s.high / s.step + 1e-9);
  for (double k = first; k <= last && s.ticks.size() < 50; k += 1.0) {
    double const v = k * s.step;  // multiples, not a running sum, so errors do not add up
    s.ticks.push_back(std::fabs(v) < s.step * 1e-9 ? 0.0 : v);
  }
}

void LogTicks(SScale& s) {
  s.ticks.clear();
  int const first = static_cast<int>(std::ceil(std::log10(s.low) - 1e-9));
  int const last = static_cast<int>(std::floor(std::log10(s.high) + 1e-9));
  int const every = std::max(1, (last - first + 7) / 8);
  for (int k = first; k <= last; k += every) s.ticks.push_back(std::pow(10.0, k));
  if (last - first <= 2) {
    // A narrow log axis needs 2 and 5 between the decades to be readable.
    for (int k = first - 1; k <= last; ++k)
      for (double m : {2.0, 5.0}) {
        double const v = m * std::pow(10.0, k);
        if (v >= s.low * (1 - 1e-9) && v <= s.high * (1 + 1e-9)) s.ticks.push_back(v);
      }
    std::sort(s.ticks.begin(), s.ticks.end());
  }
  if (s.ticks.size() < 2) {
    // Less than a decade: plain ticks say more than a lone power of ten.
    std::vector<double> decades = s.ticks;
    LinearTicks(s, NiceStep(s.high - s.low, 5));
    s.ticks.erase(std::remove_if(s.ticks.begin(), s.ticks.end(), [](double v) { return v <= 0.0; }),
                  s.ticks.end());
    if (s.ticks.empty()) s.ticks = decades;
  }
}

void ScaleAxis(SScale& s, int target) {
  CRSGraphAxisData::SSetup const setup = s.axis ? s.axis->GetSetup() : CRSGraphAxisData::SSetup{};
  bool fixed = false;
  double tickStep = 0.0;  // set when the range was rounded to this step
  if (!setup.autoScale) {
    double low = s.Display(setup.minimum), high = s.Display(setup.maximum);
    if (low > high) std::swap(low, high);
    // An unusable explicit range falls back to the data rather than drawing nothing.
    if (s.Usable(low) && s.Usable(high) && high > low && std::isfinite(high - low)) {
      s.low = low;
      s.high = high;
      fixed = true;
    }
  }
  if (!fixed) {
    bool any = false;
    double low = 0.0, high = 0.0;
    for (double v : s.values) {
      if (!s.Usable(v)) continue;
      low = any ? std::min(low, v) : v;
      high = any ? std::max(high, v) : v;
      any = true;
    }
    if (s.log) {
      if (!any) {
        low = 1.0;
        high = 10.0;
      }
      low = std::pow(10.0, std::floor(std::log10(low)));
      high = std::pow(10.0, std::ceil(std::log10(high)));
      if (!(high > low)) high = low * 10.0;
    } else {
      if (!any) {  // an empty graph still gets axes
        low = 0.0;
        high = 1.0;
      }
      if (setup.includeZero) {
        low = std::min(low, 0.0);
        high = std::max(high, 0.0);
      }
      bool margin = false;
      if (setup.useMargin && s.axis != nullptr) {
        // The margin is in the data's (internal) units; only the unit's factor applies to it.
        double const m = std::fabs(s.Display(s.axis->Margin()) - s.Display(0.0));
        if (std::isfinite(m) && m > 0.0) {
          low -= m;
          high += m;
          margin = true;
        }
      }
      if (!std::isfinite(high - low)) {
        low = 0.0;
        high = 1.0;
      }
      if (!(high > low)) {
        double const d = low == 0.0 ? 1.0 : std::fabs(low) * 0.1;
        low -= low == 0.0 ? 0.0 : d;
        high += d;
      }
      // Without an explicit margin the frame ends on ticks, as a reader expects. Rounding
      // outwards can add up to two intervals; a coarser step keeps the labels from crowding.
      if (!margin) {
        double step = NiceStep(high - low, target);
        for (int attempt = 0;; ++attempt, step = NextNiceStep(step)) {
          double const roundedLow = std::floor(low / step + 1e-9) * step;
          double const roundedHigh = std::ceil(high / step - 1e-9) * step;
          if ((roundedHigh - roundedLow) / step <= target + 2.5 || attempt == 3) {
            low = roundedLow;
            high = roundedHigh;
            tickStep = step;
            break;
          }
        }
      }
    }
    s.low = low;
    s.high = high;
  }
  // Ranges at the ends of the double range would overflow the tick arithmetic; such data
  // cannot be drawn meaningfully anyway.
  bool const sane = s.log ? s.low >= 1e-300 && s.high <= 1e300 && s.high > s.low
                          : std::isfinite(s.high - s.low) && s.high > s.low;
  if (!sane) {
    s.low = s.log ? 1.0 : 0.0;
    s.high = s.log ? 10.0 : 1.0;
    tickStep = 0.0;
  }
  if (s.log)
    LogTicks(s);
  else
    LinearTicks(s, tickStep > 0.0 ? tickStep : NiceStep(s.high - s.low, target));
}

std::string TickLabel(SScale const& s, double v) {
  if (v == 0.0) return "0";
  if (s.log) {
    int const exponent = static_cast<int>(std::floor(std::log10(v) + 1e-9));
    if (exponent >= -3 && exponent <= 5)
      return CNumericFormat(CNumericFormat::eFixed, std::max(0, -exponent)).Format(v).str();
    return CNumericFormat(CNumericFormat::eScientific, 0).Format(v).str();
  }
  double const largest = std::max(std::fabs(s.low), std::fabs(s.high));
  if (largest >= 1e6 || largest < 1e-3) {
    int const digits =
        static_cast<int>(std::floor(std::log10(largest)) - std::floor(std::log10(s.step)));
    return CNumericFormat(CNumericFormat::eScientific, std::clamp(digits, 0, 6)).Format(v).str();
  }
  int const decimals = static_cast<int>(-std::floor(std::log10(s.step) + 1e-9));
  return CNumericFormat(CNumericFormat::eFixed, std::max(0, decimals)).Format(v).str();
}

// ---- Drawing primitives -----------------------------------------------------------------

std::string DashAttributes(int penStyle) {
  switch (penStyle) {
    case 1:
      return R"( stroke-dasharray="7 4")";
    // Near-zero dashes with round caps draw as dots.
    case 2:
      return R"( stroke-dasharray="0.1 3.4" stroke-linecap="round")";
    default:
      return "";
  }
}

void WritePolyline(std::ostream& out, std::vector<SPoint> const& points, std::string const& color,
                   int penStyle, double width) {
  out << "<polyline fill=\"none\" stroke=\"" << color << "\" stroke-width=\"" << Px(width)
      << "\" stroke-linejoin=\"round\"" << DashAttributes(penStyle) << " points=\"";
  for (std::size_t i = 0; i < points.size(); ++i)
    out << (i ? " " : "") << Px(points[i].x) << ',' << Px(points[i].y);
  out << "\"/>\n";
}

/// One symbol centred on (x, y); fill and stroke come from the enclosing group.
void WriteSymbol(std::ostream& out, int symbol, double x, double y, double r) {
  auto polygon = [&](std::initializer_list<SPoint> corners) {
    out << "<polygon points=\"";
    bool first = true;
    for (auto const& c : corners) {
      out << (first ? "" : " ") << Px(x + c.x * r) << ',' << Px(y + c.y * r);
      first = false;
    }
    out << "\"/>";
  };
  auto strokes = [&](std::initializer_list<SPoint> ends) {
    // Pairs of end points, each pair one stroke through the centre.
    out << "<path fill=\"none\" d=\"";
    bool move = true;
    for (auto const& e : ends) {
      out << (move ? "M" : "L") << Px(x + e.x * r) << ' ' << Px(y + e.y * r);
      move = !move;
    }
    out << "\"/>";
  };
  switch (symbol) {
    case NRSGraphCurveData::eCircle:
      out << "<circle cx=\"" << Px(x) << "\" cy=\"" << Px(y) << "\" r=\"" << Px(r) << "\"/>";
      break;
    case NRSGraphCurveData::eSquare: {
      double const h = r * 0.9;
      out << "<rect x=\"" << Px(x - h) << "\" y=\"" << Px(y - h) << "\" width=\"" << Px(2 * h)
          << "\" height=\"" << Px(2 * h) << "\"/>";
      break;
    }
    case NRSGraphCurveData::eDiamond:
      polygon({{0, -1.3}, {1.3, 0}, {0, 1.3}, {-1.3, 0}});
      break;
    case NRSGraphCurveData::eTriangleUp:
      polygon({{0, -1.3}, {1.15, 0.75}, {-1.15, 0.75}});
      break;
    case NRSGraphCurveData::eTriangleDown:
      polygon({{0, 1.3}, {1.15, -0.75}, {-1.15, -0.75}});
      break;
    case NRSGraphCurveData::eCross:
      strokes({{-1, -1}, {1, 1}, {-1, 1}, {1, -1}});
      break;
    case NRSGraphCurveData::ePlus:
      strokes({{-1.25, 0}, {1.25, 0}, {0, -1.25}, {0, 1.25}});
      break;
    case NRSGraphCurveData::eStar:
      strokes({{-1.3, 0},
               {1.3, 0},
               {0, -1.3},
               {0, 1.3},
               {-0.9, -0.9},
               {0.9, 0.9},
               {-0.9, 0.9},
               {0.9, -0.9}});
      break;
    default:
      break;
  }
  out << '\n';
}

bool HasLine(int curveType) {
  return curveType != CRSGraphCurveData::eSymbols;
}
bool HasSymbols(int curveType) {
  return curveType != CRSGraphCurveData::eLine;  // unknown types draw like the default, 3
}

/// Opens a group whose children inherit the curve's symbol colours. Sub-curves get open
/// symbols so they stay apart from the main curve in the same colour.
void OpenSymbolGroup(std::ostream& out, std::string const& color, bool filled) {
  out << "<g stroke=\"" << color << "\" stroke-width=\"1.2\" fill=\""
      << (filled ? color : std::string("#ffffff")) << "\">\n";
}

// ---- Graph ------------------------------------------------------------------------------

struct SCurve {
  CRSGraphCurveData const* data;
  SScale* x;
  SScale* y;
  bool sub;
  std::vector<SPoint> display;  // usable points, display units
};

struct SLegendEntry {
  std::string name;
  std::string color;
  int symbol;
  int curveType;
  int penStyle;
  bool sub;
};

class CGraphSvg {
 public:
  CGraphSvg(CReportGraphData const& graph, int id) : m_graph(graph), m_id(id) {}
  void Write(std::ostream& out);

 private:
  SScale* FindScale(unsigned short number, bool horizontal);
  void CollectCurve(CRSGraphCurveData const& curve, bool sub);
  std::vector<SPoint> OverlayPoints(SCurve const& curve, CRSGraphOverlayData const& overlay) const;
  std::vector<SPoint> LinePoints(SCurve const& curve) const;
  SPoint ToPixel(SCurve const& curve, SPoint p) const {
    return {curve.x->Pixel(p.x), curve.y->Pixel(p.y)};
  }
  void WriteAxes(std::ostream& out) const;
  void WriteCurves(std::ostream& out);
  void WriteLegend(std::ostream& out) const;
  void Occupy(std::vector<SPoint> const& run);

  CReportGraphData const& m_graph;
  int m_id;
  std::vector<SScale> m_scales;
  std::vector<SCurve> m_curves;
  SRect m_plot{0, 0, 0, 0};
  std::vector<SPoint> m_occupied;  // pixels drawn on, for placing the legend
};

SScale* CGraphSvg::FindScale(unsigned short number, bool horizontal) {
  auto const* axis = m_graph.Axis(number);
  if (axis == nullptr) return nullptr;
  for (auto& s : m_scales)
    if (s.axis == axis) return s.Horizontal() == horizontal ? &s : nullptr;
  return nullptr;
}

void CGraphSvg::CollectCurve(CRSGraphCurveData const& curve, bool sub) {
  if (!curve.Shown()) return;  // a hidden curve hides its sub-curves too
  SScale* x = FindScale(curve.XAxis(), true);
  SScale* y = FindScale(curve.YAxis(), false);
  if (x == nullptr || y == nullptr) return;
  SCurve drawn{&curve, x, y, sub, {}};
  auto const n = std::min(curve.X().size(), curve.Y().size());
  for (CNumVector<double>::size_type i = 0; i < n; ++i) {
    SPoint const p{x->Display(curve.X()[i]), y->Display(curve.Y()[i])};
    if (!x->Usable(p.x) || !y->Usable(p.y)) continue;
    drawn.display.push_back(p);
    x->values.push_back(p.x);
    y->values.push_back(p.y);
  }
  m_curves.push_back(std::move(drawn));
  for (auto const& child : curve.SubCurves()) CollectCurve(*child, true);
}

std::vector<SPoint> CGraphSvg::OverlayPoints(SCurve const& curve,
                                             CRSGraphOverlayData const& overlay) const {
  constexpr int kSamples = 240;
  SScale const& x = *curve.x;
  std::vector<SPoint> points;
  for (int i = 0; i <= kSamples; ++i) {
    double const t = static_cast<double>(i) / kSamples;
    double const xd = x.log ? x.low * std::pow(x.high / x.low, t) : x.low + t * (x.high - x.low);
    double const yd = curve.y->Display(overlay.Polynomial()(x.Internal(xd)));
    if (curve.y->Usable(yd)) points.push_back({xd, yd});
  }
  return points;
}

std::vector<SPoint> CGraphSvg::LinePoints(SCurve const& curve) const {
  auto const& p = curve.display;
  bool increasing = p.size() >= 3, decreasing = p.size() >= 3;
  for (std::size_t i = 1; i < p.size(); ++i) {
    increasing = increasing && p[i].x > p[i - 1].x;
    decreasing = decreasing && p[i].x < p[i - 1].x;
  }
  if (curve.data->Interpolation() != 1 || !(increasing || decreasing)) return p;
  // Monotone cubic so a smooth line never overshoots between measured points.
  CNumVector<double> xs(p.size()), ys(p.size());
  for (std::size_t i = 0; i < p.size(); ++i) {
    xs[i] = p[i].x;
    ys[i] = p[i].y;
  }
  CNumInterpolate const spline(xs, ys, CNumInterpolate::eMonotoneCubic);
  constexpr int kSteps = 16;
  std::vector<SPoint> smooth{p.front()};
  for (std::size_t i = 1; i < p.size(); ++i)
    for (int k = 1; k <= kSteps; ++k) {
      double const xv = k == kSteps ? p[i].x : p[i - 1].x + (p[i].x - p[i - 1].x) * k / kSteps;
      double const yv = k == kSteps ? p[i].y : spline.Interpolate(xv);
      if (curve.y->Usable(yv)) smooth.push_back({xv, yv});
    }
  return smooth;
}

void CGraphSvg::WriteAxes(std::ostream& out) const {
  SScale const* sides[4] = {nullptr, nullptr, nullptr, nullptr};
  for (auto const& s : m_scales) {
    const int side = static_cast<int>(s.type);  // an int: the enum may hold any value
    if (side >= 0 && side < 4 && sides[side] == nullptr) sides[side] = &s;
  }
  SScale const* gridX = sides[CRSGraphAxisData::eBottom] ? sides[CRSGraphAxisData::eBottom]
                                                         : sides[CRSGraphAxisData::eTop];
  SScale const* gridY = sides[CRSGraphAxisData::eLeft] ? sides[CRSGraphAxisData::eLeft]
                                                       : sides[CRSGraphAxisData::eRight];
  out << "<g stroke=\"#e3e6ea\" stroke-width=\"1\">\n";
  for (double t : gridX->ticks) {
    double const px = gridX->Pixel(t);
    out << "<line x1=\"" << Px(px) << "\" y1=\"" << Px(m_plot.top) << "\" x2=\"" << Px(px)
        << "\" y2=\"" << Px(m_plot.bottom) << "\"/>\n";
  }
  for (double t : gridY->ticks) {
    double const py = gridY->Pixel(t);
    out << "<line x1=\"" << Px(m_plot.left) << "\" y1=\"" << Px(py) << "\" x2=\""
        << Px(m_plot.right) << "\" y2=\"" << Px(py) << "\"/>\n";
  }
  out << "</g>\n";

  out << "<g fill=\"#222\" font-size=\"11\">\n";
  for (int side = 0; side < 4; ++side) {
    SScale const* s = sides[side];
    if (s == nullptr) continue;
    for (double t : s->ticks) {
      double const p = s->Pixel(t);
      std::string const label = EscapeXml(TickLabel(*s, t));
      switch (side) {
        case CRSGraphAxisData::eBottom:
          out << "<line stroke=\"#333\" x1=\"" << Px(p) << "\" y1=\"" << Px(m_plot.bottom)
              << "\" x2=\"" << Px(p) << "\" y2=\"" << Px(m_plot.bottom + 5) << "\"/><text x=\""
              << Px(p) << "\" y=\"" << Px(m_plot.bottom + 18) << "\" text-anchor=\"middle\">"
              << label << "</text>\n";
          break;
        case CRSGraphAxisData::eTop:
          out << "<line stroke=\"#333\" x1=\"" << Px(p) << "\" y1=\"" << Px(m_plot.top)
              << "\" x2=\"" << Px(p) << "\" y2=\"" << Px(m_plot.top - 5) << "\"/><text x=\""
              << Px(p) << "\" y=\"" << Px(m_plot.top - 9) << "\" text-anchor=\"middle\">" << label
              << "</text>\n";
          break;
        case CRSGraphAxisData::eLeft:
          out << "<line stroke=\"#333\" x1=\"" << Px(m_plot.left - 5) << "\" y1=\"" << Px(p)
              << "\" x2=\"" << Px(m_plot.left) << "\" y2=\"" << Px(p) << "\"/><text x=\""
              << Px(m_plot.left - 8) << "\" y=\"" << Px(p + 3.8) << "\" text-anchor=\"end\">"
              << label << "</text>\n";
          break;
        default:
          out << "<line stroke=\"#333\" x1=\"" << Px(m_plot.right) << "\" y1=\"" << Px(p)
              << "\" x2=\"" << Px(m_plot.right + 5) << "\" y2=\"" << Px(p) << "\"/><text x=\""
              << Px(m_plot.right + 8) << "\" y=\"" << Px(p + 3.8) << "\">" << label << "</text>\n";
      }
    }
    std::string const title = s->axis ? Esc(m_graph.Resolve(s->axis->Title())) : std::string();
    if (title.empty()) continue;
    double const midX = (m_plot.left + m_plot.right) / 2, midY = (m_plot.top + m_plot.bottom) / 2;
    out << "<text font-size=\"12.5\" text-anchor=\"middle\" ";
    switch (side) {
      case CRSGraphAxisData::eBottom:
        out << "x=\"" << Px(midX) << "\" y=\"" << Px(kGraphHeight - 12) << "\">";
        break;
      case CRSGraphAxisData::eTop:
        out << "x=\"" << Px(midX) << "\" y=\"14\">";
        break;
      case CRSGraphAxisData::eLeft:
        out << "transform=\"translate(16 " << Px(midY) << ") rotate(-90)\">";
        break;
      default:
        out << "transform=\"translate(" << Px(kGraphWidth - 10) << ' ' << Px(midY)
            << ") rotate(90)\">";
    }
    out << title << "</text>\n";
  }
  out << "</g>\n";
}

void CGraphSvg::Occupy(std::vector<SPoint> const& run) {
  // Points every few pixels along each segment: a long straight segment crossing a corner
  // must count against putting the legend there, not only its end points.
  constexpr double kSpacing = 5.0;
  for (std::size_t i = 1; i < run.size(); ++i) {
    double const length = std::hypot(run[i].x - run[i - 1].x, run[i].y - run[i - 1].y);
    int const steps = std::max(1, static_cast<int>(std::ceil(length / kSpacing)));
    for (int k = 0; k < steps; ++k) {
      double const t = static_cast<double>(k) / steps;
      m_occupied.push_back({run[i - 1].x + t * (run[i].x - run[i - 1].x),
                            run[i - 1].y + t * (run[i].y - run[i - 1].y)});
    }
  }
  if (!run.empty()) m_occupied.push_back(run.back());
}

void CGraphSvg::WriteCurves(std::ostream& out) {
  SRect const clip{m_plot.left - 1, m_plot.top - 1, m_plot.right + 1, m_plot.bottom + 1};
  out << "<g clip-path=\"url(#fiofla-clip-" << m_id << ")\">\n";
  // Overlays first: fitted lines run under the measured points they were fitted to.
  for (auto const& curve : m_curves)
    for (auto const& overlay : curve.data->Overlays()) {
      std::vector<SPoint> pixels;
      for (auto const& p : OverlayPoints(curve, *overlay)) pixels.push_back(ToPixel(curve, p));
      for (auto const& run : ClipPolyline(pixels, clip)) {
        WritePolyline(out, run, report_detail::HexColor(overlay->PenColor()), overlay->PenStyle(),
                      1.3);
        Occupy(run);
      }
    }
  for (auto const& curve : m_curves) {
    if (!HasLine(curve.data->CurveType())) continue;
    std::vector<SPoint> pixels;
    for (auto const& p : LinePoints(curve)) pixels.push_back(ToPixel(curve, p));
    for (auto const& run : ClipPolyline(pixels, clip)) {
      WritePolyline(out, run, report_detail::HexColor(curve.data->PenColor()),
                    curve.data->PenStyle(), curve.sub ? 1.2 : 1.6);
      Occupy(run);
    }
  }
  out << "</g>\n";
  // Symbols are not clipped, so a point on the frame shows whole; points outside are left out.
  for (auto const& curve : m_curves) {
    int const symbol = curve.data->Symbol();
    if (!HasSymbols(curve.data->CurveType()) || symbol == NRSGraphCurveData::eNone) continue;
    OpenSymbolGroup(out, report_detail::HexColor(curve.data->PenColor()), !curve.sub);
    for (auto const& p : curve.display) {
      SPoint const px = ToPixel(curve, p);
      if (!m_plot.Contains(px, 0.5)) continue;
      WriteSymbol(out, symbol, px.x, px.y, kSymbolRadius);
      m_occupied.push_back(px);
    }
    out << "</g>\n";
  }
}

void CGraphSvg::WriteLegend(std::ostream& out) const {
  if (m_graph.LegendType() != 1) return;
  std::vector<SLegendEntry> entries;
  for (auto const& curve : m_curves) {
    std::string const name = m_graph.Resolve(curve.data->Name()).str();
    if (name.empty()) continue;
    entries.push_back({name, report_detail::HexColor(curve.data->PenColor()), curve.data->Symbol(),
                       curve.data->CurveType(), curve.data->PenStyle(), curve.sub});
  }
  if (entries.empty()) return;
  constexpr double kRow = 17.0, kSample = 26.0, kPad = 7.0, kIndent = 10.0, kCharWidth = 6.3;
  double textWidth = 0.0;
  for (auto const& e : entries)
    textWidth = std::max(
        textWidth, report_detail::DisplayWidth(e.name) * kCharWidth + (e.sub ? kIndent : 0.0));
  double const width =
      std::min(kPad + kSample + 6.0 + textWidth + kPad, m_plot.right - m_plot.left - 16);
  double const height = kPad * 2 + kRow * static_cast<double>(entries.size()) - 4;
  // The corner that covers the fewest drawn points; ties go to the usual upper left.
  SPoint const corners[4] = {{m_plot.left + 8, m_plot.top + 8},
                             {m_plot.right - 8 - width, m_plot.top + 8},
                             {m_plot.right - 8 - width, m_plot.bottom - 8 - height},
                             {m_plot.left + 8, m_plot.bottom - 8 - height}};
  std::size_t best = 0, bestCount = static_cast<std::size_t>(-1);
  for (std::size_t c = 0; c < 4; ++c) {
    SRect const box{corners[c].x, corners[c].y, corners[c].x + width, corners[c].y + height};
    auto const count = static_cast<std::size_t>(std::count_if(
        m_occupied.begin(), m_occupied.end(), [&](SPoint p) { return box.Contains(p, 4.0); }));
    if (count < bestCount) {
      best = c;
      bestCount = count;
    }
  }
  SPoint const origin = corners[best];
  out << "<g class=\"legend\" font-size=\"11.5\">\n<rect x=\"" << Px(origin.x) << "\" y=\""
      << Px(origin.y) << "\" width=\"" << Px(width) << "\" height=\"" << Px(height)
      << "\" fill=\"#ffffff\" fill-opacity=\"0.92\" stroke=\"#b8bec6\" stroke-width=\"0.8\"/>\n";
  double y = origin.y + kPad + kRow / 2 - 2;
  for (auto const& e : entries) {
    double const x = origin.x + kPad + (e.sub ? kIndent : 0.0);
    if (HasLine(e.curveType))
      WritePolyline(out, {{x, y}, {x + kSample, y}}, e.color, e.penStyle, e.sub ? 1.2 : 1.6);
    if (HasSymbols(e.curveType) && e.symbol != NRSGraphCurveData::eNone) {
      OpenSymbolGroup(out, e.color, !e.sub);
      WriteSymbol(out, e.symbol, x + kSample / 2, y, kSymbolRadius);
      out << "</g>\n";
    }
    out << "<text x=\"" << Px(x + kSample + 6) << "\" y=\"" << Px(y + 4) << "\" fill=\"#222\">"
        << EscapeXml(e.name) << "</text>\n";
    y += kRow;
  }
  out << "</g>\n";
}

void CGraphSvg::Write(std::ostream& out) {
  for (auto const& axis : m_graph.Axes()) {
    // A repeated axis number is reached through Axis(number) only, i.e. the first one.
    if (m_graph.Axis(axis->Number()) != axis.get()) continue;
    SScale s;
    s.axis = axis.get();
    s.type = axis->Type();
    s.log = axis->GetSetup().logarithmic;  // collecting the points already needs it
    m_scales.push_back(s);
  }
  auto hasSide = [&](bool horizontal) {
    return std::any_of(m_scales.begin(), m_scales.end(),
                       [&](SScale const& s) { return s.Horizontal() == horizontal; });
  };
  // Stand-ins let a graph without axes still draw its frame and a 0..1 scale.
  if (!hasSide(true)) m_scales.push_back(SScale{});
  if (!hasSide(false)) {
    SScale s;
    s.type = CRSGraphAxisData::eLeft;
    m_scales.push_back(s);
  }
  // Curves keep pointers into m_scales, which must not grow from here on.
  for (auto const& curve : m_graph.Curves()) CollectCurve(*curve, false);

  bool top = false, right = false;
  for (auto const& s : m_scales) {
    top = top || s.type == CRSGraphAxisData::eTop;
    right = right || s.type == CRSGraphAxisData::eRight;
  }
  m_plot = {74.0, top ? 44.0 : 14.0, kGraphWidth - (right ? 70.0 : 18.0), kGraphHeight - 52.0};

  // X first: overlays are drawn across the X range, and their ends count for Y.
  for (auto& s : m_scales)
    if (s.Horizontal()) {
      ScaleAxis(s, 8);
      s.pixelLow = m_plot.left;
      s.pixelHigh = m_plot.right;
    }
  for (auto const& curve : m_curves)
    for (auto const& overlay : curve.data->Overlays())
      for (double xd : {curve.x->low, curve.x->high}) {
        double const yd = curve.y->Display(overlay->Polynomial()(curve.x->Internal(xd)));
        if (curve.y->Usable(yd)) curve.y->values.push_back(yd);
      }
  for (auto& s : m_scales)
    if (!s.Horizontal()) {
      ScaleAxis(s, 6);
      s.pixelLow = m_plot.bottom;
      s.pixelHigh = m_plot.top;
    }

  std::string const title = Esc(m_graph.Resolve(m_graph.Title()));
  out << "<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"graph\" viewBox=\"0 0 "
      << Px(kGraphWidth) << ' ' << Px(kGraphHeight) << "\" width=\"" << Px(kGraphWidth)
      << "\" height=\"" << Px(kGraphHeight) << "\" role=\"img\" aria-label=\"" << title << "\">\n";
  if (!title.empty()) out << "<title>" << title << "</title>\n";
  out << "<defs><clipPath id=\"fiofla-clip-" << m_id << "\"><rect x=\"" << Px(m_plot.left)
      << "\" y=\"" << Px(m_plot.top) << "\" width=\"" << Px(m_plot.right - m_plot.left)
      << "\" height=\"" << Px(m_plot.bottom - m_plot.top) << "\"/></clipPath></defs>\n";
  out << "<rect x=\"" << Px(m_plot.left) << "\" y=\"" << Px(m_plot.top) << "\" width=\""
      << Px(m_plot.right - m_plot.left) << "\" height=\"" << Px(m_plot.bottom - m_plot.top)
      << "\" fill=\"#ffffff\"/>\n";
  WriteAxes(out);
  WriteCurves(out);
  out << "<rect x=\"" << Px(m_plot.left) << "\" y=\"" << Px(m_plot.top) << "\" width=\""
      << Px(m_plot.right - m_plot.left) << "\" height=\"" << Px(m_plot.bottom - m_plot.top)
      << "\" fill=\"none\" stroke=\"#333\" stroke-width=\"1\"/>\n";
  WriteLegend(out);
  out << "</svg>\n";
}

// ---- Tables -----------------------------------------------------------------------------

void WriteOptionsTable(std::ostream& out, CReportOptionsTable const& table) {
  if (table.Lines().empty()) return;
  out << "<table class=\"options\">\n";
  for (auto const& line : table.Lines()) {
    std::string const label = Esc(table.Resolve(line.label));
    switch (line.kind) {
      case CReportOptionsTable::eNumeric: {
        out << "<tr><th scope=\"row\">" << label << "</th><td class=\"num\">" << Esc(line.text);
        if (line.hasError) out << " <span class=\"err\">± " << Esc(line.errorText) << "</span>";
        out << "</td><td class=\"unit\">" << Esc(table.Resolve(line.units)) << "</td></tr>\n";
        break;
      }
      case CReportOptionsTable::eValidation: {
        std::string const line2 = Esc(table.Resolve(line.line2));
        if (line.passed) {
          out << "<tr class=\"pass\"><th scope=\"row\"><span class=\"mark\">✓</span> " << label
              << "</th><td colspan=\"2\">" << Esc(table.Resolve(line.text));
        } else {
          out << "<tr class=\"warn\"><th scope=\"row\"><span class=\"mark\">⚠</span> " << label
              << "</th><td colspan=\"2\"><span class=\"tag\">Warning</span> "
              << Esc(table.Resolve(line.text));
        }
        if (!line2.empty()) out << "<br><span class=\"line2\">" << line2 << "</span>";
        out << "</td></tr>\n";
        break;
      }
      default:
        out << "<tr><th scope=\"row\">" << label << "</th><td colspan=\"2\">"
            << Esc(table.Resolve(line.text)) << "</td></tr>\n";
    }
  }
  out << "</table>\n";
}

void WriteStdTable(std::ostream& out, CReportStdTable const& table) {
  if (table.ColumnCount() == 0) return;
  out << "<div class=\"scroll\"><table class=\"std\">\n<colgroup>";
  for (int c = 0; c < table.ColumnCount(); ++c)
    out << "<col style=\"width:" << std::clamp(table.Column(c).width, 20, 400) << "px\">";
  out << "</colgroup>\n<thead><tr>";
  for (int c = 0; c < table.ColumnCount(); ++c) {
    auto const& column = table.Column(c);
    std::string const title = table.Resolve(column.title).str();
    std::string const unit = report_detail::UnitText(column.formatter).str();
    out << "<th>" << EscapeXml(title);
    // Titles usually name their unit through a placeholder; add it only where one does not.
    if (!unit.empty() && title.find(unit) == std::string::npos)
      out << "<br><span class=\"unit\">(" << EscapeXml(unit) << ")</span>";
    out << "</th>";
  }
  out << "</tr></thead>\n<tbody>\n";
  for (std::size_t r = 0; r < table.RowCount(); ++r) {
    out << "<tr>";
    for (int c = 0; c < table.ColumnCount(); ++c) {
      auto const& column = table.Column(c);
      out << "<td class=\"num\">";
      if (r < column.data.size())
        out << Esc(report_detail::FormatValue(column.formatter, column.data[r]));
      out << "</td>";
    }
    out << "</tr>\n";
  }
  out << "</tbody></table></div>\n";
}

// ---- Document ---------------------------------------------------------------------------

void WriteItem(std::ostream& out, CReportDataItemBase const& item, int& graphId) {
  int left = std::clamp(item.LayoutLeft(), 0, 1000),
      right = std::clamp(item.LayoutRight(), 0, 1000);
  if (right <= left) {  // nonsense layout: the full width shows the most
    left = 0;
    right = 1000;
  }
  char const* kind = item.Kind() == CReportDataItemBase::eGraph      ? "graph"
                     : item.Kind() == CReportDataItemBase::eStdTable ? "std-table"
                                                                     : "options-table";
  out << "<div class=\"item " << kind << "\" style=\"margin-left:" << Px(left / 10.0)
      << "%;width:" << Px((right - left) / 10.0) << "%\">\n";
  std::string const title = Esc(item.Resolve(item.Title()));
  if (!title.empty()) out << "<h2>" << title << "</h2>\n";
  switch (item.Kind()) {
    case CReportDataItemBase::eOptionsTable:
      WriteOptionsTable(out, static_cast<CReportOptionsTable const&>(item));
      break;
    case CReportDataItemBase::eStdTable:
      WriteStdTable(out, static_cast<CReportStdTable const&>(item));
      break;
    case CReportDataItemBase::eGraph:
      CGraphSvg(static_cast<CReportGraphData const&>(item), graphId++).Write(out);
      break;
  }
  out << "</div>\n";
}

}  // namespace

void RenderHtml(std::vector<CReportPageData const*> const& pages, RenderOptions const& options,
                std::ostream& out) {
  out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n";
  if (!options.generator.empty())
    out << "<meta name=\"generator\" content=\"" << Esc(options.generator) << "\">\n";
  out << "<title>" << Esc(options.documentTitle) << "</title>\n<style>" << report_detail::kHtmlStyle
      << "</style>\n</head>\n<body>\n<div class=\"doc\">\n<header class=\"doc-head\">\n"
      << "<div class=\"doc-title\">" << Esc(options.documentTitle) << "</div>\n";
  if (!options.subtitle.empty())
    out << "<div class=\"doc-sub\">" << Esc(options.subtitle) << "</div>\n";
  if (!options.generator.empty())
    out << "<div class=\"doc-gen\">Generated by " << Esc(options.generator) << "</div>\n";
  out << "</header>\n";
  int graphId = 0;  // clip-path ids must be unique across the whole document
  for (auto const* page : pages) {
    if (page == nullptr) continue;
    out << "<section class=\"page\">\n";
    if (!page->Title().empty()) out << "<h1>" << Esc(page->Title()) << "</h1>\n";
    for (std::size_t index : report_detail::LayoutOrder(*page))
      WriteItem(out, *page->Items()[index], graphId);
    out << "</section>\n";
  }
  out << "</div>\n</body>\n</html>\n";
}

}  // namespace fiofla
