// A look inside the asynchronous reader's request pool, exported only so
// that the library's tests can check that no record is left taken. Not
// part of the public interface.
#pragma once

#include <cstdint>

#include "Ostra/OstraConfig.h"

namespace Ostra {
namespace Internal {

// Records of the process's request pool that are taken right now.
OSTRA_API std::uint32_t CountAsyncReadRequestsInUse();

}  // namespace Internal
}  // namespace Ostra
