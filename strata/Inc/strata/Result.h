/// \file
/// The result code of fallible operations: a signed 32-bit value where every
/// failure is negative. Test with ResultSucceeded, never against one code.
#pragma once

#include <cstdint>

namespace strata {

typedef std::int32_t Result;  ///< negative: failure

/// True for success and for informational codes (zero or positive).
inline bool ResultSucceeded(Result inResult) { return inResult >= 0; }

}  // namespace strata
