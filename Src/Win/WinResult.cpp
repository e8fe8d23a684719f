#include <windows.h>

#include "Ostra/Result.h"

namespace Ostra {
namespace Win {

Result SystemErrorToOstraResult(unsigned long inSystemError) {
  switch (inSystemError) {
    case ERROR_FILE_NOT_FOUND: return eFileNotFound;
    case ERROR_PATH_NOT_FOUND: return ePathNotFound;
    case ERROR_ACCESS_DENIED: return eAccessDenied;
    case ERROR_SHARING_VIOLATION: return eSharingViolation;
    case ERROR_HANDLE_DISK_FULL:
    case ERROR_DISK_FULL: return eDiskFull;
    case ERROR_ALREADY_EXISTS: return eFileAlreadyExists;
    // ERROR_FILE_EXISTS (80) is deliberately not mapped: callers rely on
    // eUnknown for it.
    default: return eUnknown;
  }
}

}  // namespace Win
}  // namespace Ostra
