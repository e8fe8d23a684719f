// GoogleTest's printer for UTF16String in the Posix build, where the string
// has its own character traits and would otherwise print as a list of
// characters. Force-included into every native test (cmake/OstraTesting.cmake);
// found by argument-dependent lookup through the traits' namespace.
#pragma once

#include <ostream>

#include "strata/String.h"

namespace strata {
namespace string {

inline void PrintTo(const UTF16String& inText, std::ostream* outStream) {
  *outStream << "L\"" << UTF16toStdString(inText) << '"';
}

}  // namespace string
}  // namespace strata
