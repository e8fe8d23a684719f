#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <string>

#include "Ostra/Language.h"
#include "strata/Config.h"
#include "strata/Utility.h"

namespace {

using Ostra::UTF16String;

// The language is process-wide: each test puts back what it found.
class LanguageTest : public ::testing::Test {
 protected:
  void SetUp() override { mSaved = Ostra::GetLanguageID(); }
  void TearDown() override { Ostra::SetLanguageID(mSaved); }
  unsigned short mSaved = 0;
};

const struct {
  const wchar_t* code;
  unsigned short id;
} kLocaleTable[] = {
    {L"en_US", 1033}, {L"de_DE", 1031}, {L"fr_FR", 1036}, {L"it_IT", 1040},
    {L"ja_JP", 1041}, {L"es_ES", 1034}, {L"nl_NL", 1043}, {L"sv_SE", 1053},
    {L"cs_CZ", 1029}, {L"ko_KR", 1042}, {L"pl_PL", 1045}, {L"pt_BR", 1046},
    {L"ru_RU", 1049}, {L"tr_TR", 1055}, {L"zh_CN", 2052}, {L"zh_TW", 1028},
};

TEST_F(LanguageTest, LocaleCodesConvertBothWays) {
  for (const auto& row : kLocaleTable) {
    SCOPED_TRACE(strata::string::UTF16toStdString(row.code));
    Ostra::SetLanguageString(row.code);
    EXPECT_EQ(row.id, Ostra::GetLanguageID());
    Ostra::SetLanguageID(0);
    Ostra::SetLanguageID(row.id);
    EXPECT_EQ(row.code, Ostra::GetLanguageString());
  }
}

TEST_F(LanguageTest, UnknownTextFallsBackToItsLeadingDecimalNumber) {
  const struct {
    const wchar_t* text;
    unsigned short id;
  } rows[] = {
      {L"1036", 1036}, {L"1036xyz", 1036}, {L"  2057", 2057},  {L"french", 0},
      {L"de-DE", 0},   {L"EN_US", 0},      {L"en_US ", 0},     {L"", 0},
      {L"70000", 4464} /* low 16 bits */,  {L"0x409", 0},      {L"99999999999", 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(strata::string::UTF16toStdString(row.text));
    Ostra::SetLanguageID(1);
    Ostra::SetLanguageString(row.text);
    EXPECT_EQ(row.id, Ostra::GetLanguageID());
  }
}

TEST_F(LanguageTest, IdentifiersOutsideTheTableReadAsEnglish) {
  for (unsigned short id : {0, 2057, 1032, 0xFFFF}) {
    SCOPED_TRACE(id);
    Ostra::SetLanguageID(id);
    EXPECT_EQ(L"en_US", Ostra::GetLanguageString());
  }
  Ostra::SetLanguageID(0x0C0A);  // Spanish, modern sort
  EXPECT_EQ(Ostra::kLanguage_Spanish, Ostra::GetPrimaryLanguageID());
}

// Runs LanguageProbe (beside this executable) and returns its name=value
// lines; empty when it could not be run.
std::map<std::string, std::string> RunProbe(const std::string& inClient) {
  UTF16String folder = strata::utility::GetModulePath(nullptr);
  folder.erase(folder.find_last_of(L'\\') + 1);
  const std::string command =
      "\"" + strata::string::UTF16toStdString(folder) + "LanguageProbe.exe\" " + inClient + " 9.0";
  std::map<std::string, std::string> values;
  FILE* output = _popen(command.c_str(), "r");
  if (!output) return values;
  char line[512];
  while (std::fgets(line, sizeof(line), output)) {
    std::string text(line);
    text.erase(text.find_last_not_of("\r\n") + 1);
    const std::size_t equals = text.find('=');
    if (equals != std::string::npos) values[text.substr(0, equals)] = text.substr(equals + 1);
  }
  _pclose(output);
  return values;
}

TEST(LanguageFromRegistry, FreshProcessReadsTheLanguageValueOnce) {
  enum Stored { kNoBaseKey, kNoValue, kString, kNumber };
  const struct {
    const char* what;
    Stored stored;
    const wchar_t* text;
    const char* id;
    const char* primary;
    const char* string;
  } rows[] = {
      {"no base key", kNoBaseKey, nullptr, "1033", "9", "en_US"},
      {"no value", kNoValue, nullptr, "1033", "9", "en_US"},
      {"empty value", kString, L"", "1033", "9", "en_US"},
      {"Japanese", kString, L"ja_JP", "1041", "17", "ja_JP"},
      {"decimal outside the table", kString, L"2057", "2057", "9", "en_US"},
      {"unknown text", kString, L"french", "0", "0", "en_US"},
      {"not a string", kNumber, nullptr, "1033", "9", "en_US"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const std::string client =
        "OstraLanguageTest-" +
        strata::string::UTF16toStdString(strata::utility::Guid::CreateUnique().AsString());
    const UTF16String clientKey = L"Software\\Corvane\\" + strata::string::StdToUTF16String(client);
    HKEY key = nullptr;
    ASSERT_EQ(ERROR_FILE_NOT_FOUND,
              ::RegOpenKeyExW(HKEY_CURRENT_USER, clientKey.c_str(), 0, KEY_READ, &key));
    if (row.stored != kNoBaseKey) {
      ASSERT_EQ(ERROR_SUCCESS,
                ::RegCreateKeyExW(HKEY_CURRENT_USER, (clientKey + L"\\9.0").c_str(), 0, nullptr, 0,
                                  KEY_ALL_ACCESS, nullptr, &key, nullptr));
      if (row.stored == kString) {
        const UTF16String text(row.text);
        ::RegSetValueExW(key, L"Language", 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                         static_cast<DWORD>(2 * text.size() + 2));
      } else if (row.stored == kNumber) {
        const DWORD number = 1041;
        ::RegSetValueExW(key, L"Language", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number),
                         sizeof(number));
      }
      ::RegCloseKey(key);
    }

    std::map<std::string, std::string> seen = RunProbe(client);

    // Whatever happened, leave no key behind; Corvane itself goes only when
    // nothing else is under it.
    UTF16String stored(L"(none)");
    wchar_t buffer[64] = {};
    DWORD size = sizeof(buffer) - sizeof(wchar_t);
    if (::RegGetValueW(HKEY_CURRENT_USER, (clientKey + L"\\9.0").c_str(), L"Language",
                       RRF_RT_REG_SZ, nullptr, buffer, &size) == ERROR_SUCCESS)
      stored = buffer;
    ::RegDeleteTreeW(HKEY_CURRENT_USER, clientKey.c_str());
    ::RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\Corvane");

    ASSERT_FALSE(seen.empty()) << "LanguageProbe did not run";
    const std::string base = "Software\\Corvane\\" + client + "\\9.0\\";
    EXPECT_EQ(base, seen["base"]);
    EXPECT_EQ(base + "Help\\", seen["help"]);
    EXPECT_EQ(base + "Settings\\", seen["settings"]);
    EXPECT_EQ("Software\\Corvane\\" + client + "\\CurrentVersion", seen["current"]);
    EXPECT_EQ("agree", seen["threads"]);
    EXPECT_EQ(row.id, seen["id"]);
    EXPECT_EQ(row.primary, seen["primary"]);
    EXPECT_EQ(row.string, seen["string"]);
    EXPECT_EQ("1028", seen["override"]);
    if (row.stored == kString) {
      EXPECT_EQ(row.text, stored) << "the override must not be written";
    }
  }
}

}  // namespace
