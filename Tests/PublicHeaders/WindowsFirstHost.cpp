// A host as most Windows programs are written: <windows.h> first, in its
// default form (no WIN32_LEAN_AND_MEAN, no NOMINMAX), then every public
// header. Built once with UNICODE and once without (and NO_STRICT); it must
// compile, link against the DLLs and run. Exits non-zero on a failed check.
#include <windows.h>

#include "Ostra/OstraFoundation.h"
#include "strata/Strata.h"
#include "stratamedia/StrataMedia.h"

#include <cstdio>

// WindowsAfterHost.cpp: the same headers with <windows.h> after them.
int CheckHeadersBeforeWindows();

namespace {

int gFailures = 0;

void Check(bool inPassed, const char* inWhat) {
  if (!inPassed) {
    std::printf("failed: %s\n", inWhat);
    ++gFailures;
  }
}

}  // namespace

int main() {
  Ostra::Foundation::Initialize();

  // The renamed member of the exception every library error derives from.
  try {
    strata::config::ThrowError(strata::config::ErrorLevel::kError, "$$$/Host/Test=^1 failed",
                               L"Open");
    Check(false, "ThrowError returned");
  } catch (const strata::config::strata_exception& e) {
    Check(e.GetMessageText() == L"Open failed", "strata_exception::GetMessageText");
  }

  // The module handle types of <windows.h> and of Ostra/Module.h agree.
#if defined(NO_STRICT) && !defined(STRICT)
  HINSTANCE__* self = static_cast<HINSTANCE__*>(::GetModuleHandleW(nullptr));
#else
  HINSTANCE self = ::GetModuleHandleW(nullptr);
#endif
  boost::shared_ptr<Ostra::Module> module;
  Check(Ostra::Module::Create(self, module) == Ostra::kSuccess && module &&
            module->GetNativeModule() == self,
        "Module::Create and GetNativeModule");

  Check(Ostra::Win::SystemErrorToOstraResult(ERROR_ACCESS_DENIED) == Ostra::eAccessDenied,
        "SystemErrorToOstraResult");
  Ostra::Timecode timecode(stratamedia::FramesToTime(1800, stratamedia::kFrameRate_VideoNTSC),
                           stratamedia::kFrameRate_VideoNTSC,
                           stratamedia::TimeDisplayType::kTimecodeNTSCDrop);
  Check(timecode.GetString() == L"00:01:00;02", "Timecode::GetString");
  gFailures += CheckHeadersBeforeWindows();

  Ostra::Foundation::Terminate();
  std::printf("%s\n", gFailures == 0 ? "passed" : "FAILED");
  return gFailures == 0 ? 0 : 1;
}
