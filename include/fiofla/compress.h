// Gas non-ideality and saturation properties from a rectangular table.
//
// CGasCompressibilityBase is the interface every reduction uses to ask how far
// the adsorptive departs from the ideal gas and where it condenses;
// CGasCompressibilityTable answers from a compressibility grid over pressure x
// temperature plus per-temperature saturation, sublimation, surface-tension
// and liquid-volume curves.
//
// Method: compressibility is bilinear in (P, T) on the grid cell holding the
// point, except that a non-positive corner (condensed region) is never
// interpolated towards: its partner is used unchanged. Saturation curves are
// interpolated as ln p linear in 1/T (Clausius-Clapeyron form).
// Cost: a lookup walks linearly from the previous query's interval, so close
// consecutive points cost O(1); a cold lookup is O(nP + nT).
// Guarantees: grid values are reproduced exactly; outside the grid the edge
// cell is extrapolated linearly, without clamping.
//
// Choices made here (documented so callers can rely on them):
// - Pressure unit: whatever the table was filled with (grid, Psat, Psub and the
//   critical and triple-point pressures share it); nothing is converted.
// - The fields are public: callers filling a table by vectors must refill the
//   per-temperature curves themselves, and file readers fill the constants.
//   Keep grids ascending and every curve nT long.
// - Set(SCompressTable) also refuses negative counts, and Set(vectors) refuses a
//   matrix that is not nP x nT, so a bad fill never leads to reads out of range.
// - Get writes only the first nP / nT places of the record; the rest is left
//   as it was. A curve shorter than the grid is written as zeros past its end.
// - Saturation and liquid-volume lookups treat entries missing from a curve
//   shorter than the grid as no value (false / 0.0) instead of reading past it.
// - The three reserved fluid constants are kept and defaulted only.
//
// Files. A table persists in a versioned little-endian binary stream (Write and
// Read; versions 0 to 7 are read, 7 is written) and in a JSON document, which is
// what ".fpi" gas files hold (WriteToFile, ReadFromFile). Choices:
// - Numbers are read correctly rounded and written shortest, so JSON -> table -> JSON
//   gives back the same text.
// - Readers never trust a count: a vector over 10,000,000 elements fails the
//   stream before anything is allocated, data are read in bounded chunks so a
//   truncated stream allocates no more than it supplied, and a matrix whose shape
//   differs from the grids fails the read. A JSON document is checked whole
//   before it replaces anything, and a rejected one leaves the default table.
// - Lookups refuse a matrix that is not nP x nT (as after a failed read) and
//   answer 1.0, as for an empty table, so no partial fill can read out of range.
// - The JSON form gains one trailing member of ours, "molecular weight"; readers
//   that do not know it ignore it, and a file without it reads as molar mass 0.
// - WriteToFile writes a temporary file beside the target and renames it, so a
//   failed write never leaves a half-written gas file.
// - ReadFromFile returns false when the file cannot be opened, is larger than
//   kMaxFileBytes, does not parse or is not a gas table; GetReadError() then says
//   why. The validity flag records only whether the file opened, so a corrupt
//   file still yields a (default) table from the cache.
//
// Grid limits. A lookup outside the grid extrapolates; IsInGrid tells callers whether
// (P, T) lies inside, so that they can say so. The shipped tables cover 0 to 2 atm (carbon
// dioxide 30 bar) from the triple point to 350 K; "<gas>_hp" tables (kHighPressureSuffix)
// cover 0 to 200 bar at 253.15 to 353.15 K for nitrogen, argon, carbon dioxide, hydrogen
// and methane. GetGas keeps returning the normal table whatever is asked of it, so a table
// a caller holds never changes under it; callers whose points lie outside the normal grid
// ask PickTableFor, which gives the high-pressure table when that holds them all. The
// reduction and `fiofla gas z` do.
//
// Threads. A table answers lookups through mutable search hints, and a cache loads and
// evicts tables as it is asked: neither may be used from two threads at once. What a
// multi-threaded application may share:
// - calculation objects (CCalcBET, CTPlotCalc, CBJHCalc, readers' results): yes, each
//   thread working on its own instances;
// - a CGasCompressibilityTable or CGasCompressibilityCache: no. Give each thread its own
//   cache: CGasCompressibilityCache::ForThisThread() (pass it as
//   IsothermReadOptions::gasCache and to ReduceMeasurement), or guard one with a lock.
//   The default cache, ms_cCache, belongs to one thread (the tool's main thread).
// - Set directories (SetDirectory, FIOFLA_GAS_DIR) before threads start; ForThisThread
//   takes the default cache's directory when a thread first asks.
//
// CGasCompressibilityCache keeps the four most recently loaded gases, found by
// name as <directory>/<name>.fpi; a name as files write it ("N2", "carbon dioxide") is
// first turned into the table's (GasTableName). Its directory is set with SetDirectory; while
// none is set it is DefaultDirectory(): the environment variable FIOFLA_GAS_DIR
// when set and not empty, otherwise the "gases" folder of the data this library
// ships (share/fiofla/gases beside the installed library, then the configured
// install prefix).
#pragma once

#include <rapidjson/fwd.h>

#include <cstddef>
#include <cstdint>
#include <istream>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "fiofla/num/numvector.h"
#include "fiofla/str/cstr.h"

/// Abstract gas: compressibility factor (dimensionless) at pressure and temperature (K),
/// and saturation, critical and liquid properties.
class CGasCompressibilityBase {
 public:
  virtual ~CGasCompressibilityBase() = default;

  /// Compressibility factor at (pressure, temperature K); -1.0 where the gas phase has no
  /// value, 1.0 when there is no table to look in.
  virtual double GetRawCompressibility(double pressure, double temperature) const = 0;
  /// Saturation (or sublimation) pressure at temperature (K); false leaves *psat untouched.
  virtual bool CalcPsatFromTemp(double* psat, double temperature, bool sublimation) const = 0;
  /// Saturation temperature (K) at pressure; false leaves *temperature untouched.
  virtual bool CalcTempFromPsat(double* temperature, double pressure, bool sublimation) const = 0;
  /// Liquid molar volume at temperature (K), table unit (cm3/mol); 0.0 when unknown.
  virtual double GetLiquidMolarVolume(double temperature) const = 0;
  /// Atoms per molecule of the adsorptive.
  virtual int GetNumberOfAtoms() const = 0;
  /// Molar mass, g/mol.
  virtual double GetMolecularWeight() const = 0;
  /// Critical temperature, K.
  virtual double GetCriticalTemperature() const = 0;
  /// Critical pressure, table pressure unit.
  virtual double GetCriticalPressure() const = 0;
  /// Triple-point temperature, K.
  virtual double GetTriplePointTemperature() const = 0;

  /// Compressibility factor at (pressure, temperature K); a condensed point within 5 K of
  /// the saturation temperature is evaluated on the saturation line instead. The
  /// temperature used (K) goes to *effectiveTemperature when non-null. A result <= 0 means
  /// no valid compressibility.
  double operator()(double pressure, double temperature, double* effectiveTemperature) const;
};

/// Gas described by a compressibility grid over pressure (table unit) and temperature (K).
class CGasCompressibilityTable : public CGasCompressibilityBase {
 public:
  /// Largest number of pressures a fixed-capacity record holds.
  static constexpr int kMaxPressures = 250;
  /// Largest number of temperatures a fixed-capacity record holds.
  static constexpr int kMaxTemperatures = 150;

  /// Fixed-capacity exchange record, single precision (units as the table).
  struct SCompressTable {
    /// Number of pressures in use, at most kMaxPressures.
    std::int32_t nPressures;
    /// Number of temperatures in use, at most kMaxTemperatures.
    std::int32_t nTemperatures;
    /// Pressure grid, table unit; first nPressures used.
    float pressures[kMaxPressures];
    /// Temperature grid, K; first nTemperatures used.
    float temperatures[kMaxTemperatures];
    /// Saturation pressure per grid temperature, table unit.
    float psat[kMaxTemperatures];
    /// Sublimation pressure per grid temperature, table unit.
    float psub[kMaxTemperatures];
    /// Surface tension per grid temperature, table unit (mN/m).
    float surfaceTension[kMaxTemperatures];
    /// Liquid molar volume per grid temperature, table unit (cm3/mol).
    float liquidMolarVolume[kMaxTemperatures];
    /// Compressibility factor (dimensionless); row i is pressure i.
    float compressibility[kMaxPressures][kMaxTemperatures];
  };

  /// Binary stream version that Write produces.
  static constexpr int kVersion = 7;
  /// Largest gas file ReadFromFile accepts, bytes.
  static constexpr std::size_t kMaxFileBytes = std::size_t(256) << 20;

  /// Empty table with default fluid constants and no grids.
  CGasCompressibilityTable();
  /// As the empty table, then ReadFromFile(path) unless the path is empty.
  explicit CGasCompressibilityTable(CStr const& path);

  /// Version of the binary stream form that Write produces (7).
  int GetVersion() const { return kVersion; }
  /// Writes the binary stream form, version 7; true when the stream is good afterwards.
  bool Write(std::ostream& os) const;
  /// Reads the binary stream form of any version 0 to 7, starting from default fluid
  /// constants; true when the whole table was read.
  bool Read(std::istream& is);
  /// Replaces the document's content by the JSON form of the table; false when a value
  /// cannot be written (not finite).
  bool WriteJson(rapidjson::Document& doc) const;
  /// Fills the table from a JSON document; false (and the default table) when the
  /// document is not a complete, consistent gas table.
  bool ReadJson(rapidjson::Document const& doc);
  /// Writes the JSON form to path (normally "<gas>.fpi"); false when it could not be
  /// written, and then no file is left behind or changed.
  bool WriteToFile(CStr const& path) const;
  /// Reads a JSON gas file; remembers the path as the name and whether it opened as the
  /// validity flag. False when it did not open or is not a gas table.
  bool ReadFromFile(CStr const& path);
  /// True unless the last ReadFromFile could not open its file.
  bool IsValid() const { return m_bValid; }
  /// Why the last read (Read, ReadJson, ReadFromFile) failed; empty after a success.
  CStr const& GetReadError() const { return m_sReadError; }

  /// Replaces grids, curves and matrix by the record's values; does nothing for counts
  /// outside [0, kMaxPressures] / [0, kMaxTemperatures]. Fluid constants are kept.
  void Set(SCompressTable const& record);
  /// Copies the table into the record in single precision; does nothing when the table
  /// exceeds the record's capacity.
  void Get(SCompressTable& record) const;
  /// Replaces the pressure grid (table unit), temperature grid (K) and the nP x nT matrix;
  /// curves are untouched. Does nothing when the matrix is not nP x nT.
  void Set(CNumVector<double> const& pressures, CNumVector<double> const& temperatures,
           CNumMatrix<double> const& compressibility);

  /// Makes row nT long, all zeros.
  void InitializeRow(CNumVector<double>& row) const;
  /// Zeroes Psat, Psub, surface tension and liquid molar volume to nT entries each.
  void InitializeRows();
  /// Resets the fluid constants to their defaults, then calls InitializeRows.
  void InitializeFluidProperties();

  /// True when the pressure grid or the temperature grid is empty.
  bool IsEmpty() const { return m_vPressures.empty() || m_vTemperatures.empty(); }
  /// True when pressure (table unit) and temperature (K) lie within the grid, edges
  /// included; outside it lookups extrapolate the edge cell.
  bool IsInGrid(double pressure, double temperature) const;
  /// The grid's corners as text for messages: "0 to 1500 mmHg, 63.151 to 350 K".
  std::string GridText() const;

  /// Index i of the grid interval [grid[i], grid[i+1]] for x, searched from start; the
  /// edge interval outside the grid, 0 for fewer than two nodes.
  static std::size_t FindLowerIndex(double x, CNumVector<double> const& grid, std::size_t start);
  /// Interval index of temperature t (K) in the temperature grid.
  std::size_t GetTemperatureIndex(double t) const;
  /// Span (K) of up to count grid temperatures starting before nodes below t's interval;
  /// the run's first index and length go to *first and *number.
  double GetTemperatureRange(double t, std::size_t count, std::size_t before, std::size_t* first,
                             std::size_t* number) const;

  double GetRawCompressibility(double pressure, double temperature) const override;
  bool CalcPsatFromTemp(double* psat, double temperature, bool sublimation) const override;
  bool CalcTempFromPsat(double* temperature, double pressure, bool sublimation) const override;
  double GetLiquidMolarVolume(double temperature) const override;
  int GetNumberOfAtoms() const override { return m_nAtoms; }
  double GetMolecularWeight() const override { return m_dMolecularWeight; }
  double GetCriticalTemperature() const override { return m_dTcrit; }
  double GetCriticalPressure() const override { return m_dPcrit; }
  double GetTriplePointTemperature() const override { return m_dTtrip; }

  /// Atoms per molecule; default 1.
  std::int32_t m_nAtoms = 1;
  /// Molar mass, g/mol; default 0.
  double m_dMolecularWeight = 0.0;
  /// Reserved fluid constant (dimensionless), only carried; default 1.
  double m_dReserved1 = 1.0;
  /// Seal-material flag (0 or 1), stored only; default 0.
  std::uint32_t m_uUseKalrez = 0;
  /// Reserved fluid constant (dimensionless), only carried; default 0.
  double m_dReserved2 = 0.0;
  /// Reserved fluid constant (dimensionless), only carried; default 0.
  double m_dReserved3 = 0.0;
  /// Specific heat capacity, in the gas file's unit; default 1.
  double m_dSpecificHeat = 1.0;
  /// Critical temperature, K; 0 = unknown, and saturation lookups then fail.
  double m_dTcrit = 0.0;
  /// Critical pressure, table pressure unit; 0 = unknown.
  double m_dPcrit = 0.0;
  /// Triple-point temperature, K.
  double m_dTtrip = 0.0;
  /// Triple-point pressure, table pressure unit.
  double m_dPtrip = 0.0;
  /// Pressure grid, table unit, ascending (nP).
  CNumVector<double> m_vPressures;
  /// Temperature grid, K, ascending (nT).
  CNumVector<double> m_vTemperatures;
  /// Saturation pressure per grid temperature, table unit; <= 0 = no value.
  CNumVector<double> m_vPsat;
  /// Sublimation pressure per grid temperature, table unit; <= 0 = no value.
  CNumVector<double> m_vPsub;
  /// Surface tension per grid temperature, table unit (mN/m).
  CNumVector<double> m_vSurfaceTension;
  /// Liquid molar volume per grid temperature, table unit (cm3/mol); <= 0 = no value.
  CNumVector<double> m_vLiquidMolarVolume;
  /// Compressibility factor (dimensionless), nP rows of nT; <= 0 = no gas phase.
  CNumMatrix<double> m_mCompressibility;
  /// Pressure interval of the previous lookup (index), where the next one starts.
  mutable std::size_t m_nLastPressureIndex = 0;
  /// Temperature interval of the previous lookup (index), where the next one starts.
  mutable std::size_t m_nLastTemperatureIndex = 0;
  /// Name of the gas file the table came from; empty when filled otherwise.
  CStr m_sName;
  /// False when the last ReadFromFile could not open its file; true otherwise.
  bool m_bValid = true;
  /// Reason the last read failed; empty after a success.
  CStr m_sReadError;
};

/// Process-wide store of the gas tables loaded by name, four at most, most recent first.
class CGasCompressibilityCache {
 public:
  /// Number of gases kept.
  static constexpr int kSlots = 4;
  /// The library's cache, for one thread (see the top of this header).
  static CGasCompressibilityCache ms_cCache;
  /// This thread's own cache, created on first use with ms_cCache's directory; safe to use
  /// from the thread that asked while other threads use theirs.
  static CGasCompressibilityCache& ForThisThread();

  /// Empty cache without a directory (DefaultDirectory() is then used).
  CGasCompressibilityCache() = default;
  ~CGasCompressibilityCache() { Clear(); }
  CGasCompressibilityCache(CGasCompressibilityCache const&) = delete;
  CGasCompressibilityCache& operator=(CGasCompressibilityCache const&) = delete;

  /// Table of the gas, loaded from <directory>/<name>.fpi when not kept; an alias ("N2")
  /// is first looked for under its table's name (GasTableName), then as given. Null for an
  /// empty name or a file that cannot be opened. The cache owns the table, and a table
  /// pushed out by four later loads is destroyed.
  CGasCompressibilityTable* GetGas(CStr const& name);

  /// Sets the directory gas files are read from; an empty one means DefaultDirectory().
  /// Changing it empties the cache.
  void SetDirectory(CStr const& directory);
  /// The directory set, empty when none.
  CStr const& GetDirectory() const { return m_sDirectory; }
  /// The directory GetGas reads from now.
  CStr GetEffectiveDirectory() const;
  /// FIOFLA_GAS_DIR when set and not empty, else the shipped gas tables' folder.
  static CStr DefaultDirectory();
  /// Name kept in slot (0 = most recent); empty when the slot is free or out of range.
  CStr GetSlotName(int slot) const;
  /// Destroys every kept table.
  void Clear();

 private:
  CGasCompressibilityTable* Load(CStr const& name);

  CStr m_sDirectory;
  CStr m_sNames[kSlots];
  CGasCompressibilityTable* m_pTables[kSlots] = {nullptr, nullptr, nullptr, nullptr};
};

namespace fiofla {

/// File stem of the shipped table of a gas named as files and users name it ("N2",
/// "nitrogen", "Ar", "CO2", "carbon dioxide", "H2", "CH4", "Kr", "O2"; letter case, blanks,
/// '_' and '-' ignored): "nitrogen", "carbon_dioxide", ...; such a name followed by "_hp"
/// gives the high-pressure table's ("N2_hp": "nitrogen_hp"); empty when none is shipped.
std::string GasTableName(const std::string& name);

/// Suffix of the high-pressure tables' file stems ("nitrogen_hp").
constexpr const char* kHighPressureSuffix = "_hp";

/// The normal table of `name` from `cache`, or its high-pressure table when some (pressure
/// mmHg, temperature K) of `points` lies outside the normal grid and all of them lie inside
/// the high-pressure grid. The high-pressure table is read into `owned` (the
/// cache is not touched, so tables the caller already holds from it stay valid) and
/// returned; null when the gas has no table. `usedHighPressure` (if given) says which.
const CGasCompressibilityTable* PickTableFor(CGasCompressibilityCache& cache,
                                             const std::string& name,
                                             const std::vector<std::pair<double, double>>& points,
                                             CGasCompressibilityTable* owned,
                                             bool* usedHighPressure = nullptr);

}  // namespace fiofla
