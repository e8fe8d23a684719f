#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Ostra/DirectoryRegistry.h"
#include "Support/Dialogs.h"
#include "strata/Config.h"

namespace {

namespace Registry = Ostra::DirectoryRegistry;
using Ostra::UTF16String;

using OstraTest::Show;

// The table is process-wide: each test uses names of its own and removes
// them afterwards.
class DirectoryRegistryTest : public ::testing::Test {
 protected:
  void Register(const UTF16String& inPath, const UTF16String& inName) {
    Registry::RegisterDirectory(inPath, inName);
    mNames.push_back(inName);
  }
  void TearDown() override {
    for (const UTF16String& name : mNames) Registry::UnregisterDirectory(name);
  }
  std::vector<UTF16String> mNames;
};

TEST_F(DirectoryRegistryTest, FindGivesTheRegisteredPathWithOneTrailingSeparator) {
  Register(L"C:\\prefs", L"reg.prefs");
  Register(L"C:\\prefs\\", L"reg.prefs2");
  EXPECT_EQ(L"C:\\prefs\\", Registry::FindDirectory(L"reg.prefs"));
  EXPECT_EQ(L"C:\\prefs\\", Registry::FindDirectory(L"reg.prefs2"));

  Register(L"D:\\other", L"reg.prefs");
  EXPECT_EQ(L"D:\\other\\", Registry::FindDirectory(L"reg.prefs")) << "replaced";

  EXPECT_EQ(L"", Registry::FindDirectory(L"reg.never"));
  Registry::UnregisterDirectory(L"reg.prefs");
  EXPECT_EQ(L"", Registry::FindDirectory(L"reg.prefs"));
  Registry::UnregisterDirectory(L"reg.never");  // unknown names are no error
}

TEST_F(DirectoryRegistryTest, NamesAreCaseSensitive) {
  Register(L"C:\\lower", L"reg.case");
  Register(L"C:\\upper", L"REG.CASE");
  EXPECT_EQ(L"C:\\lower\\", Registry::FindDirectory(L"reg.case"));
  EXPECT_EQ(L"C:\\upper\\", Registry::FindDirectory(L"REG.CASE"));
  EXPECT_EQ(L"", Registry::FindDirectory(L"Reg.Case"));
}

TEST_F(DirectoryRegistryTest, ReferencesExpandAtEachLookup) {
  Register(L"C:\\data", L"root");
  Register(L"$(root)media", L"media");
  Register(L"$(media)clips\\$(root)", L"clips");
  Register(L"$x y(root)sub", L"between");
  Register(L" \t\r\n\f$(root)trimmed", L"blank");
  Register(L"C:\\a $ b", L"dollar");
  const struct {
    const wchar_t* stored;
    const wchar_t* expected;
  } kRows[] = {
      {L"$(root)sub", L"C:\\data\\sub\\"},
      {L"$(media)", L"C:\\data\\media\\"},
      {L"$(unknown)\\x", L"$(unknown)\\x\\"},
      {L"$x(unknown)", L"$x(unknown)\\"},
      {L"$()\\x", L"$()\\x\\"},
      {L"$(root", L"$(root\\"},
      {L"C:\\$ab", L"C:\\$ab\\"},
      {L"C:\\x$", L"C:\\x$\\"},
      {L"$(ROOT)", L"$(ROOT)\\"},
      {L"$(root)$(root)", L"C:\\data\\C:\\data\\"},
      {L"x (root)", L"x (root)\\"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(Show(row.stored));
    Register(row.stored, L"reg.row");
    EXPECT_EQ(row.expected, Registry::FindDirectory(L"reg.row"));
  }
  EXPECT_EQ(L"C:\\data\\media\\clips\\C:\\data\\", Registry::FindDirectory(L"clips"));
  EXPECT_EQ(L"C:\\data\\sub\\", Registry::FindDirectory(L"between"));
  EXPECT_EQ(L"C:\\data\\trimmed\\", Registry::FindDirectory(L"blank"));
  EXPECT_EQ(L"C:\\a $ b\\", Registry::FindDirectory(L"dollar"));

  // The stored text stays unexpanded: a change of the root shows through.
  Register(L"E:\\moved", L"root");
  EXPECT_EQ(L"E:\\moved\\media\\", Registry::FindDirectory(L"media"));

  Register(L"  ", L"reg.blank");
  EXPECT_EQ(L"", Registry::FindDirectory(L"reg.blank")) << "expands to nothing";
}

TEST_F(DirectoryRegistryTest, EmptyArgumentsRaiseThePermissionErrorOrTheContract) {
  OstraTest::ContinueDialogs hook;
  const UTF16String client = strata::config::GetClientName();
  for (const auto& args : {std::make_pair(UTF16String(), UTF16String(L"reg.empty")),
                           std::make_pair(UTF16String(L"C:\\x"), UTF16String())}) {
    SCOPED_TRACE(Show(args.first + L"|" + args.second));
    try {
      Registry::RegisterDirectory(args.first, args.second);
      ADD_FAILURE() << "registered";
    } catch (const strata::config::strata_exception& e) {
      EXPECT_EQ("$$$/Velmora/Ostra/PermissionError", e.GetKey());
      EXPECT_EQ(client + L" is unable to access your preference folder. Your user account may "
                         L"not have access rights, or the folder may have been set to Read "
                         L"Only. Please check your permissions and try again.",
                e.GetMessageText());
    }
  }
  EXPECT_EQ(L"", Registry::FindDirectory(L"reg.empty"));
  const std::vector<strata::debug::DialogInfo> dialogs = hook.Seen();
  ASSERT_EQ(2u, dialogs.size());
  EXPECT_EQ("!inFullPathname.empty()", dialogs[0].condition);
  EXPECT_EQ("Unable to register this directory: reg.empty", dialogs[0].message);
  EXPECT_EQ("!inSymbolicName.empty()", dialogs[1].condition);
  EXPECT_EQ("Invalid symbolic name", dialogs[1].message);

  for (int which = 0; which < 2; ++which) {
    SCOPED_TRACE(which);
    try {
      if (which == 0)
        Registry::FindDirectory(UTF16String());
      else
        Registry::UnregisterDirectory(UTF16String());
      ADD_FAILURE() << "no contract violation";
    } catch (const strata::config::strata_exception& e) {
      EXPECT_EQ("$$$/strata/utility/Error/Contract/InputContractViolation", e.GetKey());
    }
  }
  ASSERT_EQ(4u, hook.Seen().size());
  EXPECT_EQ("!inSymbolicName.empty()", hook.Seen()[3].condition);
}

}  // namespace
