/// \file
/// A process-wide table of symbolic directory names, so an application
/// registers a folder (its preferences, say) once and asks for it by name
/// later. A registered path may refer to other names as $(name); lookups
/// expand those references through the same table, at each lookup.
///
/// Names are case-sensitive. The table is created on first use (thread-safe)
/// and has no lock of its own: register during start-up, before lookups
/// from other threads begin, or serialise the calls yourself. A name that
/// refers to itself, directly or through others, recurses without end.
#pragma once

#include "Ostra/OstraConfig.h"

namespace Ostra {
namespace DirectoryRegistry {

/// Stores the path unexpanded under the name, replacing an earlier one. An
/// empty path or name raises the permission error that names the
/// application (strata::config::strata_exception); the table is unchanged.
OSTRA_API void RegisterDirectory(const UTF16String& inFullPathname,
                                 const UTF16String& inSymbolicName);
/// Removes the name; an unknown name is no error. An empty name breaks the
/// input contract.
OSTRA_API void UnregisterDirectory(const UTF16String& inSymbolicName);
/// The name's path with its $(name) references expanded and a trailing
/// separator; empty when the name is not registered or expands to nothing.
/// A reference to an unknown name, or one left unclosed, stays as written.
/// An empty name breaks the input contract.
OSTRA_API UTF16String FindDirectory(const UTF16String& inSymbolicName);

}  // namespace DirectoryRegistry
}  // namespace Ostra
