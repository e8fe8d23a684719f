/// \file
/// The whole stratamedia media-types library.
#pragma once

#include "stratamedia/StrataMediaConfig.h"
#include "stratamedia/TickTime.h"
#include "stratamedia/TimeDisplay.h"

namespace stratamedia {

/// The library's version as "major.minor"; lets a host check what it loaded.
STRATAMEDIA_API const char* GetVersionString();

}  // namespace stratamedia
