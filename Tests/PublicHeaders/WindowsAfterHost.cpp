// The public headers first, <windows.h> after them: its declarations of
// HINSTANCE must agree with the one Ostra/Module.h makes.
#include "Ostra/OstraFoundation.h"
#include "strata/Strata.h"
#include "stratamedia/StrataMedia.h"

#include <windows.h>

#include <cstdio>

int CheckHeadersBeforeWindows() {
  boost::shared_ptr<Ostra::Module> module;
  const bool passed = Ostra::Module::Create(nullptr, module) == Ostra::kSuccess &&
                      module->GetNativeModule() == nullptr &&
                      Ostra::Win::SystemErrorToOstraResult(ERROR_FILE_NOT_FOUND) ==
                          Ostra::eFileNotFound;
  if (!passed) std::printf("failed: headers before <windows.h>\n");
  return passed ? 0 : 1;
}
