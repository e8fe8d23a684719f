#include "strata/Impl.h"

namespace strata {

Impl::~Impl() = default;

}  // namespace strata
