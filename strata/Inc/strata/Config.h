/// \file
/// Errors raised by the core library and its clients, localisable messages,
/// and the identity of the running application.
///
/// A localisable message is written "$$$/Some/Key=Default text ^1": the key
/// names it in a translation table, the text after '=' is used when the
/// table has no entry, and ^1 to ^4 are replaced by the caller's values.
/// All functions are thread-safe.
#pragma once

#include <stdexcept>
#include <string>

#include "strata/String.h"

namespace strata {
namespace config {

/// How grave an error is; carried by strata_exception.
enum class ErrorLevel { kWarning, kError, kFatal };

/// The exception every strata error is raised as; hosts may catch it as a
/// std::runtime_error.
///
/// It carries the error level, the localisable source ("$$$/key=text") and
/// the final message; contract violations are raised as one whose key is
/// "$$$/strata/utility/Error/Contract/InputContractViolation" (or
/// OutputContractViolation). A plain value: it is raised on the failing
/// thread and may be copied to another.
class STRATA_API strata_exception : public std::runtime_error {
 public:
  /// inSource is the whole "$$$/key=text" string; inMessage the final text.
  strata_exception(ErrorLevel inLevel, const std::string& inSource, const UTF16String& inMessage);
  ~strata_exception() override;
  /// Copies carry the same level, source and message.
  ///@{
  strata_exception(const strata_exception&);
  strata_exception& operator=(const strata_exception&);
  ///@}

  ErrorLevel GetErrorLevel() const;  ///< as raised
  /// "$$$/strata/utility/Error/Contract/InputContractViolation=An input ..."
  const std::string& GetSource() const;
  /// The key alone: "$$$/strata/utility/Error/Contract/InputContractViolation".
  std::string GetKey() const;
  /// The localised text with its replacements made.
  const UTF16String& GetMessageText() const;
  /// The message in UTF-8.
  const char* what() const noexcept override;

 private:
  ErrorLevel mLevel;
  std::string mSource;
  UTF16String mMessage;
};

/// Returns the text of "$$$/key=default" (the translation when one is set),
/// with ^1..^4 replaced by the given values. A string without the "$$$/"
/// form is returned as it stands, replacements made.
STRATA_API UTF16String LocalizeString(const std::string& inSource,
                                      const UTF16String& inReplacement1 = UTF16String(),
                                      const UTF16String& inReplacement2 = UTF16String(),
                                      const UTF16String& inReplacement3 = UTF16String(),
                                      const UTF16String& inReplacement4 = UTF16String());

/// Installs a translation for a key ("$$$/Some/Key"); an empty text removes it.
STRATA_API void SetLocalizedString(const std::string& inKey, const UTF16String& inText);

/// Raises strata_exception with the localised, replaced message.
[[noreturn]] STRATA_API void ThrowError(ErrorLevel inLevel, const std::string& inSource,
                                        const UTF16String& inReplacement1 = UTF16String(),
                                        const UTF16String& inReplacement2 = UTF16String(),
                                        const UTF16String& inReplacement3 = UTF16String(),
                                        const UTF16String& inReplacement4 = UTF16String());

/// The running application's name and internal version, as the host sets
/// them. Until then: the executable's file name without extension, and "1.0".
///@{
STRATA_API UTF16String GetClientName();
STRATA_API void SetClientName(const UTF16String& inName);
STRATA_API UTF16String GetClientInternalVersion();
STRATA_API void SetClientInternalVersion(const UTF16String& inVersion);
///@}

}  // namespace config
}  // namespace strata
