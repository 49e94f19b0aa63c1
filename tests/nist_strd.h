// The NIST StRD nonlinear-regression problems for the Levenberg-Marquardt tests and
// benchmark: a reader of NIST's .dat layout and the 27 model functions, written once over a
// forward-mode dual number so that the fit gets exact derivatives.
#pragma once

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "fiofla/num/marquette.h"

namespace fiofla::test {

/// Value and gradient with respect to the parameters, for exact model derivatives.
struct Dual {
  double v = 0.0;
  std::vector<double> d;
  Dual(double value = 0.0) : v(value) {}
  Dual(double value, std::size_t n, std::size_t k) : v(value), d(n, 0.0) { d[k] = 1.0; }
};

inline Dual Chain(Dual const& a, double value, double slope) {
  Dual r(value);
  r.d.resize(a.d.size());
  for (std::size_t k = 0; k < a.d.size(); ++k) r.d[k] = slope * a.d[k];
  return r;
}
inline Dual Combine(Dual const& a, Dual const& b, double value, double da, double db) {
  Dual r(value);
  r.d.assign(std::max(a.d.size(), b.d.size()), 0.0);
  for (std::size_t k = 0; k < a.d.size(); ++k) r.d[k] += da * a.d[k];
  for (std::size_t k = 0; k < b.d.size(); ++k) r.d[k] += db * b.d[k];
  return r;
}
inline Dual operator+(Dual const& a, Dual const& b) {
  return Combine(a, b, a.v + b.v, 1, 1);
}
inline Dual operator-(Dual const& a, Dual const& b) {
  return Combine(a, b, a.v - b.v, 1, -1);
}
inline Dual operator*(Dual const& a, Dual const& b) {
  return Combine(a, b, a.v * b.v, b.v, a.v);
}
inline Dual operator/(Dual const& a, Dual const& b) {
  return Combine(a, b, a.v / b.v, 1.0 / b.v, -a.v / (b.v * b.v));
}
inline Dual operator-(Dual const& a) {
  return Chain(a, -a.v, -1.0);
}
inline Dual exp(Dual const& a) {
  return Chain(a, std::exp(a.v), std::exp(a.v));
}
inline Dual log(Dual const& a) {
  return Chain(a, std::log(a.v), 1.0 / a.v);
}
inline Dual sin(Dual const& a) {
  return Chain(a, std::sin(a.v), std::cos(a.v));
}
inline Dual cos(Dual const& a) {
  return Chain(a, std::cos(a.v), -std::sin(a.v));
}
inline Dual atan(Dual const& a) {
  return Chain(a, std::atan(a.v), 1.0 / (1.0 + a.v * a.v));
}
inline Dual pow(Dual const& a, Dual const& b) {
  const double p = std::pow(a.v, b.v);
  return Combine(a, b, p, b.v * std::pow(a.v, b.v - 1.0), a.v > 0 ? p * std::log(a.v) : 0.0);
}

/// One NIST problem as its file states it.
struct NistProblem {
  std::string name;
  std::vector<double> y;
  std::vector<std::vector<double>> x;  ///< predictors of each observation
  std::vector<double> start1, start2, certified, certifiedSd;
  double certifiedRss = 0.0;
};

/// Reads a NIST StRD .dat file; false when its layout is not recognised.
inline bool ReadNist(std::string const& path, NistProblem& p) {
  std::ifstream in(path);
  if (!in) return false;
  p = NistProblem();
  p.name = std::filesystem::path(path).stem().string();
  const std::regex param(R"(^\s*b(\d+)\s*=\s*(\S+)\s+(\S+)\s+(\S+)\s+(\S+)\s*$)");
  const std::regex dataHead(R"(^Data:\s+y\b.*)");
  std::string line;
  bool inData = false;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::smatch m;
    if (inData) {
      std::istringstream row(line);
      std::vector<double> v;
      double d;
      while (row >> d) v.push_back(d);
      if (v.size() >= 2) {
        p.y.push_back(v[0]);
        p.x.emplace_back(v.begin() + 1, v.end());
      }
    } else if (std::regex_match(line, m, param)) {
      if (std::stoul(m[1]) != p.start1.size() + 1) return false;
      p.start1.push_back(std::stod(m[2]));
      p.start2.push_back(std::stod(m[3]));
      p.certified.push_back(std::stod(m[4]));
      p.certifiedSd.push_back(std::stod(m[5]));
    } else if (line.rfind("Residual Sum of Squares:", 0) == 0) {
      p.certifiedRss = std::stod(line.substr(24));
    } else if (std::regex_match(line, dataHead)) {
      inData = true;
    }
  }
  return !p.y.empty() && !p.start1.empty();
}

/// Model of a problem: response as a function of the predictors and parameters b[0..].
using NistModel = Dual (*)(std::vector<double> const& x, std::vector<Dual> const& b);

/// The 27 models, from the formulas in the NIST files (b1 is b[0]).
inline std::map<std::string, NistModel> const& NistModels() {
  static const std::map<std::string, NistModel> models = [] {
    std::map<std::string, NistModel> m;
    const double pi = 3.141592653589793238462643383279;
    (void)pi;
    m["Misra1a"] = [](auto const& x, auto const& b) {
      return b[0] * (Dual(1) - exp(-b[1] * Dual(x[0])));
    };
    m["BoxBOD"] = m["Misra1a"];
    m["Chwirut1"] = [](auto const& x, auto const& b) {
      return exp(-b[0] * Dual(x[0])) / (b[1] + b[2] * Dual(x[0]));
    };
    m["Chwirut2"] = m["Chwirut1"];
    m["Lanczos1"] = [](auto const& x, auto const& b) {
      const Dual t(x[0]);
      return b[0] * exp(-b[1] * t) + b[2] * exp(-b[3] * t) + b[4] * exp(-b[5] * t);
    };
    m["Lanczos2"] = m["Lanczos1"];
    m["Lanczos3"] = m["Lanczos1"];
    m["Gauss1"] = [](auto const& x, auto const& b) {
      const Dual t(x[0]);
      const Dual u = t - b[3], w = t - b[6];
      return b[0] * exp(-b[1] * t) + b[2] * exp(-(u * u) / (b[4] * b[4])) +
             b[5] * exp(-(w * w) / (b[7] * b[7]));
    };
    m["Gauss2"] = m["Gauss1"];
    m["Gauss3"] = m["Gauss1"];
    m["DanWood"] = [](auto const& x, auto const& b) { return b[0] * pow(Dual(x[0]), b[1]); };
    m["Misra1b"] = [](auto const& x, auto const& b) {
      return b[0] * (Dual(1) - pow(Dual(1) + b[1] * Dual(x[0] / 2), Dual(-2)));
    };
    m["Kirby2"] = [](auto const& x, auto const& b) {
      const Dual t(x[0]);
      return (b[0] + b[1] * t + b[2] * t * t) / (Dual(1) + b[3] * t + b[4] * t * t);
    };
    m["Hahn1"] = [](auto const& x, auto const& b) {
      const Dual t(x[0]), t2(x[0] * x[0]), t3(x[0] * x[0] * x[0]);
      return (b[0] + b[1] * t + b[2] * t2 + b[3] * t3) /
             (Dual(1) + b[4] * t + b[5] * t2 + b[6] * t3);
    };
    m["Thurber"] = m["Hahn1"];
    // Nelson's response is log(y); the test takes the logarithm of the data.
    m["Nelson"] = [](auto const& x, auto const& b) {
      return b[0] - b[1] * Dual(x[0]) * exp(-b[2] * Dual(x[1]));
    };
    m["MGH17"] = [](auto const& x, auto const& b) {
      const Dual t(x[0]);
      return b[0] + b[1] * exp(-t * b[3]) + b[2] * exp(-t * b[4]);
    };
    m["Misra1c"] = [](auto const& x, auto const& b) {
      return b[0] * (Dual(1) - pow(Dual(1) + Dual(2) * b[1] * Dual(x[0]), Dual(-0.5)));
    };
    m["Misra1d"] = [](auto const& x, auto const& b) {
      const Dual t(x[0]);
      return b[0] * b[1] * t / (Dual(1) + b[1] * t);
    };
    m["Roszman1"] = [](auto const& x, auto const& b) {
      const Dual t(x[0]);
      return b[0] - b[1] * t - atan(b[2] / (t - b[3])) / Dual(3.141592653589793238462643383279);
    };
    m["ENSO"] = [](auto const& x, auto const& b) {
      const double w = 2.0 * 3.141592653589793238462643383279 * x[0];
      const Dual t(w);
      return b[0] + b[1] * Dual(std::cos(w / 12)) + b[2] * Dual(std::sin(w / 12)) +
             b[4] * cos(t / b[3]) + b[5] * sin(t / b[3]) + b[7] * cos(t / b[6]) +
             b[8] * sin(t / b[6]);
    };
    m["MGH09"] = [](auto const& x, auto const& b) {
      const Dual t(x[0]);
      return b[0] * (t * t + t * b[1]) / (t * t + t * b[2] + b[3]);
    };
    m["Rat42"] = [](auto const& x, auto const& b) {
      return b[0] / (Dual(1) + exp(b[1] - b[2] * Dual(x[0])));
    };
    m["MGH10"] = [](auto const& x, auto const& b) {
      return b[0] * exp(b[1] / (Dual(x[0]) + b[2]));
    };
    m["Eckerle4"] = [](auto const& x, auto const& b) {
      const Dual u = (Dual(x[0]) - b[2]) / b[1];
      return (b[0] / b[1]) * exp(Dual(-0.5) * u * u);
    };
    m["Rat43"] = [](auto const& x, auto const& b) {
      return b[0] / pow(Dual(1) + exp(b[1] - b[2] * Dual(x[0])), Dual(1) / b[3]);
    };
    m["Bennett5"] = [](auto const& x, auto const& b) {
      return b[0] * pow(b[1] + Dual(x[0]), Dual(-1) / b[2]);
    };
    return m;
  }();
  return models;
}

/// Outcome of fitting one problem from one start.
struct NistResult {
  bool valid = false;
  double minLre = 0.0;  ///< smallest log relative error over the parameters (0 when invalid)
  fiofla::SLMSummary summary;
  std::vector<double> fitted;
};

/// Log relative error of an estimate against a certified value, clipped to [0, 11].
inline double Lre(double estimate, double certified) {
  const double rel = certified != 0.0 ? std::fabs(estimate - certified) / std::fabs(certified)
                                      : std::fabs(estimate);
  if (!(rel == rel)) return 0.0;
  if (rel == 0.0) return 11.0;
  return std::min(11.0, std::max(0.0, -std::log10(rel)));
}

/// Fits a problem from its first (start = 1) or second start point; x of each point is its
/// row number, through which the callback reaches the predictors.
inline NistResult FitNist(NistProblem const& p, int start,
                          fiofla::SLMOptions const& options = fiofla::SLMOptions()) {
  NistResult out;
  auto it = NistModels().find(p.name);
  if (it == NistModels().end()) return out;
  const NistModel model = it->second;
  std::vector<CMarquetteFit::SData> data;
  for (std::size_t i = 0; i < p.y.size(); ++i) {
    data.push_back({double(i), p.name == "Nelson" ? std::log(p.y[i]) : p.y[i], 1.0});
  }
  std::vector<SCurveFitParam> params;
  for (double v : start == 1 ? p.start1 : p.start2) params.push_back({v, true, 0.0});
  const std::size_t n = params.size();
  auto callback = [&](double x, std::vector<SCurveFitParam>& q) {
    std::vector<Dual> b;
    for (std::size_t k = 0; k < n; ++k) b.emplace_back(q[k].value, n, k);
    const Dual f = model(p.x[std::size_t(x)], b);
    for (std::size_t k = 0; k < n; ++k) q[k].derivative = k < f.d.size() ? f.d[k] : 0.0;
    return f.v;
  };
  CMarquetteFit fit(data, params, callback, options);
  out.valid = fit.IsValid();
  out.summary = fit.Summary();
  for (auto const& q : params) out.fitted.push_back(q.value);
  if (out.valid) {
    out.minLre = 11.0;
    for (std::size_t k = 0; k < n; ++k) {
      out.minLre = std::min(out.minLre, Lre(params[k].value, p.certified[k]));
    }
  }
  return out;
}

/// Every NIST file in a folder, by name.
inline std::vector<NistProblem> ReadNistFolder(std::string const& dir) {
  std::vector<NistProblem> all;
  std::vector<std::string> files;
  for (auto const& e : std::filesystem::directory_iterator(dir)) {
    if (e.path().extension() == ".dat") files.push_back(e.path().string());
  }
  std::sort(files.begin(), files.end());
  for (auto const& f : files) {
    NistProblem p;
    if (ReadNist(f, p)) all.push_back(std::move(p));
  }
  return all;
}

}  // namespace fiofla::test
