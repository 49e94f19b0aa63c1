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

#include <cstdint>
#include <istream>
#include <ostream>
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

 protected:
  CNumVector<double> m_pressures;
  CNumVector<double> m_work;
  CNumVector<double> m_poreWidths;
  CNumMatrix<double> m_kernel;
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
