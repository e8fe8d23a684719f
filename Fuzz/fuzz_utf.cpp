// UTF-8 and UTF-16 conversions against a model: well-formed text round-trips
// exactly, and every ill-formed unit sequence becomes U+FFFD.
#include <string>

#include "FuzzSupport.h"

namespace {

using strata::UTF16String;

bool IsHighSurrogate(wchar_t inUnit) { return inUnit >= 0xD800 && inUnit <= 0xDBFF; }
bool IsLowSurrogate(wchar_t inUnit) { return inUnit >= 0xDC00 && inUnit <= 0xDFFF; }

// The model of the UTF-16 side: each unpaired surrogate replaced.
UTF16String WithUnpairedReplaced(const UTF16String& inText) {
  UTF16String result = inText;
  for (std::size_t i = 0; i < result.size(); ++i) {
    if (IsHighSurrogate(result[i]) && i + 1 < result.size() && IsLowSurrogate(result[i + 1])) {
      ++i;
    } else if (IsHighSurrogate(result[i]) || IsLowSurrogate(result[i])) {
      result[i] = 0xFFFD;
    }
  }
  return result;
}

// The model of the UTF-8 side: shortest forms of scalar values only.
bool IsWellFormedUtf8(const std::string& inText) {
  for (std::size_t i = 0; i < inText.size();) {
    const unsigned char lead = static_cast<unsigned char>(inText[i]);
    std::size_t length = 0;
    std::uint32_t value = 0;
    if (lead < 0x80) {
      ++i;
      continue;
    } else if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2, value = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3, value = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4, value = lead & 0x07;
    } else {
      return false;
    }
    if (i + length > inText.size()) return false;
    for (std::size_t k = 1; k < length; ++k) {
      const unsigned char next = static_cast<unsigned char>(inText[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      value = (value << 6) | (next & 0x3F);
    }
    const std::uint32_t shortest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (value < shortest[length] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
      return false;
    i += length;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
  const std::string bytes(reinterpret_cast<const char*>(inData), inSize);
  const UTF16String decoded = strata::string::StdToUTF16String(bytes);
  const std::string encoded = strata::string::UTF16toStdString(decoded);
  FUZZ_CHECK(IsWellFormedUtf8(encoded));
  FUZZ_CHECK(strata::string::StdToUTF16String(encoded) == decoded);
  if (IsWellFormedUtf8(bytes)) FUZZ_CHECK(encoded == bytes);

  const UTF16String units = OstraFuzz::UnitsOf(inData, inSize);
  const std::string unitsEncoded = strata::string::UTF16toStdString(units);
  FUZZ_CHECK(IsWellFormedUtf8(unitsEncoded));
  FUZZ_CHECK(strata::string::StdToUTF16String(unitsEncoded) == WithUnpairedReplaced(units));
  return 0;
}
