#include "fiofla/dft_slit.h"

#include <fftw3.h>

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <complex>
#include <deque>
#include <mutex>

namespace fiofla::dft {
namespace {

constexpr double kPi = 3.14159265358979323846;

// φ3(n) = [n + (1 − n)² ln(1 − n)] / (36π n² (1 − n)²) of the White Bear functional and
// its derivative; below n = 1e-3 from the series of the numerator, which cancels there.
// `l` is ln(1 − n), which the caller has at hand.
void Phi3(double n, double l, double& value, double& slope) {
  const double q = 36.0 * kPi * (1.0 - n) * (1.0 - n), dq = -72.0 * kPi * (1.0 - n);
  if (n < 1e-3) {
    const double p = 1.5 - n / 3.0 - n * n / 12.0 - n * n * n / 30.0;
    const double dp = -1.0 / 3.0 - n / 6.0 - n * n / 10.0;
    value = p / q;
    slope = (dp * q - p * dq) / (q * q);
    return;
  }
  const double g = n + (1.0 - n) * (1.0 - n) * l, dg = n - 2.0 * (1.0 - n) * l;
  const double h = n * n * q, dh = 2.0 * n * q + n * n * dq;
  value = g / h;
  slope = (dg * h - g * dh) / (h * h);
}

// The wall potential of one Steele wall at distance z from its plane of carbon centres, kT.
double Steele(SteeleWall const& w, double epsOverT, double z) {
  if (!(z > 0.0)) return HUGE_VAL;
  const double s = w.sigmaNm / z, s2 = s * s, s4 = s2 * s2;
  const double d = w.spacingNm;
  const double x = z + 0.61 * d;
  return 2.0 * kPi * w.densityPerNm3 * epsOverT * w.sigmaNm * w.sigmaNm * d *
         (0.4 * s4 * s4 * s2 - s4 - std::pow(w.sigmaNm, 4) / (3.0 * d * x * x * x));
}

// FFTW's planner is not thread-safe (its executor is): every plan is made and destroyed
// under this lock.
std::mutex& PlannerLock() {
  static std::mutex lock;
  return lock;
}

// A buffer from fftw_malloc, aligned as the plans expect.
template <class T>
struct FftwBuffer {
  explicit FftwBuffer(std::size_t n) : data(static_cast<T*>(fftw_malloc(sizeof(T) * n))) {
    if (data == nullptr) throw std::bad_alloc();
  }
  ~FftwBuffer() { fftw_free(data); }
  FftwBuffer(FftwBuffer const&) = delete;
  FftwBuffer& operator=(FftwBuffer const&) = delete;
  T* data;
};

using Complex = std::complex<double>;

}  // namespace

// The transforms of length L and the kernels' spectra (with the 1/L of the inverse).
struct SlitPore::Fft {
  int length = 0;
  fftw_plan forward = nullptr, backward = nullptr;
  std::vector<Complex> s3, s2, sv, sa;
  ~Fft() {
    std::lock_guard<std::mutex> hold(PlannerLock());
    if (forward != nullptr) fftw_destroy_plan(forward);
    if (backward != nullptr) fftw_destroy_plan(backward);
  }
};

// Scratch space of one evaluation.
struct SlitPore::Work {
  explicit Work(int length)
      : real(std::size_t(length)),
        spectrum(std::size_t(length / 2 + 1)),
        density(std::size_t(length / 2 + 1)),
        sum(std::size_t(length / 2 + 1)) {}
  std::vector<double> n3, n2, nv, d3, d2, dv, chs, catt, phi;
  FftwBuffer<double> real;
  FftwBuffer<fftw_complex> spectrum, density, sum;
};

SlitPore::SlitPore(BulkFluid const& fluid, SteeleWall const& wall, double widthNm,
                   SlitSettings const& settings)
    : m_fluid(fluid), m_settings(settings), m_width(widthNm) {
  const double d = fluid.Fluid().diameterNm;
  m_radius = d / 2.0;
  const int m = std::max(2, settings.pointsPerRadius);
  m_dz = m_radius / m;
  m_h = widthNm + wall.solidDiameterNm;
  const int n = std::max(1, int(std::floor(m_h / m_dz - 1e-9)) + 1);
  m_z.resize(std::size_t(n));
  m_v.resize(std::size_t(n));
  const double epsOverT = wall.epsilonK / fluid.Temperature();
  for (int i = 0; i < n; ++i) {
    const double z = m_h / 2.0 + (i - (n - 1) / 2.0) * m_dz;
    m_z[std::size_t(i)] = z;
    const double v = Steele(wall, epsOverT, z) + Steele(wall, epsOverT, m_h - z);
    m_v[std::size_t(i)] = std::min(v, settings.capKT);
  }

  // Hard-sphere weights at offsets s = k dz, k = −m..m, trapezoid ends, each scaled to its
  // exact moment: ∫ w3 = π d³/6, ∫ w2 = π d², ∫ s w_v = 4π R³/3.
  m_kw = m;
  const double R = m_radius;
  m_w3.assign(std::size_t(2 * m + 1), 0.0);
  m_w2 = m_wv = m_w3;
  double s3 = 0.0, s2 = 0.0, sv = 0.0;
  for (int k = -m; k <= m; ++k) {
    const double s = k * m_dz, end = (k == -m || k == m) ? 0.5 : 1.0;
    const std::size_t j = std::size_t(k + m);
    m_w3[j] = end * kPi * (R * R - s * s) * m_dz;
    m_w2[j] = end * 2.0 * kPi * R * m_dz;
    m_wv[j] = end * 2.0 * kPi * s * m_dz;
    s3 += m_w3[j];
    s2 += m_w2[j];
    sv += s * m_wv[j];
  }
  for (std::size_t j = 0; j < m_w3.size(); ++j) {
    m_w3[j] *= kPi * d * d * d / 6.0 / s3;
    m_w2[j] *= kPi * d * d / s2;
    m_wv[j] *= 4.0 * kPi * R * R * R / 3.0 / sv;
  }

  // The attraction through a plane: u(s) = 2π ∫_|s|^rc u_att(r) r dr, scaled to ∫ u = a.
  const LJFluid& f = fluid.Fluid();
  const double e = f.epsilonK / fluid.Temperature(), sig = f.sigmaNm;
  const double rm = std::pow(2.0, 1.0 / 6.0) * sig, rc = f.cutoffSigma * sig;
  auto tail = [&](double r) {  // ∫ 4e((σ/r)^12 − (σ/r)^6) r dr
    return 4.0 * e *
           (-std::pow(sig, 12) / (10.0 * std::pow(r, 10)) +
            std::pow(sig, 6) / (4.0 * std::pow(r, 4)));
  };
  m_ka = int(std::floor(rc / m_dz));
  m_ua.assign(std::size_t(2 * m_ka + 1), 0.0);
  double sa = 0.0;
  for (int k = -m_ka; k <= m_ka; ++k) {
    const double s = std::fabs(k * m_dz);
    double u;
    if (s < rm)
      u = 2.0 * kPi * (-e * (rm * rm - s * s) / 2.0 + tail(rc) - tail(rm));
    else
      u = 2.0 * kPi * (tail(rc) - tail(s));
    m_ua[std::size_t(k + m_ka)] = u * m_dz;
    sa += u * m_dz;
  }
  for (double& u : m_ua) u *= fluid.Attraction() / sa;

  // Linear convolutions by FFT: a length with room for the longest kernel beyond the grid.
  auto fft = std::make_shared<Fft>();
  // The smallest even length of factors 2, 3, 5 and 7 only, which FFTW transforms about as
  // fast as a power of two, with room for the longest kernel beyond the grid.
  auto smooth = [](int v) {
    for (int f : {2, 3, 5, 7})
      while (v % f == 0) v /= f;
    return v == 1;
  };
  int length = std::max(64, n + std::max(m_kw, m_ka) + 1);
  while (length % 2 != 0 || !smooth(length)) ++length;
  fft->length = length;
  {
    FftwBuffer<double> real{std::size_t(length)};
    FftwBuffer<fftw_complex> spectrum{std::size_t(length / 2 + 1)};
    std::lock_guard<std::mutex> hold(PlannerLock());
    fft->forward = fftw_plan_dft_r2c_1d(length, real.data, spectrum.data, FFTW_ESTIMATE);
    fft->backward = fftw_plan_dft_c2r_1d(length, spectrum.data, real.data, FFTW_ESTIMATE);
  }
  if (fft->forward == nullptr || fft->backward == nullptr) throw std::bad_alloc();
  auto spectrumOf = [&](std::vector<double> const& kernel, int half) {
    FftwBuffer<double> real{std::size_t(length)};
    FftwBuffer<fftw_complex> spectrum{std::size_t(length / 2 + 1)};
    std::fill(real.data, real.data + length, 0.0);
    for (int k = -half; k <= half; ++k)
      real.data[(k + length) % length] = kernel[std::size_t(k + half)];
    fftw_execute_dft_r2c(fft->forward, real.data, spectrum.data);
    std::vector<Complex> out(std::size_t(length / 2 + 1));
    for (std::size_t j = 0; j < out.size(); ++j)
      out[j] = Complex(spectrum.data[j][0], spectrum.data[j][1]) / double(length);
    return out;
  };
  fft->s3 = spectrumOf(m_w3, m_kw);
  fft->s2 = spectrumOf(m_w2, m_kw);
  fft->sv = spectrumOf(m_wv, m_kw);
  fft->sa = spectrumOf(m_ua, m_ka);
  m_fft = fft;
}

void SlitPore::Correlation(std::vector<double> const& rho, Work& w, bool symmetric) const {
  const int n = int(rho.size()), length = m_fft->length, half = length / 2 + 1;
  for (auto* v : {&w.n3, &w.n2, &w.nv, &w.d3, &w.d2, &w.dv, &w.chs, &w.catt, &w.phi})
    v->resize(std::size_t(n));
  auto* density = reinterpret_cast<Complex*>(w.density.data);
  auto* spectrum = reinterpret_cast<Complex*>(w.spectrum.data);
  auto* sum = reinterpret_cast<Complex*>(w.sum.data);
  double* real = w.real.data;
  // ρ's spectrum; then n_α = ρ * w_α and c_att = ρ * u, each one inverse transform.
  std::fill(real, real + length, 0.0);
  std::copy(rho.begin(), rho.end(), real);
  fftw_execute_dft_r2c(m_fft->forward, real, w.density.data);
  auto inverse = [&](std::vector<Complex> const& kernel, std::vector<double>& out) {
    for (int j = 0; j < half; ++j) spectrum[j] = density[j] * kernel[std::size_t(j)];
    fftw_execute_dft_c2r(m_fft->backward, w.spectrum.data, real);
    std::copy(real, real + n, out.begin());
  };
  inverse(m_fft->s3, w.n3);
  inverse(m_fft->s2, w.n2);
  inverse(m_fft->sv, w.nv);
  inverse(m_fft->sa, w.catt);

  // Of a symmetric profile, the local terms are worked out on one half only (they are a
  // third of the cost): n3, n2 and their derivatives are even about the middle, n_v2 odd.
  const double R = m_radius, c0 = 1.0 / (4.0 * kPi * R * R), c1 = 1.0 / (4.0 * kPi * R);
  const int last = symmetric ? (n - 1) / 2 : n - 1;
  for (int i = 0; i <= last; ++i) {
    const std::size_t u = std::size_t(i);
    const double n3 = std::max(w.n3[u], 0.0), n2 = w.n2[u], nv = w.nv[u];
    const double g = 1.0 - n3, l = std::log1p(-n3);
    double p3, dp3;
    Phi3(n3, l, p3, dp3);
    const double cube = n2 * n2 * n2 - 3.0 * n2 * nv * nv;
    w.phi[u] = -c0 * n2 * l + c1 * (n2 * n2 - nv * nv) / g + cube * p3;
    w.d3[u] = c0 * n2 / g + c1 * (n2 * n2 - nv * nv) / (g * g) + cube * dp3;
    w.d2[u] = -c0 * l + 2.0 * c1 * n2 / g + 3.0 * (n2 * n2 - nv * nv) * p3;
    w.dv[u] = -2.0 * c1 * nv / g - 6.0 * n2 * nv * p3;
  }
  for (int i = last + 1; i < n; ++i) {
    const std::size_t u = std::size_t(i), m = std::size_t(n - 1 - i);
    w.phi[u] = w.phi[m];
    w.d3[u] = w.d3[m];
    w.d2[u] = w.d2[m];
    w.dv[u] = -w.dv[m];
  }
  // c_hs(z) = Σ_α ∫ ∂Φ/∂n_α(z') w_α(z' − z) dz': correlations, the mirrored kernels' spectra
  // being the conjugates.
  std::fill(sum, sum + half, Complex(0.0, 0.0));
  auto add = [&](std::vector<double> const& derivative, std::vector<Complex> const& kernel) {
    std::fill(real, real + length, 0.0);
    std::copy(derivative.begin(), derivative.end(), real);
    fftw_execute_dft_r2c(m_fft->forward, real, w.spectrum.data);
    for (int j = 0; j < half; ++j) sum[j] += spectrum[j] * std::conj(kernel[std::size_t(j)]);
  };
  add(w.d3, m_fft->s3);
  add(w.d2, m_fft->s2);
  add(w.dv, m_fft->sv);
  fftw_execute_dft_c2r(m_fft->backward, w.sum.data, real);
  std::copy(real, real + n, w.chs.begin());
}

double SlitPore::FreeEnergy(std::vector<double> const& rho, Work& w) const {
  Correlation(rho, w, false);
  double f = 0.0;
  for (std::size_t i = 0; i < rho.size(); ++i) {
    const double r = rho[i];
    if (r > 0.0) f += r * (std::log(r) - 1.0);
    f += w.phi[i] + 0.5 * r * w.catt[i];
  }
  return f * m_dz;
}

double SlitPore::GrandPotential(std::vector<double> const& rho, double mu) const {
  Work w(m_fft->length);
  double omega = FreeEnergy(rho, w);
  for (std::size_t i = 0; i < rho.size(); ++i) omega -= (mu - m_v[i]) * rho[i] * m_dz;
  return omega / 2.0;
}

SlitProfile SlitPore::Solve(double mu, std::vector<double> const& start,
                            double startDensity) const {
  // Anderson mixing now and then stalls or leaps into the other phase (a dense liquid that
  // boils away), and which start does so changes with the last bits of rounding. A solve
  // that does not converge is run again from the same start with a shorter history, then a
  // shorter step, and last with plain Picard steps short enough to be stable in the dense
  // liquid (whose compressibility makes the usual step overshoot) and three times as many
  // of them. Each attempt is deterministic, so the result still is.
  const int h = m_settings.history, cap = m_settings.maxIterations;
  const double beta = m_settings.mixing;
  struct Attempt {
    int history;
    double mixing;
    int iterations;
  };
  const Attempt attempts[] = {{h, beta, cap},
                              {std::min(h, 3), beta, cap},
                              {std::min(h, 3), beta / 3.0, cap},
                              {0, beta / 7.5, 3 * cap}};
  SlitProfile out;
  int spent = 0;
  for (Attempt const& a : attempts) {
    out = Iterate(mu, start, startDensity, a.history, a.mixing, a.iterations);
    spent += out.iterations;
    if (out.converged) break;
  }
  out.iterations = spent;
  return out;
}

SlitProfile SlitPore::Iterate(double mu, std::vector<double> const& start, double startDensity,
                              int history, double mixing, int maxIterations) const {
  const std::size_t n = m_z.size();
  SlitProfile out;
  std::vector<double> x(n);
  if (start.size() == n) {
    for (std::size_t i = 0; i < n; ++i) x[i] = std::log(std::max(start[i], 1e-300));
  } else {
    // The first Picard step from the bulk, ρ e^(−V), but never denser than the liquid: a
    // film where the wall attracts, a gap where it repels.
    const Coexistence& c = m_fluid.Coexist();
    const double ceiling =
        std::log(c.ok ? c.liquid : 0.9 / (kPi / 6.0 * std::pow(2.0 * m_radius, 3)));
    for (std::size_t i = 0; i < n; ++i)
      x[i] = std::min(std::log(std::max(startDensity, 1e-300)) - m_v[i],
                      std::max(ceiling, std::log(std::max(startDensity, 1e-300))));
  }
  Work w(m_fft->length);
  std::vector<double> rho(n), f(n);
  // Iterates are symmetric (below), so each half is worked out once and mirrored.
  const std::size_t middle = (n - 1) / 2;
  auto evaluate = [&](std::vector<double> const& lnRho, std::vector<double>& residual) {
    for (std::size_t i = 0; i <= middle; ++i) rho[i] = rho[n - 1 - i] = std::exp(lnRho[i]);
    Correlation(rho, w, true);
    double worst = 0.0;
    for (std::size_t i = 0; i <= middle; ++i) {
      if (!(w.n3[i] < 0.999)) return -1.0;
      residual[i] = residual[n - 1 - i] = mu - m_v[i] - w.chs[i] - w.catt[i] - lnRho[i];
      if (!std::isfinite(residual[i])) return -1.0;
      worst = std::max(worst, std::fabs(residual[i]));
    }
    return worst;
  };

  history = std::max(0, history);
  std::deque<Eigen::VectorXd> dx, df;
  Eigen::VectorXd xPrev, fPrev, next(static_cast<Eigen::Index>(n));
  // Kept across iterations: at thousands of points, fresh matrices each step cost more in
  // page faults than the mixing itself.
  Eigen::MatrixXd F(Eigen::Index(n), history), X(Eigen::Index(n), history);
  std::vector<double> trial(n), trialF(n);
  double beta = mixing;
  // The pore is symmetric, and so is every iterate: rounding would otherwise seed an
  // antisymmetric mode that two nearly independent wall films damp only slowly.
  auto mirror = [n](std::vector<double>& v) {
    for (std::size_t i = 0, j = n - 1; i < j; ++i, --j) v[i] = v[j] = 0.5 * (v[i] + v[j]);
  };
  mirror(x);
  double change = evaluate(x, f);
  if (change < 0.0) {
    out.change = HUGE_VAL;
    return out;
  }
  for (out.iterations = 0; out.iterations < maxIterations; ++out.iterations) {
    out.change = change;
    if (change <= m_settings.tolerance) {
      out.converged = true;
      break;
    }
    const Eigen::Map<const Eigen::VectorXd> xv(x.data(), Eigen::Index(n));
    const Eigen::Map<const Eigen::VectorXd> fv(f.data(), Eigen::Index(n));
    if (history > 0 && xPrev.size() == Eigen::Index(n)) {
      dx.push_back(xv - xPrev);
      df.push_back(fv - fPrev);
      if (int(dx.size()) > history) {
        dx.pop_front();
        df.pop_front();
      }
    }
    if (history > 0) {
      xPrev = xv;
      fPrev = fv;
    }
    next = xv + beta * fv;
    if (!df.empty()) {
      // γ = argmin |f − ΔF γ|, by the normal equations lightly regularised.
      const Eigen::Index p = Eigen::Index(df.size());
      for (Eigen::Index c = 0; c < p; ++c) {
        F.col(c) = df[std::size_t(c)];
        X.col(c) = dx[std::size_t(c)];
      }
      Eigen::MatrixXd g = F.leftCols(p).transpose() * F.leftCols(p);
      g.diagonal().array() += 1e-12 * g.trace() + 1e-300;
      const Eigen::VectorXd gamma = g.ldlt().solve(F.leftCols(p).transpose() * fv);
      if (gamma.allFinite()) {
        next.noalias() -= X.leftCols(p) * gamma;
        next.noalias() -= beta * (F.leftCols(p) * gamma);
      }
    }
    std::copy(next.data(), next.data() + n, trial.begin());
    mirror(trial);
    double trialChange = evaluate(trial, trialF);
    // An accelerated step that overpacks or is not finite is dropped with the history;
    // plain Picard steps then, shortened until they are valid.
    if (trialChange < 0.0) {
      dx.clear();
      df.clear();
      xPrev.resize(0);
      for (int tries = 0; tries < 40 && trialChange < 0.0; ++tries) {
        beta *= 0.5;
        for (std::size_t i = 0; i < n; ++i) trial[i] = x[i] + beta * f[i];
        mirror(trial);
        trialChange = evaluate(trial, trialF);
      }
      if (trialChange < 0.0) break;
    } else {
      beta = std::min(mixing, 2.0 * beta);
    }
    x.swap(trial);
    f.swap(trialF);
    change = trialChange;
  }
  out.rho.resize(n);
  double amount = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    out.rho[i] = std::exp(x[i]);
    amount += out.rho[i];
  }
  out.amount = amount * m_dz / 2.0;
  out.grandPotential = GrandPotential(out.rho, mu);
  return out;
}

double ChemicalPotentialAt(BulkFluid const& fluid, double x) {
  const Coexistence& c = fluid.Coexist();
  const double rho = c.ok ? fluid.VapourDensityAt(x * c.pressure) : -1.0;
  return rho > 0.0 ? fluid.ChemicalPotential(rho) : std::nan("");
}

std::vector<BranchPoint> AdsorptionBranch(SlitPore const& pore, std::vector<double> const& x) {
  BulkFluid const& fluid = pore.Fluid();
  const Coexistence& c = fluid.Coexist();
  std::vector<BranchPoint> out;
  std::vector<double> previous;
  for (double p : x) {
    BranchPoint pt;
    pt.relativePressure = p;
    const double mu = ChemicalPotentialAt(fluid, p);
    if (!std::isfinite(mu)) {
      out.push_back(pt);
      continue;
    }
    SlitProfile prof = pore.Solve(mu, previous, fluid.VapourDensityAt(p * c.pressure));
    if (!prof.converged) {
      const double liquid = fluid.LiquidDensityAt(mu);
      SlitProfile filled = pore.Solve(mu, {}, liquid > 0.0 ? liquid : c.liquid);
      filled.iterations += prof.iterations;
      prof = filled;
    }
    pt.amount = prof.amount;
    pt.grandPotential = prof.grandPotential;
    pt.converged = prof.converged;
    pt.iterations = prof.iterations;
    if (prof.converged) previous = prof.rho;
    out.push_back(pt);
  }
  return out;
}

}  // namespace fiofla::dft
