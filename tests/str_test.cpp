#include <cmath>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "fiofla/str/cstr.h"
#include "fiofla/str/timeinterval.h"
#include "test_util.h"

namespace {

std::string Bytes(std::initializer_list<unsigned char> b) {
  return std::string(b.begin(), b.end());
}

TEST(CStrWide, ConversionRoundTripsAndReplacesWhatCannotBeEncoded) {
  for (const wchar_t* w : {L"", L"cm\u00B3/g", L"\U0001F9EA flask"}) EXPECT_EQ(CStr(w).ToWide(), w);
  EXPECT_EQ(CStr(L"\u00C5\U0001F9EA").str(), "\xC3\x85\xF0\x9F\xA7\xAA");
  const wchar_t bad[] = {L'a', wchar_t(0xD800), wchar_t(0x110000), wchar_t(-1), L'b', 0};
  EXPECT_EQ(CStr(bad).ToWide(), L"a\uFFFD\uFFFD\uFFFDb");
  EXPECT_EQ(static_cast<const char*>(nullptr) + CStr(static_cast<const wchar_t*>(nullptr)), "");
  // One U+FFFD per maximal ill-formed subpart; the byte that broke a sequence is decoded afresh.
  EXPECT_EQ(CStr("\xC3").ToWide(), L"\uFFFD");
  EXPECT_EQ(CStr(Bytes({0xE2, 0x82, 'A'})).ToWide(), L"\uFFFDA");
  // Overlong '/' in two, three and four bytes, a surrogate, and a code point above U+10FFFF.
  for (const std::string seq :
       {"\xC0\xAF", "\xE0\x80\xAF", "\xF0\x80\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80"})
    EXPECT_EQ(CStr(seq).ToWide(), std::wstring(seq.size(), L'\uFFFD')) << seq;

  // Arbitrary bytes decode to valid code points, at most one per byte, and re-encode stably.
  std::mt19937 rng(12345);
  std::uniform_int_distribution<int> byte(0, 255), len(0, 12);
  for (int trial = 0; trial < 2000; ++trial) {
    std::string raw(len(rng), '\0');
    for (char& c : raw) c = static_cast<char>(byte(rng));
    const std::wstring wide = CStr(raw).ToWide();
    for (wchar_t w : wide) EXPECT_TRUE(w >= 0 && w <= 0x10FFFF && (w < 0xD800 || w > 0xDFFF));
    EXPECT_EQ(CStr(wide).ToWide(), wide);
    EXPECT_LE(wide.size(), raw.size());
  }
}

TEST(CStr, LowerCasingFoldsOnlyAsciiLettersAndKeysContainersByBytes) {
  std::string all, expected;
  for (int b = 1; b < 256; ++b) all += static_cast<char>(b);
  for (char c : all) expected += (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
  EXPECT_EQ(CStr(all).ToLower(), expected);  // byte for byte, so the length is kept too

  // Bytes compare unsigned, so UTF-8 sequences sort after all ASCII; case is not folded.
  const std::map<CStr, int> ordered{{L"\u00C5", 1}, {"a", 2}, {"Z", 3}};
  EXPECT_EQ(ordered.begin()->first, "Z");
  EXPECT_EQ(ordered.rbegin()->first, CStr(L"\u00C5"));
}

TEST(CStrStream, WhatIsWrittenReadsBackAndBadInputLeavesTextUnchanged) {
  const std::vector<CStr> texts = {"", "N2", std::string("a\0b", 3), L"cm\u00B3/g",
                                   std::string(CStr::kMaxStreamBytes, 'x')};
  std::stringstream io;
  for (const CStr& t : texts) t.Write(io);
  // Little-endian byte count, then the bytes, no terminator.
  EXPECT_EQ(io.str().substr(0, 10), Bytes({0, 0, 0, 0, 2, 0, 0, 0, 'N', '2'}));
  for (const CStr& t : texts) {
    CStr back = "previous";
    ASSERT_TRUE(back.Read(io));
    EXPECT_EQ(back, t);
  }

  std::istringstream over(Bytes({0x81, 0x96, 0x98, 0x00}) + "xyz");  // 10,000,001
  std::istringstream body(Bytes({5, 0, 0, 0, 'a', 'b', 'c'})), count(Bytes({5, 0}));
  CStr s = "kept";
  EXPECT_EQ(s.Read(over).rdstate(), std::ios::failbit);
  EXPECT_FALSE(s.Read(body) || s.Read(count));  // short body, short byte count
  EXPECT_EQ(s, "kept");
}

TEST(CStrCharArray, FieldEndsAtFirstNulAndWriterNeverSplitsAUtf8Sequence) {
  std::istringstream in(std::string("N2\0\0\0\0\0\0", 8) + "He  " + "tail");
  CStr s = "kept";
  ASSERT_TRUE(s.ReadCharArray(in, 0));
  EXPECT_TRUE(s.empty());
  ASSERT_TRUE(s.ReadCharArray(in, 8));
  EXPECT_EQ(s, "N2");
  ASSERT_TRUE(s.ReadCharArray(in, 4));
  EXPECT_EQ(s, "He  ");                  // trailing spaces are text
  EXPECT_FALSE(s.ReadCharArray(in, 5));  // only "tail" is left
  EXPECT_EQ(s, "He  ");

  const CStr text(L"a\u00C5\u20AC\U0001F9EA");  // 1 + 2 + 3 + 4 bytes
  for (int width = 0; width <= 12; ++width) {
    std::ostringstream out;
    text.WriteCharArray(out, width);
    ASSERT_EQ(out.str().size(), std::size_t(width));
    const CStr back(out.str().c_str());                            // the text before the padding
    EXPECT_EQ(text.str().compare(0, back.size(), back.str()), 0);  // a prefix...
    EXPECT_EQ(back.ToWide().find(L'\uFFFD'), std::wstring::npos);  // ...of whole characters...
    EXPECT_GT(back.size() + 4, std::min<std::size_t>(width, text.size()));  // ...cut only as needed
  }
  // A stray continuation byte after a complete character does not drag that character out.
  std::ostringstream stray;
  CStr("\xC3\x85\x80").WriteCharArray(stray, 2);
  EXPECT_EQ(stray.str(), "\xC3\x85");
}

TEST(CTimeInterval, FromSecondsRoundsAndSaturates) {
  const std::uint32_t max = CTimeInterval::kMaxMilliseconds;
  const std::pair<double, std::uint32_t> cases[] = {
      {1.0004, 1000u}, {1.0006, 1001u}, {4294967.2944, max - 1}, {4294967.2956, max}, {1e300, max},
      {HUGE_VAL, max}, {-1e-4, 0u},     {-HUGE_VAL, 0u},         {std::nan(""), 0u}};
  for (const auto& c : cases)
    EXPECT_EQ(CTimeInterval::FromSeconds(c.first).GetMilliseconds(), c.second) << c.first;
  for (std::uint32_t ms : {0u, 1u, 999u, 123456789u, max})
    EXPECT_EQ(CTimeInterval::FromSeconds(CTimeInterval(ms).GetSeconds()), CTimeInterval(ms));
  EXPECT_EQ(CTimeInterval(119999).GetWholeMinutes(), 1u);  // completed minutes only
}

}  // namespace
