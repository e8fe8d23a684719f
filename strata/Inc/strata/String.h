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

#include "strata/StrataConfig.h"

namespace strata {

/// 16-bit code units. On Windows wchar_t is 16 bits wide, so c_str() passes
/// straight to the wide Win32 API without a copy.
typedef std::wstring UTF16String;
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
