#include "fiofla/units/unit_text.h"

#include <cctype>
#include <utility>
#include <vector>

#include "fiofla/units/units.h"

namespace fiofla {
namespace {

// Replaces every `from` in `s` by `to`.
void ReplaceAll(std::string& s, const std::string& from, const std::string& to) {
  for (std::size_t at = s.find(from); at != std::string::npos; at = s.find(from, at + to.size()))
    s.replace(at, from.size(), to);
}

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// Removes every whole-word occurrence of one of `words` (compared in lower case) from `s`;
// true when one was there. Brackets around the word go with it.
bool TakeMarker(std::string& s, std::initializer_list<const char*> words) {
  bool found = false;
  for (const char* word : words) {
    const std::string w = word;
    for (std::size_t at = s.find(w); at != std::string::npos; at = s.find(w, at)) {
      const bool startOk = at == 0 || !std::isalpha(static_cast<unsigned char>(s[at - 1]));
      const std::size_t end = at + w.size();
      const bool endOk = end >= s.size() || !std::isalpha(static_cast<unsigned char>(s[end]));
      if (!startOk || !endOk) {
        at = end;
        continue;
      }
      std::size_t from = at, to = end;
      if (from > 0 && (s[from - 1] == '(' || s[from - 1] == '[') && to < s.size() &&
          (s[to] == ')' || s[to] == ']')) {
        --from;
        ++to;
      }
      s.replace(from, to - from, " ");
      found = true;
    }
  }
  return found;
}

std::string Squeeze(const std::string& s) {
  std::string out;
  for (char c : s)
    if (!std::isspace(static_cast<unsigned char>(c))) out += c;
  return out;
}

struct Named {
  const char* name;
  double factor;
};

const Named kVolumes[] = {{"cm3", 1.0}, {"cm^3", 1.0}, {"cc", 1.0},   {"ml", 1.0},  {"l", 1000.0},
                          {"dm3", 1e3}, {"m3", 1e6},   {"mm3", 1e-3}, {"ul", 1e-3}, {"µl", 1e-3}};
const Named kMoles[] = {{"mmol", 1.0}, {"mol", 1e3}, {"umol", 1e-3}, {"µmol", 1e-3}, {"kmol", 1e6}};
const Named kMasses[] = {{"mg", 1.0}, {"g", 1e3}, {"kg", 1e6}, {"ug", 1e-3}, {"µg", 1e-3}};

template <std::size_t N>
std::optional<double> Lookup(const Named (&table)[N], const std::string& name) {
  for (const Named& n : table)
    if (name == n.name) return n.factor;
  return std::nullopt;
}

// The numerator (amount) and the denominator (basis) of a unit text in lower case, with
// markers removed; false when it has no recognisable "per" part.
bool SplitPer(const std::string& text, std::string* amount, std::string* basis) {
  const auto slash = text.find('/');
  if (slash != std::string::npos) {
    *amount = text.substr(0, slash);
    *basis = text.substr(slash + 1);
    return basis->find('/') == std::string::npos;
  }
  const auto per = text.find(" per ");
  if (per != std::string::npos) {
    *amount = text.substr(0, per);
    *basis = text.substr(per + 5);
    return true;
  }
  // "ml g-1", "mmol cm-3": the last word carries the exponent.
  static const std::pair<const char*, const char*> kExponents[] = {
      {"^(-1)", ""}, {"^-1", ""}, {"-1", ""}, {"^(-3)", "3"}, {"^-3", "3"}, {"-3", "3"}};
  for (const auto& [exponent, power] : kExponents) {
    const std::string e = exponent;
    if (text.size() <= e.size() || text.compare(text.size() - e.size(), e.size(), e) != 0) continue;
    const std::size_t at = text.size() - e.size();
    std::size_t start = text.find_last_of(' ', at);
    if (start == std::string::npos) {
      // No blank ("cm3g-1"): the basis is the letters just before the exponent.
      start = at;
      while (start > 0 && std::isalpha(static_cast<unsigned char>(text[start - 1]))) --start;
    } else {
      ++start;
    }
    *amount = text.substr(0, start);
    *basis = text.substr(start, at - start) + power;
    return true;
  }
  return false;
}

}  // namespace

std::optional<LoadingUnitParts> ParseLoadingUnit(const std::string& input) {
  std::string s = input;
  // Typographic forms to plain ones: superscripts, the minus sign, the middle dot.
  ReplaceAll(s, "\xC2\xB3", "3");               // ³
  ReplaceAll(s, "\xE2\x81\xBB\xC2\xB9", "-1");  // ⁻¹
  ReplaceAll(s, "\xE2\x88\x92", "-");           // − (minus sign)
  ReplaceAll(s, "\xC2\xB7", " ");               // ·
  ReplaceAll(s, "\xCE\xBC", "\xC2\xB5");        // Greek mu to the micro sign
  ReplaceAll(s, "*", " ");
  s = Lower(s);
  ReplaceAll(s, "(l)", " liq ");
  ReplaceAll(s, "(liq)", " liq ");
  ReplaceAll(s, "(liquid)", " liq ");
  TakeMarker(s, {"stp"});
  const bool liquid = TakeMarker(s, {"liquid", "liq"});
  // Empty brackets left by markers, then blanks to single ones.
  ReplaceAll(s, "()", " ");
  ReplaceAll(s, "[]", " ");
  std::string t;
  for (char c : s) {
    if (c == '\t' || c == '.') c = ' ';
    if (c == ' ' && (t.empty() || t.back() == ' ')) continue;
    t += c;
  }
  while (!t.empty() && t.back() == ' ') t.pop_back();
  if (t.empty()) return std::nullopt;

  LoadingUnitParts parts;
  const std::string squeezed = Squeeze(t);
  if (squeezed == "wt%" || squeezed == "%wt" || squeezed == "wt.%") {
    // g per 100 g: 10 mg/g.
    parts.amount = AmountKind::kMass;
    parts.amountFactor = 10.0;
    return parts;
  }

  std::string amount, basis;
  if (!SplitPer(t, &amount, &basis)) return std::nullopt;
  amount = Squeeze(amount);
  basis = Squeeze(basis);
  // A basis written with its exponent after the slash ("/g-1") is not a per-part.
  if (basis.empty() || amount.empty()) return std::nullopt;

  if (const auto v = Lookup(kVolumes, amount)) {
    parts.amount = liquid ? AmountKind::kLiquidVolume : AmountKind::kGasVolume;
    parts.amountFactor = *v;
  } else if (liquid) {
    return std::nullopt;  // only a volume can be a liquid's
  } else if (const auto n = Lookup(kMoles, amount)) {
    parts.amount = AmountKind::kMoles;
    parts.amountFactor = *n;
  } else if (const auto m = Lookup(kMasses, amount)) {
    parts.amount = AmountKind::kMass;
    parts.amountFactor = *m;
  } else {
    return std::nullopt;
  }

  if (const auto m = Lookup(kMasses, basis)) {
    parts.basis = MaterialBasis::kMass;
    parts.basisFactor = *m / 1e3;  // table in mg; the basis unit is g
  } else if (const auto v = Lookup(kVolumes, basis)) {
    parts.basis = MaterialBasis::kVolume;
    parts.basisFactor = *v;
  } else if (const auto n = Lookup(kMoles, basis)) {
    parts.basis = MaterialBasis::kMolar;
    parts.basisFactor = *n / 1e3;  // table in mmol; the basis unit is mol
  } else {
    return std::nullopt;
  }
  return parts;
}

std::string LoadingUnitHint() {
  return "expected an amount per amount of adsorbent, e.g. 'cm3(STP)/g', 'ml(STP) g-1', "
         "'mmol/g', 'mol/kg', 'mg/g', 'cm3 liq/g'";
}

std::string PressureUnitId(const std::string& text, std::string* why) {
  std::string t = Lower(Squeeze(text));
  ReplaceAll(t, "(abs)", "");
  ReplaceAll(t, "(a)", "");
  if (t == "psig" || t == "barg" || t == "bar(g)" || t == "kpag" || t == "kpa(g)" ||
      t == "psi(g)") {
    if (why)
      *why = "gauge pressure ('" + text + "') needs the ambient pressure; give absolute pressures";
    return {};
  }
  static const std::pair<const char*, const char*> kWords[] = {
      {"pascal", "Pa"},     {"pascals", "Pa"}, {"kilopascal", "kPa"}, {"megapascal", "MPa"},
      {"millibar", "mbar"}, {"bara", "bar"},   {"atmosphere", "atm"}, {"atmospheres", "atm"}};
  for (const auto& w : kWords)
    if (t == w.first) t = w.second;
  const CUnits units = PressureUnits();
  const int index = units.Find(CStr(t));
  if (index < 0) return {};
  return units.Units()[static_cast<std::size_t>(index)].Id().str();
}

std::optional<double> ParsePressureUnit(const std::string& text, std::string* why) {
  const std::string id = PressureUnitId(text, why);
  if (id.empty()) return std::nullopt;
  const CUnits units = PressureUnits();
  return units.Units()[static_cast<std::size_t>(units.Find(CStr(id)))].Factor();
}

}  // namespace fiofla
