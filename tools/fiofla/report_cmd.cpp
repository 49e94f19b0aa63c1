// `fiofla report`: BET report pages of one or more isotherms, rendered as HTML, JSON or text.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "cli.h"
#include "cli_common.h"
#include "dft_options.h"
#include "fiofla/datagasadsorption.h"
#include "fiofla/io/file_util.h"
#include "fiofla/report/report_render.h"
#include "fiofla/report/report_text.h"
#include "fiofla/report_bet.h"
#include "fiofla/report_dft.h"
#include "fiofla/report_fit.h"
#include "fiofla/report_hk.h"
#include "fiofla/report_pores.h"
#include "fit_options.h"
#include "hk_options.h"
#include "pore_options.h"
#include "report_bet_pages.h"

namespace fiofla::cli {
namespace {

enum class Format { kHtml, kJson, kText };

struct ReportOptions {
  std::vector<std::string> files;
  std::string output;
  std::optional<Format> format;
  BetSettings bet;
  IsothermReadOptions input;
  PoreSettings pore;
  DftSettings dft;
  /// Models of the model-fit page; empty for no page.
  std::vector<std::string> fitModels;
  /// Settings of the Horvath-Kawazoe page; unset for no page.
  std::optional<HkSettings> hk;
  std::string units;
  double molarMassGPerMol = 0.0;
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

// The model-fit page: the adsorption branch in the file's pressure unit and in the loading
// unit of --units (the file's without it).
void AddFitPage(const IsothermData& iso, const ReportOptions& opt, const std::string& file,
                std::vector<std::unique_ptr<CReportPageData>>& pages) {
  FitSettings settings;
  settings.models = opt.fitModels;
  settings.loadingUnit = opt.units;
  settings.molarMassGPerMol = opt.molarMassGPerMol;
  const FitInput in = PrepareFitInput(iso, file, settings);
  const std::vector<SIsothermFit> fits = RunFits(ChooseModels(opt.fitModels, in, "--fit"), in);
  std::string what =
      in.branch + " branch, pressures in " + in.pressureUnit + ", loadings in " + in.loadingUnit;
  if (std::isfinite(in.setup.saturationPressure))
    what += ", Ps " + Num(in.setup.saturationPressure) + " " + in.pressureUnit;
  if (std::isfinite(in.setup.temperatureK)) what += ", " + Num(in.setup.temperatureK) + " K";
  pages.push_back(std::make_unique<CReportPageData>(CStr("Model fit report: ") + file));
  AddFitSection(fits, SFitPoints{in.pressures, in.loadings, in.pressureUnit, in.loadingUnit},
                CStr(what), pages.back().get(), nullptr);
}

// The t-plot and BJH pages of one isotherm, with the user's settings, when they have results.
void AddPorePages(const IsothermData& iso, const BetRun& run, const ReportOptions& opt,
                  const std::string& file, std::vector<std::unique_ptr<CReportPageData>>& pages) {
  const double area = opt.pore.betAreaM2PerG
                          ? *opt.pore.betAreaM2PerG
                          : (NoBetResult(*run.calc) ? 0.0 : run.calc->surfaceArea);
  const auto tplot = RunTPlotOn(iso, opt.pore, area);
  const std::string curve = opt.pore.ThicknessName();
  if (tplot->m_Status == 0 || tplot->m_Status == 1) {
    pages.push_back(std::make_unique<CReportPageData>(CStr("t-Plot report: ") + file));
    AddTPlotSection(*tplot, CStr(ThicknessCurveTitle(curve)), pages.back().get(), nullptr);
  }
  const BjhRun bjh = RunBjhOn(iso, opt.pore);
  if (bjh.calc->GetStatus() == CBJHCalc::STATUS_OK) {
    pages.push_back(std::make_unique<CReportPageData>(CStr("BJH report: ") + file));
    const std::string what = std::string(bjh.adsorption ? "adsorption" : "desorption") +
                             " branch, " + opt.pore.method + " method, " +
                             ThicknessCurveTitle(curve) + " thickness curve, Kelvin constant " +
                             Num(opt.pore.kelvinAngstrom) + " Å";
    AddBjhSection(*bjh.calc, CStr(what), pages.back().get(), nullptr, bjh.Wording(iso));
  }
  if (!opt.dft.kernel.empty()) {
    const DftRun dft = RunDftOn(iso, nullptr, opt.dft);
    CNumVector<double> widths;
    dft.calc->GetPoreDiameters(widths);
    if (widths.size() >= 2) {
      pages.push_back(std::make_unique<CReportPageData>(CStr("DFT report: ") + file));
      AddDftSection(*dft.calc, CStr(dft.description), pages.back().get(), nullptr);
    }
  }
  if (opt.hk) {
    const HkRun hk = RunHkOn(iso, *opt.hk);
    if (hk.calc->GetStatus() == CHKCalc::STATUS_OK) {
      pages.push_back(std::make_unique<CReportPageData>(CStr("Horvath-Kawazoe report: ") + file));
      AddHkSection(*hk.calc, CStr(hk.description), pages.back().get(), nullptr);
    }
  }
  if (!opt.fitModels.empty()) AddFitPage(iso, opt, file, pages);
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
    AddPorePages(isotherms[i], runs[i], opt, opt.files[i], pages);
  }
  if (runs.size() > 1) {
    pages.push_back(std::make_unique<CReportPageData>(CStr("BET plots of all isotherms")));
    AddPlots(calcs, names, pages.back().get(), nullptr);
  }
  return pages;
}

int Report(const ReportOptions& opt, Streams& io) {
  if (opt.files.empty()) throw UsageError{"no isotherm FILE given"};
  if (!opt.units.empty()) {
    CUnits units = DVolumeAds::sm_Formatter.Units();
    units.SetMolarMass(opt.molarMassGPerMol);
    if (!units.CanConvert(static_cast<std::size_t>(units.Find(opt.units))))
      throw UsageError{"--units '" + opt.units + "' needs --molar-mass (g/mol)"};
  }
  // A user thickness curve is read before anything else, so a bad one stops the report early.
  MakeThickness(opt.pore.ThicknessName());

  // Every file is read before anything is written: one bad file means no report at all.
  std::vector<IsothermData> isotherms;
  for (const auto& file : opt.files) isotherms.push_back(LoadIsotherm(file, opt.input, io.err));

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
    io.out << text.str();
  } else {
    std::string error;
    if (!WriteFileAtomically(opt.output, text.str(), &error)) throw InputError(error);
    const char* kind = format == Format::kHtml ? "HTML" : format == Format::kJson ? "JSON" : "text";
    io.out << "fiofla report: wrote the " << kind << " report of " << opt.files.size()
           << (opt.files.size() == 1 ? " isotherm" : " isotherms") << " to " << opt.output << "\n";
  }

  int status = kExitOk;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    if (!NoBetResult(*runs[i].calc)) continue;
    io.err << "fiofla report: " << opt.files[i] << ": no BET result: " << NoResultReason(runs[i])
           << "\n";
    status = kExitNoResult;
  }
  return status;
}

}  // namespace

void AddReportCommand(CLI::App& app, Commands& commands) {
  auto opt = std::make_shared<ReportOptions>();
  CLI::App* cmd = AddCommand(
      app, "report", "BET, t-plot and BJH report as HTML, JSON or text",
      "Makes the report of each isotherm FILE: the BET summary table with its validation\n"
      "rows, the points in range, the BET surface area plot and the BET isotherm plot,\n"
      "then a t-plot page and a BJH page with their tables and plots, computed with the\n"
      "t-plot and BJH options below; with --kernel a DFT page, with --fit a page of isotherm\n"
      "models fitted to the adsorption branch, with --hk a Horvath-Kawazoe page. With several "
      "files every isotherm gets its\n"
      "own pages and a last page overlays their BET plots.\n",
      "exit codes: 0 ok, 1 unreadable or malformed file or unwritable OUT, 2 bad arguments,\n"
      "            3 report written, but an isotherm gave no BET result\n");
  cmd->add_option("FILE", opt->files,
                  "isotherms: CSV with units in the header, AIF, NIST ISODB JSON, pyGAPS\n"
                  "JSON or CSV, or fiofla measurement files (reduced first)");
  cmd->add_option_function<std::string>(
         "-o,--output",
         [opt](const std::string& v) {
           if (v.empty()) throw UsageError{"--output needs a file name"};
           opt->output = v;
         },
         "write the report to OUT (the format follows its extension: .html, .json,\n"
         ".txt); without it the report goes to standard output as text. OUT is replaced\n"
         "only once the whole report is ready, so a failed run leaves no partial file")
      ->type_name("OUT");
  cmd->add_option_function<std::string>(
         "--to",
         [opt](const std::string& v) {
           opt->format = OutputFormatFromName(v);
           if (!opt->format) throw UsageError{"--to '" + v + "' is not html, json or text"};
         },
         "html (one self-contained file, inline SVG), json (the whole report model) or text")
      ->type_name("F");
  // --format once named the output; those names never collide with input formats.
  AddInputOptions(cmd, opt->input, [opt](const std::string& v) {
    opt->format = OutputFormatFromName(v);
    return opt->format.has_value();
  });
  AddBetOptions(cmd, opt->bet);
  AddCommonPoreOptions(cmd, opt->pore);
  AddTPlotOptions(cmd, opt->pore, false);
  AddBjhOptions(cmd, opt->pore);
  AddDftOptions(cmd, opt->dft, false);
  cmd->add_option_function<std::string>(
         "--fit", [opt](const std::string& v) { opt->fitModels = SplitModelNames("--fit", v); },
         std::string(
             "add a model-fit page per isotherm: the models named as for fiofla fit\n"
             "(names separated by commas, 'all' or 'default'), fitted to the\n"
             "adsorption branch and ranked by AICc, with the best three curves on a linear\n"
             "and a logarithmic pressure axis"))
      ->type_name("MODELS");
  cmd->add_option_function<std::string>(
         "--hk",
         [opt](const std::string& v) {
           opt->hk = HkSettings();
           ParseHkSpec(v, *opt->hk);
         },
         "add a Horvath-Kawazoe page per isotherm (P/Po up to 0.2): a geometry (slit,\n"
         "cylinder, sphere), a method (hk, cheng-yang, rege-yang), an adsorbent (carbon,\n"
         "zeolite, alpo) and an adsorbate (nitrogen, argon), any of them, separated by\n"
         "commas; the rest as for fiofla hk")
      ->type_name("SETUP");
  cmd->add_option_function<std::string>(
         "--units",
         [opt](const std::string& v) {
           if (DVolumeAds::sm_Formatter.Units().Find(v) < 0)
             throw UsageError{"--units '" + v + "' is not cm3/g STP, mmol/g, mol/kg or mg/g"};
           opt->units = v;
         },
         "quantity adsorbed shown in cm3/g STP (default), mmol/g, mol/kg or mg/g; the\n"
         "BET transform follows as its inverse")
      ->type_name("UNIT");
  cmd->add_option_function<std::string>(
         "--molar-mass",
         [opt](const std::string& v) { opt->molarMassGPerMol = ParsePositive("--molar-mass", v); },
         "molar mass of the adsorptive in g/mol, needed for mg/g (nitrogen 28.0134)")
      ->type_name("G");
  commands.Add(cmd, [opt](Streams& io) { return Report(*opt, io); });
}

}  // namespace fiofla::cli
