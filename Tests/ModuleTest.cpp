#include <windows.h>

#include <gtest/gtest.h>

#include <cwctype>
#include <string>
#include <vector>

#include "HandleCount.h"
#include "Ostra/Language.h"
#include "Ostra/Module.h"
#include "SampleResourceIds.h"
#include "strata/Debug.h"
#include "strata/Utility.h"

namespace {

using Ostra::Module;
using Ostra::UTF16String;

const wchar_t kSampleName[] = L"OstraSampleResources.dll";

// The sample resource DLL sits beside the test executable.
UTF16String SamplePath() {
  UTF16String path = strata::utility::GetModulePath(nullptr);
  return path.substr(0, path.find_last_of(L'\\') + 1) + kSampleName;
}

bool SampleIsLoaded() { return ::GetModuleHandleW(kSampleName) != nullptr; }

UTF16String Lower(UTF16String inText) {
  for (wchar_t& c : inText) c = static_cast<wchar_t>(std::towlower(c));
  return inText;
}

// Runs a lookup given as a callable taking the size output, and returns the
// resource as text ("(null)" when not found); checks that a found
// resource's size covers the text and its terminator exactly.
template <class Lookup>
UTF16String TextOf(Lookup inLookup) {
  int size = -7;
  const void* resource = inLookup(size);
  if (!resource) {
    EXPECT_EQ(-7, size) << "a failed lookup must leave the size alone";
    return L"(null)";
  }
  const UTF16String text(static_cast<const wchar_t*>(resource));
  EXPECT_EQ(static_cast<int>(2 * text.size() + 2), size) << "size of the resource";
  return text;
}

// Loads the sample module for each test and puts the process's language
// back afterwards.
class ModuleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    mSavedLanguage = Ostra::GetLanguageID();
    ASSERT_EQ(Ostra::kSuccess, Module::Load(SamplePath(), mModule));
    ASSERT_TRUE(mModule);
  }
  void TearDown() override { Ostra::SetLanguageID(mSavedLanguage); }

  boost::shared_ptr<Module> mModule;
  unsigned short mSavedLanguage = 0;
};

TEST_F(ModuleTest, ExportedFunctionsAreFoundByName) {
  Module::ProcPointer answer = mModule->GetProcAddress("SampleAnswer");
  ASSERT_NE(nullptr, answer);
  EXPECT_EQ(42, answer());
  EXPECT_EQ(nullptr, mModule->GetProcAddress("NoSuchFunction"));
  EXPECT_EQ(nullptr, mModule->GetProcAddress("sampleanswer")) << "names are case-sensitive";
}

TEST_F(ModuleTest, PathIsTheLoadedFileAndStaysTheSame) {
  UTF16String first;
  mModule->GetPath(first);
  EXPECT_EQ(Lower(SamplePath()), Lower(first));
  UTF16String second(L"overwritten");
  mModule->GetPath(second);
  EXPECT_EQ(first, second);
  EXPECT_EQ(::GetModuleHandleW(kSampleName), mModule->GetNativeModule());
}

TEST_F(ModuleTest, LocalisedLookupPrefersTheInterfaceLanguageThenTheNeutralCopy) {
  const struct {
    unsigned short language;
    int id;
    const wchar_t* expected;
  } rows[] = {
      {1033, SAMPLE_GREETING_ALL, L"Hello"},
      {1041, SAMPLE_GREETING_ALL, L"Konnichiwa"},
      {1031, SAMPLE_GREETING_ALL, L"Greetings"},  // no German copy: neutral
      {1033, SAMPLE_GREETING_NO_ENGLISH, L"Neutral"},
      {1041, SAMPLE_GREETING_NO_ENGLISH, L"Japanese"},
      {2052, SAMPLE_GREETING_NO_ENGLISH, L"Neutral"},
      {1033, SAMPLE_GREETING_ENGLISH, L"English only"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << "language " << row.language << ", id " << row.id);
    Ostra::SetLanguageID(row.language);
    EXPECT_EQ(row.expected, TextOf([&](int& outSize) {
                return mModule->FindLocalizedResource(MAKEINTRESOURCEW(row.id), L"GREETING",
                                                      outSize);
              }));
  }

  Ostra::SetLanguageID(1041);
  EXPECT_EQ(L"(null)", TextOf([&](int& outSize) {
              return mModule->FindLocalizedResource(MAKEINTRESOURCEW(999), L"GREETING", outSize);
            }));
  EXPECT_EQ(L"(null)", TextOf([&](int& outSize) {
              return mModule->FindLocalizedResource(MAKEINTRESOURCEW(101), L"NOTYPE", outSize);
            }));
}

TEST_F(ModuleTest, NonLocalisedLookupAsksForTheEnglishCopyOnly) {
  Ostra::SetLanguageID(1041);
  EXPECT_EQ(L"Hello", TextOf([&](int& outSize) {
              return mModule->FindNonLocalizedResource(MAKEINTRESOURCEW(SAMPLE_GREETING_ALL),
                                                       L"GREETING", outSize);
            }));
  EXPECT_EQ(L"English only", TextOf([&](int& outSize) {
              return mModule->FindNonLocalizedResource(MAKEINTRESOURCEW(SAMPLE_GREETING_ENGLISH),
                                                       L"GREETING", outSize);
            }));
  // Without an English copy the system may answer with the neutral one (Wine
  // does), but never with the interface language's.
  const UTF16String withoutEnglish = TextOf([&](int& outSize) {
    return mModule->FindNonLocalizedResource(MAKEINTRESOURCEW(SAMPLE_GREETING_NO_ENGLISH),
                                             L"GREETING", outSize);
  });
  EXPECT_TRUE(withoutEnglish == L"(null)" || withoutEnglish == L"Neutral") << withoutEnglish;
}

TEST_F(ModuleTest, PlainLookupByNameOrIdUsesTheSystemsChoice) {
  const UTF16String greeting = TextOf([&](int& outSize) {
    return mModule->LoadResource(MAKEINTRESOURCEW(SAMPLE_GREETING_ALL), L"GREETING", outSize);
  });
  EXPECT_TRUE(greeting == L"Hello" || greeting == L"Konnichiwa" || greeting == L"Greetings")
      << greeting;
  EXPECT_EQ(L"second page", TextOf([&](int& outSize) {
              return mModule->LoadResource(std::int16_t(SAMPLE_PAGE_SECOND), UTF16String(L"PAGES"),
                                           outSize);
            }));
  EXPECT_EQ(L"raw data", TextOf([&](int& outSize) {
              return mModule->LoadResource(std::int16_t(SAMPLE_RAW_DATA), UTF16String(L"#10"),
                                           outSize);
            }))
      << "an integer type written as text";
  EXPECT_EQ(L"(null)", TextOf([&](int& outSize) {
              return mModule->LoadResource(MAKEINTRESOURCEW(999), L"PAGES", outSize);
            }));
  EXPECT_EQ(L"(null)", TextOf([&](int& outSize) {
              return mModule->LoadResource(std::int16_t(-1), UTF16String(L"PAGES"), outSize);
            }));
}

TEST_F(ModuleTest, FirstResourceOfATypeIsTheLowestIntegerName) {
  EXPECT_EQ(L"first page", TextOf([&](int& outSize) {
              return mModule->LoadFirstResourceOfType(L"PAGES", outSize);
            }));
  EXPECT_EQ(L"raw data", TextOf([&](int& outSize) {
              return mModule->LoadFirstResourceOfType(RT_RCDATA, outSize);
            }));
  for (const wchar_t* type : {static_cast<const wchar_t*>(L"NOTYPE"),
                              static_cast<const wchar_t*>(RT_BITMAP)}) {
    int size = -7;
    EXPECT_EQ(nullptr, mModule->LoadFirstResourceOfType(type, size));
    EXPECT_EQ(0, size) << "no resource of the type: size 0";
  }
}

// Declines every localised lookup, so that LoadFirstResourceOfType has to
// fall back to the lookup by id; records what that was given.
class NoLocalisedCopies : public Module {
 public:
  explicit NoLocalisedCopies(HINSTANCE inModule) : Module(inModule, false) {}
  void* FindLocalizedResource(const wchar_t*, const wchar_t*, int&) const override {
    ++mLocalisedCalls;
    return nullptr;
  }
  void* LoadResource(std::int16_t inID, const UTF16String& inType, int& outSize) override {
    mIDs.push_back(inID);
    mTypes.push_back(inType);
    return Module::LoadResource(inID, inType, outSize);
  }
  using Module::LoadResource;

  mutable int mLocalisedCalls = 0;
  std::vector<std::int16_t> mIDs;
  std::vector<UTF16String> mTypes;
};

TEST_F(ModuleTest, FirstResourceFallsBackToTheVirtualLookupById) {
  NoLocalisedCopies module(mModule->GetNativeModule());
  EXPECT_EQ(L"first page", TextOf([&](int& outSize) {
              return module.LoadFirstResourceOfType(L"PAGES", outSize);
            }));
  EXPECT_EQ(L"raw data", TextOf([&](int& outSize) {
              return module.LoadFirstResourceOfType(RT_RCDATA, outSize);
            }));
  EXPECT_EQ(2, module.mLocalisedCalls);
  EXPECT_EQ((std::vector<std::int16_t>{SAMPLE_PAGE_FIRST, SAMPLE_RAW_DATA}), module.mIDs);
  EXPECT_EQ((std::vector<UTF16String>{L"PAGES", L"#10"}), module.mTypes);
}

// Records contract dialogs instead of showing them.
class ModuleContractTest : public ::testing::Test {
 protected:
  void SetUp() override {
    strata::debug::SetDialogHook([this](const strata::debug::DialogInfo& inInfo) {
      mSeen.push_back(inInfo);
      return strata::debug::DialogAction::kContinue;
    });
  }
  void TearDown() override { strata::debug::SetDialogHook({}); }

  void ExpectInputContract(const char* inCondition, const char* inFunction, int inLine) {
    ASSERT_EQ(1u, mSeen.size());
    EXPECT_EQ(strata::debug::DialogKind::kInputContract, mSeen[0].kind);
    EXPECT_EQ(inCondition, mSeen[0].condition);
    EXPECT_EQ(inFunction, mSeen[0].function);
    EXPECT_EQ("WinModule", mSeen[0].file);
    EXPECT_EQ(inLine, mSeen[0].line);
    mSeen.clear();
  }

  std::vector<strata::debug::DialogInfo> mSeen;
};

// The reported source and line are what reports of these sites are matched
// by, so moving the checks in WinModule.cpp breaks this test on purpose.
TEST_F(ModuleContractTest, EmptyPathAndProcedureNameBreakTheInputContract) {
  boost::shared_ptr<Module> module;
  try {
    Module::Load(UTF16String(), module);
    FAIL() << "no contract violation";
  } catch (const strata::config::strata_exception& e) {
    EXPECT_EQ("$$$/strata/utility/Error/Contract/InputContractViolation", e.GetKey());
  }
  EXPECT_FALSE(module);
  ExpectInputContract("!inModulePath.empty()", "Ostra::Module::Load", 68);

  ASSERT_EQ(Ostra::kSuccess, Module::Create(nullptr, module));
  EXPECT_THROW(module->GetProcAddress(std::string()), strata::config::strata_exception);
  ExpectInputContract("!inProcName.empty()", "Ostra::Module::GetProcAddress", 168);
}

TEST(ModuleLoading, MissingModulesFailWithTheLoadersErrorAndLeakNothing) {
  const long handlesBefore = OstraTest::ProcessHandleCount();
  const struct {
    const char* what;
    UTF16String path;
  } rows[] = {
      {"missing file", SamplePath() + L".missing.dll"},
      {"missing folder", L"C:\\ostra-no-such-folder\\plugin.dll"},
      {"bare name", L"OstraNoSuchPlugin.dll"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    boost::shared_ptr<Module> empty;
    ::SetLastError(0);
    const Ostra::Result result = Module::Load(row.path, empty);
    EXPECT_EQ(Ostra::Win::SystemErrorToOstraResult(ERROR_MOD_NOT_FOUND), result);
    EXPECT_EQ(Ostra::eUnknown, result);
    EXPECT_FALSE(empty);

    boost::shared_ptr<Module> kept;
    ASSERT_EQ(Ostra::kSuccess, Module::Create(nullptr, kept));
    Module* const before = kept.get();
    EXPECT_FALSE(strata::ResultSucceeded(Module::Load(row.path, kept)));
    EXPECT_EQ(before, kept.get()) << "a failed load leaves the pointer alone";
  }
  if (handlesBefore > 0) {
    EXPECT_EQ(handlesBefore, OstraTest::ProcessHandleCount());
  }
}

TEST(ModuleLoading, OnlyLoadedModulesAreFreedAndOnlyWhenAsked) {
  ASSERT_FALSE(SampleIsLoaded()) << "another test kept the sample module loaded";
  boost::shared_ptr<Module> module;
  ASSERT_EQ(Ostra::kSuccess, Module::Load(SamplePath(), module));
  EXPECT_TRUE(SampleIsLoaded());
  boost::shared_ptr<Module> sharer = module;
  module.reset();
  EXPECT_TRUE(SampleIsLoaded()) << "freed while still shared";
  sharer.reset();
  EXPECT_FALSE(SampleIsLoaded()) << "the last owner of a loaded module frees it";

  ASSERT_EQ(Ostra::kSuccess, Module::Load(SamplePath(), module));
  HMODULE native = module->GetNativeModule();
  module->SetUnloadOnDestroy(false);
  module.reset();
  EXPECT_TRUE(SampleIsLoaded()) << "told not to unload";
  ::FreeLibrary(native);
  EXPECT_FALSE(SampleIsLoaded());

  native = ::LoadLibraryW(SamplePath().c_str());
  ASSERT_NE(nullptr, native);
  ASSERT_EQ(Ostra::kSuccess, Module::Create(native, module));
  EXPECT_EQ(native, module->GetNativeModule());
  module.reset();
  EXPECT_TRUE(SampleIsLoaded()) << "an adopted module belongs to the caller";
  ASSERT_EQ(Ostra::kSuccess, Module::Create(native, module));
  module->SetUnloadOnDestroy(true);
  module.reset();
  EXPECT_FALSE(SampleIsLoaded()) << "unless asked to unload";
}

TEST(ModuleLoading, CreateWithoutAHandleStandsForTheProgram) {
  boost::shared_ptr<Module> program;
  ASSERT_EQ(Ostra::kSuccess, Module::Create(nullptr, program));
  UTF16String path;
  program->GetPath(path);
  EXPECT_EQ(Lower(strata::utility::GetModulePath(nullptr)), Lower(path));
  int size = -7;
  EXPECT_EQ(nullptr, program->LoadFirstResourceOfType(L"PAGES", size));
  EXPECT_EQ(0, size);
}

}  // namespace
