/// \file
/// Result codes of OstraFoundation and the translation of Windows errors.
///
/// Zero and kKeyAlreadyExists are success; every failure is negative.
/// Test with strata::ResultSucceeded (or a sign test), never by comparing
/// with kSuccess: File::Open, for one, fails with -1, which is no named code.
#pragma once

#include "Ostra/OstraConfig.h"

namespace Ostra {

constexpr Result kSuccess = 0;  ///< test results with strata::ResultSucceeded, not against this
/// The key already existed and was opened (RegistryKey::Create).
constexpr Result kKeyAlreadyExists = 0x200F0001;

/// Any failure without a more specific code; also a bad argument or state.
constexpr Result eUnknown = static_cast<Result>(0xA00F0001u);
constexpr Result eDiskFull = static_cast<Result>(0xA00F0002u);  ///< no space left on the volume
/// Also returned by File operations called on a File that is not open.
constexpr Result eFileNotFound = static_cast<Result>(0xA00F0003u);
/// The path or a folder on it does not exist, or it is no acceptable
/// absolute path.
constexpr Result ePathNotFound = static_cast<Result>(0xA00F0004u);
constexpr Result eAccessDenied = static_cast<Result>(0xA00F0005u);  ///< the system refused the access
constexpr Result eOutOfMemory = static_cast<Result>(0xA00F0006u);  ///< an allocation failed
constexpr Result eCanceled = static_cast<Result>(0xA00F0007u);  ///< a callback asked to stop
/// Any failure of a registry operation.
constexpr Result eOperationFailed = static_cast<Result>(0xA00F0008u);
/// Another open of the file does not share the access asked for.
constexpr Result eSharingViolation = static_cast<Result>(0xA00F0009u);
constexpr Result eFileAlreadyExists = static_cast<Result>(0xA00F000Au);  ///< the system's "already exists"
/// Plain failure without a family code.
constexpr Result eFailure = static_cast<Result>(0x80000000u);

namespace Win {

/// Translates a Windows error (GetLastError) of a call that failed:
/// file/path not found, access denied, sharing violation, disk full (39,
/// 112) and already exists (183) have their codes; everything else,
/// 0 included, is eUnknown. Never yields success. Pure and thread-safe.
OSTRA_API Result SystemErrorToOstraResult(unsigned long inSystemError);

}  // namespace Win
}  // namespace Ostra
