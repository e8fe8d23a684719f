#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "DiskUtilsPrivate.h"
#include "Ostra/DiskUtils.h"
#include "Ostra/PathUtils.h"
#include "Ostra/Result.h"
#include "Support/Dialogs.h"
#include "Support/TempDirectoryTest.h"
#include "Support/TraceCapture.h"

namespace {

namespace DiskUtils = Ostra::DiskUtils;
using Ostra::UTF16String;

using OstraTest::Show;

// A drive letter with no volume behind it, or 0 when all are taken.
wchar_t FindUnusedDriveLetter() {
  const DWORD used = ::GetLogicalDrives();
  for (int letter = 'Z'; letter >= 'D'; --letter)
    if (!(used & (1u << (letter - 'A')))) return static_cast<wchar_t>(letter);
  return 0;
}

TEST(VolumeRoot, ReducesAPathToTheRootOfItsVolume) {
  const struct {
    UTF16String path, root;
  } rows[] = {
      {LR"(\\?\D:\x\y)", LR"(\\?\D:\)"},
      {LR"(C:\a\b\c.txt)", LR"(\\?\C:\)"},
      {L"C:", LR"(\\?\C:\)"},
      {LR"(c:\)", LR"(\\?\c:\)"},
      {LR"(\\?\UNC\srv\share\x)", LR"(\\?\UNC\srv\share\)"},
      {LR"(\\srv\share\dir\f)", LR"(\\?\UNC\srv\share\)"},
      {LR"(\\srv\share)", LR"(\\?\UNC\srv\share\)"},  // the share without its backslash
      {LR"(\\srv\share\)", LR"(\\?\UNC\srv\share\)"},
      {LR"(rel\a\b)", LR"(rel\)"},  // walked up as far as it goes
      {L"", L""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.path));
    EXPECT_EQ(row.root, DiskUtils::Internal::GetVolumeRootFromPath(row.path));
  }
  // Odd input never breaks the walk.
  for (const UTF16String& odd : {UTF16String(LR"(\\)"), UTF16String(LR"(\\?\UNC\\x\y)"),
                                 UTF16String(LR"(\\?\)"), UTF16String(L"\\"), UTF16String(L"a"),
                                 UTF16String(32 * 1024, L'\\'), UTF16String(L"a\\\0\\b", 5)}) {
    SCOPED_TRACE(Show(odd));
    const UTF16String root = DiskUtils::Internal::GetVolumeRootFromPath(odd);
    EXPECT_TRUE(root.empty() || root.back() == L'\\') << Show(root);
  }
}

TEST(EfficientBufferSize, IsTheSectorSizeRoundedUpToAPowerOfTwo) {
  const struct {
    std::uint32_t sector, buffer;
  } rows[] = {{0, 4096},    {512, 512},   {520, 1024},  {1, 1},
              {3, 4},       {4096, 4096}, {4097, 8192}, {0x40000000u, 0x40000000u}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.sector);
    EXPECT_EQ(row.buffer, DiskUtils::Internal::EfficientBufferSizeFromSectorSize(row.sector));
  }
}

TEST(MaxFileSize, IsCappedOnlyOnFatFileSystems) {
  const std::uint64_t kLots = 0x500000000ull;
  EXPECT_EQ(0xFFFFFFFFull, DiskUtils::Internal::CapFileSizeForFileSystem(kLots, L"FAT32"));
  EXPECT_EQ(0xFFFFFFFFull, DiskUtils::Internal::CapFileSizeForFileSystem(kLots, L"FAT"));
  EXPECT_EQ(kLots, DiskUtils::Internal::CapFileSizeForFileSystem(kLots, L"NTFS"));
  EXPECT_EQ(kLots, DiskUtils::Internal::CapFileSizeForFileSystem(kLots, L"exFAT"));
  EXPECT_EQ(kLots, DiskUtils::Internal::CapFileSizeForFileSystem(kLots, L"fat32"));
  EXPECT_EQ(kLots, DiskUtils::Internal::CapFileSizeForFileSystem(kLots, L"FA"));
  EXPECT_EQ(kLots, DiskUtils::Internal::CapFileSizeForFileSystem(kLots, L""));
}

class DiskUtilsTest : public OstraTest::TempDirectoryTest {};

TEST_F(DiskUtilsTest, AnswerForTheTempVolumeWhetherThePathExistsOrNot) {
  const UTF16String missingBelowTemp = Ostra::PathUtils::GetTempDirectory() +
                                       strata::utility::Guid::CreateUnique().AsString() +
                                       L"\\leaf.txt";
  const UTF16String paths[] = {GetPath(), Ostra::PathUtils::ToNormalizedPath(GetPath()),
                               MakeFile(L"present.txt"), PathOf(L"missing.txt"),
                               missingBelowTemp};
  for (const UTF16String& path : paths) {
    SCOPED_TRACE(Show(path));
    std::uint32_t bufferSize = 0;
    EXPECT_EQ(Ostra::kSuccess, DiskUtils::GetEfficientDiskBufferSizeFromPath(path, bufferSize));
    EXPECT_GT(bufferSize, 0u);
    EXPECT_EQ(0u, bufferSize & (bufferSize - 1)) << bufferSize << " is no power of two";

    EXPECT_GT(DiskUtils::GetFreeSpaceFromPath(path), 0u);
    std::uint64_t maxSize = 0;
    EXPECT_EQ(Ostra::kSuccess, DiskUtils::GetMaxFileSize(path, maxSize));
    EXPECT_GT(maxSize, 0u);
  }
}

TEST(DiskUtils, FailuresComeBackAsCodesAndLeaveOutputsAlone) {
  EXPECT_EQ(0u, DiskUtils::GetFreeSpaceFromPath(L""));
  std::uint64_t maxSize = 12345;
  EXPECT_FALSE(strata::ResultSucceeded(DiskUtils::GetMaxFileSize(L"", maxSize)));
  EXPECT_EQ(12345u, maxSize);

  const wchar_t letter = FindUnusedDriveLetter();
  if (!letter) GTEST_SKIP() << "every drive letter is in use";
  const UTF16String missingVolume = UTF16String(1, letter) + L":\\dir\\file.txt";
  EXPECT_EQ(0u, DiskUtils::GetFreeSpaceFromPath(missingVolume));
  EXPECT_FALSE(strata::ResultSucceeded(DiskUtils::GetMaxFileSize(missingVolume, maxSize)));
  EXPECT_EQ(12345u, maxSize);

  OstraTest::TraceCapture trace("Ostra:WinDiskUtils", 7);
  std::uint32_t bufferSize = 0;
  EXPECT_FALSE(strata::ResultSucceeded(
      DiskUtils::GetEfficientDiskBufferSizeFromPath(missingVolume, bufferSize)));
  const std::vector<std::string> lines = trace.Lines();
  const std::string start = "Ostra:WinDiskUtils:7 GetDiskFreeSpaceW failed with error: ";
  ASSERT_EQ(1u, lines.size());
  EXPECT_EQ(0u, lines[0].find(start)) << lines[0];
  EXPECT_GT(lines[0].size(), start.size()) << "no system message";
}

TEST(DiskUtils, MakeDiskSpaceStringShowsTwoDecimalsAndAUnit) {
  EXPECT_EQ(L"1.50 KB", DiskUtils::MakeDiskSpaceString(1536));
  EXPECT_EQ(strata::string::NumberToMemoryString(5ull << 40, 2, false),
            DiskUtils::MakeDiskSpaceString(5ull << 40));
}

}  // namespace
