// Seeded fuzz tests of the string conversions: valid text round-trips
// exactly, and ill-formed text of either kind comes back well formed, each
// bad unit as one U+FFFD. A failure names the seed and input to replay.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "Support/Fuzz.h"
#include "strata/String.h"

namespace {

using OstraTest::Fuzzer;
using OstraTest::kFuzzInputs;
using strata::UTF16String;
using strata::string::StdToUTF16String;
using strata::string::UTF16toStdString;

bool IsSurrogate(std::uint32_t inUnit) { return inUnit >= 0xD800 && inUnit <= 0xDFFF; }

// A code point from each encoded length, surrogates excluded.
char32_t CodePoint(Fuzzer& ioFuzz) {
  switch (ioFuzz.Below(4)) {
    case 0:
      return ioFuzz.Below(0x80);
    case 1:
      return 0x80 + ioFuzz.Below(0x800 - 0x80);
    case 2: {
      const char32_t point = 0x800 + ioFuzz.Below(0x10000 - 0x800);
      return IsSurrogate(point) ? 0xFFFD : point;
    }
    default:
      return 0x10000 + ioFuzz.Below(0x110000 - 0x10000);
  }
}

void AppendUtf8(char32_t inPoint, std::string& ioText) {
  if (inPoint < 0x80) {
    ioText += static_cast<char>(inPoint);
    return;
  }
  const int more = inPoint < 0x800 ? 1 : inPoint < 0x10000 ? 2 : 3;  // continuation bytes
  ioText += static_cast<char>((0xF80 >> more & 0xFF) | inPoint >> 6 * more);
  for (int shift = 6 * (more - 1); shift >= 0; shift -= 6)
    ioText += static_cast<char>(0x80 | (inPoint >> shift & 0x3F));
}

void AppendUtf16(char32_t inPoint, UTF16String& ioText) {
  if (inPoint < 0x10000) {
    ioText += static_cast<wchar_t>(inPoint);
  } else {
    ioText += static_cast<wchar_t>(0xD800 + ((inPoint - 0x10000) >> 10));
    ioText += static_cast<wchar_t>(0xDC00 + ((inPoint - 0x10000) & 0x3FF));
  }
}

// inText with every unpaired surrogate replaced by U+FFFD.
UTF16String WellFormed(const UTF16String& inText) {
  UTF16String result = inText;
  for (std::size_t i = 0; i < result.size(); ++i) {
    const unsigned unit = result[i];
    if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < result.size() && result[i + 1] >= 0xDC00 &&
        result[i + 1] <= 0xDFFF) {
      ++i;
    } else if (IsSurrogate(unit)) {
      result[i] = 0xFFFD;
    }
  }
  return result;
}

TEST(Fuzz, ValidTextRoundTripsBetweenUtf8AndUtf16) {
  Fuzzer fuzz("utf valid");
  for (int i = 0; i < kFuzzInputs; ++i) {
    std::u32string points(fuzz.Below(12), U'\0');
    for (char32_t& point : points) point = CodePoint(fuzz);
    std::string utf8;
    UTF16String utf16;
    for (char32_t point : points) {
      AppendUtf8(point, utf8);
      AppendUtf16(point, utf16);
    }
    FUZZ_EXPECT(UTF16toStdString(utf16) == utf8, fuzz, i, points);
    FUZZ_EXPECT(StdToUTF16String(utf8) == utf16, fuzz, i, points);
  }
}

TEST(Fuzz, IllFormedUtf16ComesBackWithReplacements) {
  Fuzzer fuzz("utf16 ill-formed");
  const UTF16String kUnits(L"a\x00E9\x20AC\xD800\xDBFF\xDC00\xDFFF\xFFFF");
  for (int i = 0; i < kFuzzInputs; ++i) {
    const UTF16String text = fuzz.Text(kUnits, 10);
    FUZZ_EXPECT(StdToUTF16String(UTF16toStdString(text)) == WellFormed(text), fuzz, i, text);
  }
}

TEST(Fuzz, AnyBytesDecodeToWellFormedUtf16) {
  Fuzzer fuzz("utf8 ill-formed");
  // Lead bytes of every length, continuation bytes, bytes never valid.
  const std::string kBytes("a\x7F\xC0\xC2\xE0\xED\xEF\xF0\xF4\xF5\xFF\x80\xBF\x9F\xA0\x8F\x90");
  for (int i = 0; i < kFuzzInputs; ++i) {
    const std::string bytes = fuzz.Text(kBytes, 10);
    const UTF16String decoded = StdToUTF16String(bytes);
    FUZZ_EXPECT(WellFormed(decoded) == decoded, fuzz, i, bytes);
    // Well-formed output is a fixed point of the round trip.
    FUZZ_EXPECT(StdToUTF16String(UTF16toStdString(decoded)) == decoded, fuzz, i, bytes);
    // Never more units than bytes: each bad byte gives at most one U+FFFD.
    FUZZ_EXPECT(decoded.size() <= bytes.size(), fuzz, i, bytes);
  }
}

}  // namespace
