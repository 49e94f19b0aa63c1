// Kernel recipes read from JSON (the format is in data/kernels/README.md). A recipe starts a
// computation of hours, so it is checked whole before anything runs: every member must be
// known (a misspelt optional member would otherwise fall back to its default unseen), every
// number finite and in a plausible range, the grids ascending and not too many, and the
// widest pore's grid small enough to fit in memory.
#include <rapidjson/document.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

#include "fiofla/dft_kernel_builder.h"
#include "fiofla/io/file_util.h"
#include "fiofla/io/isotherm_file.h"
#include "io/json_exact.h"

namespace fiofla::dft {
namespace {

using Json = rapidjson::Value;

constexpr std::size_t kMaxRecipeBytes = std::size_t(1) << 20;
constexpr std::size_t kMaxWidths = 1000;
constexpr std::size_t kMaxPressures = 2000;
// A recipe is three levels deep; deeper text is refused before it is parsed, since the
// duplicate-member check walks the document recursively.
constexpr int kMaxDepth = 32;
// Grid points across the widest pore: 50 nm of nitrogen at 30 points per radius is 8,400;
// this bound keeps a profile's working arrays within some tens of MB.
constexpr double kMaxGridPoints = 200000;

// The shortest text that reads back as the same double.
std::string NumberText(double v) {
  char text[32];
  for (int digits = 6; digits <= 17; ++digits) {
    std::snprintf(text, sizeof text, "%.*g", digits, v);
    if (std::strtod(text, nullptr) == v) break;
  }
  return text;
}

bool ValidUtf8(std::string const& s) {
  std::size_t i = 0;
  while (i < s.size()) {
    const unsigned char c = static_cast<unsigned char>(s[i]);
    int extra = 0;
    unsigned int code = 0;
    if (c < 0x80) {
      ++i;
      continue;
    } else if (c >= 0xC2 && c <= 0xDF) {
      extra = 1;
      code = c & 0x1F;
    } else if (c >= 0xE0 && c <= 0xEF) {
      extra = 2;
      code = c & 0x0F;
    } else if (c >= 0xF0 && c <= 0xF4) {
      extra = 3;
      code = c & 0x07;
    } else {
      return false;
    }
    if (i + std::size_t(extra) >= s.size()) return false;
    for (int k = 1; k <= extra; ++k) {
      const unsigned char t = static_cast<unsigned char>(s[i + k]);
      if ((t & 0xC0) != 0x80) return false;
      code = (code << 6) | (t & 0x3F);
    }
    // Overlong forms, surrogates and code points beyond U+10FFFF.
    if ((extra == 2 && code < 0x800) || (extra == 3 && (code < 0x10000 || code > 0x10FFFF)) ||
        (code >= 0xD800 && code <= 0xDFFF))
      return false;
    i += std::size_t(extra) + 1;
  }
  return true;
}

// Text for a one-line message: at most 40 bytes, control characters and (in text that is
// not UTF-8) every non-ASCII byte shown as '?'.
std::string Printable(std::string s) {
  const bool utf8 = ValidUtf8(s);
  if (s.size() > 40) {
    std::size_t cut = 40;
    while (utf8 && cut > 0 && (static_cast<unsigned char>(s[cut]) & 0xC0) == 0x80) --cut;
    s = s.substr(0, cut) + "...";
  }
  for (char& c : s) {
    const unsigned char u = static_cast<unsigned char>(c);
    if (u < 0x20 || u == 0x7F || (!utf8 && u >= 0x80)) c = '?';
  }
  return s;
}

// A JSON value as a message shows it after "got".
std::string Shown(Json const& v) {
  if (v.IsNumber()) return NumberText(v.GetDouble());
  if (v.IsString()) return "\"" + Printable(std::string(v.GetString(), v.GetStringLength())) + "\"";
  if (v.IsBool()) return v.GetBool() ? "true" : "false";
  if (v.IsNull()) return "null";
  return v.IsArray() ? "an array" : "an object";
}

// Where a number may lie, and its unit for messages.
struct Range {
  double low;
  bool lowOpen;
  double high;
  bool highOpen;
  const char* unit;
};

std::string Describe(Range const& r) {
  const bool positive = r.low == 0.0 && r.lowOpen;
  std::string text =
      positive ? std::string("a positive number")
               : std::string("a number ") + (r.lowOpen ? "above " : "from ") + NumberText(r.low);
  if (std::isfinite(r.high)) {
    if (r.highOpen)
      text += positive ? " below " : " and below ";
    else
      text += positive || r.lowOpen ? " up to " : " to ";
    text += NumberText(r.high);
  }
  if (*r.unit != '\0') text += std::string(" ") + r.unit;
  return text;
}

bool InRange(double x, Range const& r) {
  if (!std::isfinite(x)) return false;
  if (r.lowOpen ? !(x > r.low) : !(x >= r.low)) return false;
  return r.highOpen ? x < r.high : x <= r.high;
}

// The members' ranges: wide enough for any small molecule and carbon-like wall, narrow
// enough that a slip of a unit (Å for nm, 1e3 too many) is refused rather than computed.
constexpr Range kTemperature{0.0, true, 1000.0, false, "K"};
constexpr Range kEpsilon{0.0, true, 5000.0, false, "K"};
constexpr Range kLength{0.0, true, 2.0, false, "nm"};
constexpr Range kSolidDiameter{0.0, false, 2.0, false, "nm"};
constexpr Range kCutoff{1.0, false, 20.0, false, "sigma"};
constexpr Range kMolarMass{0.0, true, 1000.0, false, "g/mol"};
constexpr Range kWallDensity{0.0, true, 1000.0, false, "per nm3"};
constexpr Range kWidth{0.0, true, 1000.0, false, "nm"};
constexpr Range kPressure{0.0, true, 1.0, true, "(P/Po)"};
constexpr Range kTolerance{0.0, true, 0.1, false, ""};
constexpr Range kMixing{0.0, true, 1.0, false, ""};
constexpr Range kCap{0.0, true, 700.0, false, "kT"};

class RecipeReader {
 public:
  explicit RecipeReader(std::string source) : m_source(std::move(source)) {}

  [[noreturn]] void Fail(std::string const& path, std::string const& what) const {
    throw InputError(m_source + ": " + path + ": " + what);
  }

  // Refuses members other than `names`, naming the ones that are allowed.
  void OnlyKnown(Json const& object, std::string const& path,
                 std::initializer_list<const char*> names) const {
    for (auto const& m : object.GetObject()) {
      const std::string name(m.name.GetString(), m.name.GetStringLength());
      bool known = false;
      for (const char* n : names) known = known || name == n;
      if (known) continue;
      std::string list;
      for (const char* n : names) list += (list.empty() ? "" : ", ") + std::string(n);
      Fail(Join(path, Printable(name)), "unknown member (" +
                                            (path.empty() ? std::string("a recipe") : path) +
                                            " takes " + list + ")");
    }
  }

  static std::string Join(std::string const& path, std::string const& name) {
    return path.empty() ? name : path + "." + name;
  }

  static Json const* Find(Json const& object, const char* name) {
    auto it = object.FindMember(name);
    return it == object.MemberEnd() ? nullptr : &it->value;
  }

  Json const& Object(Json const& parent, std::string const& path, const char* name) const {
    Json const* v = Find(parent, name);
    const std::string where = Join(path, name);
    if (v == nullptr) Fail(where, "missing; must be an object");
    if (!v->IsObject()) Fail(where, "must be an object, got " + Shown(*v));
    return *v;
  }

  double Number(Json const& v, std::string const& where, Range const& r) const {
    if (!v.IsNumber() || !InRange(v.GetDouble(), r))
      Fail(where, "must be " + Describe(r) + ", got " + Shown(v));
    return v.GetDouble();
  }

  // A required number when `fallback` is null, else an optional one.
  double Number(Json const& object, std::string const& path, const char* name, Range const& r,
                double const* fallback = nullptr) const {
    Json const* v = Find(object, name);
    if (v == nullptr) {
      if (fallback != nullptr) return *fallback;
      Fail(Join(path, name), "missing; must be " + Describe(r));
    }
    return Number(*v, Join(path, name), r);
  }

  long long Whole(Json const& v, std::string const& where, long long low, long long high) const {
    const bool whole = v.IsNumber() && std::isfinite(v.GetDouble()) &&
                       v.GetDouble() == std::floor(v.GetDouble()) && v.GetDouble() >= double(low) &&
                       v.GetDouble() <= double(high);
    if (!whole)
      Fail(where, "must be a whole number from " + std::to_string(low) + " to " +
                      std::to_string(high) + ", got " + Shown(v));
    return static_cast<long long>(v.GetDouble());
  }

  std::string Text(Json const& object, std::string const& path, const char* name,
                   std::size_t maxBytes, bool required, bool multiline) const {
    Json const* v = Find(object, name);
    const std::string where = Join(path, name);
    const std::string expected = "a text of 1 to " + std::to_string(maxBytes) + " bytes";
    if (v == nullptr) {
      if (required) Fail(where, "missing; must be " + expected);
      return std::string();
    }
    if (!v->IsString() || v->GetStringLength() == 0 || v->GetStringLength() > maxBytes)
      Fail(where,
           "must be " + expected + ", got " +
               (v->IsString() ? std::to_string(v->GetStringLength()) + " bytes" : Shown(*v)));
    std::string s(v->GetString(), v->GetStringLength());
    if (!ValidUtf8(s)) Fail(where, "must be UTF-8 text, got " + Shown(*v));
    for (char c : s)
      if (static_cast<unsigned char>(c) < 0x20 && !(multiline && (c == '\n' || c == '\t')))
        Fail(where, "must not hold control characters, got " + Shown(*v));
    return s;
  }

  // An explicit ascending list, one segment {from, to, count, spacing}, or a list of
  // segments joined end to end (a log-spaced range, then a linear one, say).
  std::vector<double> Grid(Json const& root, const char* name, Range const& r, std::size_t maxCount,
                           const char* what) const {
    Json const* v = Find(root, name);
    const std::string where = name;
    const std::string shape = std::string("an ascending array of ") + what +
                              ", an object {from, to, count, spacing} or an array of such objects";
    if (v == nullptr) Fail(where, "missing; must be " + shape);
    std::vector<double> grid;
    if (v->IsArray() && v->Size() > 0 && (*v)[0].IsObject()) {
      for (rapidjson::SizeType i = 0; i < v->Size(); ++i) {
        const std::string at = where + "[" + std::to_string(i) + "]";
        if (!(*v)[i].IsObject())
          Fail(at, "must be an object {from, to, count, spacing} like the first");
        const std::vector<double> part = Segment((*v)[i], at, r, maxCount, what);
        // A segment may begin where the one before ended.
        const std::size_t skip = !grid.empty() && part.front() == grid.back() ? 1 : 0;
        if (!grid.empty() && !(part[skip] > grid.back()))
          Fail(at + ".from", "must not lie below the end of the segment before, " +
                                 NumberText(grid.back()) + ", got " + NumberText(part.front()));
        grid.insert(grid.end(), part.begin() + std::ptrdiff_t(skip), part.end());
        if (grid.size() > maxCount)
          Fail(where, "must hold at most " + std::to_string(maxCount) + " " + what + " in all");
      }
      return grid;
    }
    if (v->IsArray()) {
      if (v->Size() < 2 || v->Size() > maxCount)
        Fail(where, "must hold 2 to " + std::to_string(maxCount) + " " + what + ", got " +
                        std::to_string(v->Size()));
      for (rapidjson::SizeType i = 0; i < v->Size(); ++i) {
        const std::string at = where + "[" + std::to_string(i) + "]";
        const double x = Number((*v)[i], at, r);
        if (!grid.empty() && !(x > grid.back()))
          Fail(at, "must be above the value before it, " + NumberText(grid.back()) + ", got " +
                       NumberText(x));
        grid.push_back(x);
      }
      return grid;
    }
    if (!v->IsObject()) Fail(where, "must be " + shape + ", got " + Shown(*v));
    return Segment(*v, where, r, maxCount, what);
  }

  // One segment {from, to, count, spacing}.
  std::vector<double> Segment(Json const& v, const std::string& where, Range const& r,
                              std::size_t maxCount, const char* what) const {
    std::vector<double> grid;
    OnlyKnown(v, where, {"from", "to", "count", "spacing"});
    const double from = Number(v, where, "from", r);
    const double to = Number(v, where, "to", r);
    if (!(to > from))
      Fail(where + ".to",
           "must be above " + where + ".from (" + NumberText(from) + "), got " + NumberText(to));
    Json const* count = Find(v, "count");
    if (count == nullptr)
      Fail(where + ".count",
           "missing; must be a whole number from 2 to " + std::to_string(maxCount));
    const long long n = Whole(*count, where + ".count", 2, static_cast<long long>(maxCount));
    Json const* spacing = Find(v, "spacing");
    const std::string spacings = "must be \"log\" or \"linear\"";
    if (spacing == nullptr) Fail(where + ".spacing", "missing; " + spacings);
    const std::string s =
        spacing->IsString() ? std::string(spacing->GetString(), spacing->GetStringLength()) : "";
    if (s != "log" && s != "linear")
      Fail(where + ".spacing", spacings + ", got " + Shown(*spacing));
    grid.resize(std::size_t(n));
    const double lf = std::log(from), lt = std::log(to);
    for (long long i = 0; i < n; ++i) {
      const double t = double(i) / double(n - 1);
      grid[std::size_t(i)] = s == "log" ? std::exp(lf + t * (lt - lf)) : from + t * (to - from);
    }
    // The ends exactly as written, whatever exp and log round to.
    grid.front() = from;
    grid.back() = to;
    for (std::size_t i = 1; i < grid.size(); ++i)
      if (!(grid[i] > grid[i - 1]))
        Fail(where, std::to_string(n) + " " + s + "-spaced " + what + " from " + NumberText(from) +
                        " to " + NumberText(to) + " are not all distinct in double precision");
    return grid;
  }

 private:
  std::string m_source;
};

// Refuses text nested deeper than kMaxDepth, with the line where it gets too deep.
void CheckDepth(std::string const& text, std::string const& source) {
  int depth = 0;
  bool inString = false, escaped = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (escaped)
        escaped = false;
      else if (c == '\\')
        escaped = true;
      else if (c == '"')
        inString = false;
      continue;
    }
    if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      if (++depth > kMaxDepth)
        throw InputError(source + ":" + std::to_string(LineOfOffset(text, i)) +
                         ": nested deeper than " + std::to_string(kMaxDepth) +
                         " levels; a recipe is 3 deep");
    } else if (c == ']' || c == '}') {
      --depth;
    }
  }
}

KernelBranch Branch(RecipeReader const& reader, Json const& root) {
  Json const* v = RecipeReader::Find(root, "branch");
  if (v == nullptr) return KernelBranch::kEquilibrium;
  const std::string s = v->IsString() ? std::string(v->GetString(), v->GetStringLength()) : "";
  if (s == "equilibrium") return KernelBranch::kEquilibrium;
  if (s == "adsorption") return KernelBranch::kAdsorption;
  if (s == "desorption") return KernelBranch::kDesorption;
  reader.Fail("branch",
              "must be \"equilibrium\", \"adsorption\" or \"desorption\", got " + Shown(*v));
}

}  // namespace

KernelRecipe ParseKernelRecipe(const std::string& text, const std::string& source) {
  if (text.size() > kMaxRecipeBytes)
    throw InputError(source + ": larger than " + std::to_string(kMaxRecipeBytes >> 20) +
                     " MiB, not a kernel recipe");
  CheckDepth(text, source);
  rapidjson::Document doc;
  std::string problem;
  if (!io_detail::ParseJsonExact(text, doc, &problem)) throw InputError(source + ":" + problem);
  const RecipeReader reader(source);
  if (!doc.IsObject())
    throw InputError(source + ": a recipe must be a JSON object, got " + Shown(doc));
  reader.OnlyKnown(doc, "",
                   {"name", "gas", "description", "temperature_K", "fluid", "wall", "widths_nm",
                    "pressures", "branch", "settings"});

  KernelRecipe r;
  r.name = reader.Text(doc, "", "name", 200, true, false);
  r.gas = reader.Text(doc, "", "gas", 40, true, false);
  r.description = reader.Text(doc, "", "description", 4000, false, true);
  r.temperatureK = reader.Number(doc, "", "temperature_K", kTemperature);

  Json const& fluid = reader.Object(doc, "", "fluid");
  reader.OnlyKnown(
      fluid, "fluid",
      {"epsilon_K", "sigma_nm", "hs_diameter_nm", "cutoff_sigma", "molar_mass_g_per_mol"});
  r.fluid.epsilonK = reader.Number(fluid, "fluid", "epsilon_K", kEpsilon);
  r.fluid.sigmaNm = reader.Number(fluid, "fluid", "sigma_nm", kLength);
  r.fluid.diameterNm = reader.Number(fluid, "fluid", "hs_diameter_nm", kLength);
  const LJFluid fluidDefaults;
  r.fluid.cutoffSigma =
      reader.Number(fluid, "fluid", "cutoff_sigma", kCutoff, &fluidDefaults.cutoffSigma);
  if (Json const* m = RecipeReader::Find(fluid, "molar_mass_g_per_mol"))
    r.fluid.molarMass = reader.Number(*m, "fluid.molar_mass_g_per_mol", kMolarMass);

  Json const& wall = reader.Object(doc, "", "wall");
  reader.OnlyKnown(wall, "wall",
                   {"epsilon_K", "sigma_nm", "density_per_nm3", "spacing_nm", "solid_diameter_nm"});
  const SteeleWall wallDefaults;
  r.wall.epsilonK = reader.Number(wall, "wall", "epsilon_K", kEpsilon);
  r.wall.sigmaNm = reader.Number(wall, "wall", "sigma_nm", kLength);
  r.wall.densityPerNm3 =
      reader.Number(wall, "wall", "density_per_nm3", kWallDensity, &wallDefaults.densityPerNm3);
  r.wall.spacingNm = reader.Number(wall, "wall", "spacing_nm", kLength, &wallDefaults.spacingNm);
  r.wall.solidDiameterNm = reader.Number(wall, "wall", "solid_diameter_nm", kSolidDiameter,
                                         &wallDefaults.solidDiameterNm);

  r.widthsNm = reader.Grid(doc, "widths_nm", kWidth, kMaxWidths, "widths");
  r.pressures = reader.Grid(doc, "pressures", kPressure, kMaxPressures, "pressures");
  r.branch = Branch(reader, doc);

  if (Json const* s = RecipeReader::Find(doc, "settings")) {
    if (!s->IsObject()) reader.Fail("settings", "must be an object, got " + Shown(*s));
    reader.OnlyKnown(
        *s, "settings",
        {"points_per_radius", "tolerance", "max_iterations", "history", "mixing", "cap_kT"});
    auto whole = [&](const char* name, long long low, long long high, int* out) {
      if (Json const* v = RecipeReader::Find(*s, name))
        *out = int(reader.Whole(*v, std::string("settings.") + name, low, high));
    };
    whole("points_per_radius", 2, 1000, &r.settings.pointsPerRadius);
    whole("max_iterations", 1, 1000000, &r.settings.maxIterations);
    whole("history", 0, 100, &r.settings.history);
    const SlitSettings d;
    r.settings.tolerance = reader.Number(*s, "settings", "tolerance", kTolerance, &d.tolerance);
    r.settings.mixing = reader.Number(*s, "settings", "mixing", kMixing, &d.mixing);
    r.settings.capKT = reader.Number(*s, "settings", "cap_kT", kCap, &d.capKT);
  }

  // The grid of the widest pore and the reach of the attraction, in grid steps
  // (dz = d / (2 × points_per_radius), as SlitPore spaces it).
  const double dz = r.fluid.diameterNm / (2.0 * r.settings.pointsPerRadius);
  const double points = (r.widthsNm.back() + r.wall.solidDiameterNm) / dz;
  if (!(points <= kMaxGridPoints))
    reader.Fail("widths_nm",
                "the widest pore, " + NumberText(r.widthsNm.back()) + " nm, needs " +
                    NumberText(std::round(points)) + " grid points at fluid.hs_diameter_nm " +
                    NumberText(r.fluid.diameterNm) + " and settings.points_per_radius " +
                    std::to_string(r.settings.pointsPerRadius) + "; at most " +
                    NumberText(kMaxGridPoints));
  const double reach = r.fluid.cutoffSigma * r.fluid.sigmaNm / dz;
  if (!(reach <= kMaxGridPoints))
    reader.Fail("fluid.cutoff_sigma",
                "the attraction reaches " + NumberText(std::round(reach)) +
                    " grid points at fluid.sigma_nm " + NumberText(r.fluid.sigmaNm) +
                    " and fluid.hs_diameter_nm " + NumberText(r.fluid.diameterNm) + "; at most " +
                    NumberText(kMaxGridPoints));
  return r;
}

KernelRecipe ReadKernelRecipe(const std::string& path) {
  std::string text;
  switch (ReadFileLimited(path, kMaxRecipeBytes, &text)) {
    case FileReadStatus::kNotOpened:
      throw InputError(path + ": cannot open the file");
    case FileReadStatus::kNotRead:
      throw InputError(path + ": cannot read the file");
    case FileReadStatus::kTooLarge:
      throw InputError(path + ": larger than " + std::to_string(kMaxRecipeBytes >> 20) +
                       " MiB, not a kernel recipe");
    case FileReadStatus::kOk:
      break;
  }
  return ParseKernelRecipe(text, path);
}

}  // namespace fiofla::dft
