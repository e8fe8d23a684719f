#include "stratamedia/StrataMedia.h"

namespace stratamedia {

const char* GetVersionString() { return "1.0"; }

}  // namespace stratamedia
