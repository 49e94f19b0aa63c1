// Non-negative least squares: x >= 0 minimising |A x - b|, for the DFT deconvolution.
//
// Method: the active-set algorithm of Lawson and Hanson (1974, "Solving Least Squares
// Problems", ch. 23), run on the normal equations AᵀA, Aᵀb formed once (the fast variant of
// Bro and De Jong 1997): every inner step solves the least-squares problem of the passive
// (free) columns through a Cholesky factor of AᵀA restricted to them. A column that joins
// the free set adds one row to the factor (O(p²) for p free columns); one that leaves makes
// it be rebuilt (O(p³)), which is rare.
// Cost: forming AᵀA is O(m n²) once per problem; an outer iteration costs O(p²) plus O(n p)
// for the gradient. A 100 × 100 kernel-like problem solves in well under a millisecond
// (BENCHMARKS.md).
// Guarantees: on return with kConverged the Karush-Kuhn-Tucker conditions hold to the
// gradient tolerance: x >= 0, the gradient g = Aᵀ(b − A x) is <= tol·|Aᵀb|∞ on the
// entries at zero and within ±tol·|Aᵀb|∞ on the positive ones; Summary() reports the
// largest violation. Squaring the condition number is the price of the speed; the problems
// this library solves are regularised, which keeps AᵀA well conditioned.
//
// The four settings (SetSettings, in the order the DFT calculation passes 1e-7, 1e-5, 1, 100):
//   gradientTolerance  (1e-7) relative KKT tolerance above: a zero entry may enter the free
//                      set only while its gradient exceeds it;
//   zeroTolerance      (1e-5) relative to the largest entry of x: a free entry that the
//                      interpolation step brings below it leaves the free set (it is 0);
//   warmStart          (1)    nonzero: Run() and a new SetProblem() with the same columns
//                      start from the free set reached before (a sweep over regularisation
//                      weights converges in a few steps); 0: every Run() starts from x = 0;
//   maxIterations      (100)  outer iterations per Run(). A Run() that stops at the bound
//                      leaves the state in place, so a second Run() carries on from it:
//                      that is why callers may call Run() twice.
#pragma once

#include <cstddef>
#include <vector>

#include "fiofla/num/numvector.h"

/// A computation that runs in bounded steps: Reset() starts it afresh, Run() carries on
/// from where the previous call stopped and returns true once it has finished.
class CNumLongFunction {
 public:
  virtual ~CNumLongFunction() = default;
  /// Forgets the progress made (the problem stays).
  virtual void Reset() = 0;
  /// Runs until finished or out of budget; true when finished.
  virtual bool Run() = 0;
};

/// Non-negative least squares of A x ≈ b (see the top of this header).
class CNumNNLS : public CNumLongFunction {
 public:
  /// How Run() stopped.
  enum class EStop {
    kNotRun,          ///< Run() has not been called since Reset() or SetProblem()
    kConverged,       ///< the optimality conditions hold
    kIterationLimit,  ///< maxIterations reached; Run() again to continue
    kSingular,        ///< the free columns are linearly dependent; x is the last feasible point
    kBadProblem,      ///< sizes disagree or a value is not finite; x is 0
  };

  /// The settings, named (see the top of this header).
  struct SOptions {
    double gradientTolerance = 1e-7;
    double zeroTolerance = 1e-5;
    bool warmStart = true;
    int maxIterations = 100;
  };

  /// What the last Run() did.
  struct SSummary {
    int iterations = 0;       ///< outer iterations of the last Run()
    int totalIterations = 0;  ///< since Reset() or SetProblem()
    EStop stop = EStop::kNotRun;
    double kktResidual = 0.0;   ///< largest KKT violation relative to |Aᵀb|∞
    std::size_t freeCount = 0;  ///< entries of x above zero
  };

  /// An empty problem.
  CNumNNLS() = default;
  /// The problem A x ≈ b (A is m × n, b has m entries).
  CNumNNLS(CNumMatrix<double> const& A, CNumVector<double> const& b);

  /// Replaces the problem; with warmStart and the same column count the free set is kept.
  void SetProblem(CNumMatrix<double> const& A, CNumVector<double> const& b);
  /// Replaces the problem by its normal equations AᵀA (n × n, symmetric), Aᵀb and bᵀb, for
  /// callers that sweep a weight and update AᵀA themselves in O(n²) instead of O(m n²). The
  /// same warm-start rule as SetProblem.
  void SetNormalEquations(CNumMatrix<double> const& AtA, CNumVector<double> const& Atb, double btb);
  /// Sets the four settings in the order the DFT calculation passes them.
  void SetSettings(double gradientTolerance, double zeroTolerance, int warmStart,
                   int maxIterations);
  SOptions& Options() { return m_options; }
  SOptions const& Options() const { return m_options; }

  void Reset() override;
  bool Run() override;

  /// The current solution (n entries, all >= 0).
  CNumVector<double> const& Solution() const { return m_x; }
  SSummary const& Summary() const { return m_summary; }
  /// |A x − b| of the current solution (from normal equations it is found through bᵀb and
  /// cancels: accurate to the rounding of |b|², not of |A x − b|²).
  double ResidualNorm() const;

 private:
  bool KeepsFreeSet(std::size_t n) const;
  void StartProblem(std::size_t n, bool keep);
  bool AppendToFactor(std::size_t j);
  bool Refactor();
  void SolveFree(std::vector<double>& z) const;
  void Gradient(std::vector<double>& g) const;
  double Kkt(std::vector<double> const& g) const;

  SOptions m_options;
  SSummary m_summary;
  std::size_t m_rows = 0, m_cols = 0;
  std::vector<double> m_a;  // A, row-major, for residuals (empty for normal equations)
  std::vector<double> m_b;
  double m_btb = 0.0;         // bᵀb, for the residual of normal equations
  std::vector<double> m_ata;  // AᵀA, n × n
  std::vector<double> m_atb;  // Aᵀb
  double m_scale = 0.0;       // |Aᵀb|∞
  bool m_valid = false;
  std::vector<char> m_free;
  std::vector<std::size_t> m_order;  // free columns in the order of the factor's rows
  std::vector<double> m_chol;        // Cholesky factor of the free columns' AᵀA
  CNumVector<double> m_x;
};
