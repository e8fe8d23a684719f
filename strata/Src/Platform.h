// What the portable sources of strata need from the operating system.
#pragma once

#include <string>

#include "strata/String.h"

namespace strata {
namespace platform {

// Sends a diagnostic text to the debugger's output and to standard error.
void WriteDiagnosticText(const std::string& inText);
void BreakIntoDebugger();
// The value of an environment variable, empty when unset.
std::string GetEnvironmentText(const char* inName);

}  // namespace platform
}  // namespace strata
