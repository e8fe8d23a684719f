/// \file
/// Export macro of OstraFoundation, and the core types every family uses.
#pragma once

#include "strata/Result.h"
#include "strata/String.h"

#if defined(_WIN32)
#  if defined(OSTRA_EXPORTS)
#    define OSTRA_API __declspec(dllexport)
#  else
#    define OSTRA_API __declspec(dllimport)
#  endif
#else
#  define OSTRA_API __attribute__((visibility("default")))
#endif

namespace Ostra {

using strata::Result;
using strata::UTF16String;

}  // namespace Ostra
