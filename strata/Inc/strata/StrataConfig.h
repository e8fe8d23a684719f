/// \file
/// Export macro of the strata core library.
#pragma once

#if defined(_WIN32)
#  if defined(STRATA_EXPORTS)
#    define STRATA_API __declspec(dllexport)
#  else
#    define STRATA_API __declspec(dllimport)
#  endif
#else
#  define STRATA_API __attribute__((visibility("default")))
#endif
