#include <gtest/gtest.h>

#include "strata/Config.h"

namespace {

using strata::config::ErrorLevel;
using strata::config::strata_exception;

const char kPermission[] =
    "$$$/Test/Config/Permission=^1 cannot open ^2 (^1 again, ^5 and ^ stay)";

TEST(ThrowError, RaisesTheDefaultTextWithReplacements) {
  try {
    strata::config::ThrowError(ErrorLevel::kError, kPermission, L"App", L"prefs");
    FAIL() << "no exception";
  } catch (const strata_exception& e) {
    EXPECT_EQ(ErrorLevel::kError, e.GetErrorLevel());
    EXPECT_EQ(kPermission, e.GetSource());
    EXPECT_EQ("$$$/Test/Config/Permission", e.GetKey());
    EXPECT_EQ(L"App cannot open prefs (App again, ^5 and ^ stay)", e.GetMessageText());
    EXPECT_STREQ("App cannot open prefs (App again, ^5 and ^ stay)", e.what());
  }
}

TEST(LocalizeString, TranslationReplacesTheDefaultUntilRemoved) {
  strata::config::SetLocalizedString("$$$/Test/Config/Permission", L"^2: \u00e9chec pour ^1");
  EXPECT_EQ(L"prefs: \u00e9chec pour App",
            strata::config::LocalizeString(kPermission, L"App", L"prefs"));
  strata::config::SetLocalizedString("$$$/Test/Config/Permission", L"");
  EXPECT_EQ(L"X cannot open Y (X again, ^5 and ^ stay)",
            strata::config::LocalizeString(kPermission, L"X", L"Y"));
}

TEST(LocalizeString, PlainTextAndOddFormsAreTakenAsText) {
  EXPECT_EQ(L"no key ", strata::config::LocalizeString("no key ^1"));
  EXPECT_EQ(L"a=b", strata::config::LocalizeString("a=b"));
  EXPECT_EQ(L"", strata::config::LocalizeString("$$$/Only/Key="));
  EXPECT_EQ(L"$$$/NoEquals", strata::config::LocalizeString("$$$/NoEquals"));
  EXPECT_EQ(L"trailing ^", strata::config::LocalizeString("trailing ^"));
}

TEST(ClientIdentity, DefaultsToTheExecutable) {
  EXPECT_EQ(L"strata_tests", strata::config::GetClientName());
  EXPECT_EQ(L"1.0", strata::config::GetClientInternalVersion());
}

}  // namespace
