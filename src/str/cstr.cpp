#include "fiofla/str/cstr.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "fiofla/num/numvector.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsContinuation(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

// Code points above U+10FFFF and UTF-16 surrogates have no UTF-8 form.
void AppendUtf8(std::string& out, std::uint32_t cp) {
  if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) cp = kReplacement;
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

std::string WideToUtf8(const wchar_t* text, std::size_t size) {
  std::string out;
  out.reserve(size);
  // wchar_t is signed here; negative units wrap to values above U+10FFFF and are replaced.
  for (std::size_t i = 0; i < size; ++i) AppendUtf8(out, static_cast<std::uint32_t>(text[i]));
  return out;
}

// Number of bytes a lead byte announces, 0 for bytes that cannot start a sequence
// (continuations, C0/C1 which could only start overlong forms, and F5-FF).
int SequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

// The second byte's range depends on the lead, which is what rules out overlong
// forms, surrogates and code points above U+10FFFF (Unicode Table 3-7).
bool SecondByteFits(unsigned char lead, unsigned char second) {
  unsigned char lo = 0x80, hi = 0xBF;
  if (lead == 0xE0) lo = 0xA0;
  if (lead == 0xED) hi = 0x9F;
  if (lead == 0xF0) lo = 0x90;
  if (lead == 0xF4) hi = 0x8F;
  return second >= lo && second <= hi;
}

}  // namespace

CStr::CStr(const char* text) {
  if (text != nullptr) m_text = text;
}

CStr::CStr(const wchar_t* text) {
  if (text != nullptr) m_text = WideToUtf8(text, std::wcslen(text));
}

CStr::CStr(const std::wstring& text) : m_text(WideToUtf8(text.data(), text.size())) {}

CStr::CStr(const char* data, std::size_t size) {
  if (data != nullptr) m_text.assign(data, size);
}

std::wstring CStr::ToWide() const {
  std::wstring out;
  out.reserve(m_text.size());
  const auto* bytes = reinterpret_cast<const unsigned char*>(m_text.data());
  const std::size_t n = m_text.size();
  std::size_t i = 0;
  while (i < n) {
    const unsigned char lead = bytes[i];
    const int length = SequenceLength(lead);
    if (length == 1) {
      out += static_cast<wchar_t>(lead);
      ++i;
      continue;
    }
    if (length == 0) {
      out += static_cast<wchar_t>(kReplacement);
      ++i;
      continue;
    }
    std::uint32_t cp = lead & (0x7F >> length);
    int taken = 1;
    for (; taken < length && i + taken < n; ++taken) {
      const unsigned char next = bytes[i + taken];
      const bool fits = taken == 1 ? SecondByteFits(lead, next) : IsContinuation(next);
      if (!fits) break;
      cp = (cp << 6) | (next & 0x3F);
    }
    // A broken sequence is replaced as a whole up to the offending byte, which
    // is then decoded afresh: one U+FFFD per maximal ill-formed subpart.
    out += static_cast<wchar_t>(taken == length ? cp : kReplacement);
    i += taken;
  }
  return out;
}

CStr CStr::ToLower() const {
  CStr result(*this);
  result.MakeLower();
  return result;
}

void CStr::MakeLower() noexcept {
  // Not std::tolower: that depends on the C locale and may touch bytes of UTF-8 sequences.
  for (char& c : m_text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
}

std::istream& CStr::Read(std::istream& is) {
  std::uint32_t count = 0;
  if (!fiofla::detail::ReadU32LE(is, count)) return is;
  if (count > kMaxStreamBytes) {
    is.clear(std::ios::failbit);
    return is;
  }
  std::string bytes(count, '\0');
  if (!is.read(bytes.data(), std::streamsize(count))) return is;
  m_text.swap(bytes);
  return is;
}

std::ostream& CStr::Write(std::ostream& os) const {
  if (m_text.size() > kMaxStreamBytes) {
    os.setstate(std::ios::failbit);
    return os;
  }
  fiofla::detail::WriteU32LE(os, static_cast<std::uint32_t>(m_text.size()));
  os.write(m_text.data(), std::streamsize(m_text.size()));
  return os;
}

std::istream& CStr::ReadCharArray(std::istream& is, int width) {
  if (width <= 0) {
    m_text.clear();
    return is;
  }
  std::string field(static_cast<std::size_t>(width), '\0');
  if (!is.read(field.data(), width)) return is;
  field.resize(std::min(field.find('\0'), field.size()));
  m_text.swap(field);
  return is;
}

std::ostream& CStr::WriteCharArray(std::ostream& os, int width) const {
  if (width <= 0) return os;
  const auto* bytes = reinterpret_cast<const unsigned char*>(m_text.data());
  std::size_t cut = std::min(m_text.size(), static_cast<std::size_t>(width));
  if (cut < m_text.size()) {
    // Find where the sequence holding the first dropped byte starts; cut there
    // when that sequence would straddle the cut. Ill-formed text is cut byte-wise.
    std::size_t start = cut;
    while (start > 0 && cut - start < 3 && IsContinuation(bytes[start])) --start;
    const int length = SequenceLength(bytes[start]);
    if (start < cut && length > 1 && start + std::size_t(length) > cut) cut = start;
  }
  os.write(m_text.data(), std::streamsize(cut));
  static const char kZeros[64] = {};
  for (std::size_t left = std::size_t(width) - cut; left > 0;) {
    const std::size_t chunk = std::min(left, sizeof kZeros);
    os.write(kZeros, std::streamsize(chunk));
    left -= chunk;
  }
  return os;
}

namespace fiofla {

std::string NameKey(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == ' ' || c == '_' || c == '-' || c == '\t') continue;
    out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return out;
}

}  // namespace fiofla
