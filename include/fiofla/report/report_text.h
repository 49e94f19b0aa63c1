// Numbered report texts.
//
// Report modules register their texts by number when the library is loaded, and build a
// CStr from a number when they fill a report. Keeping texts in one table lets an
// application swap them (a translation) without touching the code that uses them.
//
// Threads: the table is process-wide. Reading it (ReportText, FindText, building and
// rendering reports) is safe from any number of threads; RegisterText is not, and belongs
// before threads start.
#pragma once

#include <cstdint>

#include "fiofla/str/cstr.h"

namespace fiofla {

/// Number of the common "check passed" text, used in validation rows.
constexpr std::uint32_t kTextCheckPassed = 10022;

/// Registers (or replaces) text `number`.
void RegisterText(std::uint32_t number, CStr text);
/// Text `number`, or null when none is registered.
CStr const* FindText(std::uint32_t number);
/// Text `number`; an unregistered number gives "[text N]" so the gap is visible in a report.
CStr ReportText(std::uint32_t number);

/// Registers a block of texts numbered first, first + 1, ... at static-initialisation time.
class TextRegistrar {
 public:
  /// Registers texts[0..count) as numbers first..first + count - 1.
  TextRegistrar(std::uint32_t first, const char* const* texts, std::uint32_t count);
};

}  // namespace fiofla
