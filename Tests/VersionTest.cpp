// The project's one version reaches each library's macros and its run-time
// query. The DLLs' version resources are read back by the version_resources
// check (CheckVersions.cmake).
#include <gtest/gtest.h>

#include <string>

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

TEST(Version, MacrosAndQueriesOfEveryLibraryAgreeWithTheProject) {
  const struct {
    const char* library;
    std::string macros, macroText, loaded, loadedText;
  } libraries[] = {
      {"strata", Dotted(STRATA_VERSION_MAJOR, STRATA_VERSION_MINOR, STRATA_VERSION_PATCH),
       STRATA_VERSION_STRING, Dotted(strata::GetVersion()), strata::GetVersionString()},
      {"stratamedia",
       Dotted(STRATAMEDIA_VERSION_MAJOR, STRATAMEDIA_VERSION_MINOR, STRATAMEDIA_VERSION_PATCH),
       STRATAMEDIA_VERSION_STRING, Dotted(stratamedia::GetVersion()),
       stratamedia::GetVersionString()},
      {"OstraFoundation", Dotted(OSTRA_VERSION_MAJOR, OSTRA_VERSION_MINOR, OSTRA_VERSION_PATCH),
       OSTRA_VERSION_STRING, Dotted(Ostra::GetVersion()), Ostra::GetVersionString()},
  };
  for (const auto& row : libraries) {
    SCOPED_TRACE(row.library);
    for (const std::string& version : {row.macros, row.macroText, row.loaded, row.loadedText})
      EXPECT_EQ(OSTRA_TEST_PROJECT_VERSION, version);
  }
}

}  // namespace
