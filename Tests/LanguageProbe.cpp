// Run by the language tests as a fresh process, since the library reads the
// language from the registry only once per process. Usage:
//   LanguageProbe <client name> <internal version>
// Prints what the process sees as "name=value" lines (UTF-8).
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "Ostra/Language.h"
#include "strata/Config.h"

namespace {

void Print(const char* inName, const Ostra::UTF16String& inValue) {
  std::printf("%s=%s\n", inName, strata::string::UTF16toStdString(inValue).c_str());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  strata::config::SetClientName(strata::string::StdToUTF16String(argv[1]));
  strata::config::SetClientInternalVersion(strata::string::StdToUTF16String(argv[2]));

  // The first calls race: half the threads start with a path (path lock
  // alone), half with the language (language lock, then path lock).
  const int kThreads = 8;
  std::vector<unsigned short> seen(kThreads);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([i, &seen] {
      if (i % 2) Ostra::GetRegistrySettingsKey();
      seen[i] = Ostra::GetLanguageID();
    });
  }
  for (std::thread& thread : threads) thread.join();
  bool agree = true;
  for (unsigned short id : seen) agree = agree && id == seen[0];

  Print("base", Ostra::GetRegistryBaseKey());
  Print("current", Ostra::GetRegistryCurrentVersionKey());
  Print("help", Ostra::GetRegistryHelpKey());
  Print("settings", Ostra::GetRegistrySettingsKey());
  std::printf("threads=%s\n", agree ? "agree" : "disagree");
  std::printf("id=%u\n", Ostra::GetLanguageID());
  std::printf("primary=%u\n", Ostra::GetPrimaryLanguageID());
  Print("string", Ostra::GetLanguageString());
  Ostra::SetLanguageString(L"zh_TW");
  std::printf("override=%u\n", Ostra::GetLanguageID());
  return 0;
}
