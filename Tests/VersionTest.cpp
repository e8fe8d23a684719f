// The project's one version reaches each library's macros, its run-time
// query and its DLL's version resource.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Ostra/OstraFoundation.h"
#include "strata/Strata.h"
#include "stratamedia/StrataMedia.h"

namespace {

std::string Dotted(unsigned inMajor, unsigned inMinor, unsigned inPatch) {
  return std::to_string(inMajor) + "." + std::to_string(inMinor) + "." + std::to_string(inPatch);
}

template <typename Version>
std::string Dotted(const Version& inVersion) {
  return Dotted(inVersion.mMajor, inVersion.mMinor, inVersion.mPatch);
}

// The file and product versions of a loaded DLL's VERSIONINFO resource,
// as "a.b.c" (the fourth number must be 0) and as their strings.
struct ResourceVersions {
  std::string fileVersion;
  std::string productVersion;
  std::wstring fileText;
  std::wstring productText;
  std::wstring productName;
};

std::wstring QueryText(const std::vector<BYTE>& inInfo, const wchar_t* inName) {
  wchar_t* text = nullptr;
  UINT length = 0;
  const std::wstring path = std::wstring(L"\\StringFileInfo\\040904B0\\") + inName;
  if (!::VerQueryValueW(inInfo.data(), path.c_str(), reinterpret_cast<void**>(&text), &length) ||
      !text)
    return L"(missing)";
  return std::wstring(text);
}

std::string FixedVersion(DWORD inHigh, DWORD inLow) {
  return LOWORD(inLow) != 0 ? "(fourth number not 0)"
                            : Dotted(HIWORD(inHigh), LOWORD(inHigh), HIWORD(inLow));
}

ResourceVersions ReadResource(const wchar_t* inDll) {
  ResourceVersions versions;
  const HMODULE module = ::GetModuleHandleW(inDll);
  if (!module) return versions;
  const std::wstring path = strata::utility::GetModulePath(module);
  DWORD ignored = 0;
  const DWORD size = ::GetFileVersionInfoSizeW(path.c_str(), &ignored);
  if (size == 0) return versions;
  std::vector<BYTE> info(size);
  if (!::GetFileVersionInfoW(path.c_str(), 0, size, info.data())) return versions;
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT length = 0;
  if (::VerQueryValueW(info.data(), L"\\", reinterpret_cast<void**>(&fixed), &length) && fixed &&
      length >= sizeof(VS_FIXEDFILEINFO)) {
    versions.fileVersion = FixedVersion(fixed->dwFileVersionMS, fixed->dwFileVersionLS);
    versions.productVersion = FixedVersion(fixed->dwProductVersionMS, fixed->dwProductVersionLS);
  }
  versions.fileText = QueryText(info, L"FileVersion");
  versions.productText = QueryText(info, L"ProductVersion");
  versions.productName = QueryText(info, L"ProductName");
  return versions;
}

TEST(Version, MacrosQueriesAndResourcesAgreeWithTheProject) {
  const std::string project = OSTRA_TEST_PROJECT_VERSION;
  const std::wstring projectWide(project.begin(), project.end());
  const struct {
    const wchar_t* dll;
    std::string macros;
    const char* macroText;
    std::string loaded;
    const char* loadedText;
  } libraries[] = {
      {L"strata.dll", Dotted(STRATA_VERSION_MAJOR, STRATA_VERSION_MINOR, STRATA_VERSION_PATCH),
       STRATA_VERSION_STRING, Dotted(strata::GetVersion()), strata::GetVersionString()},
      {L"stratamedia.dll",
       Dotted(STRATAMEDIA_VERSION_MAJOR, STRATAMEDIA_VERSION_MINOR, STRATAMEDIA_VERSION_PATCH),
       STRATAMEDIA_VERSION_STRING, Dotted(stratamedia::GetVersion()),
       stratamedia::GetVersionString()},
      {L"OstraFoundation.dll", Dotted(OSTRA_VERSION_MAJOR, OSTRA_VERSION_MINOR, OSTRA_VERSION_PATCH),
       OSTRA_VERSION_STRING, Dotted(Ostra::GetVersion()), Ostra::GetVersionString()},
  };
  for (const auto& library : libraries) {
    SCOPED_TRACE(strata::string::UTF16toStdString(library.dll));
    EXPECT_EQ(project, library.macros);
    EXPECT_EQ(project, library.macroText);
    EXPECT_EQ(project, library.loaded);
    EXPECT_EQ(project, library.loadedText);
    const ResourceVersions resource = ReadResource(library.dll);
    EXPECT_EQ(project, resource.fileVersion);
    EXPECT_EQ(project, resource.productVersion);
    EXPECT_EQ(projectWide, resource.fileText);
    EXPECT_EQ(projectWide, resource.productText);
    EXPECT_EQ(L"OstraFoundation", resource.productName);
  }
}

}  // namespace
