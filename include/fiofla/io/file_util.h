// Whole-file reading and writing for the library's readers and the tool.
//
// WriteFileAtomically writes a temporary file in the target's folder, syncs it and renames
// it over the target, so a failed write leaves either the old file or none: never a
// half-written one. Choices:
// - A symbolic link is followed: the file it names is replaced and the link stays.
// - A device, fifo or socket (/dev/null, a pipe) is written directly, and so is a file with
//   other hard links, so that every name sees the new text (that write is not atomic).
// - A replaced file keeps its mode (a 0600 file stays 0600); a new one gets 0666 less the
//   umask.
// - The temporary is ".NAME.fiofla-tmp-PID" beside the target. One left by a killed
//   process (its PID gone) is removed on the next write of the same output, and so is an
//   older "NAME.tmp-PID". RemoveTemporaryFileInProgress, safe to call from a signal
//   handler, removes the current one; the tool calls it on SIGINT and SIGTERM. The record
//   of the current temporary is process-wide: with writes in several threads at once it
//   names the latest.
// - Messages name the path asked for and the system's reason, never the temporary.
// ReadFileLimited refuses files beyond a size limit before reading them whole, so a reader
// is never asked to allocate for a huge file.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace fiofla {

/// Writes text to path through a temporary file and a rename (see above); false with a
/// message naming the path and the reason when anything fails (no file is then left behind
/// or changed).
bool WriteFileAtomically(const std::string& path, std::string_view text, std::string* error);

/// Removes the temporary file of the write in progress, if any; async-signal-safe.
void RemoveTemporaryFileInProgress();

/// Outcome of ReadFileLimited.
enum class FileReadStatus {
  kOk,         ///< The whole file is in the text.
  kNotOpened,  ///< The file could not be opened.
  kNotRead,    ///< It opened but could not be read (a folder, an I/O error).
  kTooLarge,   ///< It is larger than the limit; nothing was read.
};

/// Line (1-based) that byte `offset` of `text` lies on, for messages about parse errors.
std::size_t LineOfOffset(std::string_view text, std::size_t offset);

/// Reads the whole file at path when it holds at most maxBytes bytes.
FileReadStatus ReadFileLimited(const std::string& path, std::size_t maxBytes, std::string* text);

}  // namespace fiofla
