// CDFTDualModel: two kernels merged into one system with common size classes.
#include <algorithm>
#include <cmath>

#include "fiofla/gasdft.h"

CDFTDualModel::CDFTDualModel(CDFTModel const& first, CDFTModel const& second)
    : m_first(first), m_second(second) {
  if (!first.IsValid() || !second.IsValid()) {
    m_reason = first.IsValid() ? "the second model is not valid" : "the first model is not valid";
    return;
  }
  if (!first.Header().IsBasicCompatible(second.Header())) {
    m_reason = "the two models differ in category or pore geometry";
    return;
  }
  CNumVector<double> const& w1 = first.PoreWidths();
  CNumVector<double> const& w2 = second.PoreWidths();
  const std::size_t n1 = w1.size(), n2 = w2.size();
  if (n1 < 2 || n2 < 2) {
    m_reason = "a model has fewer than 2 pore widths";
    return;
  }
  for (std::size_t j = 1; j < n2; ++j)
    if (!(w2[j] > w2[j - 1]) || !(w2[j - 1] > 0.0)) {
      m_reason = "the second model's pore widths are not positive and ascending";
      return;
    }
  // A width counts as common when it lies in the second grid's span to 1e-9 relative.
  const double lo = w2[0] * (1.0 - 1e-9), hi = w2[n2 - 1] * (1.0 + 1e-9);
  std::vector<std::size_t> kept;
  for (std::size_t j = 0; j < n1; ++j)
    if (w1[j] >= lo && w1[j] <= hi) kept.push_back(j);
  if (kept.size() < 2) {
    m_reason = "the two models have fewer than 2 pore widths in common";
    return;
  }

  const std::size_t np1 = first.Pressures().size(), np2 = second.Pressures().size();
  m_pressures.SetDim(np1 + np2);
  for (std::size_t i = 0; i < np1; ++i) m_pressures[i] = first.Pressures()[i];
  for (std::size_t i = 0; i < np2; ++i) m_pressures[np1 + i] = second.Pressures()[i];
  m_model1NumPressures = static_cast<unsigned long>(np1);
  m_poreWidths.SetDim(kept.size());
  m_kernel.SetDim(np1 + np2, kept.size());
  for (std::size_t c = 0; c < kept.size(); ++c) {
    const double w = w1[kept[c]];
    m_poreWidths[c] = w;
    for (std::size_t i = 0; i < np1; ++i) m_kernel(i, c) = first.Kernel()(i, kept[c]);
    // The second kernel's column at w: linear in log width between its neighbours.
    std::size_t k = std::size_t(std::upper_bound(&w2[0], &w2[0] + n2, w) - &w2[0]);
    k = std::min(std::max<std::size_t>(k, 1), n2 - 1);
    double t = std::log(w / w2[k - 1]) / std::log(w2[k] / w2[k - 1]);
    t = std::min(1.0, std::max(0.0, t));
    for (std::size_t i = 0; i < np2; ++i)
      m_kernel(np1 + i, c) = (1.0 - t) * second.Kernel()(i, k - 1) + t * second.Kernel()(i, k);
  }
  m_work.SetDim(np1 + np2);
}
