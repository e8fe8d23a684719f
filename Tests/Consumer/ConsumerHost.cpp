// Uses one call of each installed library; exits 0 when all answer.
#include <cstdio>
#include <cstring>

#include "Ostra/OstraFoundation.h"
#include "stratamedia/StrataMedia.h"
#include "strata/Strata.h"

int main() {
  const Ostra::Result result = Ostra::Win::SystemErrorToOstraResult(5);
  const std::string text = strata::string::UTF16toStdString(L"caf\u00e9");
  Ostra::Foundation::SetFileBufferFactory({});
  // strata's executors and Ostra's modules reach the host through Boost's
  // shared_ptr.
  int ran = 0;
  {
    strata::threads::ExecutorRef serial =
        strata::threads::CreateSubExecutor(strata::threads::CreateCPUBoundExecutor(), 1);
    serial->Post([&ran] { ++ran; });
    serial->WaitForAll();
  }
  boost::shared_ptr<Ostra::Module> program;
  Ostra::UTF16String programPath;
  if (strata::ResultSucceeded(Ostra::Module::Create(nullptr, program))) program->GetPath(programPath);
  // The DLLs are the version the installed headers name.
  const bool versions =
      std::strcmp(stratamedia::GetVersionString(), STRATAMEDIA_VERSION_STRING) == 0 &&
      std::strcmp(Ostra::GetVersionString(), OSTRA_VERSION_STRING) == 0;
  const bool ok = result == Ostra::eAccessDenied && text == "caf\xc3\xa9" &&
                  versions && ran == 1 && !programPath.empty();
  std::printf("package consumer: %s\n", ok ? "ok" : "FAILED");
  return ok ? 0 : 1;
}
