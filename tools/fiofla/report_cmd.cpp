// `fiofla report`: BET report pages of one or more isotherms, rendered as HTML, JSON or text.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "cli.h"
#include "cli_common.h"
#include "fiofla/datagasadsorption.h"
#include "fiofla/io/file_util.h"
#include "fiofla/report/report_render.h"
#include "fiofla/report/report_text.h"
#include "fiofla/report_bet.h"
#include "fiofla/report_pores.h"

namespace fiofla::cli {
namespace {

const std::string kReportHelp =
    std::string(
        "usage: fiofla report FILE... [-o OUT] [--to html|json|text] [--format F] [--p0 P]\n"
        "                     [--range LO:HI | --auto [--min-points N] [--min-r2 R]]\n"
        "                     [--cross-section NM2] [--units UNIT [--molar-mass G]]\n"
        "\n"
        "Makes the BET report of each isotherm FILE: the summary table with its validation\n"
        "rows, the points in range, the BET surface area plot and the BET isotherm plot,\n"
        "then a t-plot page (Harkins-Jura curve, 3.5 to 5 A) and a BJH page (classical,\n"
        "desorption branch) with their tables and plots.\n"
        "With several files every isotherm gets its own page and a last page overlays\n"
        "their plots. A FILE may be an isotherm CSV, AIF or ISODB JSON file, or a\n"
        "measurement file, which is reduced first (see 'fiofla reduce').\n"
        "\n"
        "  -o, --output OUT     write the report to OUT (the format follows its extension:\n"
        "                       .html, .json, .txt); without it the report goes to standard\n"
        "                       output as text. OUT is replaced only once the whole report\n"
        "                       is ready, so a failed run leaves no partial file\n"
        "  --to F               html (one self-contained file, inline SVG), json (the whole\n"
        "                       report model) or text; --format html|json|text does the same\n") +
    kInputOptionsHelp + kBetOptionsHelp +
    "  --units UNIT         quantity adsorbed shown in cm3/g STP (default), mmol/g,\n"
    "                       mol/kg or mg/g; the BET transform follows as its inverse\n"
    "  --molar-mass G       molar mass of the adsorptive in g/mol, needed for mg/g\n"
    "                       (nitrogen 28.0134)\n"
    "\n"
    "exit codes: 0 ok, 1 unreadable or malformed file or unwritable OUT, 2 bad arguments,\n"
    "            3 report written, but an isotherm gave no BET result\n";

enum class Format { kHtml, kJson, kText };

struct ReportOptions {
  std::vector<std::string> files;
  std::string output;
  std::optional<Format> format;
  BetSettings bet;
  IsothermReadOptions input;
  std::string units;
  double molarMassGPerMol = 0.0;
  bool help = false;
};

std::optional<Format> OutputFormatFromName(const std::string& name) {
  if (name == "html") return Format::kHtml;
  if (name == "json") return Format::kJson;
  if (name == "text" || name == "txt") return Format::kText;
  return std::nullopt;
}

Format FormatOf(const ReportOptions& opt) {
  if (opt.format) return *opt.format;
  if (opt.output.empty()) return Format::kText;
  const auto dot = opt.output.rfind('.');
  if (dot != std::string::npos) {
    const std::string ext = opt.output.substr(dot + 1);
    if (ext == "json") return Format::kJson;
    if (ext == "txt" || ext == "text") return Format::kText;
  }
  return Format::kHtml;
}

ReportOptions ParseReportArgs(const std::vector<std::string>& args) {
  ReportOptions opt;
  ArgReader reader(args);
  while (reader.Next()) {
    const std::string& arg = reader.Arg();
    if (arg == "--help" || arg == "-h") {
      opt.help = true;
    } else if (arg == "-o" || arg == "--output") {
      opt.output = reader.Value();
      if (opt.output.empty()) throw UsageError{arg + " needs a file name"};
    } else if (arg == "--to") {
      const std::string v = reader.Value();
      opt.format = OutputFormatFromName(v);
      if (!opt.format) throw UsageError{"--to '" + v + "' is not html, json or text"};
    } else if (arg == "--format" && reader.Peek() && OutputFormatFromName(*reader.Peek())) {
      // --format once named the output; the output names never collide with input formats.
      opt.format = OutputFormatFromName(reader.Value());
    } else if (ReadInputOption(reader, opt.input)) {
    } else if (arg == "--units") {
      opt.units = reader.Value();
      if (DVolumeAds::sm_Formatter.Units().Find(opt.units) < 0)
        throw UsageError{"--units '" + opt.units + "' is not cm3/g STP, mmol/g, mol/kg or mg/g"};
    } else if (arg == "--molar-mass") {
      const std::string v = reader.Value();
      const auto m = ToDouble(v);
      if (!m || *m <= 0.0) throw UsageError{"--molar-mass '" + v + "' is not a positive g/mol"};
      opt.molarMassGPerMol = *m;
    } else if (ReadBetOption(reader, opt.bet)) {
    } else if (reader.IsOption()) {
      throw UsageError{"unknown option '" + arg + "'"};
    } else {
      opt.files.push_back(arg);
    }
  }
  if (opt.help) return opt;
  if (opt.files.empty()) throw UsageError{"no isotherm FILE given"};
  if (!opt.units.empty()) {
    CUnits units = DVolumeAds::sm_Formatter.Units();
    units.SetMolarMass(opt.molarMassGPerMol);
    if (!units.CanConvert(static_cast<std::size_t>(units.Find(opt.units))))
      throw UsageError{"--units '" + opt.units + "' needs --molar-mass (g/mol)"};
  }
  return opt;
}

// The display units are process-wide formatter settings; a command changes them only for
// its own run, so an application (or the test suite) calling the tool in-process keeps its own.
class UnitsSelection {
 public:
  UnitsSelection(const std::string& unit, double molarMassGPerMol)
      : m_quantity(DVolumeAds::sm_Formatter.Units()),
        m_inverse(DBETTransform::sm_Formatter.Units()) {
    if (unit.empty()) return;
    CUnits& quantity = DVolumeAds::sm_Formatter.Units();
    CUnits& inverse = DBETTransform::sm_Formatter.Units();
    quantity.SetMolarMass(molarMassGPerMol);
    inverse.SetMolarMass(molarMassGPerMol);
    quantity.Select(unit);
    // The inverse list mirrors the quantity list entry for entry.
    inverse.SelectIndex(quantity.SelectedIndex());
  }
  ~UnitsSelection() {
    DVolumeAds::sm_Formatter.Units() = m_quantity;
    DBETTransform::sm_Formatter.Units() = m_inverse;
  }
  UnitsSelection(const UnitsSelection&) = delete;
  UnitsSelection& operator=(const UnitsSelection&) = delete;

 private:
  CUnits m_quantity;
  CUnits m_inverse;
};

std::string Stem(const std::string& path) {
  std::string name =
      path.substr(path.find_last_of('/') == std::string::npos ? 0 : path.find_last_of('/') + 1);
  const auto dot = name.rfind('.');
  if (dot != std::string::npos && dot > 0) name.resize(dot);
  return name;
}

CStr Verdict(std::size_t failed, std::size_t searched) {
  return CStr("fails in " + std::to_string(failed) + " of " + std::to_string(searched) +
              " windows");
}

// The search's outcome as a table: the chosen window and one row per criterion.
CReportDataItemBase* AddRangeSearchTable(const BetRangeResult& s, CReportPageData* page,
                                         CReportDataItemBase* below) {
  CReportOptionsTable* table = page->AddOptionsTable("BET Range Selection", 75, 775);
  table->SetLayoutBottom(below);
  table->AddItem("Method:", "automatic, " + std::to_string(s.options.minPoints) +
                                " or more points, r² >= " + Num(s.options.minRSquared, 6) +
                                ", tolerance " + Num(100.0 * s.options.monolayerTolerance, 4) +
                                " %");
  const CStr passed = ReportText(kTextCheckPassed);
  if (s.found) {
    table->AddItem("Chosen range:", "P/Po " + Fixed(s.relativePressureLow, 6) + " to " +
                                        Fixed(s.relativePressureHigh, 6) + " (" +
                                        std::to_string(s.last - s.first + 1) + " points, " +
                                        std::to_string(s.windowsPassed) + " of " +
                                        std::to_string(s.windowsSearched) + " windows pass)");
    table->AddValidation("Q(1 - P/Po) rising:", passed, "over every step of the range");
    table->AddValidation("C positive:", passed, "C = " + Num(s.cValue, 6));
    table->AddValidation("Monolayer in range:", passed,
                         "Q = Qm at P/Po " + Fixed(s.monolayerRelativePressure, 6));
    table->AddValidation("Monolayer agreement:", passed,
                         "1/(√C + 1) = " + Fixed(s.cRelativePressure, 6));
    return table;
  }
  table->AddValidation("Chosen range:", "No range passes all criteria.", CStr(s.Explain()));
  const std::size_t n = s.windowsSearched;
  auto row = [&](const char* label, std::size_t failed) {
    if (failed == 0)
      table->AddValidation(label, passed, CStr());
    else
      table->AddValidation(label, Verdict(failed, n), CStr());
  };
  row("Correlation r²:", s.failedRSquared);
  row("Q(1 - P/Po) rising:", s.failedIncreasing);
  row("C positive:", s.failedPositiveC);
  row("Monolayer in range:", s.failedMonolayerInRange);
  row("Monolayer agreement:", s.failedMonolayerAgreement);
  return table;
}

// One isotherm's results: summary with its checks, the range search, and the range points;
// with a single isotherm the plots go between them.
CReportDataItemBase* AddIsothermItems(const BetRun& run, CReportPageData* page,
                                      CReportDataItemBase* below) {
  CReportDataItemBase* summary = NBET::AddSummaryTable(*run.calc, page, below);
  if (!NoBetResult(*run.calc))
    NBET::Validate(*run.calc, static_cast<CReportOptionsTable*>(summary));
  CReportDataItemBase* last = summary;
  if (run.search) last = AddRangeSearchTable(*run.search, page, last);
  return last;
}

// Axis ends that frame what the plots are about: the BET transform is near-linear only
// at low pressure and the BET model diverges towards saturation, so scaling to all the
// data would squeeze the fitted region into a corner.
void FrameAxes(const std::vector<std::shared_ptr<CCalcBET>>& calcs, CRSGraphAxisData::SSetup& betX,
               CRSGraphAxisData::SSetup& betY, CRSGraphAxisData::SSetup& isoY) {
  double rangeEnd = 0.0, quantityMax = 0.0;
  for (const auto& calc : calcs) {
    for (double x : calc->fitRelativePressure) rangeEnd = std::max(rangeEnd, x);
    for (double q : calc->quantityAdsorbed)
      if (std::isfinite(q)) quantityMax = std::max(quantityMax, q);
  }
  if (quantityMax > 0.0) {
    isoY.autoScale = false;
    isoY.minimum = 0.0;
    isoY.maximum = 1.1 * quantityMax;
  }
  if (rangeEnd <= 0.0) return;
  const double xEnd = std::min(1.0, std::ceil((rangeEnd + 0.1) / 0.05) * 0.05);
  double yEnd = 0.0;
  for (const auto& calc : calcs) {
    auto take = [&](const CNumVector<double>& x, const CNumVector<double>& y) {
      for (std::size_t i = 0; i < std::min(x.size(), y.size()); ++i)
        if (x[i] <= xEnd && std::isfinite(y[i])) yEnd = std::max(yEnd, y[i]);
    };
    take(calc->fitRelativePressure, calc->fitTransform);
    take(calc->otherRelativePressure, calc->otherTransform);
    if (calc->fitRelativePressure.size() >= 2)
      yEnd = std::max(yEnd, calc->yIntercept + calc->slope * xEnd);
  }
  if (!(yEnd > 0.0) || !std::isfinite(yEnd)) return;
  betX.autoScale = false;
  betX.minimum = 0.0;
  betX.maximum = xEnd;
  betY.autoScale = false;
  betY.minimum = 0.0;
  betY.maximum = 1.1 * yEnd;
}

CReportDataItemBase* AddPlots(const std::vector<std::shared_ptr<CCalcBET>>& calcs,
                              const std::vector<CStr>& names, CReportPageData* page,
                              CReportDataItemBase* below) {
  CRSGraphAxisData::SSetup betX, betY, isoX, isoY;
  isoX.autoScale = false;
  isoX.minimum = 0.0;
  isoX.maximum = 1.0;
  isoY.useMargin = true;
  FrameAxes(calcs, betX, betY, isoY);
  const bool overlay = calcs.size() > 1;
  CReportDataItemBase* graph = NBET::PlotReportBET(calcs, names, page, betX, betY, overlay, below);
  return NBET::PlotReportIso(calcs, names, page, isoX, isoY, overlay, graph);
}

// The t-plot (Harkins-Jura, 3.5 to 5 Å, total area from BET) and BJH (classical, desorption
// branch, or adsorption when there is none) pages of one isotherm, when they have results.
void AddPorePages(const IsothermData& iso, const BetRun& run, const std::string& file,
                  std::vector<std::unique_ptr<CReportPageData>>& pages) {
  const CThicknessFunction thickness(CThicknessFunction::eHarkinsJura);
  CTPlotCalc::SInput t;
  CBJHCalc::SInput b;
  for (std::size_t i = 0; i < iso.size(); ++i) {
    const bool ads = iso.branch[i] == Branch::kAdsorption;
    if (ads) {
      t.m_RelPress.push_back(iso.relativePressure[i]);
      t.m_QtyAdsorbed.push_back(iso.quantityAdsorbedCm3PerGStp[i]);
    } else {
      b.m_RelPress.push_back(iso.relativePressure[i]);
      b.m_QtyAdsorbed.push_back(iso.quantityAdsorbedCm3PerGStp[i]);
    }
  }
  t.m_pThickness = &thickness;
  t.m_TotalSurfaceArea = NoBetResult(*run.calc) ? 0.0 : run.calc->surfaceArea;
  const CTPlotCalc tplot(t);
  if (tplot.m_Status == 0 || tplot.m_Status == 1) {
    pages.push_back(std::make_unique<CReportPageData>(CStr("t-Plot report: ") + file));
    AddTPlotSection(tplot, CStr("Harkins and Jura"), pages.back().get(), nullptr);
  }
  b.m_UseAdsorption = b.m_RelPress.size() < 2;
  if (b.m_UseAdsorption) {
    b.m_RelPress = t.m_RelPress;
    b.m_QtyAdsorbed = t.m_QtyAdsorbed;
  }
  CThicknessFunction bjhThickness(CThicknessFunction::eHarkinsJura);
  b.m_pThickness = &bjhThickness;
  const CBJHCalc bjh(b);
  if (bjh.GetStatus() == CBJHCalc::STATUS_OK) {
    pages.push_back(std::make_unique<CReportPageData>(CStr("BJH report: ") + file));
    const std::string what = std::string(b.m_UseAdsorption ? "adsorption" : "desorption") +
                             " branch, classical method, Harkins and Jura thickness curve, "
                             "Kelvin constant 9.53 Å";
    AddBjhSection(bjh, CStr(what), pages.back().get(), nullptr);
  }
}

std::vector<std::unique_ptr<CReportPageData>> BuildPages(const ReportOptions& opt,
                                                         const std::vector<IsothermData>& isotherms,
                                                         const std::vector<BetRun>& runs) {
  std::vector<std::unique_ptr<CReportPageData>> pages;
  std::vector<std::shared_ptr<CCalcBET>> calcs;
  std::vector<CStr> names;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    calcs.push_back(runs[i].calc);
    names.emplace_back(Stem(opt.files[i]));
  }
  for (std::size_t i = 0; i < runs.size(); ++i) {
    pages.push_back(std::make_unique<CReportPageData>(CStr("BET report: ") + opt.files[i]));
    CReportPageData* page = pages.back().get();
    CReportDataItemBase* last = AddIsothermItems(runs[i], page, nullptr);
    if (runs.size() == 1) last = AddPlots(calcs, names, page, last);
    NBET::AddTabularData(*runs[i].calc, page, last);
    AddPorePages(isotherms[i], runs[i], opt.files[i], pages);
  }
  if (runs.size() > 1) {
    pages.push_back(std::make_unique<CReportPageData>(CStr("BET plots of all isotherms")));
    AddPlots(calcs, names, pages.back().get(), nullptr);
  }
  return pages;
}

}  // namespace

int RunReport(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  ReportOptions opt;
  try {
    opt = ParseReportArgs(args);
  } catch (const UsageError& e) {
    err << "fiofla report: " << e.message << "\n"
        << "try 'fiofla report --help'\n";
    return kExitUsageError;
  }
  if (opt.help) {
    out << kReportHelp;
    return kExitOk;
  }

  // Every file is read before anything is written: one bad file means no report at all.
  std::vector<IsothermData> isotherms;
  try {
    for (const auto& file : opt.files) isotherms.push_back(LoadIsotherm(file, opt.input, err));
  } catch (const InputError& e) {
    err << "fiofla report: " << e.what() << "\n";
    return kExitInputError;
  }

  const UnitsSelection units(opt.units, opt.molarMassGPerMol);
  std::vector<BetRun> runs;
  for (const auto& iso : isotherms) runs.push_back(RunBetOn(iso, opt.bet));
  const auto pages = BuildPages(opt, isotherms, runs);

  std::vector<const CReportPageData*> view;
  for (const auto& page : pages) view.push_back(page.get());
  RenderOptions render;
  render.documentTitle = opt.files.size() == 1 ? "BET report: " + opt.files[0] : "BET report";
  std::string files;
  for (const auto& f : opt.files) files += (files.empty() ? "" : ", ") + f;
  render.subtitle = CStr("Isotherms: " + files);
  render.generator = CStr(std::string("fiofla ") + FIOFLA_VERSION);

  std::ostringstream text;
  const Format format = FormatOf(opt);
  if (format == Format::kHtml)
    RenderHtml(view, render, text);
  else if (format == Format::kJson)
    RenderJson(view, render, text);
  else
    RenderText(view, render, text);

  if (opt.output.empty()) {
    out << text.str();
  } else {
    std::string error;
    if (!fiofla::WriteFileAtomically(opt.output, text.str(), &error)) {
      err << "fiofla report: " << error << "\n";
      return kExitInputError;
    }
    const char* kind = format == Format::kHtml ? "HTML" : format == Format::kJson ? "JSON" : "text";
    out << "fiofla report: wrote the " << kind << " report of " << opt.files.size()
        << (opt.files.size() == 1 ? " isotherm" : " isotherms") << " to " << opt.output << "\n";
  }

  int status = kExitOk;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    if (!NoBetResult(*runs[i].calc)) continue;
    err << "fiofla report: " << opt.files[i] << ": no BET result: " << NoResultReason(runs[i])
        << "\n";
    status = kExitNoResult;
  }
  return status;
}

}  // namespace fiofla::cli
