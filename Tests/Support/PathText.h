// Fuzzed Windows path text, shared by the fuzz tests of both platforms.
#pragma once

#include <cstdint>

#include "Fuzz.h"
#include "strata/String.h"

namespace OstraTest {

// Path text: separators of both kinds, drives, dots, the long-path and UNC
// prefixes' characters, blanks, illegal characters, non-ASCII units (a lone
// surrogate included) and, rarely, NUL.
inline const strata::UTF16String& PathAlphabet() {
  static const strata::UTF16String sAlphabet(
      L"aAbZ.\\\\\\//::??* \x00E9\xD800"
      L"C");
  return sAlphabet;
}

inline strata::UTF16String PathText(Fuzzer& ioFuzz, std::uint32_t inMaxLength) {
  strata::UTF16String text;
  // Common beginnings, so that the prefixed forms are met often.
  static const wchar_t* const kStarts[] = {L"",     L"C:\\", L"\\\\?\\",  L"\\\\?\\UNC\\",
                                           L"\\\\", L"c:",   L"\\\\?\\D:"};
  text = kStarts[ioFuzz.Below(7)];
  text += ioFuzz.Text(PathAlphabet(), inMaxLength);
  if (ioFuzz.OneIn(50))
    text.insert(ioFuzz.Below(static_cast<std::uint32_t>(text.size()) + 1), 1, L'\0');
  return text;
}

}  // namespace OstraTest
