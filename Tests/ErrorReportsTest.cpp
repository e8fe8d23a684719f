#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "Ostra/ErrorReports.h"
#include "Support/Dialogs.h"

namespace {

using Ostra::UTF16String;

using OstraTest::Show;

const wchar_t kUnknownException[] = L"!!! Unknown Exception type !!!";
const wchar_t kAccessViolation[] =
    L"EXCEPTION_ACCESS_VIOLATION (The thread attempted to read from or write to a virtual address "
    L"for which it does not have the appropriate access.)";

TEST(Win32ErrorCodeToMessage, GivesTheSystemsTextWithItsLineEnd) {
  for (unsigned long code : {2ul, 5ul, 32ul}) {
    SCOPED_TRACE(code);
    const UTF16String message = Ostra::Win32ErrorCodeToMessage(code);
    ASSERT_GT(message.size(), 2u);
    EXPECT_EQ(L"\r\n", message.substr(message.size() - 2)) << Show(message);
  }
  EXPECT_NE(Ostra::Win32ErrorCodeToMessage(2), Ostra::Win32ErrorCodeToMessage(5));
}

TEST(Win32ErrorCodeToMessage, UnknownErrorsGiveTheFixedText) {
  for (unsigned long code : {0x2000FFFFul, 0xDEADBEEFul, 0xFFFFFFFFul}) {
    SCOPED_TRACE(code);
    EXPECT_EQ(L"There was an error converting this Win32 error to a message!",
              Ostra::Win32ErrorCodeToMessage(code));
  }
}

TEST(Win32ExceptionCodeToString, DescribesEachCodeOfTheTable) {
  const struct {
    unsigned long code;
    const wchar_t* text;
  } rows[] = {
      {0x80000002, L"EXCEPTION_DATATYPE_MISALIGNMENT (The thread attempted to read or write data "
                   L"that is misaligned on hardware that does not provide alignment. For example, "
                   L"16-bit values must be aligned on 2-byte boundaries, 32-bit values on 4-byte "
                   L"boundaries, and so on.)"},
      {0x80000003, L"EXCEPTION_BREAKPOINT (A breakpoint was encountered.)"},
      {0x80000004, L"EXCEPTION_SINGLE_STEP (A trace trap or other single-instruction mechanism "
                   L"signaled that one instruction has been executed.)"},
      {0xC0000005, kAccessViolation},
      {0xC0000025, L"EXCEPTION_NONCONTINUABLE_EXCEPTION (The thread attempted to continue "
                   L"execution after a noncontinuable exception occurred.)"},
      {0xC000008C, L"EXCEPTION_ARRAY_BOUNDS_EXCEEDED (The thread attempted to access an array "
                   L"element that is out of bounds, and the underlying hardware supports bounds "
                   L"checking.)"},
      {0xC000008D, L"EXCEPTION_FLT_DENORMAL_OPERAND (One of the operands in a floating-point "
                   L"operation is denormal. A denormal value is one that is too small to represent "
                   L"as a standard floating-point value.)"},
      {0xC000008E, L"EXCEPTION_FLT_DIVIDE_BY_ZERO (The thread attempted to divide a floating-point "
                   L"value by a floating-point divisor of zero.)"},
      {0xC000008F, L"EXCEPTION_FLT_INEXACT_RESULT (The result of a floating-point operation cannot "
                   L"be represented exactly as a decimal fraction.)"},
      {0xC0000090, L"EXCEPTION_FLT_INVALID_OPERATION (This exception represents any "
                   L"floating-point exception not included in this list.)"},
      {0xC0000091, L"EXCEPTION_FLT_OVERFLOW (The exponent of a floating-point operation is greater "
                   L"than the magnitude allowed by the corresponding type.)"},
      {0xC0000092, L"EXCEPTION_FLT_STACK_CHECK (The stack overflowed or underflowed as the result "
                   L"of a floating-point operation.)"},
      {0xC0000093, L"EXCEPTION_FLT_UNDERFLOW (The exponent of a floating-point operation is less "
                   L"than the magnitude allowed by the corresponding type.)"},
      {0xC0000094, L"EXCEPTION_INT_DIVIDE_BY_ZERO (The thread attempted to divide an integer value "
                   L"by an integer divisor of zero.)"},
      {0xC0000095, L"EXCEPTION_INT_OVERFLOW (The result of an integer operation caused a carry out "
                   L"of the most significant bit of the result.)"},
      {0xC0000096, L"EXCEPTION_PRIV_INSTRUCTION (The thread attempted to execute an instruction "
                   L"whose operation is not allowed in the current machine mode.)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.code);
    EXPECT_EQ(row.text, Ostra::Win32ExceptionCodeToString(row.code));
  }
}

TEST(Win32ExceptionCodeToString, CodesOutsideTheTableAreUnknown) {
  // Illegal instruction, stack overflow, in-page error and invalid
  // disposition are deliberately left out.
  for (unsigned long code : {0xC000001Dul, 0xC00000FDul, 0xC0000006ul, 0xC0000026ul, 0ul,
                             0x80000001ul, 0xC0000097ul, 0xFFFFFFFFul}) {
    SCOPED_TRACE(code);
    EXPECT_EQ(kUnknownException, Ostra::Win32ExceptionCodeToString(code));
  }
}

EXCEPTION_RECORD MakeRecord(DWORD inCode, DWORD inFlags, ULONG_PTR inAddress) {
  EXCEPTION_RECORD record = {};
  record.ExceptionCode = inCode;
  record.ExceptionFlags = inFlags;
  record.ExceptionAddress = reinterpret_cast<PVOID>(inAddress);
  return record;
}

TEST(ExceptionReport, AnAccessViolationReportsFiveLines) {
  EXCEPTION_RECORD record = MakeRecord(0xC0000005, 0, 0x7ff6a1b2c3d4);
  record.NumberParameters = 2;
  record.ExceptionInformation[0] = 0;  // read
  record.ExceptionInformation[1] = 0;
  EXPECT_EQ(UTF16String(L"The WIN32 exception record reported the following information:\r\n"
                        L"Exception Code: ") +
                kAccessViolation +
                L"\r\n"
                L"This exception is Continuable.\r\n"
                L"The exception occured at address: 0x7ff6a1b2c3d4\r\n"
                L"While Reading from address:0x0\r\n",
            Ostra::ReportStructuredExceptionRecordInformation(record));
}

TEST(ExceptionReport, OtherCodesReportFourLines) {
  const EXCEPTION_RECORD record = MakeRecord(0xC00000FD, 1, 0xABCDEF);
  EXPECT_EQ(L"The WIN32 exception record reported the following information:\r\n"
            L"Exception Code: !!! Unknown Exception type !!!\r\n"
            L"This exception is NonContinuable (EXCEPTION_NONCONTINUABLE).\r\n"
            L"The exception occured at address: 0xabcdef\r\n",
            Ostra::ReportStructuredExceptionRecordInformation(record));
}

TEST(ExceptionReport, OnlyFlagOneExactlyIsNonContinuable) {
  const struct {
    DWORD flags;
    const wchar_t* line;
  } rows[] = {{0, L"This exception is Continuable.\r\n"},
              {1, L"This exception is NonContinuable (EXCEPTION_NONCONTINUABLE).\r\n"},
              {3, L"This exception is Continuable.\r\n"},
              {0x10, L"This exception is Continuable.\r\n"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.flags);
    const UTF16String report =
        Ostra::ReportStructuredExceptionRecordInformation(MakeRecord(0x80000003, row.flags, 0));
    EXPECT_NE(UTF16String::npos, report.find(row.line)) << Show(report);
  }
}

TEST(ExceptionReport, AnyNonZeroAccessKindReadsAsAWrite) {
  const struct {
    ULONG_PTR kind;
    const wchar_t* lastLine;
  } rows[] = {{0, L"While Reading from address:0xdeadbeef00\r\n"},
              {1, L"While Writing to address:0xdeadbeef00\r\n"},
              {8, L"While Writing to address:0xdeadbeef00\r\n"}};  // data execution
  for (const auto& row : rows) {
    SCOPED_TRACE(row.kind);
    EXCEPTION_RECORD record = MakeRecord(0xC0000005, 0, 0x1000);
    record.NumberParameters = 0;  // not consulted
    record.ExceptionInformation[0] = row.kind;
    record.ExceptionInformation[1] = 0xdeadbeef00;
    const UTF16String report = Ostra::ReportStructuredExceptionRecordInformation(record);
    const UTF16String line = row.lastLine;
    ASSERT_GE(report.size(), line.size());
    EXPECT_EQ(line, report.substr(report.size() - line.size()));
    EXPECT_NE(UTF16String::npos, report.find(L"address: 0x1000\r\n")) << Show(report);
  }
}

}  // namespace
