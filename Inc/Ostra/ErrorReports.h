/// \file
/// Readable texts of Windows failures for logs and crash reports: the
/// system's message for an error code, a fixed description of a structured
/// exception code, and a multi-line report of a whole exception record.
/// None of them fails; unknown input yields a fixed placeholder text.
/// All functions are thread-safe.
#pragma once

#include "Ostra/OstraConfig.h"

/// The system's EXCEPTION_RECORD (winnt.h); declared here so that this
/// header does not pull in <windows.h>.
struct _EXCEPTION_RECORD;

namespace Ostra {

/// The system's message for a Win32 error in the user's language, exactly
/// as the system gives it (with its line end), or "There was an error
/// converting this Win32 error to a message!" when it has none.
OSTRA_API UTF16String Win32ErrorCodeToMessage(unsigned long inErrorCode);

/// "EXCEPTION_ACCESS_VIOLATION (...)" and the like for the common
/// structured-exception codes; "!!! Unknown Exception type !!!" for others.
OSTRA_API UTF16String Win32ExceptionCodeToString(unsigned long inExceptionCode);

/// A report of four lines, five for an access violation (which adds the
/// address read or written), each ending in `\r\n`. Numbers are written as
/// lower-case hexadecimal after "0x".
OSTRA_API UTF16String ReportStructuredExceptionRecordInformation(
    const _EXCEPTION_RECORD& inRecord);

}  // namespace Ostra
