// Whole-file reading and writing for the library's readers and the tool.
//
// WriteFileAtomically writes a temporary file in the target's folder and renames
// it over the target, so a failed write leaves either the old file or none: never
// a half-written one. ReadFileLimited refuses files beyond a size limit before
// reading them whole, so a reader is never asked to allocate for a huge file.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace fiofla {

/// Writes text to path through a temporary file and a rename; false with a message
/// naming the path when anything fails (no file is then left behind or changed).
bool WriteFileAtomically(const std::string& path, std::string_view text, std::string* error);

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
