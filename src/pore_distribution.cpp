#include "fiofla/pore_distribution.h"

#include <cmath>
#include <cstddef>
#include <utility>

#include "fiofla/smoothderiv.h"

namespace {

using Size = CNumVector<double>::size_type;

// Divisor of the log differential when D[i] / D[i+1] is not positive.
constexpr double kNonPositiveRatioDivisor = 1e-9;

std::vector<double> ToStd(CNumVector<double> const& v) {
  return std::vector<double>(v.begin(), v.end());
}

void FromStd(std::vector<double> const& v, CNumVector<double>& out) {
  out.SetDim(v.size());
  for (std::size_t i = 0; i < v.size(); ++i) out[i] = v[i];
}

// The smaller boundary of each interval, D[1..N].
CNumVector<double> LowerBoundaries(CNumVector<double> const& d) {
  CNumVector<double> out(d.size() - 1);
  for (Size i = 1; i < d.size(); ++i) out[i - 1] = d[i];
  return out;
}

}  // namespace

// ---------------------------------------------------------------- CPoreDistribution

CPoreDistribution::CPoreDistribution(CNumVector<double> const& diameters,
                                     CNumVector<double> const& incremental)
    : m_Diameters(diameters), m_Incremental(incremental) {}

void CPoreDistribution::Set(CNumVector<double> const& diameters,
                            CNumVector<double> const& incremental) {
  m_Diameters = diameters;
  m_Incremental = incremental;
}

bool CPoreDistribution::IsValid() const {
  return !m_Diameters.empty() && m_Diameters.size() == m_Incremental.size() + 1;
}

void CPoreDistribution::GetPoreDiameters(CNumVector<double>& out) const {
  out = m_Diameters;
}

bool CPoreDistribution::GetAverageDiameters(CNumVector<double>& out) const {
  out.SetDim(0);
  if (!IsValid()) return false;
  out.SetDim(m_Incremental.size());
  for (Size i = 0; i < m_Incremental.size(); ++i)
    out[i] = (m_Diameters[i] + m_Diameters[i + 1]) * 0.5;
  return true;
}

void CPoreDistribution::GetIncremental(CNumVector<double>& out) const {
  out = m_Incremental;
}

bool CPoreDistribution::GetCumulative(CNumVector<double>& out, bool reverse) const {
  out.SetDim(0);
  if (!IsValid()) return false;
  std::vector<double> values = ToStd(m_Incremental);
  const bool ok = IncrementalToCumulative(values, reverse);
  FromStd(values, out);
  return ok;
}

bool CPoreDistribution::GetCumulativeXY(CNumVector<double>& x, CNumVector<double>& y,
                                        bool reverse) const {
  if (!IsValid()) return false;
  const bool ok = GetCumulative(y, reverse);
  x = LowerBoundaries(m_Diameters);
  return ok;
}

bool CPoreDistribution::ComputeDifferential(CNumVector<double>& out, bool log) const {
  out.SetDim(0);
  if (!IsValid()) return false;
  const CNumVector<double>& d = m_Diameters;
  const CNumVector<double>& v = m_Incremental;
  out.SetDim(v.size());
  for (Size i = 0; i < v.size(); ++i) {
    if (!log) {
      out[i] = v[i] / (d[i] - d[i + 1]);
      continue;
    }
    const double ratio = d[i] / d[i + 1];
    out[i] = ratio > 0.0 ? v[i] / std::log10(ratio) : v[i] / kNonPositiveRatioDivisor;
  }
  return true;
}

bool CPoreDistribution::ComputeDifferentialSmoothed(CNumVector<double> const& at,
                                                    CNumVector<double>& out, bool log) const {
  if (!IsValid()) {
    out.SetDim(0);
    return false;
  }
  CNumVector<double> x, y;
  if (!GetCumulativeXY(x, y, true)) return false;
  // The cumulative is summed from the largest boundary, so it grows towards small diameters.
  return NSmooth::ComputeDifferentials(x, y, at, out, false, log);
}

bool CPoreDistribution::IncrementalToCumulative(std::vector<double>& v, bool forward) {
  if (v.empty()) return false;
  if (forward) {
    for (std::size_t i = 1; i < v.size(); ++i) v[i] += v[i - 1];
  } else {
    for (std::size_t i = v.size() - 1; i-- > 0;) v[i] += v[i + 1];
  }
  return true;
}

// ---------------------------------------------------------------- CBJHPoreDistribution

bool CBJHPoreDistribution::GetDifferential(CNumVector<double>& out, bool log, bool smoothed) const {
  if (!smoothed) return ComputeDifferential(out, log);
  if (!IsValid()) {
    out.SetDim(0);
    return false;
  }
  return ComputeDifferentialSmoothed(LowerBoundaries(m_Diameters), out, log);
}

bool CBJHPoreDistribution::GetDifferential(CNumVector<double>& out, bool smoothed) const {
  return GetDifferential(out, false, smoothed);
}

bool CBJHPoreDistribution::GetLogDifferential(CNumVector<double>& out, bool smoothed) const {
  return GetDifferential(out, true, smoothed);
}

// ---------------------------------------------------------------- CImportedPoreDistribution

CImportedPoreDistribution::CImportedPoreDistribution(CNumVector<double> const& diameters,
                                                     CNumVector<double> const& incremental,
                                                     double leadingTail, double trailingTail)
    : CPoreDistribution(diameters, incremental),
      m_LeadingTail(leadingTail),
      m_TrailingTail(trailingTail) {}

bool CImportedPoreDistribution::GetCumulative(CNumVector<double>& out, bool reverse) const {
  out.SetDim(0);
  if (!IsValid()) return false;
  std::vector<double> values = ToStd(m_Incremental);
  const bool ok =
      IncrementalToCumulative(ToStd(m_Diameters), values, m_LeadingTail, m_TrailingTail, reverse);
  FromStd(values, out);
  return ok;
}

bool CImportedPoreDistribution::GetCumulativeXY(CNumVector<double>& x, CNumVector<double>& y,
                                                bool reverse) const {
  GetCumulative(y, reverse);
  if (y.size() != m_Diameters.size() || !IsValid()) {
    x.SetDim(0);
    y.SetDim(0);
    return false;
  }
  x = m_Diameters;
  return true;
}

bool CImportedPoreDistribution::GetDifferential(CNumVector<double>& out, bool log,
                                                bool smoothed) const {
  if (!smoothed) return ComputeDifferential(out, log);
  CNumVector<double> at;
  if (!GetAverageDiameters(at)) {
    out.SetDim(0);
    return false;
  }
  return ComputeDifferentialSmoothed(at, out, log);
}

bool CImportedPoreDistribution::GetDifferential(CNumVector<double>& out, bool smoothed) const {
  return GetDifferential(out, false, smoothed);
}

bool CImportedPoreDistribution::GetLogDifferential(CNumVector<double>& out, bool smoothed) const {
  return GetDifferential(out, true, smoothed);
}

bool CImportedPoreDistribution::GetIncrementalXY(CNumVector<double>& x,
                                                 CNumVector<double>& y) const {
  if (!IsValid()) {
    x.SetDim(0);
    y.SetDim(0);
    return false;
  }
  std::vector<double> values = ToStd(m_Incremental);
  IncrementalWithTailToIncremental(ToStd(m_Diameters), values, m_LeadingTail, m_TrailingTail);
  x = m_Diameters;
  FromStd(values, y);
  return true;
}

bool CImportedPoreDistribution::IncrementalWithTailToIncremental(
    std::vector<double> const& diameters, std::vector<double>& incremental, double leadingTail,
    double trailingTail) {
  if (incremental.size() + 1 != diameters.size()) return false;
  if (leadingTail > 0.0 || trailingTail == 0.0)
    incremental.insert(incremental.begin(), leadingTail);
  else
    incremental.push_back(trailingTail);
  return true;
}

bool CImportedPoreDistribution::IncrementalToCumulative(std::vector<double> const& diameters,
                                                        std::vector<double>& v, double leadingTail,
                                                        double trailingTail, bool forward) {
  IncrementalWithTailToIncremental(diameters, v, leadingTail, trailingTail);
  return IncrementalToCumulative(v, forward);
}

bool CImportedPoreDistribution::CumulativeToIncremental(std::vector<double> const& diameters,
                                                        std::vector<double> const& cumulative,
                                                        std::vector<double>& incremental,
                                                        double& leadingTail, double& trailingTail,
                                                        bool* forward) {
  const std::size_t count = cumulative.size();
  if (count == 0 || count != diameters.size()) return false;
  const std::vector<double>& c = cumulative;

  std::size_t rising = 0, falling = 0;
  for (std::size_t i = 1; i < count; ++i) {
    if (c[i] > c[i - 1]) ++rising;
    if (c[i] < c[i - 1]) ++falling;
  }
  const bool summedForward = rising >= falling;
  const std::size_t n = count - 1;  // intervals

  // Built aside so that `incremental` may alias `cumulative`.
  std::vector<double> increments(n);
  double leading = 0.0, trailing = 0.0;
  if (summedForward) {
    // Leading tail in front, then differences: the forward sum gives C back.
    leading = c[0];
    for (std::size_t i = 0; i < n; ++i) increments[i] = c[i + 1] - c[i];
  } else if (c[n] != 0.0) {
    // A non-zero trailing tail is appended after the increments.
    trailing = c[n];
    for (std::size_t i = 0; i < n; ++i) increments[i] = c[i] - c[i + 1];
  } else {
    // A zero trailing tail would be put in front, so the leading form carries the values.
    // (More falling than rising steps means n >= 1.)
    leading = c[0] - c[1];
    for (std::size_t i = 0; i + 1 < n; ++i) increments[i] = c[i + 1] - c[i + 2];
    increments[n - 1] = c[n];
  }
  incremental = std::move(increments);
  leadingTail = leading;
  trailingTail = trailing;
  if (forward != nullptr) *forward = summedForward;
  return true;
}
