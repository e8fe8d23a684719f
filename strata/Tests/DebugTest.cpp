#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "Support/TraceCapture.h"
#include "strata/Debug.h"

namespace {

using strata::debug::DialogAction;
using strata::debug::DialogInfo;
using strata::debug::DialogKind;

// Records every dialog instead of showing it, and answers with mAnswer.
class RecordingDialogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    strata::debug::SetDialogHook([this](const DialogInfo& inInfo) {
      mSeen.push_back(inInfo);
      return mAnswer;
    });
  }
  void TearDown() override { strata::debug::SetDialogHook({}); }

  std::vector<DialogInfo> mSeen;
  DialogAction mAnswer = DialogAction::kContinue;
};

namespace Checks {
struct Module {
  static void Load(const strata::UTF16String& inModulePath) { STRATA_INPUT_CONTRACT(!inModulePath.empty()); }
  static int Result(int inValue) {
    STRATA_OUTPUT_CONTRACT(inValue > 0);
    return inValue;
  }
};
}  // namespace Checks

TEST_F(RecordingDialogTest, InputContractShowsItsSiteThenRaises) {
  try {
    Checks::Module::Load(L"");
    FAIL() << "no exception";
  } catch (const strata::config::strata_exception& e) {
    EXPECT_EQ("$$$/strata/utility/Error/Contract/InputContractViolation=An input contract "
              "violation has occurred!",
              e.GetSource());
    EXPECT_EQ(L"An input contract violation has occurred!", e.GetMessageText());
  }
  ASSERT_EQ(1u, mSeen.size());
  EXPECT_EQ(DialogKind::kInputContract, mSeen[0].kind);
  EXPECT_EQ("!inModulePath.empty()", mSeen[0].condition);
  EXPECT_EQ("{anonymous}::Checks::Module::Load", mSeen[0].function);
  EXPECT_EQ("DebugTest", mSeen[0].file);
  EXPECT_GT(mSeen[0].line, 0);
  EXPECT_NO_THROW(Checks::Module::Load(L"x"));
  EXPECT_EQ(1u, mSeen.size());
}

TEST_F(RecordingDialogTest, OutputContractRaisesItsOwnError) {
  // A break request without an attached debugger must not stop the run.
  mAnswer = DialogAction::kBreak;
  try {
    Checks::Module::Result(0);
    FAIL() << "no exception";
  } catch (const strata::config::strata_exception& e) {
    EXPECT_EQ("$$$/strata/utility/Error/Contract/OutputContractViolation", e.GetKey());
    EXPECT_EQ(L"An output contract violation has occurred!", e.GetMessageText());
  }
  ASSERT_EQ(1u, mSeen.size());
  EXPECT_EQ(DialogKind::kOutputContract, mSeen[0].kind);
  EXPECT_EQ("inValue > 0", mSeen[0].condition);
}

void MisuseOnce(bool inOk) { STRATA_ASSERT_ONCE(inOk, "File is closed. Please report this error."); }
void MisuseAgain(bool inOk) { STRATA_ASSERT_ONCE(inOk, "Other site. Please report this error."); }

TEST_F(RecordingDialogTest, OnceOnlyAssertionShowsOncePerCallSite) {
  MisuseOnce(true);
  EXPECT_TRUE(mSeen.empty());
  for (int i = 0; i < 3; ++i) MisuseOnce(false);
  MisuseAgain(false);
  MisuseAgain(false);
  ASSERT_EQ(2u, mSeen.size());
  EXPECT_EQ("inOk", mSeen[0].condition);
  EXPECT_EQ("File is closed. Please report this error.", mSeen[0].message);
  EXPECT_EQ("Other site. Please report this error.", mSeen[1].message);
}

void Check(bool inOk) { STRATA_ASSERT_MSG(inOk, "detail"); }

TEST_F(RecordingDialogTest, AssertionRepeatsUntilTheDeveloperSilencesIt) {
  Check(false);
  Check(false);
  mAnswer = DialogAction::kSilence;
  Check(false);
  Check(false);
  EXPECT_EQ(3u, mSeen.size());
}

TEST(QualifiedFunctionName, StripsReturnTypeAndParameters) {
  const struct {
    const char* signature;
    const char* name;
  } rows[] = {
      {"strata::Result Ostra::Module::Load(const UTF16String&, Ostra::Module*&)", "Ostra::Module::Load"},
      {"void Ostra::File::Close()", "Ostra::File::Close"},
      {"static void Ostra::DirectoryRegistry::Find(int)", "Ostra::DirectoryRegistry::Find"},
      {"std::map<int, std::pair<int, int> > Ns::Get(int) const", "Ns::Get"},
      {"bool Ns::Cls::operator()(int) const", "Ns::Cls::operator()"},
      {"int __cdecl Ostra::Module::Load(int)", "Ostra::Module::Load"},
      {"Ostra::File::~File()", "Ostra::File::~File"},
      {"void Ns::Tmpl<T>::Run(T) [with T = int]", "Ns::Tmpl<T>::Run"},
      {"main", "main"},
      {"int (* Ostra::Module::GetProcAddress(const std::string&) const)()",
       "Ostra::Module::GetProcAddress"},
      {"int (__cdecl *__cdecl Ostra::Module::GetProcAddress(const std::string &) const)(void)",
       "Ostra::Module::GetProcAddress"},
      {"static void (anonymous namespace)::Checks::Module::Load(const UTF16String &)",
       "{anonymous}::Checks::Module::Load"},
      {"void Ns::(anonymous namespace)::F()", "Ns::{anonymous}::F"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.signature);
    EXPECT_EQ(row.name, strata::debug::QualifiedFunctionName(row.signature));
  }
  EXPECT_EQ("WinModule", strata::debug::SourceFileName("C:\\src\\Win\\WinModule.cpp"));
  EXPECT_EQ("WinModule", strata::debug::SourceFileName("/src/Win/WinModule.cpp"));
  EXPECT_EQ("Makefile", strata::debug::SourceFileName("Makefile"));
}

void TraceAtSeven(int inValue) { STRATA_TRACE("Test.Trace", 7, "value=" << inValue); }

TEST(Trace, CategoryLevelGatesEachSite) {
  OstraTest::TraceCapture trace("Test.Trace", 0);
  TraceAtSeven(1);
  strata::debug::SetTraceLevel("Test.Trace", 6);
  TraceAtSeven(2);
  strata::debug::SetTraceLevel("Test.Trace", 7);
  TraceAtSeven(3);
  strata::debug::SetTraceLevel("Test.Trace", 0);
  TraceAtSeven(4);
  EXPECT_EQ(std::vector<std::string>{"Test.Trace:7 value=3"}, trace.Lines());
}

TEST(Trace, SiteRereadsOnlyWhenTheChangeCountMoves) {
  strata::debug::TraceSite site("Test.Trace", 2);
  const std::uint32_t before = strata::debug::GetTraceChangeCount();
  EXPECT_FALSE(site.IsEnabled());
  EXPECT_FALSE(site.IsEnabled());
  EXPECT_EQ(1u, site.GetReadCount());

  strata::debug::SetTraceLevel("Test.Trace", 3);
  EXPECT_NE(before, strata::debug::GetTraceChangeCount());
  EXPECT_TRUE(site.IsEnabled());
  EXPECT_TRUE(site.IsEnabled());
  EXPECT_EQ(2u, site.GetReadCount());

  // Any category's change moves the count; the site reads once more.
  strata::debug::SetTraceLevel("Test.Other", 1);
  EXPECT_TRUE(site.IsEnabled());
  EXPECT_EQ(3u, site.GetReadCount());
  strata::debug::SetTraceLevel("Test.Other", 0);
  strata::debug::SetTraceLevel("Test.Trace", 0);
}

TEST(DebugOption, DefaultUntilSetAndRereadOnlyOnChange) {
  strata::debug::DebugOption option("Test.Option", "true");
  EXPECT_EQ("true", option.GetText());
  EXPECT_EQ("true", option.GetText());
  EXPECT_EQ(1u, option.GetReadCount());

  strata::debug::DebugDatabase::SetOption("Test.Option", "false");
  EXPECT_EQ("false", option.GetText());
  EXPECT_EQ(2u, option.GetReadCount());

  strata::debug::DebugDatabase::ClearOption("Test.Option");
  EXPECT_EQ("true", option.GetText());
  EXPECT_FALSE(strata::debug::DebugDatabase::HasOption("Test.Option"));
}

TEST(DebugOption, IntegerFallsBackOnText) {
  strata::debug::DebugOption option("Test.Interval", "10");
  EXPECT_EQ(10, option.GetInteger(-1));
  strata::debug::DebugDatabase::SetOption("Test.Interval", "25");
  EXPECT_EQ(25, option.GetInteger(-1));
  strata::debug::DebugDatabase::SetOption("Test.Interval", "25ms");
  EXPECT_EQ(-1, option.GetInteger(-1));
  strata::debug::DebugDatabase::ClearOption("Test.Interval");
}

TEST(DebugEnvironment, TraceCategoriesAndOptionsFromTheEnvironmentAreSetAtLoad) {
  // CTest sets STRATA_TRACE="Test.Env=4;Test.EnvAll" and
  // STRATA_DEBUG_OPTIONS="Test.Env.Option=on" for this program.
  if (!std::getenv("STRATA_TRACE") || !std::getenv("STRATA_DEBUG_OPTIONS"))
    GTEST_SKIP() << "run through CTest, which sets STRATA_TRACE and STRATA_DEBUG_OPTIONS";
  EXPECT_EQ(4, strata::debug::GetTraceLevel("Test.Env"));
  EXPECT_TRUE(strata::debug::IsTraceEnabled("Test.EnvAll", 1000));
  EXPECT_FALSE(strata::debug::IsTraceEnabled("Test.Env", 5));
  EXPECT_EQ("on", strata::debug::DebugDatabase::GetOption("Test.Env.Option", "off"));
}

TEST(GlobalTimeMeasurement, LogsUnderItsCategoryWithElapsedTime) {
  OstraTest::TraceCapture trace("strata.Time", 1);
  strata::debug::GlobalTimeMeasurement::IntermediateMeasurementWithLogging("StartupTime", "Start");
  strata::debug::GlobalTimeMeasurement::IntermediateMeasurementWithLogging("StartupTime", "Finish");
  const std::vector<std::string> lines = trace.Lines();
  ASSERT_EQ(2u, lines.size());
  EXPECT_EQ(0u, lines[0].find("strata.Time:1 StartupTime: Start (0 ms)")) << lines[0];
  EXPECT_EQ(0u, lines[1].find("strata.Time:1 StartupTime: Finish (")) << lines[1];
  EXPECT_GE(strata::debug::GlobalTimeMeasurement::GetElapsedMilliseconds("StartupTime"), 0.0);
}

}  // namespace
