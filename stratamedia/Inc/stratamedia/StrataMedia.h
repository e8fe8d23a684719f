// The whole stratamedia media-types library.
#pragma once

#include "stratamedia/StrataMediaConfig.h"

namespace stratamedia {

// The library's version as "major.minor"; lets a host check what it loaded.
STRATAMEDIA_API const char* GetVersionString();

}  // namespace stratamedia
