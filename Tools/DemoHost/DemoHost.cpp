// The demo host: uses OstraFoundation the way an application does and
// prints a readable report of each step.
#include <windows.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Ostra/OstraFoundation.h"
#include "SampleResourceIds.h"
#include "strata/Strata.h"
#include "stratamedia/StrataMedia.h"

namespace {

using strata::classref::InterfaceRef;
using strata::classref::MakeInterface;
using Ostra::UTF16String;

void Heading(const char* inTitle) { std::printf("\n== %s ==\n", inTitle); }

// Wine's ntdll exports its version; Windows' does not.
bool RunsUnderWine() {
  const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
  return ntdll && ::GetProcAddress(ntdll, "wine_get_version");
}

std::string Narrow(const UTF16String& inText) { return strata::string::UTF16toStdString(inText); }

const char* ResultName(Ostra::Result inResult) {
  switch (inResult) {
    case Ostra::kSuccess: return "kSuccess";
    case Ostra::kKeyAlreadyExists: return "kKeyAlreadyExists";
    case Ostra::eUnknown: return "eUnknown";
    case Ostra::eDiskFull: return "eDiskFull";
    case Ostra::eFileNotFound: return "eFileNotFound";
    case Ostra::ePathNotFound: return "ePathNotFound";
    case Ostra::eAccessDenied: return "eAccessDenied";
    case Ostra::eOutOfMemory: return "eOutOfMemory";
    case Ostra::eCanceled: return "eCanceled";
    case Ostra::eOperationFailed: return "eOperationFailed";
    case Ostra::eSharingViolation: return "eSharingViolation";
    case Ostra::eFileAlreadyExists: return "eFileAlreadyExists";
    case Ostra::eFailure: return "eFailure";
    default: return "(unnamed)";
  }
}

void ReportLoadedLibraries() {
  Heading("Loaded libraries");
  for (const wchar_t* name : {L"strata.dll", L"stratamedia.dll", L"OstraFoundation.dll"}) {
    HMODULE module = ::GetModuleHandleW(name);
    std::printf("  %-20s %s\n", Narrow(name).c_str(),
                module ? Narrow(strata::utility::GetModulePath(module)).c_str() : "NOT LOADED");
  }
  // A host compares the DLLs it loaded with the headers it was built with.
  std::printf("  versions loaded      strata %s, stratamedia %s, OstraFoundation %s\n",
              strata::GetVersionString(), stratamedia::GetVersionString(),
              Ostra::GetVersionString());
  std::printf("  compiled against     %s, %s, %s\n", STRATA_VERSION_STRING,
              STRATAMEDIA_VERSION_STRING, OSTRA_VERSION_STRING);
  std::printf("  client               %s %s\n", Narrow(strata::config::GetClientName()).c_str(),
              Narrow(strata::config::GetClientInternalVersion()).c_str());
}

void ReportResultCodes() {
  Heading("Result codes");
  const Ostra::Result codes[] = {Ostra::kSuccess, Ostra::kKeyAlreadyExists, Ostra::eUnknown,
                                 Ostra::eDiskFull, Ostra::eFileNotFound, Ostra::ePathNotFound,
                                 Ostra::eAccessDenied, Ostra::eOutOfMemory, Ostra::eCanceled,
                                 Ostra::eOperationFailed, Ostra::eSharingViolation,
                                 Ostra::eFileAlreadyExists, Ostra::eFailure};
  for (Ostra::Result code : codes)
    std::printf("  %-20s 0x%08lX  %s\n", ResultName(code), static_cast<unsigned long>(code),
                strata::ResultSucceeded(code) ? "succeeded" : "failed");
}

void ReportErrorMapping() {
  Heading("Windows errors mapped to results");
  const struct {
    unsigned long code;
    const char* name;
    const char* note;
  } errors[] = {
      {0, "ERROR_SUCCESS", " (never kSuccess: translate only after a call failed)"},
      {2, "ERROR_FILE_NOT_FOUND", ""},
      {3, "ERROR_PATH_NOT_FOUND", ""},
      {5, "ERROR_ACCESS_DENIED", ""},
      {32, "ERROR_SHARING_VIOLATION", ""},
      {39, "ERROR_HANDLE_DISK_FULL", ""},
      {80, "ERROR_FILE_EXISTS", " (not mapped: only 183 means an existing file)"},
      {112, "ERROR_DISK_FULL", ""},
      {183, "ERROR_ALREADY_EXISTS", ""}};
  for (const auto& error : errors)
    std::printf("  %4lu %-24s -> %s%s\n", error.code, error.name,
                ResultName(Ostra::Win::SystemErrorToOstraResult(error.code)), error.note);

  // A real failure, translated right after the call as the library does.
  HANDLE file = ::CreateFileW(L"C:\\ostra-demo-does-not-exist\\missing.txt", GENERIC_READ, 0,
                              nullptr, OPEN_EXISTING, 0, nullptr);
  const DWORD error = ::GetLastError();
  if (file != INVALID_HANDLE_VALUE) ::CloseHandle(file);
  std::printf("  opening a file in a missing folder: error %lu -> %s\n", error,
              ResultName(Ostra::Win::SystemErrorToOstraResult(error)));
}

// A minimal block cache for the demo: it only counts what it is asked.
class DemoFactory : public Ostra::IFileBufferFactory {
 public:
  explicit DemoFactory(const char* inName) : mName(inName) {
    std::printf("  factory '%s' created\n", mName);
  }
  ~DemoFactory() override { std::printf("  factory '%s' released by its last owner\n", mName); }
  InterfaceRef<Ostra::IFileBuffer> CreateFileBuffer() override { return {}; }

 private:
  const char* mName;
};

void ReportBlockCacheFactory() {
  Heading("Block-cache factory");
  InterfaceRef<Ostra::IFileBufferFactory> first = MakeInterface<DemoFactory>("first");
  Ostra::Foundation::SetFileBufferFactory(first);
  std::printf("  installed 'first': references %d (host + library)\n", first->GetRefCount());

  Ostra::Foundation::SetFileBufferFactory(MakeInterface<DemoFactory>("second"));
  std::printf("  installed 'second': 'first' references %d (host only)\n", first->GetRefCount());
  first.Reset();

  std::printf("  uninstalling:\n");
  Ostra::Foundation::SetFileBufferFactory({});
}

void ReportDiagnostics() {
  Heading("Diagnostics");
  strata::debug::SetTraceLevel("Demo", 5);
  strata::debug::SetTraceSink([](const char* inCategory, int inLevel, const std::string& inText) {
    std::printf("  trace [%s:%d] %s\n", inCategory, inLevel, inText.c_str());
  });
  STRATA_TRACE("Demo", 3, "enabled category, level 3: traced");
  STRATA_TRACE("Demo", 7, "level 7 is above the category's 5: not traced");
  strata::debug::SetTraceSink({});

  strata::debug::SetDialogHook([](const strata::debug::DialogInfo& inInfo) {
    std::printf("  contract dialog: '%s' in %s (%s, line %d)\n", inInfo.condition.c_str(),
                inInfo.function.c_str(), inInfo.file.c_str(), inInfo.line);
    return strata::debug::DialogAction::kContinue;
  });
  try {
    const UTF16String empty;
    STRATA_INPUT_CONTRACT(!empty.empty());
  } catch (const strata::config::strata_exception& e) {
    std::printf("  raised: %s\n", e.GetSource().c_str());
  }
  strata::debug::SetDialogHook({});
}

void ReportTimecode() {
  Heading("Timecode");
  using namespace stratamedia;
  const struct {
    const char* name;
    TimeDisplayType::Type format;
    FrameRate rate;
  } formats[] = {
      {"24", TimeDisplayType::kTimecode24, kFrameRate_Film24},
      {"25", TimeDisplayType::kTimecode25, kFrameRate_VideoPAL},
      {"29.97 DF", TimeDisplayType::kTimecodeNTSCDrop, kFrameRate_VideoNTSC},
      {"29.97 NDF", TimeDisplayType::kTimecodeNTSCNonDrop, kFrameRate_VideoNTSC},
      {"59.94 DF", TimeDisplayType::kTimecodeNTSC60Drop, kFrameRate_VideoNTSC60},
      {"frames@25", TimeDisplayType::kFrameCount, kFrameRate_VideoPAL},
      {"feet16@24", TimeDisplayType::kFeetFrames16, kFrameRate_Film24},
  };
  const struct {
    const char* name;
    TickTime time;
  } times[] = {
      {"0", kTime_Zero},
      {"1 s", TickTime(kTicksPerSecond)},
      {"1800 NTSC frames", FramesToTime(1800, kFrameRate_VideoNTSC)},
      {"10 min", TickTime(600 * kTicksPerSecond)},
      {"1 h", TickTime(3600 * kTicksPerSecond)},
      {"-1 s", TickTime(-kTicksPerSecond)},
  };
  std::printf("  %-17s", "time");
  for (const auto& format : formats) std::printf(" %13s", format.name);
  std::printf("\n");
  for (const auto& time : times) {
    std::printf("  %-17s", time.name);
    for (const auto& format : formats) {
      const Ostra::Timecode timecode(time.time, format.rate, format.format);
      std::printf(" %13s", Narrow(timecode.GetString()).c_str());
    }
    std::printf("\n");
  }

  Ostra::Timecode::Style signedStyle;
  signedStyle.mAllowNegative = true;
  const Ostra::Timecode before(TickTime(-kTicksPerSecond), kFrameRate_VideoPAL,
                               TimeDisplayType::kTimecode25, signedStyle);
  std::printf("  -1 s at 25 with negative times allowed: %s\n", Narrow(before.GetString()).c_str());
  int h = 0, m = 0, s = 0;
  std::int64_t f = 0;
  const Ostra::Timecode wrapped(TickTime(-kTicksPerSecond), kFrameRate_VideoPAL,
                                TimeDisplayType::kTimecode25);
  wrapped.GetHMSF(h, m, s, f);
  std::printf("  GetHMSF of -1 s without them: %d, %d, %d, %lld (hours wrap to 23, the rest"
              " is the magnitude of 1 s)\n",
              h, m, s, static_cast<long long>(f));

  Ostra::Timecode film(kTime_Zero, kFrameRate_Film24, TimeDisplayType::kTimecode24);
  film.SetTime(UTF16String(L"01:00:10:12"));
  Ostra::Timecode conformed;
  const Ostra::Result result = Ostra::Timecode::ConformTimecode(
      film, kFrameRate_VideoNTSC, TimeDisplayType::kTimecodeNTSCDrop, conformed);
  std::printf("  conform %s at 24 to 30000/1001 drop-frame: %s (%s)\n",
              Narrow(film.GetString()).c_str(), Narrow(conformed.GetString()).c_str(),
              ResultName(result));
  std::printf("  unreadable text \"12:xx\" reads as %lld ticks\n",
              static_cast<long long>(
                  Ostra::Timecode::StringToTime(L"12:xx", kFrameRate_VideoNTSC,
                                                TimeDisplayType::kTimecodeNTSCDrop, false)
                      .GetTicks()));
}

void ReportColor() {
  Heading("Colour");
  const Ostra::RGBColor colors[] = {
      Ostra::RGBColor(255, 0, 0),     Ostra::RGBColor(255, 128, 128), Ostra::RGBColor(128, 128, 128),
      Ostra::RGBColor(0, 0, 128),     Ostra::RGBColor(255, 255, 255), Ostra::RGBColor(10, 200, 30)};
  for (const Ostra::RGBColor& color : colors) {
    std::uint32_t hslH = 0, hslS = 0, hslL = 0, hsvH = 0, hsvS = 0, hsvV = 0;
    Ostra::ColorRGBtoHSL(color, hslH, hslS, hslL);
    Ostra::ColorRGBtoHSV(color, hsvH, hsvS, hsvV);
    unsigned char y;
    signed char u, v;
    Ostra::ColorRGBtoYUV(color, y, u, v);
    Ostra::RGBColor back;
    const bool inRange = Ostra::ColorYUVtoRGB(y, u, v, back);
    const float r = color.mRed / 255.0f, g = color.mGreen / 255.0f, b = color.mBlue / 255.0f;
    float luma, pb, pr, yiqY, i, q, ire, ireChroma, mv, mvChroma;
    Ostra::ColorRGBToYPbPr(r, g, b, luma, pb, pr);
    Ostra::ColorYPbPrToYIQ(luma, pb, pr, yiqY, i, q);
    Ostra::ColorRGBToIRE(r, g, b, ire, ireChroma);
    Ostra::ColorRGBToMV(r, g, b, mv, mvChroma);
    Ostra::RGBColor web;
    const bool webSafe = Ostra::MakeRGBWebSafe(color, web);
    std::printf("  RGB %3d,%3d,%3d\n", color.mRed, color.mGreen, color.mBlue);
    std::printf("    HSL %3u,%3u,%3u  HSV %3u,%3u,%3u  YUV %3d,%4d,%4d -> RGB %3d,%3d,%3d%s\n",
                hslH, hslS, hslL, hsvH, hsvS, hsvV, y, u, v, back.mRed, back.mGreen, back.mBlue,
                inRange ? "" : " (clamped)");
    std::printf("    Y'PbPr %.3f,%+.3f,%+.3f  YIQ %.3f,%+.3f,%+.3f  %.1f IRE / %.1f mV"
                " (chroma %.1f IRE)  web %3d,%3d,%3d%s\n",
                luma, pb, pr, yiqY, i, q, ire, mv, ireChroma, web.mRed, web.mGreen, web.mBlue,
                webSafe ? " (already safe)" : "");
  }
  Ostra::RGBColor black(9, 9, 9);
  Ostra::ColorHSLtoRGB(360, 100, 50, black);
  std::printf("  HSL 360,100,50 -> RGB %d,%d,%d (a full turn is black)\n", black.mRed,
              black.mGreen, black.mBlue);
}

std::string Part(const UTF16String& inText) {
  return inText.empty() ? std::string("-") : "'" + Narrow(inText) + "'";
}

void ReportPaths() {
  Heading("Paths");
  const UTF16String samples[] = {L"C:\\Media\\Footage\\clip0001.mov",
                                 L"\\\\server\\share\\mix.final.wav", L"D:",
                                 L"relative\\take.2.xml", L"C:\\ver1.2\\readme"};
  for (const UTF16String& path : samples) {
    UTF16String drive, directory, file, extension;
    Ostra::PathUtils::SplitPath(path, &drive, &directory, &file, &extension);
    std::printf("  %s\n    normalised %s\n"
                "    split      drive %s, folder %s, name %s, extension %s\n",
                Narrow(path).c_str(), Narrow(Ostra::PathUtils::ToNormalizedPath(path)).c_str(),
                Part(drive).c_str(), Part(directory).c_str(), Part(file).c_str(),
                Part(extension).c_str());
  }
  const UTF16String temp = Ostra::PathUtils::GetTempDirectory();
  std::printf("  temporary directory %s (exists: %s)\n", Narrow(temp).c_str(),
              Ostra::PathUtils::IsDirectory(temp) ? "yes" : "no");

  // A folder tree deeper than the classic 260-character limit, queried in
  // its normal form and shown to the user by its display string.
  const UTF16String top = temp + L"OstraDemo-" + strata::utility::Guid::CreateUnique().AsString();
  std::vector<UTF16String> levels = {top};
  while (levels.back().size() <= 300) levels.push_back(levels.back() + L"\\Scene Footage Level");
  for (const UTF16String& level : levels)
    ::CreateDirectoryW(Ostra::PathUtils::ToNormalizedPath(level).c_str(), nullptr);
  const UTF16String deep = Ostra::PathUtils::ToNormalizedPath(levels.back());
  const UTF16String display = Ostra::PathUtils::GetDisplayStringFromPath(deep);
  std::printf("  a path of %zu characters: exists %s, directory %s, empty %s\n", deep.size(),
              Ostra::PathUtils::ExistsOnDisk(deep, false) ? "yes" : "no",
              Ostra::PathUtils::IsDirectory(deep) ? "yes" : "no",
              Ostra::PathUtils::IsDirectoryEmpty(deep) ? "yes" : "no");
  std::printf("    display string (%zu characters): %s...%s\n", display.size(),
              Narrow(display.substr(0, 40)).c_str(),
              Narrow(display.substr(display.size() > 40 ? display.size() - 40 : 0)).c_str());
  std::printf("    leaf display string: %s\n",
              Narrow(Ostra::PathUtils::GetLeafDisplayStringFromPath(deep)).c_str());
  for (auto level = levels.rbegin(); level != levels.rend(); ++level)
    ::RemoveDirectoryW(Ostra::PathUtils::ToNormalizedPath(*level).c_str());
}

void ReportDisk() {
  Heading("Disk of the temporary directory");
  const UTF16String temp = Ostra::PathUtils::GetTempDirectory();
  std::uint32_t bufferSize = 0;
  const Ostra::Result sizeResult =
      Ostra::DiskUtils::GetEfficientDiskBufferSizeFromPath(temp, bufferSize);
  std::printf("  efficient buffer (sector) size  %s: %lu bytes\n", ResultName(sizeResult),
              static_cast<unsigned long>(bufferSize));
  const std::uint64_t freeBytes = Ostra::DiskUtils::GetFreeSpaceFromPath(temp);
  std::printf("  free space                      %s (%llu bytes)\n",
              Narrow(Ostra::DiskUtils::MakeDiskSpaceString(freeBytes)).c_str(),
              static_cast<unsigned long long>(freeBytes));
  std::uint64_t maxSize = 0;
  const Ostra::Result maxResult = Ostra::DiskUtils::GetMaxFileSize(temp, maxSize);
  std::printf("  largest file                    %s: %s\n", ResultName(maxResult),
              Narrow(Ostra::DiskUtils::MakeDiskSpaceString(maxSize)).c_str());
}

void ReportErrorTexts() {
  Heading("Error texts");
  std::printf("  Win32 error 2: %s", Narrow(Ostra::Win32ErrorCodeToMessage(2)).c_str());
  EXCEPTION_RECORD record = {};
  record.ExceptionCode = EXCEPTION_ACCESS_VIOLATION;
  record.ExceptionAddress = reinterpret_cast<PVOID>(0x7ff6a1b2c3d4);
  record.NumberParameters = 2;
  record.ExceptionInformation[0] = 1;
  record.ExceptionInformation[1] = 0x10;
  std::string report = Narrow(Ostra::ReportStructuredExceptionRecordInformation(record));
  for (std::size_t end; (end = report.find("\r\n")) != std::string::npos; report.erase(0, end + 2))
    std::printf("  | %s\n", report.substr(0, end).c_str());
}

void ReportRegistry() {
  Heading("Registry settings and language");
  const UTF16String& settingsKey = Ostra::GetRegistrySettingsKey();
  std::printf("  base key             HKCU\\%s\n", Narrow(Ostra::GetRegistryBaseKey()).c_str());
  std::printf("  settings key         HKCU\\%s\n", Narrow(settingsKey).c_str());

  Ostra::RegistryKey settings;
  std::printf("  create settings key: %s\n",
              ResultName(settings.Create(Ostra::RegistryRootKeys::kUser, settingsKey)));
  const std::vector<char> colours = {'\x12', '\x34', '\x56'};
  settings.SetUInt32Value(L"WindowWidth", 1280);
  settings.SetBooleanValue(L"ShowSplash", true);
  settings.SetStringValue(L"LastProject", UTF16String(L"C:\\Projects\\Demo.prj"));
  settings.SetBinaryValue(L"RecentColours", colours);

  std::uint32_t width = 0;
  bool splash = false;
  UTF16String project;
  std::vector<char> bytes;
  const Ostra::Result readWidth = settings.GetUInt32Value(L"WindowWidth", width);
  const Ostra::Result readSplash = settings.GetBooleanValue(L"ShowSplash", splash);
  const Ostra::Result readProject = settings.GetStringValue(L"LastProject", project);
  const Ostra::Result readColours = settings.GetBinaryValue(L"RecentColours", bytes);
  std::printf("  WindowWidth   %-17s %u\n", ResultName(readWidth), width);
  std::printf("  ShowSplash    %-17s %s\n", ResultName(readSplash), splash ? "true" : "false");
  std::printf("  LastProject   %-17s %s\n", ResultName(readProject), Narrow(project).c_str());
  std::printf("  RecentColours %-17s %u bytes\n", ResultName(readColours),
              static_cast<unsigned>(bytes.size()));
  std::printf("  as a number, LastProject reads %s\n",
              ResultName(settings.GetUInt32Value(L"LastProject", width)));

  settings.SetRegistryKeyToReadOnly(L"WindowWidth");
  const Ostra::Result write = settings.SetUInt32Value(L"WindowWidth", 640);
  settings.GetUInt32Value(L"WindowWidth", width);
  std::printf("  read-only WindowWidth: writing 640 reports %s, value stays %u"
              " (read-only values ignore writes quietly)\n",
              ResultName(write), width);

  std::printf("  UI language          %u (primary %u), locale code %s\n", Ostra::GetLanguageID(),
              Ostra::GetPrimaryLanguageID(), Narrow(Ostra::GetLanguageString()).c_str());

  // Leave the demo's own keys behind no longer than the run.
  Ostra::RegistryKey company;
  if (strata::ResultSucceeded(company.Open(Ostra::RegistryRootKeys::kUser, L"Software\\Corvane",
                                           Ostra::RegistryKeyAccess::kAll)))
    std::printf("  removing the demo's keys: %s\n",
                ResultName(company.DeleteSubKey(strata::config::GetClientName())));
}

// The sample resource DLL sits beside the demo host.
UTF16String SampleResourcesPath() {
  UTF16String path = strata::utility::GetModulePath(nullptr);
  return path.substr(0, path.find_last_of(L'\\') + 1) + L"OstraSampleResources.dll";
}

void ReportModules() {
  Heading("Modules and localised resources");
  boost::shared_ptr<Ostra::Module> missing;
  std::printf("  loading a missing DLL: %s (the loader's error 126 has no code of its own)\n",
              ResultName(Ostra::Module::Load(L"OstraNoSuchPlugin.dll", missing)));

  boost::shared_ptr<Ostra::Module> module;
  const Ostra::Result loaded = Ostra::Module::Load(SampleResourcesPath(), module);
  std::printf("  loading the sample resources: %s\n", ResultName(loaded));
  if (!strata::ResultSucceeded(loaded)) return;
  UTF16String path;
  module->GetPath(path);
  std::printf("  path                 %s\n", Narrow(path).c_str());
  if (Ostra::Module::ProcPointer answer = module->GetProcAddress("SampleAnswer"))
    std::printf("  SampleAnswer()       %d\n", answer());

  const unsigned short saved = Ostra::GetLanguageID();
  for (unsigned short language : {1033, 1041, 1031}) {
    Ostra::SetLanguageID(language);
    int size = 0;
    const void* text = module->FindLocalizedResource(MAKEINTRESOURCEW(SAMPLE_GREETING_ALL),
                                                     L"GREETING", size);
    std::printf("  greeting in %u (%s): %s\n", language, Narrow(Ostra::GetLanguageString()).c_str(),
                text ? Narrow(static_cast<const wchar_t*>(text)).c_str() : "(none)");
  }
  Ostra::SetLanguageID(saved);
  int size = 0;
  const void* page = module->LoadFirstResourceOfType(L"PAGES", size);
  std::printf("  first page           %s (%d bytes)\n",
              page ? Narrow(static_cast<const wchar_t*>(page)).c_str() : "(none)", size);
}

bool DemoCopyProgress(float inFraction, void* inUserData) {
  int& shown = *static_cast<int*>(inUserData);
  const int bars = inFraction == inFraction ? static_cast<int>(inFraction * 40) : 0;
  for (; shown < bars; ++shown) std::printf("#");
  return true;
}

// Reads the whole file in 64 KiB pieces; returns the bytes read.
std::uint64_t DemoReadAll(Ostra::File& ioFile) {
  std::vector<char> chunk(64 * 1024);
  std::uint64_t total = 0;
  std::uint32_t read = 0;
  while (strata::ResultSucceeded(ioFile.Read(chunk.data(), 64 * 1024, read)) && read > 0)
    total += read;
  return total;
}

void ReportFiles() {
  Heading("Files through the block cache");
  const UTF16String folder = Ostra::PathUtils::AddTrailingSlash(Ostra::PathUtils::GetTempDirectory());
  const UTF16String path = folder + L"OstraDemo-sample.bin";
  {
    Ostra::File file;
    Ostra::Result result = file.Create(path, Ostra::FileAccessFlags::kFileWrite,
                                       Ostra::FileShareModeFlags::kShareRead,
                                       Ostra::FileCreateDispositionFlags::kCreateAlways,
                                       Ostra::FileAttributesFlags::kNormal, false);
    std::vector<unsigned char> chunk(1 << 20);
    for (int mib = 0; mib < 6 && strata::ResultSucceeded(result); ++mib) {
      for (std::size_t i = 0; i < chunk.size(); ++i) chunk[i] = static_cast<unsigned char>(i * 7 + mib);
      std::uint32_t written = 0;
      result = file.Write(chunk.data(), static_cast<std::uint32_t>(chunk.size()), written);
    }
    std::printf("  sample file  %s: %s, %llu bytes\n", Narrow(path).c_str(), ResultName(result),
                static_cast<unsigned long long>(file.SizeOnDisk()));
  }

  InterfaceRef<Ostra::BlockCache> cache = Ostra::BlockCache::Create(32u << 20);
  Ostra::Foundation::SetFileBufferFactory(cache);
  for (int pass = 1; pass <= 2; ++pass) {
    Ostra::File file;
    file.SetMultiBufferCount(2);
    const Ostra::Result result = file.Create(path, Ostra::FileAccessFlags::kFileRead,
                                             Ostra::FileShareModeFlags::kShareRead,
                                             Ostra::FileCreateDispositionFlags::kOpenExisting,
                                             Ostra::FileAttributesFlags::kNormal, false);
    const std::uint64_t read = DemoReadAll(file);
    const Ostra::BlockCacheStatistics statistics = cache->GetStatistics();
    std::printf("  cached read %d: %s, %llu bytes; cache hits %llu, misses %llu (hit rate %.0f%%),"
                " %llu blocks held, %llu pinned\n",
                pass, ResultName(result), static_cast<unsigned long long>(read),
                static_cast<unsigned long long>(statistics.hits),
                static_cast<unsigned long long>(statistics.misses), statistics.HitRate() * 100,
                static_cast<unsigned long long>(statistics.blocks),
                static_cast<unsigned long long>(statistics.pinnedBlocks));
  }
  {
    // Sharing with writers turns the cache off for this File.
    Ostra::File file;
    const Ostra::Result result = Ostra::File::Open(path, Ostra::FileAccessFlags::kFileRead, file, false);
    const std::uint64_t read = DemoReadAll(file);
    std::printf("  uncached read (File::Open shares writing): %s, %llu bytes; cache misses still %llu\n",
                ResultName(result), static_cast<unsigned long long>(read),
                static_cast<unsigned long long>(cache->GetStatistics().misses));
  }
  Ostra::Foundation::SetFileBufferFactory({});

  const UTF16String copy = folder + L"OstraDemo-copy.bin";
  int shown = 0;
  std::printf("  copy with progress  [");
  const Ostra::Result copied = Ostra::File::CopyWithProgress(path, copy, DemoCopyProgress, &shown);
  const char* noProgress = RunsUnderWine() ? " (Wine's copy never reports progress)"
                                            : " (the system reported no progress)";
  std::printf("%*s] %s%s\n", 40 - shown, "", ResultName(copied), shown == 0 ? noProgress : "");

  const UTF16String temp = Ostra::File::MakeUniqueTempPath(path, true);
  const Ostra::Result moved = Ostra::File::Move(copy, temp);
  std::printf("  temporary name      %s (%s)\n",
              Narrow(Ostra::PathUtils::GetFullFilePart(temp)).c_str(), ResultName(moved));
  const Ostra::Result swapped = Ostra::File::SwapTempFile(temp, path);
  std::uint64_t size = 0;
  Ostra::File::SizeOnDisk(path, size);
  std::printf("  swapped over sample %s: target %llu bytes, temporary %s\n", ResultName(swapped),
              static_cast<unsigned long long>(size),
              Ostra::PathUtils::ExistsOnDisk(temp, false) ? "still there" : "gone");
  std::uint64_t modified = 0;
  const Ostra::Result timed = Ostra::File::GetLastModificationTime(path, modified);
  std::printf("  last written        %s: FILETIME %llu\n", ResultName(timed),
              static_cast<unsigned long long>(modified));
  std::printf("  delete sample       %s\n", ResultName(Ostra::File::Delete(path)));
}

// ------------------------------------------------- asynchronous reading

// A per-chunk hash folded by addition, so that chunks may arrive in any
// order and still give the same checksum as a plain front-to-back read.
std::uint64_t ChunkHash(const void* inData, std::uint32_t inSize, std::uint64_t inOffset) {
  const std::uint64_t* words = static_cast<const std::uint64_t*>(inData);
  std::uint64_t hash = 1469598103934665603ull ^ inOffset;
  for (std::uint32_t i = 0; i < inSize / 8; ++i) hash = (hash ^ words[i]) * 1099511628211ull;
  return hash;
}

struct DemoRead {
  Ostra::AsyncFileReader* reader;
  char* memory;           // kDemoInFlight slots of kDemoChunk bytes
  std::uint64_t fileSize;
  std::uint64_t nextOffset;  // only touched by callbacks, which run one at a time
  std::atomic<std::uint64_t> bytesDone;
  std::atomic<std::uint64_t> checksum;
  std::atomic<int> failures;
};

const std::uint32_t kDemoChunk = 1024 * 1024;
const std::uint32_t kDemoInFlight = 32;

void OnDemoRead(const Ostra::AsyncFileReader*, std::uint64_t inOffset, std::uint32_t inRequested,
                std::uint32_t inRead, void* inBuffer, void* inRun, void*, void*, int inResult) {
  DemoRead& run = *static_cast<DemoRead*>(inRun);
  if (inResult != Ostra::kSuccess || inRead != inRequested) ++run.failures;
  run.checksum += ChunkHash(inBuffer, inRead, inOffset);
  run.bytesDone += inRead;
  // The slot is free again: read the next chunk into it.
  if (run.nextOffset < run.fileSize) {
    const std::uint64_t offset = run.nextOffset;
    run.nextOffset += kDemoChunk;
    run.reader->QueueReadRequest(offset, kDemoChunk, inBuffer, &OnDemoRead, &run, nullptr,
                                 nullptr);
  }
}

void ReportAsyncReader() {
  Heading("Asynchronous reader");
  const std::uint64_t kSize = 256ull * 1024 * 1024;
  const UTF16String path = Ostra::PathUtils::GetTempDirectory() + L"OstraDemo-" +
                           strata::utility::Guid::CreateUnique().AsString() + L".bin";
  std::vector<char> chunk(kDemoChunk);
  std::uint64_t plainChecksum = 0;
  HANDLE out = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
  if (out == INVALID_HANDLE_VALUE) {
    std::printf("  cannot create %s\n", Narrow(path).c_str());
    return;
  }
  bool written = true;
  for (std::uint64_t offset = 0; offset < kSize && written; offset += kDemoChunk) {
    for (std::size_t i = 0; i < chunk.size(); i += 8) {
      const std::uint64_t word = (offset + i) * 0x9E3779B97F4A7C15ull;
      std::memcpy(&chunk[i], &word, 8);
    }
    DWORD count = 0;
    written = ::WriteFile(out, chunk.data(), kDemoChunk, &count, nullptr) && count == kDemoChunk;
  }
  ::CloseHandle(out);
  std::printf("  wrote %llu MiB to %s\n", static_cast<unsigned long long>(kSize >> 20),
              Narrow(path).c_str());

  // The plain read, for the checksum to compare with.
  HANDLE in = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  const std::uint64_t plainStart = strata::utility::HighPrecisionTime::GetCurrentTimeStamp();
  for (std::uint64_t offset = 0; written && in != INVALID_HANDLE_VALUE && offset < kSize;
       offset += kDemoChunk) {
    DWORD count = 0;
    if (!::ReadFile(in, chunk.data(), kDemoChunk, &count, nullptr) || count != kDemoChunk) break;
    plainChecksum += ChunkHash(chunk.data(), count, offset);
  }
  const double plainSeconds = strata::utility::HighPrecisionTime::ToSeconds(
      strata::utility::HighPrecisionTime::GetCurrentTimeStamp() - plainStart);
  if (in != INVALID_HANDLE_VALUE) ::CloseHandle(in);

  {
    Ostra::AsyncFileReader reader;
    const Ostra::Result opened = Ostra::AsyncFileReader::Open(path, reader);
    std::printf("  Open: %s, sector size %lu bytes\n", ResultName(opened),
                static_cast<unsigned long>(reader.GetDiskSectorSize()));
    char* memory = static_cast<char*>(::VirtualAlloc(
        nullptr, std::size_t(kDemoChunk) * kDemoInFlight, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    if (opened == Ostra::kSuccess && memory && written) {
      DemoRead run;
      run.reader = &reader;
      run.memory = memory;
      run.fileSize = kSize;
      run.nextOffset = std::uint64_t(kDemoChunk) * kDemoInFlight;
      run.bytesDone = 0;
      run.checksum = 0;
      run.failures = 0;
      std::printf("  %u reads of 1 MiB in flight\n  [", kDemoInFlight);
      std::fflush(stdout);
      const std::uint64_t start = strata::utility::HighPrecisionTime::GetCurrentTimeStamp();
      for (std::uint32_t i = 0; i < kDemoInFlight; ++i)
        reader.QueueReadRequest(std::uint64_t(i) * kDemoChunk, kDemoChunk,
                                memory + std::size_t(i) * kDemoChunk, &OnDemoRead, &run, nullptr,
                                nullptr);
      // The progress bar: one mark per 1/40 of the file.
      int marks = 0;
      while (marks < 40) {
        const int due = static_cast<int>(run.bytesDone.load() * 40 / kSize);
        for (; marks < due; ++marks) std::printf("#");
        std::fflush(stdout);
        if (run.failures) break;
        ::Sleep(20);
      }
      reader.WaitForPendingReads();
      const double seconds = strata::utility::HighPrecisionTime::ToSeconds(
          strata::utility::HighPrecisionTime::GetCurrentTimeStamp() - start);
      std::printf("]\n  read %llu MiB in %.2f s (%.0f MiB/s; plain buffered read %.0f MiB/s), "
                  "%d failed reads\n",
                  static_cast<unsigned long long>(run.bytesDone.load() >> 20), seconds,
                  (run.bytesDone.load() >> 20) / seconds, (kSize >> 20) / plainSeconds,
                  run.failures.load());
      std::printf("  checksum %016llx, plain read %016llx: %s\n",
                  static_cast<unsigned long long>(run.checksum.load()),
                  static_cast<unsigned long long>(plainChecksum),
                  run.checksum.load() == plainChecksum ? "equal" : "DIFFERENT");
    }
    reader.Close();
    if (memory) ::VirtualFree(memory, 0, MEM_RELEASE);
  }
  std::printf("  deleted the file: %s\n", ::DeleteFileW(path.c_str()) ? "yes" : "no");
}

// ------------------------------------------------------------ idle timer

class DemoTimerListener : public strata::messaging::Listener {
 public:
  void ListenToMessage(const strata::messaging::StationID&,
                       const strata::messaging::Message& inMessage) override {
    if (const Ostra::IdleCountdownTimerMessage* message =
            strata::messaging::MessageCast<Ostra::IdleCountdownTimerMessage>(inMessage)) {
      mCookie = message->GetCookie();
      ++mFired;
    }
  }
  std::uint32_t mCookie = 0;
  int mFired = 0;
};

void ReportIdleTimer() {
  Heading("Idle countdown timer");
  Ostra::IdleCountdownTimer timer;
  DemoTimerListener listener;
  strata::messaging::AddListener(timer.GetStationID(), &listener);
  timer.SetDuration(250);
  timer.SetCookie(0x5EED);
  timer.ArmTimer();
  const Ostra::TimeStamp armed;
  int idleMessages = 0;
  while (listener.mFired == 0 && idleMessages < 1000) {
    // What an application's idle handler does: pump the deferred calls,
    // then announce idle time.
    strata::threads::RunMainThreadCalls();
    strata::messaging::BroadcastMessage(Ostra::kStation_Idle, Ostra::ApplicationIdleMessage());
    ++idleMessages;
    ::Sleep(20);
  }
  std::printf("  250 ms countdown fired after %d idle messages, %.0f ms, cookie 0x%X\n",
              idleMessages, Ostra::TimeStamp().GetElapsedValue() - armed.GetElapsedValue(),
              listener.mCookie);
  strata::messaging::BroadcastMessage(Ostra::kStation_Idle, Ostra::ApplicationIdleMessage());
  std::printf("  another idle message without re-arming: fired %d time(s) in all\n",
              listener.mFired);
  Ostra::IdleCountdownTimerMessage(0xD0E).PostDeferred(timer.GetStationID());
  const std::size_t ran = strata::threads::RunMainThreadCalls();
  std::printf("  a deferred copy posted to the main thread: %u call(s) pumped, cookie 0x%X\n",
              static_cast<unsigned>(ran), listener.mCookie);
}

void ReportDirectories() {
  Heading("Directories and the directory registry");
  const UTF16String root = Ostra::PathUtils::GetTempDirectory() + L"OstraDemo-" +
                           strata::utility::Guid::CreateUnique().AsString();
  const UTF16String source = root + L"\\Project";
  // A small media tree: two takes of clips, a log per take, an empty folder.
  for (const wchar_t* folder : {L"\\Takes\\Take1", L"\\Takes\\Take2", L"\\Empty"})
    Ostra::Directory::CreateOnDisk(source + folder, true);
  for (int take = 1; take <= 2; ++take) {
    const UTF16String folder = source + L"\\Takes\\Take" + std::to_wstring(take);
    for (const wchar_t* name : {L"\\clip1.wav", L"\\clip2.wav", L"\\take.log"}) {
      Ostra::File file;
      if (strata::ResultSucceeded(file.Create(
              folder + name, Ostra::FileAccessFlags::kFileWrite,
              Ostra::FileShareModeFlags::kShareRead,
              Ostra::FileCreateDispositionFlags::kCreateAlways,
              Ostra::FileAttributesFlags::kNormal, false)))
        file.Close();
    }
  }
  std::printf("  created %s\\Project\\...\n", Narrow(root).c_str());

  const Ostra::Directory project = Ostra::Directory::ConstructDirectory(source);
  std::vector<UTF16String> paths;
  project.GetContainedPaths(paths, true, 0xFFFFFFFFu, Ostra::Directory::CancelFunction());
  std::printf("  recursive listing (directories after their contents):\n");
  for (const UTF16String& path : paths)
    std::printf("    %s\n", Narrow(path.substr(source.size())).c_str());
  project.GetContainedPaths(paths, true, 3, Ostra::Directory::CancelFunction());
  std::printf("  with a limit of 3:   %u entries\n", static_cast<unsigned>(paths.size()));
  project.GetContainedFilePaths(L".WAV", paths, true, 0xFFFFFFFFu,
                                Ostra::Directory::CancelFunction());
  std::printf("  filter \".WAV\":       %u files\n", static_cast<unsigned>(paths.size()));
  std::printf("  writable: %s, read-only: %s\n", project.IsDirectoryWriteable() ? "yes" : "no",
              Ostra::PathUtils::IsReadOnly(source) ? "yes" : "no");

  const UTF16String copy = root + L"\\Copy";
  std::printf("  CopyContents         %s\n",
              ResultName(Ostra::Directory::CopyContents(source, copy)));
  Ostra::Directory::ConstructDirectory(copy).GetContainedPaths(
      paths, true, 0xFFFFFFFFu, Ostra::Directory::CancelFunction());
  std::printf("  the copy holds %u entries (the empty folder is not copied)\n",
              static_cast<unsigned>(paths.size()));

  Ostra::DirectoryRegistry::RegisterDirectory(root, L"DemoRoot");
  Ostra::DirectoryRegistry::RegisterDirectory(L"$(DemoRoot)Project", L"DemoProject");
  Ostra::DirectoryRegistry::RegisterDirectory(L"$(DemoProject)Takes\\Take2", L"DemoTake");
  std::printf("  $(DemoProject)Takes\\Take2 resolves to\n    %s\n",
              Narrow(Ostra::DirectoryRegistry::FindDirectory(L"DemoTake")).c_str());
  std::printf("  unknown name gives   \"%s\"\n",
              Narrow(Ostra::DirectoryRegistry::FindDirectory(L"NoSuchName")).c_str());
  for (const wchar_t* name : {L"DemoRoot", L"DemoProject", L"DemoTake"})
    Ostra::DirectoryRegistry::UnregisterDirectory(name);

  std::printf("  delete the demo tree %s\n",
              ResultName(Ostra::Directory::DeleteNotEmpty(root)));
}

}  // namespace

int main() {
  std::printf("OstraFoundation demo host\n");
  Ostra::Foundation::Initialize();
  ReportLoadedLibraries();
  ReportResultCodes();
  ReportErrorMapping();
  ReportBlockCacheFactory();
  ReportDiagnostics();
  ReportTimecode();
  ReportColor();
  ReportPaths();
  ReportDisk();
  ReportErrorTexts();
  ReportRegistry();
  ReportModules();
  ReportFiles();
  ReportAsyncReader();
  ReportDirectories();
  ReportIdleTimer();
  Ostra::Foundation::Terminate();
  std::printf("\nDone.\n");
  return 0;
}
