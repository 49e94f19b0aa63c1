// DFT models (kernels): the quantity adsorbed per unit pore-wall area at a grid of relative
// pressures in pores of a grid of widths, for one gas, temperature and pore geometry, as
// read from and written to model files.
//
// CDFTModelSpecBase is a model's descriptive header (category, type, geometry, temperature,
// gas and text fields) with its matching rules; CDFTModelBase the abstract model with the
// kernel and the per-class geometry helpers; CDFTModel one model loaded from a file.
//
// Model file (binary, little-endian, no padding): version (1 byte: 0 or 1 fixed-width
// texts, 2 or more serialized CStr texts), category, type, geometry (2 bytes each),
// temperature (double), gas name, model name, label, description (4, 40, 40 and 128 bytes,
// or serialized), an 8-byte header value kept as read, N_p (4 bytes, at most 10,000,000)
// and N_p pressures, N_s (same limit) and N_s pore widths (Å), rows and cols (4 bytes each)
// and the kernel row by row (cm3 STP per m2 of pore wall).
//
// Choices:
// - A kernel whose stored rows and cols differ from N_p and N_s is refused before its
//   values are read (the model would be invalid anyway), so a hostile file cannot ask for
//   rows × cols doubles; counts are bounded as above, and values are read in chunks, so a
//   truncated file allocates no more than it holds.
// - WriteToFile writes the same layout (version 2 by default, or 1 with the texts cut to
//   their widths), through a temporary file and a rename.
// - Geometry: 0 slit (volume/area factor 2), 1 cylinder (factor 4); every other value uses
//   factor 2. Category 0 is the only one for which Density is defined.
#pragma once

#include <cmath>
#include <cstdint>
#include <functional>
#include <istream>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "fiofla/num/numvector.h"
#include "fiofla/str/cstr.h"

/// Model category; 0 is the one for which CDFTModelBase::Density is defined.
enum EDFTCategory : std::uint32_t { eDFTCategoryAdsorption = 0 };
/// Model type; carried and compared by no rule here.
enum EDFTType : std::uint32_t { eDFTTypeDefault = 0 };
/// Pore geometry: 1 has the volume-to-area factor 4, every other value 2.
enum EDFTGeometry : std::uint32_t { eDFTGeometrySlit = 0, eDFTGeometryCylinder = 1 };

/// A model's descriptive header and its matching rules.
class CDFTModelSpecBase {
 public:
  /// All texts empty, then SetParamDefaults().
  CDFTModelSpecBase();
  /// Reads the header of the file (version byte first); IsValid() says whether it read.
  explicit CDFTModelSpecBase(CStr const& fileName);
  /// Reads the header from a stream; a stream already failed is not read.
  CDFTModelSpecBase(std::istream& stream, CStr const& fileName);

  /// Category, type, geometry 0; temperatures 0; texts empty; not valid (fileName kept).
  void SetParamDefaults();
  /// SetParamDefaults(), then the six values; label and description stay empty.
  void SetParams(EDFTCategory category, EDFTType type, EDFTGeometry geometry, double temperature,
                 CStr const& gasName, CStr const& modelName);
  /// Reads the version byte and the header; the result is also the valid flag.
  bool ReadFromStream(std::istream& stream);
  /// Reads the header after the version byte in the layout of `version`; true when the
  /// stream has no error flag afterwards. The valid flag is left alone.
  bool ReadFromStream(std::istream& stream, unsigned char version);
  /// Writes the version byte and the header (texts cut to their widths for version <= 1).
  bool WriteToStream(std::ostream& stream, unsigned char version) const;

  /// Category and geometry equal; nothing else compared.
  bool IsBasicCompatible(CDFTModelSpecBase const& other) const;
  /// IsBasicCompatible and the same model name (AreStringsEqual).
  bool operator==(CDFTModelSpecBase const& other) const;
  /// The gas name matches (AreStringsEqual).
  bool IsGasMatch(CStr const& gas) const;
  /// temperature − 2 < t < temperature + 2: equality at either edge is a mismatch.
  bool IsTemperatureMatch(double t) const;
  /// Equal lengths first, then equal ignoring letter case; spaces count.
  static bool AreStringsEqual(CStr a, CStr b);

  bool IsValid() const { return m_valid; }

  EDFTCategory category = eDFTCategoryAdsorption;
  EDFTType type = eDFTTypeDefault;
  EDFTGeometry geometry = eDFTGeometrySlit;
  CStr gasName;
  CStr modelName;
  CStr label;
  CStr description;
  /// Model temperature, in the caller's temperature unit.
  double temperature = 0.0;
  /// Reserved: 0, never read from a file.
  double reserved = 0.0;
  CStr fileName;

 private:
  bool m_valid = false;
};

/// The abstract model: kernel, grids and the per-class geometry helpers.
class CDFTModelBase {
 public:
  /// An inclusive range of kernel row (or column) indices.
  struct SBounds {
    std::int32_t first = 0;
    std::int32_t last = -1;
  };

  virtual ~CDFTModelBase() = default;
  virtual bool IsDualModel() const = 0;
  virtual EDFTCategory GetCategory() const = 0;
  virtual EDFTGeometry Geometry(unsigned long sizeClass) const = 0;
  virtual bool IsValid() const = 0;

  /// 4 for geometry 1, else 2.
  double GeometryFactor(EDFTGeometry geometry) const;
  /// Pore volume (cm3/g) of `area` m2/g of wall in class j: area / factor × width × 1e-4.
  double IncrementalVolume(unsigned long j, double area) const;
  /// Density of the adsorbed phase at pressure i in class j (category 0 only, else 0).
  double Density(unsigned long i, unsigned long j) const;

  CNumVector<double> const& Pressures() const { return m_pressures; }
  CNumVector<double> const& PoreWidths() const { return m_poreWidths; }
  CNumMatrix<double> const& Kernel() const { return m_kernel; }
  CNumVector<double>& Work() { return m_work; }
  CNumVector<double> const& Work() const { return m_work; }
  /// Rows that belong to the first model (all rows of a single model).
  unsigned long GetModel1NumPressures() const {
    return IsDualModel() ? m_model1NumPressures : static_cast<unsigned long>(m_pressures.size());
  }

 protected:
  CNumVector<double> m_pressures;
  CNumVector<double> m_work;
  CNumVector<double> m_poreWidths;
  CNumMatrix<double> m_kernel;
  unsigned long m_model1NumPressures = 0;  // dual models only
};

/// One model, loaded from a model file or built from its parts.
class CDFTModel : public CDFTModelBase {
 public:
  /// Largest count of pressures or pore widths a file may hold.
  static constexpr std::uint32_t kMaxCount = 10000000;

  /// Loads the file; IsValid() says whether it loaded.
  explicit CDFTModel(CStr const& fileName);
  /// A model from its parts; valid when the kernel is pressures × widths.
  CDFTModel(CDFTModelSpecBase const& header, CNumVector<double> const& pressures,
            CNumVector<double> const& poreWidths, CNumMatrix<double> const& kernel);

  bool IsDualModel() const override { return false; }
  EDFTCategory GetCategory() const override { return m_header.category; }
  EDFTGeometry Geometry(unsigned long) const override { return m_header.geometry; }
  bool IsValid() const override { return m_invalid == 0; }

  /// Adapts the model to a caller's grids, for the deconvolution:
  /// - `pressures` (relative, ascending; empty keeps the kernel's rows): each kernel column is
  ///   resampled onto them by monotone piecewise-cubic Hermite interpolation in log10 P/Po
  ///   (Fritsch and Carlson 1980), which follows a filling step without overshooting it;
  /// - `sizes` (empty, or the lowest and highest width in Å): only the classes whose width
  ///   lies in [lowest, highest] are kept;
  /// - `clampOutside`: pressures outside the kernel's grid take its end rows when true; when
  ///   false such a pressure makes the call fail.
  /// False (and the model left as it was) when the grids cannot be used: a pressure not in
  /// (0, 1) or not ascending, a range that keeps no class, or an invalid model.
  bool Configure(std::vector<double> const& pressures, std::vector<double> const& sizes,
                 bool clampOutside);

  CDFTModelSpecBase const& Header() const { return m_header; }
  /// The 8 bytes after the header, as read.
  std::uint64_t HeaderValue() const { return m_headerValue; }
  /// Writes the model file (see the top of this header); false when it could not.
  bool WriteToFile(CStr const& path, unsigned char version = 2) const;

 private:
  std::int32_t m_invalid = 0;
  std::uint64_t m_headerValue = 0;
  CDFTModelSpecBase m_header;
};

/// Two models fitted jointly to one distribution: typically two measurements of one sample
/// (nitrogen at 77 K with carbon dioxide at 273 K, argon with carbon dioxide), each model
/// already configured to its own measured pressures.
///
/// Merging:
/// - rows: the first model's pressures, then the second's (GetModel1NumPressures() tells
///   where the second block starts), so the pressure vector is ascending within each block
///   only;
/// - size classes: the first model's widths that lie in the range both models cover (to
///   1e-9 relative); the second kernel's columns are interpolated onto them linearly in log
///   width (exact where the grids share a width, which is the usual case);
/// - invalid when either model is invalid, the two differ in category or geometry
///   (IsBasicCompatible), or fewer than 2 widths are common. InvalidReason() says which.
class CDFTDualModel : public CDFTModelBase {
 public:
  CDFTDualModel(CDFTModel const& first, CDFTModel const& second);

  bool IsDualModel() const override { return true; }
  EDFTCategory GetCategory() const override { return m_first.GetCategory(); }
  EDFTGeometry Geometry(unsigned long) const override { return m_first.Header().geometry; }
  bool IsValid() const override { return m_reason.empty(); }
  /// Why the models could not be merged; empty when valid.
  std::string const& InvalidReason() const { return m_reason; }

  CDFTModel const& First() const { return m_first; }
  CDFTModel const& Second() const { return m_second; }

 private:
  CDFTModel m_first, m_second;
  std::string m_reason;
};

/// The DFT pore analysis of an isotherm: the non-negative distribution of pore-wall area over
/// a model's size classes whose model isotherm best matches the measurement. The
/// constructor does all the work; the getters return the results.
///
/// Units: pressures relative (P/Po), quantities cm3 STP/g, widths Å, areas m2/g, volumes
/// cm3/g; differential values per Å, log-differential values per decade of width.
///
/// The steps: load the model(s) and check gas and temperature; keep the measured points in
/// the pressure range, sorted; configure the model onto them (CDFTModel::Configure); build
/// the weighted system with the roughness rows (SetupDecon); solve it with non-negative
/// least squares, at a fixed λ or at the λ chosen automatically; then the fitted isotherm
/// (ResultsIsotherm), the per-class results (ResultsPores) and, when asked, a B-spline
/// solution.
///
/// Choices:
/// - Row weighting: each measured point is weighted by the square root of its share of the
///   log10 P/Po axis (half the distance to its neighbours, relative to the mean, capped at
///   4), so that the fit is an integral over log pressure: the many points of a mesopore
///   isotherm do not drown the few that carry the micropores. Each gas's block of a dual
///   model is further scaled by 1 / (RMS of its quantities × sqrt of its share of the
///   points), so that neither gas dominates by its units or its point count.
/// - The solver sees the columns scaled to unit length (a change of variables that leaves
///   the solution alone and makes the normal equations far better conditioned).
/// - λ: fixed (kFixed, SInput::lambda; 0 adds no roughness rows), or chosen over a log grid
///   from 1e-6 to 10, two values a decade, each solve warm-started from the previous: by
///   generalised cross-validation (kGcv, the default: the minimum of m·RSS / (m − dof)²,
///   dof being the trace of the influence matrix over the classes with x > 0, refined to an
///   eighth of a decade) or by the corner of the L-curve (kLCurve: the largest curvature of
///   log RSS against log roughness). λ is dimensionless: the roughness rows are scaled by s,
///   which balances them against the kernel, so λ = 1 weighs roughness and misfit alike.
/// - The roughness: on the log width grid (logGrid true, CalculateRMSRoughness) or on the
///   class index (false; CalculateRMSRoughnessOldMethod: the RMS of the plain second
///   differences y[k−1] − 2 y[k] + y[k+1] over the interior classes, 0 below 3 classes).
/// - A B-spline trial with K knot intervals writes the distribution as Σ c_i B_i(log10 w)
///   (cubic, knots uniform in log width over the fitted classes) with c ≥ 0 and solves for c
///   on the data rows, without roughness rows. It is accepted when its solve converged and
///   the distribution it gives is stable at the noise of the data: the standard error that
///   the noise gives each class's value, through the free (positive) coefficients, is at
///   most 10 % of the distribution's peak. The noise per row is estimated from the plain
///   solution's misfit over its residual degrees of freedom (at least 1e-6 of the rows'
///   RMS). More knots mean narrower, more alike basis functions whose coefficients the data
///   fix less well, so few knots pass and many fail, and the fixed search finds the
///   boundary. In the search, a rejected 13 goes on to 12 and an accepted 6 to 7, the same
///   one-step rule as 24; a rejected 18 goes on to 19, as the tree has it.
/// - Energies: 0 for pore models (category 0); for other categories the class values.
/// - Threads: separate calculations may run at once; a model shared through SInput::model is
///   only read.
///
/// Status (IsOK() for 0 and 10); 2, 4 and 9 are set only while the status is 0, and a status
/// that ends the calculation (1, 5 to 8) replaces them:
///   0  done;
///   1  the first model file could not be read, is not a model file, or its grids are not
///      ascending;
///   2  a model's gas does not match the given gas name (the results are still computed);
///   3  not used;
///   4  a model's temperature is not within 2 K of the given one (results still computed);
///   5  the second model could not be read or merged with the first;
///   6  the ranges hold fewer than 3 measured points or size classes, or more than
///      kMaxPoints points or kMaxClasses classes;
///   7  the solver failed (no convergence in two runs, or a singular system);
///   8  bad input: pressure and quantity vectors of different lengths, a value not finite,
///      an empty or reversed range, a negative λ;
///   9  a B-spline solution was asked for but no trial was accepted (the plain solution
///      stands);
///   10 done, with warnings that say why a result is doubtful (Warnings()).
class CDFTCalc {
 public:
  enum class ELambda { kFixed, kGcv, kLCurve };
  /// The most measured points (per isotherm) and size classes a calculation takes.
  static constexpr std::size_t kMaxPoints = 10000, kMaxClasses = 2000;

  struct SInput {
    /// The measured isotherm: relative pressures and quantities (cm3 STP/g).
    std::vector<double> pressures, quantities;
    /// The first model: a file, or a model already loaded (used when set).
    CStr modelFile;
    std::shared_ptr<const CDFTModel> model;
    /// Gas and temperature (K) of the measurement; empty or ≤ 0 skips that check.
    CStr gasName;
    double temperature = 0.0;
    /// The second measurement and model, for a dual analysis (either a file or a model).
    std::vector<double> pressures2, quantities2;
    CStr modelFile2;
    std::shared_ptr<const CDFTModel> model2;
    CStr gasName2;
    double temperature2 = 0.0;
    /// Passed to CDFTModel::Configure: points outside a kernel's pressure grid use its end
    /// rows (true) or are left out with a warning (false).
    bool clampOutside = false;
    /// Measured points used (relative pressures, inclusive).
    double pressureMin = 0.0, pressureMax = 1.0;
    /// Size classes fitted (Å, inclusive), and the classes reported; the reported range
    /// defaults to the fitted one.
    double widthMin = 0.0, widthMax = HUGE_VAL;
    double reportWidthMin = 0.0, reportWidthMax = HUGE_VAL;
    ELambda lambdaMethod = ELambda::kGcv;
    /// The regularisation weight used with kFixed (≥ 0).
    double lambda = 0.0;
    /// Roughness on the log width grid (true) or on the class index (false).
    bool logGrid = true;
    /// Try the B-spline solution.
    bool bspline = false;
    /// 1: the total surface area leaves out the classes above the reported range.
    int kind = 0;
  };

  /// What the automatic choice of λ saw at each weight tried.
  struct SLambdaPoint {
    double lambda = 0.0, rss = 0.0, roughness = 0.0, dof = 0.0, gcv = 0.0;
  };

  explicit CDFTCalc(SInput const& input);

  bool IsOK() const { return m_status == 0 || m_status == 10; }
  int GetStatus() const { return m_status; }
  /// Why a result is doubtful or missing, in words.
  std::vector<std::string> const& Warnings() const { return m_warnings; }

  double Error(unsigned short k) const;
  double RelError(unsigned short k) const;
  double RMSError() const;
  double ClassWidth(unsigned short k) const;
  static double ClassLogWidth(CNumVector<double> const& w, unsigned short k);
  double ClassLogWidth(unsigned short k) const { return ClassLogWidth(m_widths, k); }

  void GetPoreDiameters(CNumVector<double>& v) const { v = m_widths; }
  void GetEnergies(CNumVector<double>& v) const { v = m_energies; }
  void GetIncrementalVolume(CNumVector<double>& v) const { v = m_incVolume; }
  void GetCumulativeVolume(CNumVector<double>& v) const { v = m_cumVolume; }
  void GetDifferentialVolume(CNumVector<double>& v) const { v = m_difVolume; }
  void GetLogDifferentialVolume(CNumVector<double>& v) const { v = m_logDifVolume; }
  void GetIncrementalArea(CNumVector<double>& v) const { v = m_incArea; }
  void GetCumulativeArea(CNumVector<double>& v) const { v = m_cumArea; }
  void GetDifferentialArea(CNumVector<double>& v) const { v = m_difArea; }
  void GetLogDifferentialArea(CNumVector<double>& v) const { v = m_logDifArea; }
  CNumVector<double> const& GetModelClasses() const { return m_widths; }
  double GetTotalPoreVolume() const;
  double GetTotalSurfaceArea() const;
  bool IsBSplineSolution() const { return m_knotIntervals != 0; }
  unsigned short GetNumKnotIntervals() const { return m_knotIntervals; }

  /// The fitted isotherm: one entry per row used (for a dual model the first model's rows
  /// come first; GetNumPoints() is their count).
  CNumVector<double> const& GetFitPressures() const { return m_fitPressures; }
  CNumVector<double> const& GetFitMeasured() const { return m_fitMeasured; }
  CNumVector<double> const& GetFitQuantities() const { return m_fitQuantities; }
  unsigned long GetNumPoints() const { return m_pointCount; }

  /// The regularisation weight used, the effective degrees of freedom of the fit and the
  /// weighted residual sum of squares there; the weights tried when λ was chosen.
  double GetLambda() const { return m_lambda; }
  ELambda GetLambdaMethod() const { return m_lambdaMethod; }
  double GetDegreesOfFreedom() const { return m_dof; }
  double GetResidualSumOfSquares() const { return m_rss; }
  std::vector<SLambdaPoint> const& GetLambdaCurve() const { return m_lambdaCurve; }
  /// The roughness of the solution (CalculateRMSRoughness or the old method).
  double GetRoughness() const { return m_roughness; }
  /// The B-spline trials in the order tried: knot intervals and accepted.
  std::vector<std::pair<unsigned short, bool>> const& GetBSplineTrials() const { return m_trials; }

  static double CalculateRMSRoughness(CNumVector<double> const& x, CNumVector<double> const& y);
  static double CalculateRMSRoughnessOldMethod(CNumVector<double> const& y);

  /// The fixed B-spline search: `accept(K)` answers one trial; returns the recorded count
  /// (0 when none was accepted). Exposed so that its path can be checked.
  static unsigned short SearchKnotIntervals(std::function<bool(unsigned short)> const& accept);

 private:
  void SetupDecon(CNumMatrix<double>& A, CNumVector<double>& b, CDFTModelBase const& model,
                  CDFTModelBase::SBounds const& rows, CDFTModelBase::SBounds const& classes,
                  bool logGrid);
  void ResultsIsotherm(CNumMatrix<double> const& A, CNumVector<double> const& x,
                       CNumVector<double> const& measured, CDFTModelBase const& model,
                       CDFTModelBase::SBounds const& rows);
  void ResultsPores(CNumVector<double> const& x, CDFTModelBase const& model,
                    CDFTModelBase::SBounds const& classes, bool logGrid);
  void Run(SInput const& input);
  void Warn(std::string text) { m_warnings.push_back(std::move(text)); }

  double m_lambda = 0.0;
  ELambda m_lambdaMethod = ELambda::kGcv;
  int m_kind = 0;
  bool m_dual = false;
  int m_status = 0;
  unsigned long m_pointCount = 0;
  CNumVector<double> m_fitPressures, m_fitMeasured, m_fitQuantities;
  CNumVector<double> m_widths, m_energies, m_incVolume, m_cumVolume, m_difVolume, m_logDifVolume,
      m_incArea, m_cumArea, m_difArea, m_logDifArea;
  unsigned short m_knotIntervals = 0;
  bool m_hasSupplementaryArea = false;
  double m_supplementaryArea = 0.0;
  bool m_hasVolumeBelow = false;
  double m_volumeBelow = 0.0;

  std::vector<double> m_rowWeights;  // data rows of the system, for unweighting the fit
  double m_decScale = 0.0;           // s of the last SetupDecon
  double m_dof = 0.0, m_rss = 0.0, m_roughness = 0.0;
  std::vector<SLambdaPoint> m_lambdaCurve;
  std::vector<std::pair<unsigned short, bool>> m_trials;
  std::vector<std::string> m_warnings;
};
