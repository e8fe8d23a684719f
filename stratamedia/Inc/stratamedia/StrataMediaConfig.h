/// \file
/// Export macro of the stratamedia media-types library.
#pragma once

#if defined(_WIN32)
#  if defined(STRATAMEDIA_EXPORTS)
#    define STRATAMEDIA_API __declspec(dllexport)
#  else
#    define STRATAMEDIA_API __declspec(dllimport)
#  endif
#else
#  define STRATAMEDIA_API __attribute__((visibility("default")))
#endif
