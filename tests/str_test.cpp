#include <limits>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

#include "fiofla/str/cstr.h"
#include "fiofla/str/timeinterval.h"
#include "test_util.h"

namespace {

std::string Bytes(std::initializer_list<unsigned char> b) {
  return std::string(b.begin(), b.end());
}

TEST(CStrWide, NonAsciiSurvivesBothDirections) {
  for (const wchar_t* w : {L"", L"N2", L"cm\u00B3/g", L"\u00C5", L"\U0001F9EA flask"}) {
    EXPECT_EQ(CStr(w).ToWide(), w);
    EXPECT_EQ(CStr(std::wstring(w)), CStr(w));
  }
  EXPECT_EQ(CStr(L"\u00C5\U0001F9EA").str(), "\xC3\x85\xF0\x9F\xA7\xAA");
}

TEST(CStrWide, UnencodableInputBecomesReplacementCharacter) {
  const wchar_t bad[] = {L'a', wchar_t(0xD800), wchar_t(0x110000), wchar_t(-1), L'b', 0};
  EXPECT_EQ(CStr(bad).ToWide(), L"a\uFFFD\uFFFD\uFFFDb");
  // One U+FFFD per maximal ill-formed subpart; the byte that broke a sequence is decoded afresh.
  EXPECT_EQ(CStr("\xC3").ToWide(), L"\uFFFD");
  EXPECT_EQ(CStr(Bytes({0xE2, 0x82, 'A'})).ToWide(), L"\uFFFDA");
  EXPECT_EQ(CStr("\xC0\xAF").ToWide(), L"\uFFFD\uFFFD");                      // overlong '/'
  EXPECT_EQ(CStr("\xE0\x80\xAF").ToWide(), L"\uFFFD\uFFFD\uFFFD");            // overlong '/'
  EXPECT_EQ(CStr("\xF0\x80\x80\xAF").ToWide(), L"\uFFFD\uFFFD\uFFFD\uFFFD");  // overlong '/'
  EXPECT_EQ(CStr("\xED\xA0\x80").ToWide(), L"\uFFFD\uFFFD\uFFFD");            // surrogate
  EXPECT_EQ(CStr("\xF4\x90\x80\x80").ToWide().size(), 4u);                    // above U+10FFFF
}

TEST(CStrWide, DecodingArbitraryBytesGivesValidStableText) {
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

TEST(CStr, ConcatenationMixesNarrowWideAndNull) {
  EXPECT_EQ(CStr("data") + L"/" + "N2" + L"\u00C5", "data/N2\xC3\x85");
  EXPECT_EQ("cm" + CStr(L"\u00B3") + "/g", CStr(L"cm\u00B3/g"));
  EXPECT_EQ(L"\u00C5" + CStr("x"), "\xC3\x85x");
  CStr s("a", 2);  // the embedded NUL is part of the text
  s += static_cast<const char*>(nullptr);
  s += CStr(static_cast<const wchar_t*>(nullptr)) + "b";
  EXPECT_EQ(s, CStr(std::string("a\0b", 3)));
  EXPECT_NE(s, "a");
  EXPECT_TRUE(CStr(nullptr, 5).empty());
}

TEST(CStr, LowerCaseFoldsOnlyAsciiLetters) {
  std::string all;
  for (int b = 1; b < 256; ++b) all += static_cast<char>(b);
  CStr lowered(all);
  lowered.MakeLower();
  ASSERT_EQ(lowered.size(), all.size());
  for (std::size_t i = 0; i < all.size(); ++i) {
    const char c = all[i];
    EXPECT_EQ(lowered.str()[i], (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c);
  }
  EXPECT_EQ(CStr(all).ToLower(), lowered);
}

TEST(CStr, KeysContainersByBytes) {
  std::map<CStr, int> ordered{{"N2", 1}, {"Ar", 2}, {L"\u00C5", 3}, {"a", 4}, {"Z", 5}};
  EXPECT_EQ(ordered.at("N2"), 1);
  std::vector<CStr> keys;
  for (const auto& kv : ordered) keys.push_back(kv.first);
  // Bytes compare unsigned, so UTF-8 sequences sort after all ASCII.
  EXPECT_EQ(keys, (std::vector<CStr>{"Ar", "N2", "Z", "a", L"\u00C5"}));
  std::unordered_map<CStr, int> hashed{{"CO2", 7}};
  EXPECT_EQ(hashed.count(CStr(L"CO2")), 1u);
}

TEST(CStrStream, WhatIsWrittenReadsBack) {
  const std::vector<CStr> texts = {"", "N2", std::string("a\0b", 3), L"cm\u00B3/g"};
  std::stringstream io;
  for (const CStr& t : texts) t.Write(io);
  // Little-endian byte count, then the bytes, no terminator.
  EXPECT_EQ(io.str().substr(0, 10), Bytes({0, 0, 0, 0, 2, 0, 0, 0, 'N', '2'}));
  for (const CStr& t : texts) {
    CStr back = "previous";
    ASSERT_TRUE(back.Read(io));
    EXPECT_EQ(back, t);
  }
}

TEST(CStrStream, RefusedOrTruncatedInputLeavesTextUnchanged) {
  std::istringstream over(Bytes({0x81, 0x96, 0x98, 0x00}) + "xyz");  // 10,000,001
  CStr s = "kept";
  s.Read(over);
  EXPECT_EQ(over.rdstate(), std::ios::failbit);
  for (const std::string& input : {Bytes({5, 0, 0, 0, 'a', 'b', 'c'}), Bytes({5, 0})}) {
    std::istringstream in(input);
    EXPECT_FALSE(s.Read(in));
  }
  EXPECT_EQ(s, "kept");

  std::istringstream exact(Bytes({0x80, 0x96, 0x98, 0x00}) + std::string(10000000, 'x'));
  ASSERT_TRUE(s.Read(exact));
  EXPECT_EQ(s.size(), CStr::kMaxStreamBytes);
  std::ostringstream out;
  (s + "x").Write(out);
  EXPECT_TRUE(out.fail());
  EXPECT_TRUE(out.str().empty());
}

TEST(CStrCharArray, FieldEndsAtFirstNulOrWidth) {
  std::istringstream in(std::string("N2\0\0\0\0\0\0", 8) + "He  " + "tail");
  CStr s;
  ASSERT_TRUE(s.ReadCharArray(in, 8));
  EXPECT_EQ(s, "N2");
  ASSERT_TRUE(s.ReadCharArray(in, 4));
  EXPECT_EQ(s, "He  ");  // trailing spaces are text
  ASSERT_TRUE(s.ReadCharArray(in, 0));
  EXPECT_TRUE(s.empty());
  s = "kept";
  EXPECT_FALSE(s.ReadCharArray(in, 5));  // only "tail" is left
  EXPECT_EQ(s, "kept");
}

TEST(CStrCharArray, WriterNeverSplitsAUtf8Sequence) {
  const CStr text(L"a\u00C5\u20AC\U0001F9EA");  // 1 + 2 + 3 + 4 bytes
  for (int width = 0; width <= 12; ++width) {
    std::stringstream io;
    text.WriteCharArray(io, width);
    ASSERT_EQ(io.str().size(), std::size_t(width));
    CStr back;
    back.ReadCharArray(io, width);
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
  EXPECT_EQ(CTimeInterval::FromSeconds(1.0004).GetMilliseconds(), 1000u);
  EXPECT_EQ(CTimeInterval::FromSeconds(1.0006).GetMilliseconds(), 1001u);
  for (std::uint32_t ms : {0u, 1u, 999u, 60000u, 123456789u, 4294967295u})
    EXPECT_EQ(CTimeInterval::FromSeconds(CTimeInterval(ms).GetSeconds()), CTimeInterval(ms));
  const double inf = std::numeric_limits<double>::infinity();
  for (double s : {-1e-4, -5.0, -inf, std::numeric_limits<double>::quiet_NaN()})
    EXPECT_EQ(CTimeInterval::FromSeconds(s), CTimeInterval()) << s;
  for (double s : {4294967.2956, 1e300, inf})
    EXPECT_EQ(CTimeInterval::FromSeconds(s).GetMilliseconds(), 4294967295u) << s;
  EXPECT_EQ(CTimeInterval::FromSeconds(4294967.2944).GetMilliseconds(), 4294967294u);
}

TEST(CTimeInterval, WholeMinutesAndOrder) {
  EXPECT_EQ(CTimeInterval(59999).GetWholeMinutes(), 0u);
  EXPECT_EQ(CTimeInterval(60000).GetWholeMinutes(), 1u);
  EXPECT_EQ(CTimeInterval(4294967295u).GetWholeMinutes(), 71582u);
  const CTimeInterval a(5), b(7);
  EXPECT_TRUE(a < b && a <= b && b > a && b >= a && a != b && a <= a && a >= a);
  EXPECT_FALSE(a == b || b < a || a > b);
}

}  // namespace
