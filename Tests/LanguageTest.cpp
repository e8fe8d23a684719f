#include <windows.h>

#include <gtest/gtest.h>

#include <map>
#include <sstream>
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
  for (unsigned short id : {0, 2057, 1032, 0x0C09, 0xFFFF}) {
    SCOPED_TRACE(id);
    Ostra::SetLanguageID(id);
    EXPECT_EQ(L"en_US", Ostra::GetLanguageString());
  }
  Ostra::SetLanguageID(1041);
  EXPECT_EQ(Ostra::kLanguage_Japanese, Ostra::GetPrimaryLanguageID());
  Ostra::SetLanguageID(0x0C0A);  // Spanish (modern sort)
  EXPECT_EQ(Ostra::kLanguage_Spanish, Ostra::GetPrimaryLanguageID());
}

TEST(LanguageConstants, MatchWindowsLanguageIdentifiers) {
  EXPECT_EQ(1033, MAKELANGID(Ostra::kLanguage_English, Ostra::kSubLanguage_English_US));
  EXPECT_EQ(2052, MAKELANGID(Ostra::kLanguage_Chinese, Ostra::kSubLanguage_Chinese_Simplified));
  EXPECT_EQ(Ostra::kLanguage_Croatian, Ostra::kLanguage_Serbian);
  EXPECT_EQ(Ostra::kSubLanguage_Kashmiri_Sasia, Ostra::kSubLanguage_Kashmiri_India);
}

TEST(RegistryPaths, AreBuiltOnceFromClientNameAndVersion) {
  const UTF16String base = L"Software\\Corvane\\" + strata::config::GetClientName() + L"\\" +
                           strata::config::GetClientInternalVersion() + L"\\";
  EXPECT_EQ(base, Ostra::GetRegistryBaseKey());
  EXPECT_EQ(base + L"Help\\", Ostra::GetRegistryHelpKey());
  EXPECT_EQ(base + L"Settings\\", Ostra::GetRegistrySettingsKey());
  EXPECT_EQ(L"Software\\Corvane\\" + strata::config::GetClientName() + L"\\CurrentVersion",
            Ostra::GetRegistryCurrentVersionKey());
  EXPECT_EQ(&Ostra::GetRegistryBaseKey(), &Ostra::GetRegistryBaseKey());
}

// Runs LanguageProbe (beside this executable) and returns its name=value
// lines; empty when it could not be run.
std::map<std::string, std::string> RunProbe(const std::string& inClient) {
  UTF16String path = strata::utility::GetModulePath(nullptr);
  path = path.substr(0, path.find_last_of(L'\\') + 1) + L"LanguageProbe.exe";
  UTF16String commandLine =
      L"\"" + path + L"\" " + strata::string::StdToUTF16String(inClient) + L" 9.0";

  SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
  HANDLE readEnd = nullptr;
  HANDLE writeEnd = nullptr;
  if (!::CreatePipe(&readEnd, &writeEnd, &inherit, 0)) return {};
  ::SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = writeEnd;
  startup.hStdError = writeEnd;
  PROCESS_INFORMATION process = {};
  const BOOL started = ::CreateProcessW(path.c_str(), &commandLine[0], nullptr, nullptr, TRUE, 0,
                                        nullptr, nullptr, &startup, &process);
  ::CloseHandle(writeEnd);
  std::string output;
  if (started) {
    char buffer[512];
    DWORD got = 0;
    while (::ReadFile(readEnd, buffer, sizeof(buffer), &got, nullptr) && got)
      output.append(buffer, got);
    ::WaitForSingleObject(process.hProcess, 60000);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
  }
  ::CloseHandle(readEnd);

  std::map<std::string, std::string> values;
  std::istringstream lines(output);
  std::string line;
  while (std::getline(lines, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const std::size_t equals = line.find('=');
    if (equals != std::string::npos) values[line.substr(0, equals)] = line.substr(equals + 1);
  }
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
