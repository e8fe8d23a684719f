// Uses one call of each installed library; exits 0 when all answer.
#include <cstdio>

#include "Ostra/OstraFoundation.h"
#include "stratamedia/StrataMedia.h"
#include "strata/Strata.h"

int main() {
  const Ostra::Result result = Ostra::Win::SystemErrorToOstraResult(5);
  const std::string text = strata::string::UTF16toStdString(L"caf\u00e9");
  Ostra::Foundation::SetFileBufferFactory({});
  boost::shared_ptr<Ostra::Module> program;
  Ostra::UTF16String programPath;
  if (strata::ResultSucceeded(Ostra::Module::Create(nullptr, program))) program->GetPath(programPath);
  const bool ok = result == Ostra::eAccessDenied && text == "caf\xc3\xa9" &&
                  stratamedia::GetVersionString()[0] != '\0' && !programPath.empty();
  std::printf("package consumer: %s\n", ok ? "ok" : "FAILED");
  return ok ? 0 : 1;
}
