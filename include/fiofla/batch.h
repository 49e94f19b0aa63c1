// Batch analysis of many isotherm files: one table row of main figures per file.
//
// Method: every file is read (ReadIsothermFile) and given the analyses named in the options,
// each with the defaults of the tool's single commands, so that a row holds what
// `fiofla bet --auto --json`, `fiofla tplot --json` and `fiofla bjh --json` print for the
// same file:
//   - "bet": the automatic BET range (FindBetRange with default BetRangeOptions, adsorption
//     branch), fitted by CCalcBET with a 0.162 nm^2 cross-section;
//   - "tplot": Harkins-Jura thickness, t from 3.5 to 5.0 Å, density conversion 0.0015468,
//     total area the BET area over P/Po 0.05 to 0.30 (as `fiofla tplot` takes it);
//   - "bjh": classical BJH of the desorption branch (the adsorption branch when there is no
//     desorption), Harkins-Jura thickness, Kelvin constant 9.53 Å, pores of 17 to 3000 Å.
// The defaults are those of nitrogen at 77 K.
//
// Rows. A row has four texts (file, status, adsorptive, message) and one number per column
// of BatchColumns(options), in that order, NaN where an analysis gave nothing. Status is
//   "ok"        every analysis gave a result and the BET result raises no warning;
//   "doubtful"  every analysis gave a result, but one warns as the single command would:
//               BET C below 0 or above 300, a BET correlation below 0.9975, a negative
//               area; a t-plot with a negative external area or micropore volume or area,
//               or a correlation below 0.995; message lists why;
//   "partial"   an analysis gave no result; message says which and why;
//   "error"     the file could not be read; message is the reader's one-line message.
// CSV (WriteBatchCsv): the header "file,status,adsorptive," then the columns, then
// "message"; NaN is an empty cell. JSON (WriteBatchJson): an array of one object per row
// with the same keys in the same order, NaN as null. Numbers are written to round-trip.
//
// Threads. RunBatch runs `jobs` worker threads that take the next file from an atomic
// counter; rows come back in input order whatever the number of threads. Each worker reads
// through its own gas cache (CGasCompressibilityCache::ForThisThread()), so the library's
// default cache is not touched from a worker, and no worker uses the report formatters or
// texts. Set the gas directory (CGasCompressibilityCache::ms_cCache.SetDirectory) before
// calling RunBatch: workers take it when they first need a table.
//
// Cost: per file a read and the analyses; the automatic BET range is O(n^2) in the
// adsorption points. BENCHMARKS.md has the measured throughput.
// Guarantees: a file that cannot be read becomes a row with status "error", an analysis
// that gives nothing leaves NaN and status "partial"; no file aborts the batch. Every row
// has one value per column. Rows are equal for any number of jobs.
#pragma once

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "fiofla/io/isotherm_file.h"

namespace fiofla {

/// Options of a batch.
struct SBatchOptions {
  /// Analyses of every file, by name, in any order: "bet" (automatic range), "tplot",
  /// "bjh". Default all three. An empty list reads the files only.
  std::vector<std::string> analyses = {"bet", "tplot", "bjh"};
  /// Worker threads; 0 for one per core this process may use (its CPU affinity). Never more
  /// than there are files.
  int jobs = 0;
  /// How files are read. Its gasCache is not used: each worker has its own.
  IsothermReadOptions read;
  /// Called after each file with the number done and the total, under a lock, from the
  /// worker threads; may be empty. An exception it throws stops the batch (no further file
  /// is started) and RunBatch rethrows it once the workers have stopped.
  std::function<void(std::size_t done, std::size_t total)> progress;
};

/// One row of a batch: the file, how it went, and its figures.
struct SBatchRow {
  /// The file, as RunBatch was given it.
  std::string file;
  /// "ok", "doubtful", "partial" or "error" (see the top of this header).
  std::string status;
  /// Adsorptive as the file names it; empty when not given or not read.
  std::string adsorptive;
  /// Why the status is not "ok" (the reader's message for "error"); empty for "ok".
  std::string message;
  /// One number per column of BatchColumns(options), in that order; NaN where none (all NaN
  /// for an "error" row).
  std::vector<double> values;
};

/// Names of the analyses a batch knows, in column order: "bet", "tplot", "bjh".
const std::vector<std::string>& BatchAnalysisNames();

/// Names of the numeric columns of a row with these options, units in the names:
/// temperature_k and points always; per analysis:
///   bet:   bet_area_m2_per_g, bet_area_error_m2_per_g, bet_c, bet_monolayer_cm3_per_g_stp,
///          bet_range_low, bet_range_high (P/Po), bet_range_points, bet_r2;
///   tplot: tplot_micropore_volume_cm3_per_g, tplot_external_area_m2_per_g,
///          tplot_micropore_area_m2_per_g, tplot_r2;
///   bjh:   bjh_pore_volume_cm3_per_g, bjh_pore_area_m2_per_g, bjh_peak_diameter_nm
///          (the average diameter of the interval of largest dV/dlog D).
/// Analyses appear in the order of BatchAnalysisNames() whatever order the options give.
/// Throws InputError naming an analysis that is not known.
std::vector<std::string> BatchColumns(const SBatchOptions& options);

/// The files to analyse: each file as given, each directory walked recursively for files
/// ending in .csv, .tsv, .aif, .cif or .json (any case; hidden files and folders skipped,
/// symbolic links to folders not followed), sorted by path within that directory. Throws
/// InputError for a path that does not exist or a directory that cannot be read.
std::vector<std::string> ExpandBatchInputs(const std::vector<std::string>& filesOrDirs);

/// Reads and analyses every file, one row each in the order of `files`; see the top of this
/// header. Throws InputError for an unknown analysis, and whatever `options.progress` throws.
std::vector<SBatchRow> RunBatch(const std::vector<std::string>& files,
                                const SBatchOptions& options);

/// Writes the rows as CSV (see the top of this header); `options` gives the columns. The
/// writers throw InputError for a row whose values do not match the columns.
void WriteBatchCsv(std::ostream& out, const std::vector<SBatchRow>& rows,
                   const SBatchOptions& options);
/// Writes the rows as a JSON array of objects (see the top of this header).
void WriteBatchJson(std::ostream& out, const std::vector<SBatchRow>& rows,
                    const SBatchOptions& options);
/// The rows as CSV text.
std::string FormatBatchCsv(const std::vector<SBatchRow>& rows, const SBatchOptions& options);
/// The rows as JSON text.
std::string FormatBatchJson(const std::vector<SBatchRow>& rows, const SBatchOptions& options);

}  // namespace fiofla
