// UTF-8 text, the string type of every public interface of fiofla.
//
// CStr holds its bytes in a std::string exactly as given: narrow input is not
// validated, so any byte sequence survives a round trip through a file. Wide
// text (wchar_t is UTF-32 on the platforms fiofla targets) is converted on the
// way in and out; code points that cannot be encoded, and byte sequences that
// are not well-formed UTF-8, become U+FFFD, one per maximal ill-formed subpart
// as Unicode recommends (Unicode Standard, ch. 3.9), so decoding never stops early.
//
// Binary stream form (Read/Write), shared with the gas-table files: a 32-bit
// little-endian byte count followed by that many UTF-8 bytes, with no
// terminator, so embedded NULs are kept. Counts above kMaxStreamBytes are
// refused by setting the stream state to failbit (replacing the previous state,
// as CNumVector::Read does) and leaving the string unchanged; a short read
// leaves the stream failed and the string unchanged.
//
// Fixed-width text fields (ReadCharArray/WriteCharArray) are exactly `width`
// bytes: the text, then NUL padding. The text ends at the first NUL; trailing
// spaces are part of the text and are kept, since some files pad with spaces
// and the reader cannot know whether they were meant.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <istream>
#include <ostream>
#include <string>
#include <utility>

static_assert(sizeof(wchar_t) == 4, "CStr converts wide text as UTF-32");

/// UTF-8 text held in a std::string; sizes and comparisons are in bytes.
class CStr {
 public:
  /// Largest byte count that Read accepts and Write produces.
  static constexpr std::uint32_t kMaxStreamBytes = 10000000u;

  // The converting constructors are implicit on purpose, so that literals (narrow
  // or wide) and std::string pass wherever the library's interfaces take a CStr.

  /// Empty text.
  CStr() = default;
  /// Copies a NUL-terminated UTF-8 string; null gives empty text.
  CStr(const char* text);
  /// Converts a NUL-terminated UTF-32 wide string to UTF-8; null gives empty text.
  CStr(const wchar_t* text);
  /// Takes over UTF-8 bytes.
  CStr(std::string text) : m_text(std::move(text)) {}
  /// Converts UTF-32 wide text to UTF-8.
  CStr(const std::wstring& text);
  /// Copies `size` bytes, NULs included; null data gives empty text.
  CStr(const char* data, std::size_t size);

  /// NUL-terminated bytes, valid until the text is next modified.
  const char* c_str() const noexcept { return m_text.c_str(); }
  /// The UTF-8 bytes.
  const std::string& str() const noexcept { return m_text; }
  /// Length in bytes (not characters).
  std::size_t size() const noexcept { return m_text.size(); }
  /// Length in bytes (not characters).
  std::size_t length() const noexcept { return m_text.size(); }
  /// True when the text has no bytes.
  bool empty() const noexcept { return m_text.empty(); }

  /// The text as UTF-32; ill-formed UTF-8 becomes U+FFFD.
  std::wstring ToWide() const;

  /// Copy with A-Z folded to a-z. Gas and model names are ASCII, so folding is
  /// byte-wise: other bytes, UTF-8 sequences included, are unchanged and the length never changes.
  CStr ToLower() const;
  /// Folds A-Z to a-z in place, byte-wise as ToLower does.
  void MakeLower() noexcept;

  /// Appends the bytes of `other`.
  CStr& operator+=(const CStr& other) {
    m_text += other.m_text;
    return *this;
  }
  /// Appends a NUL-terminated UTF-8 string; null appends nothing.
  CStr& operator+=(const char* text) {
    if (text != nullptr) m_text += text;
    return *this;
  }

  /// Reads the binary stream form; see the file comment for the layout and limits.
  std::istream& Read(std::istream& is);
  /// Writes the binary stream form. Text longer than kMaxStreamBytes could not
  /// be read back, so nothing is written and the stream is set to failbit.
  std::ostream& Write(std::ostream& os) const;

  /// Reads a fixed-width field of exactly `width` bytes; the text is what comes
  /// before the first NUL. width <= 0 reads nothing and gives empty text.
  std::istream& ReadCharArray(std::istream& is, int width);
  /// Writes exactly `width` bytes: the text cut to at most `width` bytes without
  /// splitting a UTF-8 sequence, then NUL padding. width <= 0 writes nothing.
  std::ostream& WriteCharArray(std::ostream& os, int width) const;

  /// Concatenation.
  friend CStr operator+(const CStr& a, const CStr& b) { return CStr(a.m_text + b.m_text); }
  /// Concatenation with a NUL-terminated UTF-8 string; null adds nothing.
  friend CStr operator+(const CStr& a, const char* b) {
    CStr result(a);
    result += b;
    return result;
  }
  /// Concatenation with a NUL-terminated UTF-8 string; null adds nothing.
  friend CStr operator+(const char* a, const CStr& b) {
    CStr result(a);
    result += b;
    return result;
  }
  /// Concatenation with a wide string, converted to UTF-8.
  friend CStr operator+(const CStr& a, const wchar_t* b) { return a + CStr(b); }
  /// Concatenation with a wide string, converted to UTF-8.
  friend CStr operator+(const wchar_t* a, const CStr& b) { return CStr(a) + b; }

  /// Byte-wise equality.
  friend bool operator==(const CStr& a, const CStr& b) noexcept { return a.m_text == b.m_text; }
  /// Byte-wise inequality.
  friend bool operator!=(const CStr& a, const CStr& b) noexcept { return a.m_text != b.m_text; }
  /// Byte-wise order (bytes compared unsigned), so CStr can key a std::map.
  friend bool operator<(const CStr& a, const CStr& b) noexcept { return a.m_text < b.m_text; }
  /// Writes the UTF-8 bytes.
  friend std::ostream& operator<<(std::ostream& os, const CStr& s) { return os << s.m_text; }

 private:
  std::string m_text;
};

/// Hashes the bytes, so CStr can key a std::unordered_map.
namespace std {
template <>
struct hash<CStr> {
  std::size_t operator()(const CStr& s) const noexcept { return std::hash<std::string>{}(s.str()); }
};
}  // namespace std

namespace fiofla {

/// A name as a key for matching names people write: ASCII letters in lower case, blanks,
/// tabs, '_' and '-' removed ("Carbon Dioxide" and "carbon_dioxide" give "carbondioxide").
std::string NameKey(const std::string& text);

}  // namespace fiofla
