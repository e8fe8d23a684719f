#include <windows.h>

#include <gtest/gtest.h>

#include <set>
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

TEST(Win32ErrorCodeToMessage, GivesTheSystemsTextOrTheFixedTextForUnknownCodes) {
  for (unsigned long code : {2ul, 5ul, 32ul}) {
    SCOPED_TRACE(code);
    const UTF16String message = Ostra::Win32ErrorCodeToMessage(code);
    ASSERT_GT(message.size(), 2u);
    EXPECT_EQ(L"\r\n", message.substr(message.size() - 2)) << Show(message);
  }
  EXPECT_NE(Ostra::Win32ErrorCodeToMessage(2), Ostra::Win32ErrorCodeToMessage(5));
  for (unsigned long code : {0x2000FFFFul, 0xDEADBEEFul, 0xFFFFFFFFul}) {
    SCOPED_TRACE(code);
    EXPECT_EQ(L"There was an error converting this Win32 error to a message!",
              Ostra::Win32ErrorCodeToMessage(code));
  }
}

// Each code of the table is named, then described in parentheses; each
// description is its own (their wording is the system's documentation).
TEST(Win32ExceptionCodeToString, NamesEachCodeOfTheTableWithItsOwnDescription) {
  const struct {
    unsigned long code;
    const wchar_t* name;
  } rows[] = {
      {0x80000002, L"EXCEPTION_DATATYPE_MISALIGNMENT"},
      {0x80000003, L"EXCEPTION_BREAKPOINT"},
      {0x80000004, L"EXCEPTION_SINGLE_STEP"},
      {0xC0000005, L"EXCEPTION_ACCESS_VIOLATION"},
      {0xC0000025, L"EXCEPTION_NONCONTINUABLE_EXCEPTION"},
      {0xC000008C, L"EXCEPTION_ARRAY_BOUNDS_EXCEEDED"},
      {0xC000008D, L"EXCEPTION_FLT_DENORMAL_OPERAND"},
      {0xC000008E, L"EXCEPTION_FLT_DIVIDE_BY_ZERO"},
      {0xC000008F, L"EXCEPTION_FLT_INEXACT_RESULT"},
      {0xC0000090, L"EXCEPTION_FLT_INVALID_OPERATION"},
      {0xC0000091, L"EXCEPTION_FLT_OVERFLOW"},
      {0xC0000092, L"EXCEPTION_FLT_STACK_CHECK"},
      {0xC0000093, L"EXCEPTION_FLT_UNDERFLOW"},
      {0xC0000094, L"EXCEPTION_INT_DIVIDE_BY_ZERO"},
      {0xC0000095, L"EXCEPTION_INT_OVERFLOW"},
      {0xC0000096, L"EXCEPTION_PRIV_INSTRUCTION"},
  };
  std::set<UTF16String> descriptions;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.code);
    const UTF16String text = Ostra::Win32ExceptionCodeToString(row.code);
    const UTF16String start = row.name + UTF16String(L" (");
    EXPECT_EQ(start, text.substr(0, start.size())) << Show(text);
    EXPECT_EQ(L".)", text.substr(text.size() - 2)) << Show(text);
    EXPECT_TRUE(descriptions.insert(text.substr(start.size())).second) << Show(text);
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
