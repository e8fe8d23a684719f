// The registry key's decoding of stored bytes, apart from the registry so
// that it can be tested on any bytes. Exported for the tests only.
#pragma once

#include <cstddef>

#include "Ostra/RegistryKey.h"

namespace Ostra {
namespace Internal {

// The text of a string value from the bytes stored for it: empty for fewer
// than two bytes; false, and outText untouched, for any other odd count or
// when the last 16-bit unit is not NUL (a value written by someone else);
// otherwise the text up to its first NUL.
OSTRA_API bool DecodeStringValue(const void* inData, std::size_t inByteCount,
                                 UTF16String& outText);

}  // namespace Internal
}  // namespace Ostra
