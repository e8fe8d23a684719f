// Facts about the running process that only the Windows build can give.
#pragma once

#include "strata/String.h"

namespace strata {
namespace win {

// The executable's file name without folder and extension ("Host" for
// "C:\Apps\Host.exe"); empty when the path is unknown.
UTF16String GetExecutableBaseName();

}  // namespace win
}  // namespace strata
