// fiofla.batch: RunBatch over files and folders, rows as `fiofla batch` writes them.
#include "fiofla/batch.h"

#include <cmath>

#include "bindings.h"

namespace fiofla::py {
namespace {

using namespace pyb::literals;

std::vector<std::string> Paths(const pyb::object& paths) {
  const pyb::module_ os = pyb::module_::import("os");
  std::vector<std::string> out;
  if (pyb::isinstance<pyb::str>(paths) || pyb::hasattr(paths, "__fspath__")) {
    out.push_back(pyb::str(os.attr("fspath")(paths)));
    return out;
  }
  for (const pyb::handle p : paths) out.push_back(pyb::str(os.attr("fspath")(p)));
  return out;
}

}  // namespace

void BindBatch(pyb::module_& m) {
  // The rows as (columns, rows): the Python side makes a DataFrame or dicts of them.
  m.def(
      "_batch",
      [](const pyb::object& paths, const pyb::object& analyses, int jobs, const pyb::object& p0) {
        SBatchOptions options;
        if (!analyses.is_none()) {
          options.analyses.clear();
          if (pyb::isinstance<pyb::str>(analyses))
            ThrowInput("analyses is a list of names: bet, tplot, bjh");
          for (const pyb::handle a : analyses) options.analyses.push_back(pyb::str(a));
        }
        if (jobs < 0 || jobs > 1024)
          ThrowInput("jobs " + std::to_string(jobs) + " is not from 0 to 1024");
        options.jobs = jobs;
        if (!p0.is_none()) options.read.poMmHg = ToPressureMmHg(p0, "p0");
        const std::vector<std::string> inputs = Paths(paths);
        std::vector<std::string> columns;
        std::vector<SBatchRow> rows;
        {
          pyb::gil_scoped_release release;
          columns = BatchColumns(options);
          rows = RunBatch(ExpandBatchInputs(inputs), options);
        }
        std::vector<std::string> names{"file", "status", "adsorptive"};
        names.insert(names.end(), columns.begin(), columns.end());
        names.push_back("message");
        pyb::list out;
        for (const SBatchRow& row : rows) {
          pyb::list r;
          r.append(row.file);
          r.append(row.status);
          r.append(row.adsorptive);
          for (double v : row.values) r.append(v);
          r.append(row.message);
          out.append(r);
        }
        return pyb::make_tuple(names, out);
      },
      "paths"_a, "analyses"_a = pyb::none(), "jobs"_a = 0, "p0"_a = pyb::none());
  m.def(
      "batch_files",
      [](const pyb::object& paths) {
        const std::vector<std::string> inputs = Paths(paths);
        pyb::gil_scoped_release release;
        return ExpandBatchInputs(inputs);
      },
      "paths"_a,
      "The files a batch of these files and folders reads: folders walked for isotherm files "
      "(.csv, .tsv, .aif, .cif, .json), sorted");
  m.def("_batch_csv", [](const std::vector<std::string>& columns, const pyb::list& rows,
                         const std::vector<std::string>& analyses) {
    // The rows back as the tool's CSV text, for comparing and writing.
    SBatchOptions options;
    options.analyses = analyses;
    std::vector<SBatchRow> out;
    for (const pyb::handle r : rows) {
      const auto cells = pyb::reinterpret_borrow<pyb::sequence>(r);
      SBatchRow row;
      row.file = pyb::str(cells[0]);
      row.status = pyb::str(cells[1]);
      row.adsorptive = pyb::str(cells[2]);
      for (std::size_t i = 3; i + 1 < columns.size(); ++i)
        row.values.push_back(cells[i].cast<double>());
      row.message = pyb::str(cells[columns.size() - 1]);
      out.push_back(std::move(row));
    }
    return FormatBatchCsv(out, options);
  });
}

}  // namespace fiofla::py
