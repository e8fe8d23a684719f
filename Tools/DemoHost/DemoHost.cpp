// The demo host: uses OstraFoundation the way an application does and
// prints a readable report of each step.
#include <windows.h>

#include <cstdint>
#include <cstdio>
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
  std::printf("  stratamedia version  %s\n", stratamedia::GetVersionString());
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
  } errors[] = {{0, "ERROR_SUCCESS"},         {2, "ERROR_FILE_NOT_FOUND"},
                {3, "ERROR_PATH_NOT_FOUND"},   {5, "ERROR_ACCESS_DENIED"},
                {32, "ERROR_SHARING_VIOLATION"}, {39, "ERROR_HANDLE_DISK_FULL"},
                {80, "ERROR_FILE_EXISTS"},     {112, "ERROR_DISK_FULL"},
                {183, "ERROR_ALREADY_EXISTS"}};
  for (const auto& error : errors)
    std::printf("  %4lu %-24s -> %s\n", error.code, error.name,
                ResultName(Ostra::Win::SystemErrorToOstraResult(error.code)));

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
  std::printf("  read-only WindowWidth: writing 640 reports %s, value stays %u\n",
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
  std::printf("  loading a missing DLL: %s\n",
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

}  // namespace

int main() {
  std::printf("OstraFoundation demo host\n");
  ReportLoadedLibraries();
  ReportResultCodes();
  ReportErrorMapping();
  ReportBlockCacheFactory();
  ReportDiagnostics();
  ReportRegistry();
  ReportModules();
  std::printf("\nDone.\n");
  return 0;
}
