// Shared by the libFuzzer targets: a failed rule ends the run with a
// message (libFuzzer then saves the input), and the input's bytes read as
// UTF-16 code units, two bytes each, little-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "strata/String.h"

#define FUZZ_CHECK(condition)                                             \
  do {                                                                    \
    if (!(condition)) {                                                   \
      std::fprintf(stderr, "fuzz rule broken: %s (%s:%d)\n", #condition, \
                   __FILE__, __LINE__);                                   \
      std::abort();                                                       \
    }                                                                     \
  } while (0)

// Ends the run at the first rule of Rules.h the input breaks.
#define FUZZ_CHECK_RULES(rules)                                        \
  do {                                                                 \
    if (const char* broken = (rules)) {                                \
      std::fprintf(stderr, "fuzz rule broken: %s\n", broken);          \
      std::abort();                                                    \
    }                                                                  \
  } while (0)

namespace OstraFuzz {

inline strata::UTF16String UnitsOf(const std::uint8_t* inData, std::size_t inSize) {
  strata::UTF16String units(inSize / 2, L'\0');
  for (std::size_t i = 0; i < units.size(); ++i)
    units[i] = static_cast<wchar_t>(inData[2 * i] | (inData[2 * i + 1] << 8));
  return units;
}

}  // namespace OstraFuzz
