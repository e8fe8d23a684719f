// Readable texts of Win32 errors and structured exceptions.
#include <windows.h>

#include <cstdint>
#include <sstream>

#include "Ostra/ErrorReports.h"

namespace Ostra {

namespace {

// A buffer that FormatMessageW allocated, freed with LocalFree.
class ScopedLocalText {
 public:
  ScopedLocalText() = default;
  ~ScopedLocalText() {
    if (mText) ::LocalFree(mText);
  }
  ScopedLocalText(const ScopedLocalText&) = delete;
  ScopedLocalText& operator=(const ScopedLocalText&) = delete;
  const wchar_t* Get() const { return mText; }
  // FormatMessageW with FORMAT_MESSAGE_ALLOCATE_BUFFER takes the address
  // of the pointer in place of the buffer.
  LPWSTR ReceiveAsBuffer() { return reinterpret_cast<LPWSTR>(&mText); }

 private:
  LPWSTR mText = nullptr;
};

}  // namespace

UTF16String Win32ErrorCodeToMessage(unsigned long inErrorCode) {
  ScopedLocalText text;
  const DWORD length = ::FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM,
      nullptr, inErrorCode, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), text.ReceiveAsBuffer(), 0,
      nullptr);
  if (length == 0 || !text.Get())
    return L"There was an error converting this Win32 error to a message!";
  // The system's text as it stands, its line end included.
  return UTF16String(text.Get(), length);
}

UTF16String Win32ExceptionCodeToString(unsigned long inExceptionCode) {
  // Illegal instruction, stack overflow, in-page error and invalid
  // disposition are deliberately not described.
  switch (inExceptionCode) {
    case 0x80000002:
      return L"EXCEPTION_DATATYPE_MISALIGNMENT (The thread attempted to read or write data that is "
             L"misaligned on hardware that does not provide alignment. For example, 16-bit values "
             L"must be aligned on 2-byte boundaries, 32-bit values on 4-byte boundaries, and so "
             L"on.)";
    case 0x80000003:
      return L"EXCEPTION_BREAKPOINT (A breakpoint was encountered.)";
    case 0x80000004:
      return L"EXCEPTION_SINGLE_STEP (A trace trap or other single-instruction mechanism signaled "
             L"that one instruction has been executed.)";
    case 0xC0000005:
      return L"EXCEPTION_ACCESS_VIOLATION (The thread attempted to read from or write to a virtual "
             L"address for which it does not have the appropriate access.)";
    case 0xC0000025:
      return L"EXCEPTION_NONCONTINUABLE_EXCEPTION (The thread attempted to continue execution "
             L"after a noncontinuable exception occurred.)";
    case 0xC000008C:
      return L"EXCEPTION_ARRAY_BOUNDS_EXCEEDED (The thread attempted to access an array element "
             L"that is out of bounds, and the underlying hardware supports bounds checking.)";
    case 0xC000008D:
      return L"EXCEPTION_FLT_DENORMAL_OPERAND (One of the operands in a floating-point operation "
             L"is denormal. A denormal value is one that is too small to represent as a standard "
             L"floating-point value.)";
    case 0xC000008E:
      return L"EXCEPTION_FLT_DIVIDE_BY_ZERO (The thread attempted to divide a floating-point "
             L"value by a floating-point divisor of zero.)";
    case 0xC000008F:
      return L"EXCEPTION_FLT_INEXACT_RESULT (The result of a floating-point operation cannot be "
             L"represented exactly as a decimal fraction.)";
    case 0xC0000090:
      return L"EXCEPTION_FLT_INVALID_OPERATION (This exception represents any floating-point "
             L"exception not included in this list.)";
    case 0xC0000091:
      return L"EXCEPTION_FLT_OVERFLOW (The exponent of a floating-point operation is greater than "
             L"the magnitude allowed by the corresponding type.)";
    case 0xC0000092:
      return L"EXCEPTION_FLT_STACK_CHECK (The stack overflowed or underflowed as the result of a "
             L"floating-point operation.)";
    case 0xC0000093:
      return L"EXCEPTION_FLT_UNDERFLOW (The exponent of a floating-point operation is less than "
             L"the magnitude allowed by the corresponding type.)";
    case 0xC0000094:
      return L"EXCEPTION_INT_DIVIDE_BY_ZERO (The thread attempted to divide an integer value by an "
             L"integer divisor of zero.)";
    case 0xC0000095:
      return L"EXCEPTION_INT_OVERFLOW (The result of an integer operation caused a carry out of "
             L"the most significant bit of the result.)";
    case 0xC0000096:
      return L"EXCEPTION_PRIV_INSTRUCTION (The thread attempted to execute an instruction whose "
             L"operation is not allowed in the current machine mode.)";
    default:
      return L"!!! Unknown Exception type !!!";
  }
}

UTF16String ReportStructuredExceptionRecordInformation(const ::_EXCEPTION_RECORD& inRecord) {
  std::wostringstream report;
  report << L"The WIN32 exception record reported the following information:\r\n";
  report << L"Exception Code: " << Win32ExceptionCodeToString(inRecord.ExceptionCode) << L"\r\n";
  // Only the flag value 1 exactly reads as non-continuable.
  report << L"This exception is "
         << (inRecord.ExceptionFlags == EXCEPTION_NONCONTINUABLE
                 ? L"NonContinuable (EXCEPTION_NONCONTINUABLE)."
                 : L"Continuable.")
         << L"\r\n";
  // The misspelling "occured" is part of the report's fixed text.
  report << L"The exception occured at address: 0x" << std::hex
         << reinterpret_cast<std::uintptr_t>(inRecord.ExceptionAddress) << std::dec << L"\r\n";
  if (inRecord.ExceptionCode == EXCEPTION_ACCESS_VIOLATION) {
    // The first word is 0 for a read; anything else (write, and 8 for a
    // data-execution fault) reads as a write. NumberParameters is not
    // consulted: the system always fills both words for this code.
    report << L"While "
           << (inRecord.ExceptionInformation[0] != 0 ? L"Writing to address:"
                                                     : L"Reading from address:")
           << L"0x" << std::hex << inRecord.ExceptionInformation[1] << std::dec << L"\r\n";
  }
  return report.str();
}

}  // namespace Ostra
