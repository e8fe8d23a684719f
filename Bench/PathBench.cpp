// Throughput of the path string functions every file operation runs
// through, over a mix of the paths hosts pass (local, network, long-form,
// relative, bare names, deep media trees), each against copying the same
// strings in the same run.
#include <cstdio>
#include <vector>

#include "BenchHarness.h"
#include "Ostra/PathUtils.h"

namespace {

using Ostra::UTF16String;
namespace PathUtils = Ostra::PathUtils;

std::vector<UTF16String> MakePathMix() {
  const UTF16String folders[] = {L"Projects", L"Media", L"Footage 2024", L"Audio.stems",
                                 L"Renders", L"cache"};
  const UTF16String names[] = {L"clip0001", L"Interview_A", L"mix.final", L"thumb", L".profile",
                               L"README"};
  const UTF16String extensions[] = {L".mov", L".wav", L".txt", L".mxf", L"", L".xml"};
  std::vector<UTF16String> paths;
  for (int i = 0; i < 1200; ++i) {
    const UTF16String& folder = folders[i % 6];
    const UTF16String& sub = folders[(i / 6) % 6];
    const UTF16String file = names[(i / 36) % 6] + extensions[(i / 7) % 6];
    switch (i % 8) {
      case 0: paths.push_back(L"C:\\Users\\editor\\" + folder + L"\\" + file); break;
      case 1: paths.push_back(L"D:\\" + folder + L"\\" + sub + L"\\" + file); break;
      case 2: paths.push_back(L"\\\\mediaserver\\share\\" + folder + L"\\" + file); break;
      case 3: paths.push_back(L"\\\\?\\E:\\" + folder + L"\\" + sub + L"\\" + file); break;
      case 4: paths.push_back(folder + L"\\" + file); break;
      case 5: paths.push_back(file); break;
      case 6: paths.push_back(L"C:/Work/" + folder + L"/" + file); break;
      default: {
        UTF16String deep = L"F:";
        for (int level = 0; level < 8; ++level) deep += L"\\" + folders[(i + level) % 6];
        paths.push_back(deep + L"\\" + file);
      }
    }
  }
  return paths;
}

}  // namespace

int main() {
  const std::vector<UTF16String> paths = MakePathMix();
  std::size_t characters = 0;
  for (const UTF16String& path : paths) characters += path.size();
  std::printf("PathBench: %zu paths, %.1f characters on average\n", paths.size(),
              static_cast<double>(characters) / paths.size());
  const std::uint64_t count = paths.size();

  const OstraBench::Measurement copy = OstraBench::Measure("copy (baseline)", count, [&] {
    for (const UTF16String& path : paths) {
      const UTF16String copied(path);
      OstraBench::KeepAlive(copied.size());
    }
  });
  const OstraBench::Measurement normalize = OstraBench::Measure("ToNormalizedPath", count, [&] {
    for (const UTF16String& path : paths)
      OstraBench::KeepAlive(PathUtils::ToNormalizedPath(path).size());
  });
  const OstraBench::Measurement split = OstraBench::Measure("SplitPath (new outputs)", count, [&] {
    for (const UTF16String& path : paths) {
      UTF16String drive, directory, file, extension;
      PathUtils::SplitPath(path, &drive, &directory, &file, &extension);
      OstraBench::KeepAlive(drive.size() + directory.size() + file.size() + extension.size());
    }
  });
  const OstraBench::Measurement splitReused =
      OstraBench::Measure("SplitPath (outputs reused)", count, [&] {
        UTF16String drive, directory, file, extension;
        for (const UTF16String& path : paths) {
          PathUtils::SplitPath(path, &drive, &directory, &file, &extension);
          OstraBench::KeepAlive(drive.size() + directory.size() + file.size() + extension.size());
        }
      });
  const OstraBench::Measurement extension = OstraBench::Measure("GetExtensionPart", count, [&] {
    for (const UTF16String& path : paths)
      OstraBench::KeepAlive(PathUtils::GetExtensionPart(path).size());
  });
  const UTF16String wanted = L"wav";
  const OstraBench::Measurement hasExtension = OstraBench::Measure("FileHasExtension", count, [&] {
    for (const UTF16String& path : paths)
      OstraBench::KeepAlive(PathUtils::FileHasExtension(path, wanted));
  });

  OstraBench::PrintHeader("Path strings (x base: cost as a multiple of copying the path)");
  for (const OstraBench::Measurement* result :
       {&copy, &normalize, &split, &splitReused, &extension, &hasExtension})
    OstraBench::Report(*result, copy);

  // Goals: 5 million paths a second and at most 4 copies' worth of work.
  std::printf("\nGoals:\n");
  for (const OstraBench::Measurement* result : {&normalize, &split, &splitReused}) {
    std::printf("  %s: %.0f paths/s (target >= 5000000): %s\n", result->name.c_str(),
                result->ItemsPerSecond(), result->ItemsPerSecond() >= 5e6 ? "met" : "NOT MET");
    OstraBench::Goal((result->name + " cost vs copy").c_str(),
                     OstraBench::CostRatio(*result, copy), 4.0, false);
  }
  return 0;
}
