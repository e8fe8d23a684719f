#include "strata/String.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

using strata::UTF16String;
using namespace strata::string;

namespace {

UTF16String Units(std::initializer_list<unsigned> inUnits) {
  UTF16String result;
  for (unsigned unit : inUnits) result += static_cast<wchar_t>(unit);
  return result;
}

const std::string kFFFD = "\xEF\xBF\xBD";

}  // namespace

TEST(StringTest, WellFormedTextRoundTripsBetweenUTF8AndUTF16) {
  struct Case { std::string utf8; UTF16String utf16; };
  const Case cases[] = {
      {"", L""},
      {std::string("a\0b", 3), UTF16String(L"a\0b", 3)},
      {"\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E", Units({0x65E5, 0x672C, 0x8A9E})},
      {"\xF0\x9F\x98\x80!", Units({0xD83D, 0xDE00, '!'})},
      // The edges of each sequence length and of the surrogate gap.
      {"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
       Units({0x7F, 0x80, 0x7FF, 0x800, 0xD7FF, 0xE000, 0xFFFF, 0xD800, 0xDC00, 0xDBFF, 0xDFFF})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.utf8));
    EXPECT_EQ(StdToUTF16String(c.utf8), c.utf16);
    EXPECT_EQ(UTF16toStdString(c.utf16), c.utf8);
  }
}

TEST(StringTest, IllFormedUTF8BecomesOneReplacementPerMaximalSubpart) {
  struct Case { const char* name; std::string utf8; UTF16String expected; };
  const Case cases[] = {
      {"truncated 2-byte", "a\xC3", Units({'a', 0xFFFD})},
      {"truncated 3-byte", "\xE6\x97" "b", Units({0xFFFD, 'b'})},
      {"truncated 4-byte", "\xF0\x9F\x98", Units({0xFFFD})},
      {"truncated before a lead", "\xF0\x9F\xC3\xA9", Units({0xFFFD, 0xE9})},
      {"overlong NUL", "\xC0\x80", Units({0xFFFD, 0xFFFD})},
      {"overlong 3-byte", "\xE0\x80\xAF", Units({0xFFFD, 0xFFFD, 0xFFFD})},
      {"encoded surrogate", "\xED\xA0\x80", Units({0xFFFD, 0xFFFD, 0xFFFD})},
      {"above U+10FFFF", "\xF4\x90\x80\x80", Units({0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD})},
      {"never a lead", "\xF5\xFF", Units({0xFFFD, 0xFFFD})},
      {"stray continuations", "\x80\xBF" "c", Units({0xFFFD, 0xFFFD, 'c'})},
      {"mixed", "a\xF1\x80\x80\xE1\x80\xC2" "b\x80" "c\x80\xBF" "d",
       Units({'a', 0xFFFD, 0xFFFD, 0xFFFD, 'b', 0xFFFD, 'c', 0xFFFD, 0xFFFD, 'd'})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(StdToUTF16String(c.utf8), c.expected);
  }
}

TEST(StringTest, UnpairedSurrogatesBecomeReplacementCharacters) {
  struct Case { UTF16String utf16; std::string expected; };
  const Case cases[] = {
      {Units({'a', 0xD83D}), "a" + kFFFD},                              // high at the end
      {Units({0xD83D, 'b'}), kFFFD + "b"},                              // high, no low
      {Units({0xDE00, 0xD83D}), kFFFD + kFFFD},                         // reversed pair
      {Units({0xD83D, 0xD83D, 0xDE00}), kFFFD + "\xF0\x9F\x98\x80"},  // high, then a pair
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.expected));
    EXPECT_EQ(UTF16toStdString(c.utf16), c.expected);
  }
}

TEST(StringTest, MemorySizePicksLargestUnitAndRoundsToGivenDecimals) {
  struct Case { std::uint64_t bytes; int decimals; bool decimalUnits; const wchar_t* expected; };
  const Case cases[] = {
      {0, 2, false, L"0.00 bytes"},          {512, 2, false, L"512.00 bytes"},
      {1023, 2, false, L"1023.00 bytes"},    {1024, 2, false, L"1.00 KB"},
      {1536, 2, false, L"1.50 KB"},          {1536, 0, false, L"2 KB"},
      {1535, 0, false, L"1 KB"},             {(1ull << 30) * 13 / 4, 2, false, L"3.25 GB"},
      {1048575, 2, false, L"1.00 MB"},       {~0ull, 2, false, L"16777216.00 TB"},
      {1536, -3, false, L"2 KB"},            {1536, 42, false, L"1.500000000 KB"},
      {1500000, 1, true, L"1.5 MB"},         {1000000000000000ull, 2, true, L"1000.00 TB"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.bytes << " bytes, " << c.decimals << " decimals");
    EXPECT_EQ(NumberToMemoryString(c.bytes, c.decimals, c.decimalUnits), c.expected);
  }
}
