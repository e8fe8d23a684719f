// Timecode: every frame's text reads back as its time in every format, and
// any text parses as some time without failing.
#include <cstring>

#include "FuzzSupport.h"
#include "Rules.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
  if (inSize < 6) return 0;
  std::int32_t raw;
  std::memcpy(&raw, inData + 1, sizeof(raw));
  // Frames within about 100 hours either side of zero.
  FUZZ_CHECK_RULES(OstraRules::TimecodeText(OstraRules::TimecodeFormatAt(inData[0]),
                                            raw % 22000000,
                                            OstraFuzz::UnitsOf(inData + 6, inSize - 6),
                                            (inData[5] & 1) != 0));
  return 0;
}
