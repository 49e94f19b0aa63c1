// Synthetic slit-pore kernels and isotherms for the DFT deconvolution's tests and
// benchmarks: a film that thickens with pressure (Halsey) and a filling step whose pressure
// rises with the width, so that every width has a column of its own, as in a real kernel.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "fiofla/gasdft.h"

namespace fiofla::testing {

/// How one gas fills slit pores: ln P/Po of the filling step is −a / (w − w0) (w in Å),
/// spread over `spread` in ln P; the wall film is half formed at P/Po = film.
struct SyntheticGas {
  const char* name = "N2";
  double temperature = 77.35;
  double a = 28.0, w0 = 2.5, spread = 0.25;
  double liquid = 646.0;  // cm3 STP per cm3 of liquid
  double film = 1e-5;     // P/Po at which the wall film is half formed
};

/// The amount adsorbed (cm3 STP per m2 of wall) at P/Po in a slit of width w (Å).
inline double SlitUptake(SyntheticGas const& g, double p, double w) {
  const double full = w / 2.0 * 1e-4 * g.liquid;
  // The film forms like a Langmuir layer, thickens like Halsey's, and never holds more than
  // half the pore, so the filling step always has something to fill.
  const double t = 3.5 * std::cbrt(5.0 / std::log(1.0 / p)) * p / (p + g.film);
  const double film = std::min(t * 1e-4 * g.liquid, full / 2.0);
  const double z = (std::log(p) + g.a / (w - g.w0)) / g.spread;
  return film + (full - film) / (1.0 + std::exp(-z));
}

inline std::vector<double> LogSpaced(double lo, double hi, std::size_t n) {
  std::vector<double> v(n);
  for (std::size_t k = 0; k < n; ++k) v[k] = lo * std::pow(hi / lo, double(k) / double(n - 1));
  return v;
}

/// A kernel over the given relative pressures and widths.
inline CDFTModel SyntheticKernel(SyntheticGas const& g, std::vector<double> const& p,
                                 std::vector<double> const& w) {
  CDFTModelSpecBase header;
  header.SetParams(eDFTCategoryAdsorption, eDFTTypeDefault, eDFTGeometrySlit, g.temperature,
                   CStr(g.name), CStr("synthetic slit kernel"));
  CNumVector<double> pv(p.size()), wv(w.size());
  CNumMatrix<double> k(p.size(), w.size());
  for (std::size_t i = 0; i < p.size(); ++i) pv[i] = p[i];
  for (std::size_t j = 0; j < w.size(); ++j) wv[j] = w[j];
  for (std::size_t i = 0; i < p.size(); ++i)
    for (std::size_t j = 0; j < w.size(); ++j) k(i, j) = SlitUptake(g, p[i], w[j]);
  return CDFTModel(header, pv, wv, k);
}

/// Wall area per class (m2/g) of log-normal peaks: (centre Å, width in decades, cm3/g).
struct Peak {
  double centre, sigma, volume;
};
inline std::vector<double> PeakAreas(std::vector<double> const& w, std::vector<Peak> const& peaks) {
  std::vector<double> area(w.size(), 0.0);
  for (Peak const& pk : peaks) {
    std::vector<double> shape(w.size());
    double volume = 0.0;
    for (std::size_t j = 0; j < w.size(); ++j) {
      const double u = (std::log10(w[j]) - std::log10(pk.centre)) / pk.sigma;
      shape[j] = std::exp(-0.5 * u * u);
      volume += shape[j] * w[j] / 2.0 * 1e-4;  // slit: area / 2 × width
    }
    for (std::size_t j = 0; j < w.size(); ++j) area[j] += shape[j] * pk.volume / volume;
  }
  return area;
}

/// The isotherm (cm3 STP/g) of that distribution at the pressures, with relative Gaussian
/// noise of `noise` (Box-Muller on a fixed linear congruential stream, the same everywhere).
inline std::vector<double> SyntheticIsotherm(SyntheticGas const& g, std::vector<double> const& p,
                                             std::vector<double> const& w,
                                             std::vector<double> const& area, double noise = 0.0,
                                             std::uint64_t seed = 12345) {
  std::uint64_t state = seed;
  auto uniform = [&]() {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return (double(state >> 11) + 0.5) / 9007199254740992.0;
  };
  std::vector<double> q(p.size(), 0.0);
  for (std::size_t i = 0; i < p.size(); ++i) {
    for (std::size_t j = 0; j < w.size(); ++j) q[i] += SlitUptake(g, p[i], w[j]) * area[j];
    const double u1 = uniform(), u2 = uniform();
    const double z = std::sqrt(-2.0 * std::log(u1)) * std::cos(6.283185307179586 * u2);
    q[i] *= 1.0 + noise * z;
  }
  return q;
}

}  // namespace fiofla::testing
