// Listing cost of Directory's scanner over a flat folder of 20,000 files
// and a tree of 20,000 files, against a bare FindFirstFileW/FindNextFileW
// loop over the same folders in the same run. The files are created once
// under the temporary folder and removed at the end.
#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

#include "BenchHarness.h"
#include "Ostra/Directory.h"
#include "strata/Utility.h"

namespace {

using Ostra::Directory;
using Ostra::UTF16String;

const int kFileCount = 20000;
const unsigned int kNoLimit = 0xFFFFFFFFu;

void MakeEmptyFile(const UTF16String& inPath) {
  HANDLE file = ::CreateFileW(inPath.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  if (file != INVALID_HANDLE_VALUE) ::CloseHandle(file);
}

// 20 folders of 20 folders of 50 files: 20,000 files and 420 folders.
void MakeTree(const UTF16String& inRoot) {
  ::CreateDirectoryW(inRoot.c_str(), nullptr);
  int made = 0;
  for (int a = 0; a < 20; ++a) {
    const UTF16String outer = inRoot + L"\\album" + std::to_wstring(a);
    ::CreateDirectoryW(outer.c_str(), nullptr);
    for (int b = 0; b < 20; ++b) {
      const UTF16String inner = outer + L"\\take" + std::to_wstring(b);
      ::CreateDirectoryW(inner.c_str(), nullptr);
      for (int c = 0; c < 50 && made < kFileCount; ++c, ++made)
        MakeEmptyFile(inner + L"\\clip" + std::to_wstring(c) + L".wav");
    }
  }
}

void MakeFlat(const UTF16String& inRoot) {
  ::CreateDirectoryW(inRoot.c_str(), nullptr);
  for (int i = 0; i < kFileCount; ++i)
    MakeEmptyFile(inRoot + L"\\frame" + std::to_wstring(i) + L".dpx");
}

void RemoveTree(const UTF16String& inPath) {
  WIN32_FIND_DATAW entry;
  HANDLE find = ::FindFirstFileW((inPath + L"\\*").c_str(), &entry);
  if (find != INVALID_HANDLE_VALUE) {
    do {
      const UTF16String name = entry.cFileName;
      if (name == L"." || name == L"..") continue;
      const UTF16String child = inPath + L"\\" + name;
      if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        RemoveTree(child);
      else
        ::DeleteFileW(child.c_str());
    } while (::FindNextFileW(find, &entry));
    ::FindClose(find);
  }
  ::RemoveDirectoryW(inPath.c_str());
}

// The baseline: the same walk with nothing but the system's calls and the
// full path of each entry, as any listing must build it.
void BareWalk(const UTF16String& inPath, std::vector<UTF16String>& ioPaths) {
  WIN32_FIND_DATAW entry;
  HANDLE find = ::FindFirstFileW((inPath + L"\\*").c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return;
  do {
    if (entry.cFileName[0] == L'.' &&
        (entry.cFileName[1] == 0 || (entry.cFileName[1] == L'.' && entry.cFileName[2] == 0)))
      continue;
    const UTF16String child = inPath + L"\\" + entry.cFileName;
    if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) BareWalk(child, ioPaths);
    ioPaths.push_back(child);
  } while (::FindNextFileW(find, &entry));
  ::FindClose(find);
}

void Compare(const char* inTitle, const UTF16String& inRoot) {
  std::vector<UTF16String> bare;
  BareWalk(inRoot, bare);
  const std::uint64_t entries = bare.size();
  OstraBench::PrintHeader(inTitle);
  const OstraBench::Measurement base = OstraBench::Measure(
      "bare FindFirstFileW/FindNextFileW", entries,
      [&] {
        std::vector<UTF16String> paths;
        BareWalk(inRoot, paths);
        OstraBench::KeepAlive(paths.size());
      },
      OstraBench::kDefaultPasses, 0.5);
  const Directory directory = Directory::ConstructDirectory(inRoot);
  const OstraBench::Measurement scanner = OstraBench::Measure(
      "Directory::GetContainedPaths, recursive", entries,
      [&] {
        std::vector<UTF16String> paths;
        directory.GetContainedPaths(paths, true, kNoLimit, Directory::CancelFunction());
        OstraBench::KeepAlive(paths.size());
      },
      OstraBench::kDefaultPasses, 0.5);
  OstraBench::Report(base, base);
  OstraBench::Report(scanner, base);
  std::printf("%llu entries\n", static_cast<unsigned long long>(entries));
  OstraBench::Goal("recursive listing cost vs the bare loop", OstraBench::CostRatio(scanner, base),
                   1.5, false);
}

}  // namespace

int main() {
  wchar_t temp[MAX_PATH + 1] = {};
  const DWORD length = ::GetTempPathW(MAX_PATH + 1, temp);
  const UTF16String root =
      UTF16String(temp, length) + L"DirectoryBench-" +
      strata::utility::Guid::CreateUnique().AsString();
  ::CreateDirectoryW(root.c_str(), nullptr);
  std::printf("creating %d files twice under %ls ...\n", kFileCount, root.c_str());
  MakeFlat(root + L"\\flat");
  MakeTree(root + L"\\tree");
  Compare("Flat folder of 20,000 files", root + L"\\flat");
  Compare("Tree of 20,000 files in 420 folders", root + L"\\tree");
  RemoveTree(root);
  return 0;
}
