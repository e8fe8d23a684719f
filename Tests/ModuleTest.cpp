#include <windows.h>

#include <gtest/gtest.h>

#include <cwctype>
#include <string>
#include <vector>

#include "HandleCount.h"
#include "Ostra/Language.h"
#include "Ostra/Module.h"
#include "SampleResourceIds.h"
#include "strata/String.h"
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
// resource's size covers the text and its terminator exactly, and that a
// failed lookup leaves the size alone.
template <class Lookup>
UTF16String TextOf(Lookup inLookup) {
  int size = -7;
  const void* resource = inLookup(size);
  if (!resource) {
    EXPECT_EQ(-7, size) << "size after a failed lookup";
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

  void* Greeting(int inID, int& outSize) const {
    return mModule->FindLocalizedResource(MAKEINTRESOURCEW(inID), L"GREETING", outSize);
  }

  boost::shared_ptr<Module> mModule;
  unsigned short mSavedLanguage = 0;
};

TEST_F(ModuleTest, LoadedModuleKnowsItsPathAndExports) {
  UTF16String path;
  mModule->GetPath(path);
  EXPECT_EQ(Lower(SamplePath()), Lower(path));
  UTF16String again(L"overwritten");
  mModule->GetPath(again);
  EXPECT_EQ(path, again);
  EXPECT_EQ(::GetModuleHandleW(kSampleName), mModule->GetNativeModule());

  Module::ProcPointer answer = mModule->GetProcAddress("SampleAnswer");
  ASSERT_NE(nullptr, answer);
  EXPECT_EQ(42, answer());
  EXPECT_EQ(nullptr, mModule->GetProcAddress("sampleanswer")) << "names are case-sensitive";
}

TEST_F(ModuleTest, LocalisedLookupPrefersTheInterfaceLanguageThenTheNeutralCopy) {
  const struct {
    unsigned short language;
    int id;
    const wchar_t* expected;
  } rows[] = {
      {1033, SAMPLE_GREETING_ALL, L"Hello"},
      {1041, SAMPLE_GREETING_ALL, L"Konnichiwa"},
      {1031, SAMPLE_GREETING_ALL, L"Greetings"},  // no German copy
      {1033, SAMPLE_GREETING_NO_ENGLISH, L"Neutral"},
      {1041, SAMPLE_GREETING_NO_ENGLISH, L"Japanese"},
      {1033, SAMPLE_GREETING_ENGLISH, L"English only"},
      // Only the retry's loader search reaches beyond ja and neutral.
      {1041, SAMPLE_GREETING_ENGLISH, L"English only"},
      {1041, 999, L"(null)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << "language " << row.language << ", id " << row.id);
    Ostra::SetLanguageID(row.language);
    EXPECT_EQ(row.expected, TextOf([&](int& outSize) { return Greeting(row.id, outSize); }));
  }
}

TEST_F(ModuleTest, NonLocalisedLookupAsksForTheEnglishCopyOnly) {
  Ostra::SetLanguageID(1041);
  auto english = [this](int inID) {
    return TextOf([&](int& outSize) {
      return mModule->FindNonLocalizedResource(MAKEINTRESOURCEW(inID), L"GREETING", outSize);
    });
  };
  EXPECT_EQ(L"Hello", english(SAMPLE_GREETING_ALL));
  EXPECT_EQ(L"English only", english(SAMPLE_GREETING_ENGLISH));
  // Without an English copy the loader may answer with the neutral one (Wine
  // does), but never with the interface language's.
  const UTF16String withoutEnglish = english(SAMPLE_GREETING_NO_ENGLISH);
  EXPECT_TRUE(withoutEnglish == L"(null)" || withoutEnglish == L"Neutral") << withoutEnglish;
}

TEST_F(ModuleTest, LookupsByIdAndOfAMissingType) {
  EXPECT_EQ(L"second page", TextOf([&](int& outSize) {
              return mModule->LoadResource(std::int16_t(SAMPLE_PAGE_SECOND), L"PAGES", outSize);
            }));
  EXPECT_EQ(L"raw data", TextOf([&](int& outSize) {
              return mModule->LoadResource(std::int16_t(SAMPLE_RAW_DATA), L"#10", outSize);
            })) << "an integer type written as text";
  EXPECT_EQ(L"(null)", TextOf([&](int& outSize) {
              return mModule->LoadResource(std::int16_t(-1), L"PAGES", outSize);
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
    return nullptr;
  }
  void* LoadResource(std::int16_t inID, const UTF16String& inType, int& outSize) override {
    mRequests.push_back(std::to_wstring(inID) + L" " + inType);
    return Module::LoadResource(inID, inType, outSize);
  }
  using Module::LoadResource;

  std::vector<UTF16String> mRequests;
};

TEST_F(ModuleTest, FirstResourceOfATypeFallsBackToTheVirtualLookupById) {
  NoLocalisedCopies fallback(mModule->GetNativeModule());
  for (Module* module : {mModule.get(), static_cast<Module*>(&fallback)}) {
    SCOPED_TRACE(module == &fallback ? "no localised copies" : "localised copies");
    EXPECT_EQ(L"first page", TextOf([&](int& outSize) {
                return module->LoadFirstResourceOfType(L"PAGES", outSize);
              }));
    EXPECT_EQ(L"raw data", TextOf([&](int& outSize) {
                return module->LoadFirstResourceOfType(RT_RCDATA, outSize);
              }));
  }
  EXPECT_EQ((std::vector<UTF16String>{L"201 PAGES", L"301 #10"}), fallback.mRequests);
}

TEST(ModuleLoading, MissingModulesFailWithTheLoadersErrorAndLeakNothing) {
  { SCOPED_TRACE("opens GoogleTest's per-thread handles before the count"); }
  const long handlesBefore = OstraTest::ProcessHandleCount();
  for (const UTF16String& path : {SamplePath() + L".missing.dll",
                                 UTF16String(L"C:\\ostra-no-such-folder\\plugin.dll"),
                                 UTF16String(L"OstraNoSuchPlugin.dll")}) {
    SCOPED_TRACE(strata::string::UTF16toStdString(path));
    boost::shared_ptr<Module> module;
    EXPECT_EQ(Ostra::Win::SystemErrorToOstraResult(ERROR_MOD_NOT_FOUND),
              Module::Load(path, module));
    EXPECT_FALSE(module);

    ASSERT_EQ(Ostra::kSuccess, Module::Create(nullptr, module));
    Module* const before = module.get();
    EXPECT_EQ(Ostra::eUnknown, Module::Load(path, module));
    EXPECT_EQ(before, module.get()) << "a failed load leaves the pointer alone";
  }
  if (OstraTest::HandleCountsAreReported()) {
    EXPECT_EQ(handlesBefore, OstraTest::ProcessHandleCount());
  }
}

TEST(ModuleLoading, OnlyLoadedModulesAreFreedAndOnlyWhenAsked) {
  ASSERT_FALSE(SampleIsLoaded()) << "another test kept the sample module loaded";
  boost::shared_ptr<Module> module;
  ASSERT_EQ(Ostra::kSuccess, Module::Load(SamplePath(), module));
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

  native = ::LoadLibraryW(SamplePath().c_str());
  ASSERT_EQ(Ostra::kSuccess, Module::Create(native, module));
  module.reset();
  EXPECT_TRUE(SampleIsLoaded()) << "an adopted module belongs to the caller";
  ASSERT_EQ(Ostra::kSuccess, Module::Create(native, module));
  module->SetUnloadOnDestroy(true);
  module.reset();
  EXPECT_FALSE(SampleIsLoaded()) << "unless asked to unload";
}

}  // namespace
