// The Posix build has no asynchronous reader: there is nothing for the
// library's lifecycle to start or stop.
#include "Ostra/AsyncFileReader.h"

namespace Ostra {

void StartupAsyncFileOperations() {}
void ShutdownAsyncFileOperations() {}

}  // namespace Ostra
