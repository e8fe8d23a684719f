/// \file
/// Strings of the strata core library: the UTF-16 string used at every
/// interface, and conversions to and from UTF-8.
///
/// Conversions never fail and never throw on bad input: every ill-formed
/// sequence (an unpaired surrogate in UTF-16; a truncated, overlong,
/// surrogate-encoding or out-of-range sequence in UTF-8) becomes one U+FFFD
/// per maximal ill-formed subpart, as Unicode recommends. Embedded NULs are
/// kept. All functions are thread-safe.
#pragma once

#include <cstdint>
#include <string>
#if !defined(_WIN32)
#  include <cwchar>
#  include <ios>
#endif

#include "strata/StrataConfig.h"

namespace strata {

#if defined(_WIN32)
/// 16-bit code units. On Windows wchar_t is 16 bits wide, so c_str() passes
/// straight to the wide Win32 API without a copy.
typedef std::wstring UTF16String;
#else
namespace string {

/// Character traits of UTF16String outside Windows, where the build makes
/// wchar_t 16 bits wide (-fshort-wchar) so that L"" literals stay UTF-16.
/// std::char_traits<wchar_t> would call the C library's wide functions,
/// which count in 32-bit units; these only loop and copy.
struct UTF16Traits {
  typedef wchar_t char_type;
  typedef std::uint32_t int_type;
  typedef std::streamoff off_type;
  typedef std::streampos pos_type;
  typedef std::mbstate_t state_type;

  static constexpr void assign(char_type& outA, const char_type& inB) noexcept { outA = inB; }
  static constexpr bool eq(char_type inA, char_type inB) noexcept { return inA == inB; }
  static constexpr bool lt(char_type inA, char_type inB) noexcept {
    return static_cast<std::uint16_t>(inA) < static_cast<std::uint16_t>(inB);
  }
  static constexpr int compare(const char_type* inA, const char_type* inB, std::size_t inCount) {
    for (std::size_t i = 0; i < inCount; ++i) {
      if (lt(inA[i], inB[i])) return -1;
      if (lt(inB[i], inA[i])) return 1;
    }
    return 0;
  }
  static constexpr std::size_t length(const char_type* inText) {
    std::size_t count = 0;
    while (inText[count] != char_type()) ++count;
    return count;
  }
  static constexpr const char_type* find(const char_type* inText, std::size_t inCount,
                                         const char_type& inChar) {
    for (std::size_t i = 0; i < inCount; ++i) {
      if (inText[i] == inChar) return inText + i;
    }
    return nullptr;
  }
  // Loops rather than memmove and memcpy, whose size checks GCC misreads
  // inside basic_string (a bogus -Wstringop-overflow).
  static char_type* move(char_type* outTo, const char_type* inFrom, std::size_t inCount) {
    if (outTo < inFrom) {
      for (std::size_t i = 0; i < inCount; ++i) outTo[i] = inFrom[i];
    } else {
      for (std::size_t i = inCount; i > 0; --i) outTo[i - 1] = inFrom[i - 1];
    }
    return outTo;
  }
  static char_type* copy(char_type* outTo, const char_type* inFrom, std::size_t inCount) {
    for (std::size_t i = 0; i < inCount; ++i) outTo[i] = inFrom[i];
    return outTo;
  }
  static char_type* assign(char_type* outTo, std::size_t inCount, char_type inChar) {
    for (std::size_t i = 0; i < inCount; ++i) outTo[i] = inChar;
    return outTo;
  }
  static constexpr char_type to_char_type(int_type inValue) noexcept {
    return static_cast<char_type>(inValue);
  }
  static constexpr int_type to_int_type(char_type inChar) noexcept {
    return static_cast<std::uint16_t>(inChar);
  }
  static constexpr bool eq_int_type(int_type inA, int_type inB) noexcept { return inA == inB; }
  static constexpr int_type eof() noexcept { return 0xFFFFFFFFu; }
  static constexpr int_type not_eof(int_type inValue) noexcept {
    return inValue == eof() ? 0 : inValue;
  }
};

}  // namespace string

typedef std::basic_string<wchar_t, string::UTF16Traits> UTF16String;
#endif
static_assert(sizeof(UTF16String::value_type) == 2, "UTF16String needs 16-bit code units");

namespace string {

/// UTF-16 to UTF-8 and back. Never fails: an unpaired surrogate or a broken
/// UTF-8 sequence becomes U+FFFD.
///@{
STRATA_API std::string UTF16toStdString(const UTF16String& inText);
STRATA_API UTF16String StdToUTF16String(const std::string& inText);
///@}

/// A byte count as a memory size with inDecimals decimals and a unit:
/// "512.00 bytes", "1.50 KB", "3.25 GB". inDecimalUnits selects powers of
/// 1000 instead of 1024; the unit names stay the same.
STRATA_API UTF16String NumberToMemoryString(std::uint64_t inBytes, int inDecimals,
                                            bool inDecimalUnits);

}  // namespace string
}  // namespace strata
