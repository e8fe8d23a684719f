#include "strata/ClassRef.h"

namespace strata {
namespace classref {

namespace {
const char kNullInterfaceError[] =
    "$$$/strata/classref/Error/NullInterface=An empty interface reference was used.";
}  // namespace

null_interface_exception::null_interface_exception()
    : config::strata_exception(config::ErrorLevel::kError, kNullInterfaceError,
                               config::LocalizeString(kNullInterfaceError)) {}

null_interface_exception::~null_interface_exception() = default;

void ThrowNullInterface() { throw null_interface_exception(); }

}  // namespace classref
}  // namespace strata
