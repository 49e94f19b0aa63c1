#include "fiofla/io/measurement_file.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>

#include "fiofla/io/file_util.h"
#include "json_exact.h"

namespace fiofla {
namespace {

constexpr const char* kFormatName = "fiofla measurement";
// Physical bounds of what a run may hold: pressures up to 10 kbar, temperatures 1 to 3000 K,
// gas volumes up to a million cm3 STP.
constexpr double kMinP = 1e-9, kMaxP = 1e4 * 750.061682704;
constexpr double kMinT = 1.0, kMaxT = 3000.0;
constexpr double kMinV = 1e-6, kMaxV = 1e6;
constexpr int kFormatVersion = 1;
// Measurement files are small; anything beyond this is not one.
constexpr std::size_t kMaxFileBytes = std::size_t(64) << 20;
// Time stamps are kept as 32-bit milliseconds: about 49.7 days.
constexpr double kMaxTimeS = 4294967.0;

// Reads one JSON object with keys addressed by their path for messages ("po.readings[2]").
class Reader {
 public:
  Reader(const rapidjson::Value& value, std::string path, const std::string& file)
      : m_value(value), m_path(std::move(path)), m_file(file) {}

  [[noreturn]] void Fail(const std::string& key, const std::string& problem) const {
    throw InputError(m_file + ": \"" + Path(key) + "\" " + problem);
  }
  std::string Path(const std::string& key) const {
    return m_path.empty() ? key : key.empty() ? m_path : m_path + "." + key;
  }
  bool Has(const char* key) const { return m_value.HasMember(key); }

  const rapidjson::Value& Member(const char* key) const {
    auto it = m_value.FindMember(key);
    if (it == m_value.MemberEnd()) Fail(key, "is missing");
    return it->value;
  }
  Reader Object(const char* key) const {
    const rapidjson::Value& v = Member(key);
    if (!v.IsObject()) Fail(key, "must be an object");
    return Reader(v, Path(key), m_file);
  }
  std::string String(const char* key) const {
    const rapidjson::Value& v = Member(key);
    if (!v.IsString()) Fail(key, "must be a text");
    return std::string(v.GetString(), v.GetStringLength());
  }
  double Number(const char* key) const {
    const rapidjson::Value& v = Member(key);
    if (!v.IsNumber()) Fail(key, "must be a number");
    return v.GetDouble();
  }
  double Positive(const char* key) const {
    const double x = Number(key);
    if (!(x > 0.0)) Fail(key, "must be greater than 0 (got " + Show(x) + ")");
    return x;
  }
  double NotNegative(const char* key) const {
    const double x = Number(key);
    if (!(x >= 0.0)) Fail(key, "must not be negative (got " + Show(x) + ")");
    return x;
  }
  // Bounds wide enough for any real instrument, so that a slip (a mass of 1e-320 g, a
  // pressure of 1e300 mmHg) is refused here instead of reducing to infinities.
  double Within(const char* key, double low, double high, const char* unit) const {
    const double x = Number(key);
    if (!(x >= low && x <= high))
      Fail(key, "must lie between " + Show(low) + " and " + Show(high) + " " + unit + " (got " +
                    Show(x) + ")");
    return x;
  }
  double OptionalNumber(const char* key, double fallback) const {
    return Has(key) ? Number(key) : fallback;
  }
  const rapidjson::Value& Array(const char* key) const {
    const rapidjson::Value& v = Member(key);
    if (!v.IsArray()) Fail(key, "must be a list");
    return v;
  }
  Reader Element(const char* key, rapidjson::SizeType i) const {
    const rapidjson::Value& v = Member(key)[i];
    const std::string where = std::string(key) + "[" + std::to_string(i) + "]";
    if (!v.IsObject()) Fail(where, "must be an object");
    return Reader(v, Path(where), m_file);
  }

  static std::string Show(double x) {
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", x);
    return text;
  }

 private:
  const rapidjson::Value& m_value;
  std::string m_path;
  const std::string& m_file;
};

template <class Enum>
Enum Choice(const Reader& r, const char* key,
            std::initializer_list<std::pair<const char*, Enum>> choices) {
  const std::string text = r.String(key);
  std::string known;
  for (const auto& c : choices) {
    if (text == c.first) return c.second;
    known += std::string(known.empty() ? "" : ", ") + "\"" + c.first + "\"";
  }
  r.Fail(key, "must be one of " + known + " (got \"" + text + "\")");
}

double TimeStamp(const Reader& r, const char* key) {
  const double t = r.NotNegative(key);
  if (t >= kMaxTimeS) r.Fail(key, "is beyond the 49 days a run may last");
  return t;
}

std::vector<TimedPressure> Readings(const Reader& po) {
  const rapidjson::Value& list = po.Array("readings");
  if (list.Empty()) po.Fail("readings", "must hold at least one reading");
  std::vector<TimedPressure> out;
  for (rapidjson::SizeType i = 0; i < list.Size(); ++i) {
    const Reader e = po.Element("readings", i);
    TimedPressure tp{TimeStamp(e, "time_s"), e.Within("po_mmhg", kMinP, kMaxP, "mmHg")};
    if (!out.empty() && tp.timeS < out.back().timeS)
      e.Fail("time_s", "must not be earlier than the reading before it");
    out.push_back(tp);
  }
  return out;
}

void ReadPo(const Reader& root, Measurement& m) {
  const Reader po = root.Object("po");
  auto& p = m.po;
  p.source = Choice<PoSourceKind>(po, "source",
                                  {{"entered", PoSourceKind::kEntered},
                                   {"measured", PoSourceKind::kMeasured},
                                   {"adjusted", PoSourceKind::kAdjusted},
                                   {"reference_gas", PoSourceKind::kReferenceGas},
                                   {"bath_temperature", PoSourceKind::kBathTemperature}});
  switch (p.source) {
    case PoSourceKind::kEntered:
      p.enteredMmHg = po.Within("po_mmhg", kMinP, kMaxP, "mmHg");
      break;
    case PoSourceKind::kAdjusted:
      p.adjustedMmHg = po.Within("adjusted_po_mmhg", kMinP, kMaxP, "mmHg");
      p.adjustedAtS = TimeStamp(po, "at_time_s");
      p.readings = Readings(po);
      break;
    case PoSourceKind::kReferenceGas:
      p.referenceGas = po.String("reference_gas");
      if (p.referenceGas.empty()) po.Fail("reference_gas", "must name a gas table");
      p.readings = Readings(po);
      break;
    case PoSourceKind::kMeasured:
      p.readings = Readings(po);
      break;
    case PoSourceKind::kBathTemperature:
      if (!m.analysisTemperatureK)
        root.Fail("analysis_temperature_k", "is needed when Po comes from the bath temperature");
      if (po.Has("saturation_curve")) {
        const rapidjson::Value& list = po.Array("saturation_curve");
        if (list.Size() < 2 || list.Size() > 10)
          po.Fail("saturation_curve", "must hold 2 to 10 pairs");
        for (rapidjson::SizeType i = 0; i < list.Size(); ++i) {
          const Reader e = po.Element("saturation_curve", i);
          p.saturationCurve.emplace_back(e.Within("temperature_k", kMinT, kMaxT, "K"),
                                         e.Within("psat_mmhg", kMinP, kMaxP, "mmHg"));
        }
      }
      break;
  }
}

void ReadFreeSpace(const Reader& root, Measurement& m) {
  const Reader fs = root.Object("free_space");
  auto& f = m.freeSpace;
  f.kind = Choice<FreeSpaceKind>(fs, "kind",
                                 {{"entered", FreeSpaceKind::kEntered},
                                  {"measured", FreeSpaceKind::kMeasured},
                                  {"calculated", FreeSpaceKind::kCalculated}});
  f.offsetCm3Stp =
      fs.Has("offset_cm3_stp") ? fs.Within("offset_cm3_stp", -kMaxV, kMaxV, "cm3 STP") : 0.0;
  if (f.kind == FreeSpaceKind::kCalculated) {
    f.blankAmbientCm3Stp = fs.Within("blank_ambient_cm3_stp", kMinV, kMaxV, "cm3 STP");
    f.blankAnalysisCm3Stp = fs.Within("blank_analysis_cm3_stp", kMinV, kMaxV, "cm3 STP");
    if (!(m.sampleDensityGPerCm3 > 0.0))
      root.Fail("sample.density_g_per_cm3", "is needed for a calculated free space");
  } else {
    f.ambientCm3Stp = fs.Within("ambient_cm3_stp", kMinV, kMaxV, "cm3 STP");
    f.analysisCm3Stp = fs.Within("analysis_cm3_stp", kMinV, kMaxV, "cm3 STP");
  }
}

void ReadGasLaw(const Reader& root, Measurement& m) {
  if (!root.Has("gas_law")) return;  // the gas table, no displacement correction
  const Reader g = root.Object("gas_law");
  auto& law = m.gasLaw;
  law.form = Choice<GasLawForm>(g, "form",
                                {{"table", GasLawForm::kTable}, {"factor", GasLawForm::kFactor}});
  if (law.form == GasLawForm::kTable) {
    law.adsorbedMolarVolumeCm3PerMol =
        g.Has("adsorbed_molar_volume_cm3_per_mol")
            ? g.Within("adsorbed_molar_volume_cm3_per_mol", 0.0, 1e4, "cm3/mol")
            : 0.0;
  } else {
    law.nonIdealityPerMmHg = g.Within("non_ideality_per_mmhg", 0.0, 1.0, "per mmHg");
    law.f1 = g.Has("f1") ? g.Within("f1", -1e6, 1e6, "") : 0.0;
  }
}

void ReadTranspiration(const Reader& root, Measurement& m) {
  if (!root.Has("thermal_transpiration")) return;
  const Reader t = root.Object("thermal_transpiration");
  Measurement::Transpiration tr;
  tr.gasFactor = t.Within("gas_factor", 1e-6, 1e3, "");
  tr.tubeInsideDiameterCm = t.Within("tube_inside_diameter_cm", 1e-4, 100.0, "cm");
  tr.ratioLimit = t.Has("ratio_limit") ? t.Within("ratio_limit", 1e-6, 1.0, "") : 1.0;
  m.transpiration = tr;
}

void ReadPoints(const Reader& root, Measurement& m) {
  const rapidjson::Value& list = root.Array("points");
  if (list.Empty()) root.Fail("points", "must hold at least one point");
  for (rapidjson::SizeType i = 0; i < list.Size(); ++i) {
    const Reader e = root.Element("points", i);
    MeasuredPoint p;
    p.timeS = TimeStamp(e, "time_s");
    if (!m.points.empty() && p.timeS < m.points.back().timeS)
      e.Fail("time_s", "must not be earlier than points[" + std::to_string(i - 1) + "].time_s");
    p.manifoldPressureMmHg = e.Within("manifold_pressure_mmhg", 0.0, kMaxP, "mmHg");
    // Cumulative: gas taken back out on desorption lowers it, but never below nothing.
    p.quantityDosedCm3Stp = e.Within("quantity_dosed_cm3_stp", 0.0, kMaxV, "cm3 STP");
    if (e.Has("branch") && !StringToBranch(e.String("branch"), &p.branch))
      e.Fail("branch", "must be \"adsorption\" or \"desorption\"");
    m.points.push_back(p);
  }
}

}  // namespace

Measurement ParseMeasurement(const std::string& text, const std::string& name) {
  rapidjson::Document doc;
  // Exact numbers: a number written and read back must be the same double, or a reduced
  // simulation would not return its model exactly.
  std::string problem;
  if (!io_detail::ParseJsonExact(text, doc, &problem)) throw InputError(name + ":" + problem);
  if (!doc.IsObject()) throw InputError(name + ": a measurement file holds one JSON object");
  const Reader root(doc, "", name);
  if (!doc.HasMember("format") || !doc["format"].IsString() ||
      std::string(doc["format"].GetString()) != kFormatName)
    root.Fail("format", std::string("must be \"") + kFormatName + "\"");
  const double version = root.Number("version");
  if (version != kFormatVersion)
    root.Fail("version", "must be 1 (got " + Reader::Show(version) + ")");

  Measurement m;
  m.source = name;
  const Reader sample = root.Object("sample");
  m.sampleName = sample.Has("name") ? sample.String("name") : std::string();
  m.sampleMassG = sample.Within("mass_g", 1e-6, 1e4, "g");
  if (sample.Has("density_g_per_cm3"))
    m.sampleDensityGPerCm3 = sample.Within("density_g_per_cm3", 0.01, 30.0, "g/cm3");
  m.adsorptive = root.String("adsorptive");
  if (m.adsorptive.empty()) root.Fail("adsorptive", "must name a gas table");
  m.ambientTemperatureK = root.Within("ambient_temperature_k", kMinT, kMaxT, "K");
  if (root.Has("analysis_temperature_k"))
    m.analysisTemperatureK = root.Within("analysis_temperature_k", kMinT, kMaxT, "K");
  ReadFreeSpace(root, m);
  ReadPo(root, m);
  ReadGasLaw(root, m);
  ReadTranspiration(root, m);
  ReadPoints(root, m);
  return m;
}

Measurement ReadMeasurementFile(const std::string& path) {
  std::string text;
  switch (ReadFileLimited(path, kMaxFileBytes, &text)) {
    case FileReadStatus::kOk:
      return ParseMeasurement(text, path);
    case FileReadStatus::kNotOpened:
      throw InputError(path + ": cannot open the file");
    case FileReadStatus::kNotRead:
      throw InputError(path + ": cannot read the file");
    case FileReadStatus::kTooLarge:
      break;
  }
  throw InputError(path + ": larger than 64 MiB, not a measurement file");
}

bool LooksLikeMeasurementFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::string head(64 * 1024, '\0');
  in.read(&head[0], std::streamsize(head.size()));
  head.resize(std::size_t(in.gcount()));
  return LooksLikeMeasurementText(head);
}

bool LooksLikeMeasurementText(const std::string& text) {
  // The whole text is searched: a "format" member may come after any amount of data.
  const std::size_t start = text.compare(0, 3, "\xef\xbb\xbf") == 0 ? 3 : 0;
  const std::size_t first = text.find_first_not_of(" \t\r\n", start);
  return first != std::string::npos && text[first] == '{' &&
         text.find(std::string("\"") + kFormatName + "\"") != std::string::npos;
}

std::string FormatMeasurement(const Measurement& m) {
  rapidjson::StringBuffer buffer;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> w(buffer);
  w.SetFormatOptions(rapidjson::kFormatSingleLineArray);
  auto key = [&](const char* k) { w.Key(k); };
  auto number = [&](const char* k, double x) {
    w.Key(k);
    w.Double(x);
  };
  auto text = [&](const char* k, const std::string& s) {
    w.Key(k);
    w.String(s.c_str(), rapidjson::SizeType(s.size()));
  };
  auto readings = [&](const std::vector<TimedPressure>& list) {
    key("readings");
    w.StartArray();
    for (const auto& r : list) {
      w.StartObject();
      number("time_s", r.timeS);
      number("po_mmhg", r.pressureMmHg);
      w.EndObject();
    }
    w.EndArray();
  };
  w.StartObject();
  text("format", kFormatName);
  key("version");
  w.Int(kFormatVersion);
  key("sample");
  w.StartObject();
  text("name", m.sampleName);
  number("mass_g", m.sampleMassG);
  if (m.sampleDensityGPerCm3 > 0.0) number("density_g_per_cm3", m.sampleDensityGPerCm3);
  w.EndObject();
  text("adsorptive", m.adsorptive);
  number("ambient_temperature_k", m.ambientTemperatureK);
  if (m.analysisTemperatureK) number("analysis_temperature_k", *m.analysisTemperatureK);

  key("free_space");
  w.StartObject();
  const auto& f = m.freeSpace;
  text("kind", f.kind == FreeSpaceKind::kEntered    ? "entered"
               : f.kind == FreeSpaceKind::kMeasured ? "measured"
                                                    : "calculated");
  if (f.kind == FreeSpaceKind::kCalculated) {
    number("blank_ambient_cm3_stp", f.blankAmbientCm3Stp);
    number("blank_analysis_cm3_stp", f.blankAnalysisCm3Stp);
  } else {
    number("ambient_cm3_stp", f.ambientCm3Stp);
    number("analysis_cm3_stp", f.analysisCm3Stp);
  }
  number("offset_cm3_stp", f.offsetCm3Stp);
  w.EndObject();

  key("po");
  w.StartObject();
  const auto& p = m.po;
  switch (p.source) {
    case PoSourceKind::kEntered:
      text("source", "entered");
      number("po_mmhg", p.enteredMmHg);
      break;
    case PoSourceKind::kMeasured:
      text("source", "measured");
      readings(p.readings);
      break;
    case PoSourceKind::kAdjusted:
      text("source", "adjusted");
      number("adjusted_po_mmhg", p.adjustedMmHg);
      number("at_time_s", p.adjustedAtS);
      readings(p.readings);
      break;
    case PoSourceKind::kReferenceGas:
      text("source", "reference_gas");
      text("reference_gas", p.referenceGas);
      readings(p.readings);
      break;
    case PoSourceKind::kBathTemperature:
      text("source", "bath_temperature");
      if (!p.saturationCurve.empty()) {
        key("saturation_curve");
        w.StartArray();
        for (const auto& pair : p.saturationCurve) {
          w.StartObject();
          number("temperature_k", pair.first);
          number("psat_mmhg", pair.second);
          w.EndObject();
        }
        w.EndArray();
      }
      break;
  }
  w.EndObject();

  key("gas_law");
  w.StartObject();
  if (m.gasLaw.form == GasLawForm::kTable) {
    text("form", "table");
    number("adsorbed_molar_volume_cm3_per_mol", m.gasLaw.adsorbedMolarVolumeCm3PerMol);
  } else {
    text("form", "factor");
    number("non_ideality_per_mmhg", m.gasLaw.nonIdealityPerMmHg);
    number("f1", m.gasLaw.f1);
  }
  w.EndObject();

  if (m.transpiration) {
    key("thermal_transpiration");
    w.StartObject();
    number("gas_factor", m.transpiration->gasFactor);
    number("tube_inside_diameter_cm", m.transpiration->tubeInsideDiameterCm);
    number("ratio_limit", m.transpiration->ratioLimit);
    w.EndObject();
  }

  key("points");
  w.StartArray();
  for (const auto& pt : m.points) {
    w.StartObject();
    number("time_s", pt.timeS);
    number("manifold_pressure_mmhg", pt.manifoldPressureMmHg);
    number("quantity_dosed_cm3_stp", pt.quantityDosedCm3Stp);
    text("branch", BranchName(pt.branch));
    w.EndObject();
  }
  w.EndArray();
  w.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

}  // namespace fiofla
