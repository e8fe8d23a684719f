#include "strata/String.h"

#include <cstddef>

namespace strata {
namespace string {

namespace {

const char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char32_t inUnit) { return inUnit >= 0xD800 && inUnit <= 0xDBFF; }
bool IsLowSurrogate(char32_t inUnit) { return inUnit >= 0xDC00 && inUnit <= 0xDFFF; }

void AppendUTF8(char32_t inCodePoint, std::string& ioText) {
  if (inCodePoint < 0x80) {
    ioText += static_cast<char>(inCodePoint);
  } else if (inCodePoint < 0x800) {
    ioText += static_cast<char>(0xC0 | (inCodePoint >> 6));
    ioText += static_cast<char>(0x80 | (inCodePoint & 0x3F));
  } else if (inCodePoint < 0x10000) {
    ioText += static_cast<char>(0xE0 | (inCodePoint >> 12));
    ioText += static_cast<char>(0x80 | ((inCodePoint >> 6) & 0x3F));
    ioText += static_cast<char>(0x80 | (inCodePoint & 0x3F));
  } else {
    ioText += static_cast<char>(0xF0 | (inCodePoint >> 18));
    ioText += static_cast<char>(0x80 | ((inCodePoint >> 12) & 0x3F));
    ioText += static_cast<char>(0x80 | ((inCodePoint >> 6) & 0x3F));
    ioText += static_cast<char>(0x80 | (inCodePoint & 0x3F));
  }
}

void AppendUTF16(char32_t inCodePoint, UTF16String& ioText) {
  typedef UTF16String::value_type Unit;
  if (inCodePoint < 0x10000) {
    ioText += static_cast<Unit>(inCodePoint);
  } else {
    const char32_t offset = inCodePoint - 0x10000;
    ioText += static_cast<Unit>(0xD800 + (offset >> 10));
    ioText += static_cast<Unit>(0xDC00 + (offset & 0x3FF));
  }
}

// The lead byte fixes how many continuation bytes follow and the range of
// the first one; narrowing that range is what rules out overlong forms,
// encoded surrogates and values above U+10FFFF without a later check.
struct LeadInfo {
  int mTrailCount;  // -1: the byte can never start a sequence
  unsigned char mFirstLow;
  unsigned char mFirstHigh;
};

LeadInfo GetLeadInfo(unsigned char inLead) {
  if (inLead < 0x80) return {0, 0, 0};
  if (inLead >= 0xC2 && inLead <= 0xDF) return {1, 0x80, 0xBF};
  if (inLead == 0xE0) return {2, 0xA0, 0xBF};
  if (inLead == 0xED) return {2, 0x80, 0x9F};
  if (inLead >= 0xE1 && inLead <= 0xEF) return {2, 0x80, 0xBF};
  if (inLead == 0xF0) return {3, 0x90, 0xBF};
  if (inLead >= 0xF1 && inLead <= 0xF3) return {3, 0x80, 0xBF};
  if (inLead == 0xF4) return {3, 0x80, 0x8F};
  return {-1, 0, 0};
}

}  // namespace

std::string UTF16toStdString(const UTF16String& inText) {
  std::string result;
  result.reserve(inText.size());
  const std::size_t count = inText.size();
  for (std::size_t i = 0; i < count; ++i) {
    const char32_t unit = static_cast<char16_t>(inText[i]);
    if (IsHighSurrogate(unit)) {
      if (i + 1 < count && IsLowSurrogate(static_cast<char16_t>(inText[i + 1]))) {
        const char32_t low = static_cast<char16_t>(inText[i + 1]);
        AppendUTF8(0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00), result);
        ++i;
      } else {
        AppendUTF8(kReplacement, result);
      }
    } else if (IsLowSurrogate(unit)) {
      AppendUTF8(kReplacement, result);
    } else {
      AppendUTF8(unit, result);
    }
  }
  return result;
}

UTF16String StdToUTF16String(const std::string& inText) {
  UTF16String result;
  result.reserve(inText.size());
  const std::size_t count = inText.size();
  std::size_t i = 0;
  while (i < count) {
    const unsigned char lead = static_cast<unsigned char>(inText[i]);
    const LeadInfo info = GetLeadInfo(lead);
    if (info.mTrailCount < 0) {
      AppendUTF16(kReplacement, result);
      ++i;
      continue;
    }
    static const unsigned char kPayloadMask[] = {0x7F, 0x1F, 0x0F, 0x07};
    char32_t codePoint = lead & kPayloadMask[info.mTrailCount];
    std::size_t used = 1;
    bool complete = true;
    for (int trail = 0; trail < info.mTrailCount; ++trail) {
      if (i + used >= count) {
        complete = false;
        break;
      }
      const unsigned char next = static_cast<unsigned char>(inText[i + used]);
      const unsigned char low = trail == 0 ? info.mFirstLow : 0x80;
      const unsigned char high = trail == 0 ? info.mFirstHigh : 0xBF;
      if (next < low || next > high) {
        complete = false;
        break;
      }
      codePoint = (codePoint << 6) | (next & 0x3F);
      ++used;
    }
    // A broken sequence is replaced as a whole up to the offending byte,
    // which is then read again as a possible lead byte.
    AppendUTF16(complete ? codePoint : kReplacement, result);
    i += used;
  }
  return result;
}

namespace {

// inBytes / inDivisor to inDecimals places, rounded half up. Exact long
// division keeps the digits free of binary floating-point error and of the
// current locale's decimal point.
std::uint64_t DivideRounded(std::uint64_t inBytes, std::uint64_t inDivisor, int inDecimals,
                            char* outFraction) {
  std::uint64_t whole = inBytes / inDivisor;
  std::uint64_t remainder = inBytes % inDivisor;
  for (int d = 0; d < inDecimals; ++d) {
    remainder *= 10;  // remainder < divisor <= 1024^4: cannot overflow
    outFraction[d] = static_cast<char>('0' + remainder / inDivisor);
    remainder %= inDivisor;
  }
  if (remainder >= inDivisor - remainder) {
    int d = inDecimals - 1;
    for (; d >= 0 && outFraction[d] == '9'; --d) outFraction[d] = '0';
    if (d >= 0) {
      ++outFraction[d];
    } else {
      ++whole;
    }
  }
  return whole;
}

}  // namespace

UTF16String NumberToMemoryString(std::uint64_t inBytes, int inDecimals, bool inDecimalUnits) {
  static const wchar_t* const kUnits[] = {L"bytes", L"KB", L"MB", L"GB", L"TB"};
  const int kLastUnit = 4;
  const int decimals = inDecimals < 0 ? 0 : (inDecimals > 9 ? 9 : inDecimals);
  const std::uint64_t base = inDecimalUnits ? 1000 : 1024;

  int unit = 0;
  std::uint64_t divisor = 1;
  while (unit < kLastUnit && inBytes / divisor >= base) {
    divisor *= base;
    ++unit;
  }
  char fraction[9];
  std::uint64_t whole = DivideRounded(inBytes, divisor, decimals, fraction);
  // Rounding up may reach the next unit: "1.00 MB", not "1024.00 KB".
  if (whole >= base && unit < kLastUnit) {
    divisor *= base;
    ++unit;
    whole = DivideRounded(inBytes, divisor, decimals, fraction);
  }

  const std::string digits = std::to_string(whole);
  UTF16String result(digits.begin(), digits.end());
  if (decimals > 0) {
    result += L'.';
    result.append(fraction, fraction + decimals);
  }
  result += L' ';
  result += kUnits[unit];
  return result;
}

}  // namespace string
}  // namespace strata
