// CDFTCalc: the DFT deconvolution of one isotherm (or two, with a dual model).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <numeric>
#include <optional>

#include "fiofla/gasdft.h"
#include "gasdft_solve.h"
#include "report_numbers.h"

namespace {

using fiofla::detail::FormatNumber;

double Log10OrTiny(double r) {
  return r > 0.0 ? std::log10(r) : 1e-9;
}

// Points of one measurement in the pressure range, ascending, without repeated pressures.
struct Block {
  std::vector<double> p, q;
};

// The measured points one model can use; warnings say what was left out and why.
Block SelectPoints(std::vector<double> const& p, std::vector<double> const& q,
                   CDFTModel const& model, CDFTCalc::SInput const& in, const char* which,
                   std::vector<std::string>& warnings) {
  std::vector<std::pair<double, double>> pts;
  for (std::size_t k = 0; k < p.size(); ++k)
    if (p[k] > 0.0 && p[k] < 1.0 && p[k] >= in.pressureMin && p[k] <= in.pressureMax)
      pts.emplace_back(p[k], q[k]);
  std::stable_sort(pts.begin(), pts.end(),
                   [](auto const& a, auto const& b) { return a.first < b.first; });
  const auto last = std::unique(pts.begin(), pts.end(),
                                [](auto const& a, auto const& b) { return a.first == b.first; });
  if (last != pts.end()) {
    warnings.push_back(std::string(which) + ": " + std::to_string(pts.end() - last) +
                       " point(s) repeat a relative pressure; the first of each is used");
    pts.erase(last, pts.end());
  }
  CNumVector<double> const& grid = model.Pressures();
  const double lo = grid.size() ? grid[0] : 0.0, hi = grid.size() ? grid[grid.size() - 1] : 0.0;
  const auto outside = std::count_if(pts.begin(), pts.end(),
                                     [&](auto const& v) { return v.first < lo || v.first > hi; });
  if (outside > 0) {
    std::string text = std::string(which) + ": " + std::to_string(outside) +
                       " point(s) lie outside the kernel's relative pressures (" +
                       FormatNumber(lo) + " to " + FormatNumber(hi) + ")";
    if (in.clampOutside) {
      text += "; the kernel's end values were used for them";
    } else {
      text += " and were left out";
      pts.erase(std::remove_if(pts.begin(), pts.end(),
                               [&](auto const& v) { return v.first < lo || v.first > hi; }),
                pts.end());
    }
    warnings.push_back(text);
  }
  Block block;
  for (auto const& v : pts) {
    block.p.push_back(v.first);
    block.q.push_back(v.second);
  }
  return block;
}

// Weights of one block's rows: sqrt of each point's share of the log10 P/Po axis (half the
// distance to its neighbours, over the mean, capped at 4).
std::vector<double> LogPressureWeights(std::vector<double> const& p) {
  const std::size_t n = p.size();
  std::vector<double> w(n, 1.0);
  if (n < 2) return w;
  for (std::size_t k = 0; k < n; ++k) {
    const double left = std::log10(p[k > 0 ? k - 1 : k]),
                 right = std::log10(p[k + 1 < n ? k + 1 : k]);
    w[k] = (right - left) / 2.0;
  }
  const double mean = std::accumulate(w.begin(), w.end(), 0.0) / double(n);
  for (double& v : w) v = std::sqrt(mean > 0.0 ? std::min(v / mean, 4.0) : 1.0);
  return w;
}

bool AllFinite(std::vector<double> const& v) {
  return std::all_of(v.begin(), v.end(), [](double x) { return std::isfinite(x); });
}

}  // namespace

CDFTCalc::CDFTCalc(SInput const& input)
    : m_lambda(input.lambda), m_lambdaMethod(input.lambdaMethod), m_kind(input.kind) {
  Run(input);
  if (m_status == 0 && !m_warnings.empty()) m_status = 10;
}

void CDFTCalc::Run(SInput const& in) {
  const bool dual = !in.modelFile2.empty() || in.model2 != nullptr;
  m_dual = dual;
  if (in.pressures.size() != in.quantities.size() ||
      in.pressures2.size() != in.quantities2.size() || !AllFinite(in.pressures) ||
      !AllFinite(in.quantities) || !AllFinite(in.pressures2) || !AllFinite(in.quantities2) ||
      !(in.pressureMin < in.pressureMax) || !(in.widthMin < in.widthMax) ||
      !(in.reportWidthMin < in.reportWidthMax) ||
      (in.lambdaMethod == ELambda::kFixed && !(in.lambda >= 0.0 && std::isfinite(in.lambda)))) {
    m_status = 8;
    Warn(
        "the input is not usable: pressures and quantities must pair up and be finite, the "
        "ranges must be ascending and λ must be 0 or more");
    return;
  }

  // 1. The models, their gas and temperature.
  auto load = [](CStr const& file, std::shared_ptr<const CDFTModel> const& given) {
    return given ? std::make_unique<CDFTModel>(*given) : std::make_unique<CDFTModel>(file);
  };
  auto check = [&](CDFTModel const& model, CStr const& gas, double t, const char* which) {
    CDFTModelSpecBase const& h = model.Header();
    const std::string kernel = *which ? std::string("The ") + which + " kernel" : "The kernel";
    if (!gas.empty() && !h.IsGasMatch(gas)) {
      if (m_status == 0) m_status = 2;
      Warn(kernel + " is for " + h.gasName.str() + ", the isotherm is of " + gas.str() +
           ": the result is not a pore-size distribution "
           "of this measurement");
    }
    if (t > 0.0 && !h.IsTemperatureMatch(t)) {
      if (m_status == 0) m_status = 4;
      Warn(kernel + " is for " + FormatNumber(h.temperature) + " K, the isotherm was measured at " +
           FormatNumber(t) + " K (more than 2 K apart)");
    }
  };
  auto model1 = load(in.modelFile, in.model);
  if (!model1->IsValid()) {
    m_status = 1;
    Warn("the kernel " + (in.model ? std::string("given") : in.modelFile.str()) +
         " could not be read or is not a model file");
    return;
  }
  check(*model1, in.gasName, in.temperature, dual ? "first" : "");
  std::unique_ptr<CDFTModel> model2;
  if (dual) {
    model2 = load(in.modelFile2, in.model2);
    if (!model2->IsValid()) {
      m_status = 5;
      Warn("the second kernel " + (in.model2 ? std::string("given") : in.modelFile2.str()) +
           " could not be read or is not a model file");
      return;
    }
    check(*model2, in.gasName2, in.temperature2, "second");
  }

  // 2. The points in range, and the models configured onto them.
  std::vector<double> sizes;
  if (in.widthMin > 0.0 || std::isfinite(in.widthMax)) sizes = {in.widthMin, in.widthMax};
  std::vector<Block> blocks;
  std::vector<CDFTModel*> parts = {model1.get()};
  if (dual) parts.push_back(model2.get());
  for (std::size_t b = 0; b < parts.size(); ++b) {
    const char* which = dual ? (b == 0 ? "First isotherm" : "Second isotherm") : "Isotherm";
    blocks.push_back(SelectPoints(b == 0 ? in.pressures : in.pressures2,
                                  b == 0 ? in.quantities : in.quantities2, *parts[b], in, which,
                                  m_warnings));
    if (blocks.back().p.size() < 3) {
      m_status = 6;
      Warn(std::string(which) + ": fewer than 3 points in the relative-pressure range " +
           FormatNumber(in.pressureMin) + " to " + FormatNumber(in.pressureMax) +
           " that the kernel covers");
      return;
    }
    const std::size_t before = parts[b]->PoreWidths().size();
    std::size_t inRange = 0;
    for (std::size_t j = 0; j < before; ++j)
      inRange += sizes.empty() ||
                 (parts[b]->PoreWidths()[j] >= sizes[0] && parts[b]->PoreWidths()[j] <= sizes[1]);
    if (inRange < 3) {
      m_status = 6;
      Warn("fewer than 3 kernel pore widths in the width range " + FormatNumber(in.widthMin) +
           " to " + FormatNumber(in.widthMax) + " Å");
      return;
    }
    // The solve holds (points + classes) × classes values and takes classes² of time per
    // point: bounds far above any kernel or isotherm measured, well below running out.
    if (inRange > kMaxClasses || blocks.back().p.size() > kMaxPoints) {
      m_status = 6;
      Warn(std::string(which) + ": " + std::to_string(blocks.back().p.size()) + " points and " +
           std::to_string(inRange) + " kernel pore widths in the ranges; at most " +
           std::to_string(kMaxPoints) + " and " + std::to_string(kMaxClasses) +
           " can be used: narrow the ranges");
      return;
    }
    if (!parts[b]->Configure(blocks.back().p, sizes, in.clampOutside)) {
      m_status = b == 0 ? 1 : 5;
      Warn(std::string("the ") + (b == 0 ? "" : "second ") +
           "kernel's grids are not usable (relative pressures must be ascending in (0, 1))");
      return;
    }
  }
  std::unique_ptr<CDFTDualModel> merged;
  CDFTModelBase* model = model1.get();
  if (dual) {
    merged = std::make_unique<CDFTDualModel>(*model1, *model2);
    if (!merged->IsValid()) {
      m_status = 5;
      Warn("the two kernels cannot be used together: " + merged->InvalidReason());
      return;
    }
    if (merged->PoreWidths().size() < 3) {
      m_status = 6;
      Warn("the two kernels have fewer than 3 pore widths in common in the width range");
      return;
    }
    model = merged.get();
  }

  // 3. The measured values in the model's work vector, and the row weights.
  const std::size_t rows = model->Pressures().size(), classes = model->PoreWidths().size();
  m_rowWeights.clear();
  {
    std::size_t r = 0;
    for (Block const& block : blocks) {
      const double ms =
          std::sqrt(std::inner_product(block.q.begin(), block.q.end(), block.q.begin(), 0.0) /
                    double(block.q.size()));
      const double share = double(block.q.size()) / double(rows) * double(blocks.size());
      const double scale = dual && ms > 0.0 ? 1.0 / (ms * std::sqrt(share)) : 1.0;
      for (double w : LogPressureWeights(block.p)) m_rowWeights.push_back(w * scale);
      for (double q : block.q) model->Work()[r++] = q;
    }
  }
  const CDFTModelBase::SBounds rowBounds{0, std::int32_t(rows) - 1};
  const CDFTModelBase::SBounds fitClasses{0, std::int32_t(classes) - 1};
  CDFTModelBase::SBounds reported{-1, -1};
  for (std::size_t j = 0; j < classes; ++j) {
    const double w = model->PoreWidths()[j];
    if (w >= in.reportWidthMin && w <= in.reportWidthMax) {
      if (reported.first < 0) reported.first = std::int32_t(j);
      reported.last = std::int32_t(j);
    }
  }
  if (reported.first < 0 || reported.last - reported.first < 1) {
    m_status = 6;
    Warn("fewer than 2 kernel pore widths in the reported width range " +
         FormatNumber(in.reportWidthMin) + " to " + FormatNumber(in.reportWidthMax) + " Å");
    return;
  }

  // 4. The solve, at the given λ or the one chosen. The sweep keeps the system at weight 1
  // as normal equations, for the statistics and for trying many weights cheaply.
  CNumMatrix<double> A;
  CNumVector<double> b, x;
  m_lambda = 1.0;
  SetupDecon(A, b, *model, rowBounds, fitClasses, in.logGrid);
  fiofla::dft::LambdaSweep sweep(A, b, rows, m_decScale);
  if (in.lambdaMethod == ELambda::kFixed) {
    m_lambda = in.lambda;
    SetupDecon(A, b, *model, rowBounds, fitClasses, in.logGrid);
    CNumNNLS solver;
    solver.Reset();
    if (!fiofla::dft::SolveNonNegative(solver, A, b, x)) {
      m_status = 7;
      Warn("the non-negative solve did not converge (" +
           std::to_string(solver.Summary().totalIterations) + " iterations)");
      return;
    }
  } else {
    std::vector<CNumVector<double>> solutions;
    auto tryLambda = [&](double lambda) {
      CNumVector<double> sol;
      if (!sweep.Solve(lambda, sol)) return;
      const auto st = sweep.Statistics(lambda, sol);
      SLambdaPoint pt;
      pt.lambda = lambda;
      pt.rss = st.rss;
      pt.roughness = st.roughness;
      pt.dof = st.dof;
      const double left = double(rows) - st.dof;
      pt.gcv = left > 0.0 ? double(rows) * st.rss / (left * left) : HUGE_VAL;
      m_lambdaCurve.push_back(pt);
      solutions.push_back(sol);
    };
    auto best = [&]() {
      std::size_t pick = 0;
      for (std::size_t k = 1; k < m_lambdaCurve.size(); ++k)
        if (m_lambdaCurve[k].gcv < m_lambdaCurve[pick].gcv) pick = k;
      return pick;
    };
    for (int k = 0; k <= 14; ++k) tryLambda(std::pow(10.0, -6.0 + 0.5 * k));
    if (m_lambdaCurve.empty()) {
      m_status = 7;
      Warn("the non-negative solve did not converge at any regularisation weight");
      return;
    }
    const std::size_t coarse = m_lambdaCurve.size();
    std::size_t pick = best();
    const bool atTop = pick + 1 == coarse && coarse > 1;
    if (in.lambdaMethod == ELambda::kLCurve) {
      std::vector<double> logRss, logRough;
      for (SLambdaPoint const& pt : m_lambdaCurve) {
        logRss.push_back(std::log(std::max(pt.rss, 1e-300)));
        logRough.push_back(std::log(std::max(pt.roughness, 1e-300)));
      }
      const int corner = fiofla::dft::LCurveCorner(logRss, logRough);
      if (corner >= 0)
        pick = std::size_t(corner);
      else
        Warn("the L-curve has no corner; λ was chosen by generalised cross-validation");
    } else {
      // The minimum refined to an eighth of a decade.
      for (double step : {0.25, 0.125}) {
        const double centre = std::log10(m_lambdaCurve[pick].lambda);
        tryLambda(std::pow(10.0, centre - step));
        tryLambda(std::pow(10.0, centre + step));
        pick = best();
      }
    }
    if (atTop && pick + 1 >= coarse)
      Warn("λ was chosen at the top of its search range (" +
           FormatNumber(m_lambdaCurve[pick].lambda) +
           "): the distribution is as smooth as the search allows and may be over-smoothed");
    x = solutions[pick];
    m_lambda = m_lambdaCurve[pick].lambda;
    std::sort(m_lambdaCurve.begin(), m_lambdaCurve.end(),
              [](SLambdaPoint const& l, SLambdaPoint const& r) { return l.lambda < r.lambda; });
    SetupDecon(A, b, *model, rowBounds, fitClasses, in.logGrid);
  }
  {
    const auto st = sweep.Statistics(m_lambda, x);
    m_dof = st.dof;
    m_rss = st.rss;
  }

  // 5. The results of the plain solution.
  ResultsIsotherm(A, x, model->Work(), *model, rowBounds);
  ResultsPores(x, *model, reported, in.logGrid);

  // 6. The B-spline solution: the data rows only, without roughness rows.
  if (in.bspline) {
    CNumMatrix<double> D(rows, classes);
    CNumVector<double> bd(rows);
    double size = 0.0;
    for (std::size_t i = 0; i < rows; ++i) {
      for (std::size_t j = 0; j < classes; ++j) D(i, j) = A(i, j);
      bd[i] = b[i];
      size += b[i] * b[i];
    }
    // The rows' noise, from the plain solution's misfit and its degrees of freedom; at
    // least 1e-6 of the rows' RMS, the precision a kernel is computed to.
    const double left = double(rows) - m_dof;
    const double noise = std::max(std::sqrt(m_rss / (left > 1.0 ? left : double(rows))),
                                  1e-6 * std::sqrt(size / double(rows)));
    std::vector<std::optional<fiofla::dft::SplineTrial>> trials(27);
    m_knotIntervals = 0;
    const unsigned short count = SearchKnotIntervals([&](unsigned short k) {
      trials[k] = fiofla::dft::RunSplineTrial(D, bd, model->PoreWidths(), k, noise);
      m_trials.emplace_back(k, trials[k]->accepted);
      return trials[k]->accepted;
    });
    if (count >= 4 && count <= 26 && trials[count]) {
      m_knotIntervals = count;
      ResultsIsotherm(D, trials[count]->x, model->Work(), *model, rowBounds);
      ResultsPores(trials[count]->x, *model, reported, in.logGrid);
    } else if (m_status == 0) {
      m_status = 9;
      Warn(
          "no B-spline representation passed the stability test; the plain solution is "
          "reported");
    }
  }

  // 7. What makes the result doubtful.
  const std::size_t n = m_incVolume.size();
  double peak = 0.0;
  for (std::size_t k = 0; k < n; ++k) peak = std::max(peak, m_incVolume[k]);
  if (peak > 0.0 && reported.first == 0 && m_incVolume[0] >= 0.5 * peak)
    Warn("The distribution piles up at the smallest width (" + FormatNumber(m_widths[0]) +
         " Å): there may be pores smaller than the kernel describes, or the isotherm's first "
         "points lie too high to resolve them");
  if (peak > 0.0 && reported.last == std::int32_t(classes) - 1 && m_incVolume[n - 1] >= 0.5 * peak)
    Warn("The distribution piles up at the largest width (" + FormatNumber(m_widths[n - 1]) +
         " Å): there may be pores larger than the kernel describes");
  double ms = 0.0;
  for (std::size_t k = 0; k < m_fitMeasured.size(); ++k) ms += m_fitMeasured[k] * m_fitMeasured[k];
  ms = m_fitMeasured.size() ? std::sqrt(ms / double(m_fitMeasured.size())) : 0.0;
  if (ms > 0.0 && RMSError() > 0.05 * ms)
    Warn("The kernel misses the measured isotherm by " +
         FormatNumber(100.0 * RMSError() / ms, "%.1f") +
         " % RMS: the kernel may not describe this material");
}

void CDFTCalc::SetupDecon(CNumMatrix<double>& A, CNumVector<double>& b, CDFTModelBase const& model,
                          CDFTModelBase::SBounds const& rows, CDFTModelBase::SBounds const& classes,
                          bool logGrid) {
  const std::size_t m = std::size_t(rows.last - rows.first + 1);
  const std::size_t N = std::size_t(classes.last - classes.first + 1);
  const bool regularise = m_lambda != 0.0;
  const std::size_t extra = regularise && N > 2 ? N - 2 : 0;
  A.SetDim(m + extra, N);
  b.SetDim(m + extra);
  for (std::size_t r = 0; r < m; ++r) {
    const double w = r < m_rowWeights.size() ? m_rowWeights[r] : 1.0;
    for (std::size_t j = 0; j < N; ++j)
      A(r, j) = model.Kernel()(std::size_t(rows.first) + r, std::size_t(classes.first) + j) * w;
    b[r] = model.Work()[std::size_t(rows.first) + r] * w;
  }
  m_decScale = 0.0;
  if (!regularise) return;
  double Q = 0.0;
  for (std::size_t r = 0; r < m; ++r)
    for (std::size_t j = 0; j < N; ++j) Q += A(r, j) * A(r, j);
  // N − 2 as an unsigned count: below 3 classes it wraps, as it always has.
  m_decScale = std::sqrt(Q / (6.0 * double(static_cast<unsigned long>(N - 2))));
  const double weight = m_lambda * m_decScale;
  CNumVector<double> w(N);
  for (std::size_t j = 0; j < N; ++j) w[j] = model.PoreWidths()[std::size_t(classes.first) + j];
  const double h = N <= 2 ? 1.0 : Log10OrTiny(w[N - 2] / w[0]) / double(N - 2);
  for (std::size_t k = 1; k + 1 < N; ++k) {
    const std::size_t r = m + k - 1;
    for (std::size_t j = 0; j < N; ++j) A(r, j) = 0.0;
    b[r] = 0.0;
    if (!logGrid) {
      A(r, k - 1) = weight;
      A(r, k) = -2.0 * weight;
      A(r, k + 1) = weight;
      continue;
    }
    const double d1 = Log10OrTiny(w[k] / w[k - 1]) / h, d2 = Log10OrTiny(w[k + 1] / w[k]) / h;
    const double a = (d1 + d2) / 2.0;
    auto c = [&](std::size_t j) { return ClassLogWidth(w, static_cast<unsigned short>(j)) / h; };
    A(r, k - 1) = weight / (c(k - 1) * d1 * a);
    A(r, k) = weight * -2.0 / (c(k) * d1 * d2);
    A(r, k + 1) = weight / (c(k + 1) * d2 * a);
  }
}

void CDFTCalc::ResultsIsotherm(CNumMatrix<double> const& A, CNumVector<double> const& x,
                               CNumVector<double> const& measured, CDFTModelBase const& model,
                               CDFTModelBase::SBounds const& rows) {
  const std::size_t count = std::size_t(rows.last - rows.first + 1);
  m_fitPressures.SetDim(count);
  m_fitMeasured.SetDim(count);
  m_fitQuantities.SetDim(count);
  for (std::size_t k = 0; k < count; ++k) {
    const std::size_t i = std::size_t(rows.first) + k;
    m_fitPressures[k] = model.Pressures()[i];
    m_fitMeasured[k] = measured[i];
    double dot = 0.0;
    for (std::size_t j = 0; j < x.size(); ++j) dot += A(k, j) * x[j];
    // The system's rows are weighted; the fitted isotherm is not.
    const double w = k < m_rowWeights.size() ? m_rowWeights[k] : 1.0;
    m_fitQuantities[k] = dot / w;
  }
  m_pointCount = m_dual ? model.GetModel1NumPressures() : static_cast<unsigned long>(count);
}

void CDFTCalc::ResultsPores(CNumVector<double> const& x, CDFTModelBase const& model,
                            CDFTModelBase::SBounds const& classes, bool logGrid) {
  const std::size_t N = x.size();
  const std::size_t first = std::size_t(classes.first), last = std::size_t(classes.last);
  const std::size_t n = last - first + 1;
  double above = 0.0, below = 0.0;
  for (std::size_t j = last + 1; j < N; ++j) above += x[j];
  for (std::size_t j = 0; j < first; ++j) below += model.IncrementalVolume(j, x[j]);
  m_hasSupplementaryArea = last + 1 < N;
  m_supplementaryArea = m_hasSupplementaryArea ? above : 0.0;
  m_hasVolumeBelow = first > 0;
  m_volumeBelow = m_hasVolumeBelow ? below : 0.0;

  for (CNumVector<double>* v : {&m_widths, &m_energies, &m_incVolume, &m_cumVolume, &m_difVolume,
                                &m_logDifVolume, &m_incArea, &m_cumArea, &m_difArea, &m_logDifArea})
    v->SetDim(n);
  for (std::size_t k = 0; k < n; ++k) {
    m_widths[k] = model.PoreWidths()[first + k];
    m_energies[k] = model.GetCategory() == 0 ? 0.0 : m_widths[k];
  }
  double volume = model.GetCategory() == 0 ? below : 0.0, area = 0.0;
  for (std::size_t k = 0; k < n; ++k) {
    const std::size_t j = first + k;
    m_incArea[k] = x[j];
    m_incVolume[k] = model.IncrementalVolume(j, x[j]);
    volume += m_incVolume[k];
    area += m_incArea[k];
    m_cumVolume[k] = volume;
    m_cumArea[k] = area;
  }
  for (std::size_t k = 0; k < n; ++k) {
    const double cw = ClassWidth(static_cast<unsigned short>(k));
    const double lw = ClassLogWidth(static_cast<unsigned short>(k));
    m_difVolume[k] = m_incVolume[k] / cw;
    m_difArea[k] = m_incArea[k] / cw;
    m_logDifVolume[k] = m_incVolume[k] / lw;
    m_logDifArea[k] = m_incArea[k] / lw;
  }
  m_roughness = logGrid ? CalculateRMSRoughness(m_widths, m_incArea)
                        : CalculateRMSRoughnessOldMethod(m_incArea);
}

double CDFTCalc::Error(unsigned short k) const {
  return m_fitMeasured[k] - m_fitQuantities[k];
}

double CDFTCalc::RelError(unsigned short k) const {
  if (m_fitMeasured[k] == 0.0) return 0.0;
  const double e = (m_fitMeasured[k] - m_fitQuantities[k]) / m_fitMeasured[k];
  return std::min(9.9999, std::max(-9.9999, e));
}

double CDFTCalc::RMSError() const {
  const std::size_t n = m_fitMeasured.size();
  if (n == 0) return 0.0;
  double s = 0.0;
  for (std::size_t k = 0; k < n; ++k)
    s += Error(static_cast<unsigned short>(k)) * Error(static_cast<unsigned short>(k));
  if (!(s > 0.0)) return 0.0;
  return std::sqrt(s / double(n));
}

double CDFTCalc::ClassWidth(unsigned short k) const {
  CNumVector<double> const& w = m_widths;
  const std::size_t n = w.size();
  if (k == 0) return w[1] - w[0];
  if (k == n - 1) return w[k] - w[k - 1];
  return (w[k + 1] - w[k - 1]) * 0.5;
}

double CDFTCalc::ClassLogWidth(CNumVector<double> const& w, unsigned short k) {
  const std::size_t n = w.size();
  if (n == 0 || k > n - 1) return 1.0;
  if (k == 0 || k == n - 1) {
    const double r = k == 0 ? w[1] / w[0] : w[k] / w[k - 1];
    return r > 0.0 ? std::log10(r) : 1e-9;
  }
  const double r = w[k + 1] / w[k - 1];
  // Half the end value, deliberately: an interior class spans two half-intervals.
  return r > 0.0 ? 0.5 * std::log10(r) : 5e-10;
}

double CDFTCalc::GetTotalPoreVolume() const {
  return m_cumVolume.size() ? m_cumVolume[m_cumVolume.size() - 1] : 0.0;
}

double CDFTCalc::GetTotalSurfaceArea() const {
  double area = m_cumArea.size() ? m_cumArea[m_cumArea.size() - 1] : 0.0;
  if (m_kind != 1 && m_hasSupplementaryArea) area += m_supplementaryArea;
  return area;
}

double CDFTCalc::CalculateRMSRoughness(CNumVector<double> const& x, CNumVector<double> const& y) {
  if (x.size() != y.size()) return 0.0;
  const std::size_t n = y.size();
  const double h = n < 3 ? 1.0 : Log10OrTiny(x[n - 2] / x[0]) / double(n - 2);
  // n − 2 as an unsigned count: two points give 0/0, a NaN, as they always have.
  const double m = double(static_cast<unsigned long>(n - 2));
  if (static_cast<unsigned long>(n - 1) < 2) return std::sqrt(0.0 / m);
  double S = 0.0;
  auto c = [&](std::size_t j) { return ClassLogWidth(x, static_cast<unsigned short>(j)) / h; };
  for (std::size_t k = 1; k + 1 < n; ++k) {
    const double d1 = Log10OrTiny(x[k] / x[k - 1]) / h, d2 = Log10OrTiny(x[k + 1] / x[k]) / h;
    const double a = (d1 + d2) / 2.0;
    const double t = y[k - 1] / (c(k - 1) * d1 * a) - 2.0 * y[k] / (c(k) * d1 * d2) +
                     y[k + 1] / (c(k + 1) * d2 * a);
    S += t * t;
  }
  return std::sqrt(S / m);
}

double CDFTCalc::CalculateRMSRoughnessOldMethod(CNumVector<double> const& y) {
  const std::size_t n = y.size();
  if (n < 3) return 0.0;
  double S = 0.0;
  for (std::size_t k = 1; k + 1 < n; ++k) {
    const double t = y[k - 1] - 2.0 * y[k] + y[k + 1];
    S += t * t;
  }
  return std::sqrt(S / double(n - 2));
}

unsigned short CDFTCalc::SearchKnotIntervals(std::function<bool(unsigned short)> const& accept) {
  unsigned short best = 0;
  auto tryCount = [&](unsigned short k) {
    const bool ok = accept(k);
    if (ok && k > best) best = k;
    return ok;
  };
  if (tryCount(26)) return best;
  if (!tryCount(4)) return 0;
  if (tryCount(15)) {
    if (tryCount(21)) {
      if (tryCount(24))
        tryCount(25);
      else
        tryCount(23);
    } else if (tryCount(18)) {
      tryCount(20);
    } else {
      tryCount(19);
    }
  } else if (tryCount(10)) {
    if (tryCount(13))
      tryCount(14);
    else
      tryCount(12);
  } else if (tryCount(6)) {
    tryCount(7);
  } else {
    tryCount(5);
  }
  return best;
}
