/// \file
/// Diagnostics of the core library: assertions and contracts with a
/// replaceable dialog hook, tracing by category and level, the debug
/// database of named options, and start-up time logging.
///
/// Nothing here blocks an unattended process: the default dialog hook only
/// reports (debug output and standard error) and a debugger break happens
/// only when a debugger is attached and the hook asks for it. Hosts turn
/// trace categories and options on through the API or, once at load, the
/// environment: STRATA_TRACE="Ostra.File=7;Ostra.PathUtils" (no level means
/// every level) and STRATA_DEBUG_OPTIONS="Ostra.UseNonPurgeable=false;...".
/// All functions are thread-safe.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <sstream>
#include <string>

#include "strata/Config.h"

namespace strata {
namespace debug {

// ---------------------------------------------------------------- dialogs

/// Which check failed.
enum class DialogKind { kAssertion, kInputContract, kOutputContract };

/// What the developer chose in the dialog.
enum class DialogAction {
  kContinue,  ///< go on
  kBreak,     ///< break into the debugger (only when one is attached)
  kSilence    ///< go on, and never show this call site again in this run
};

/// What a dialog shows about a failed check.
struct DialogInfo {
  DialogKind kind;        ///< which check failed
  std::string condition;  ///< "!inModulePath.empty()"
  std::string message;    ///< detail text; may be empty
  std::string function;   ///< "Ostra::Module::Load"
  std::string file;       ///< source file name without folder or extension
  int line;  ///< source line of the check
};

/// Shows (or logs) a dialog and returns the developer's choice.
typedef std::function<DialogAction(const DialogInfo&)> DialogHook;

/// Installs the hook every assertion and contract dialog goes to; an empty
/// hook restores the default. Returns the previous hook (empty for default).
STRATA_API DialogHook SetDialogHook(DialogHook inHook);

/// Whether a debugger is attached to the process now.
STRATA_API bool IsDebuggerAttached();

/// Show the dialog through the hook; true when the caller should break into
/// the debugger (a debugger is attached and the developer asked for it).
///@{
STRATA_API bool BreakAfterAssertDialog(const DialogInfo& inInfo);
STRATA_API bool BreakAfterContractDialog(const DialogInfo& inInfo);
///@}

/// "Ostra::Module::Load" from a compiler's pretty function signature, and
/// "WinModule" from a source path.
///@{
STRATA_API std::string QualifiedFunctionName(const char* inSignature);
STRATA_API std::string SourceFileName(const char* inPath);
///@}

/// One per assertion call site (STRATA_ASSERT_MSG, STRATA_ASSERT_ONCE);
/// remembers that the site was silenced, so its dialog is not shown again.
///
/// Threading: the flag is atomic, so assertions at one site may fail on
/// several threads at once. Failures: none; reporting an assertion never
/// throws.
class AssertSite {
 public:
  std::atomic<bool> mSilenced{false};  ///< set once; never cleared
};

/// Runs the assertion dialog for a failed condition unless the site is
/// silenced. inOnce silences the site after its first report.
STRATA_API void ReportAssertion(AssertSite& ioSite, bool inOnce, const char* inCondition,
                                const std::string& inMessage, const char* inSignature,
                                const char* inFile, int inLine);

/// Runs the contract dialog and then raises the contract violation error
/// ("$$$/strata/utility/Error/Contract/InputContractViolation=..." or its
/// output twin) as config::strata_exception.
[[noreturn]] STRATA_API void ContractViolation(DialogKind inKind, const char* inCondition,
                                               const char* inSignature, const char* inFile,
                                               int inLine);

// ---------------------------------------------------------------- tracing

/// Sets a category's level; a site of level L traces when L <= the
/// category's level. Level 0 turns the category off. Moves the change count.
STRATA_API void SetTraceLevel(const std::string& inCategory, int inLevel);
/// The category's level; 0 for a category never set.
STRATA_API int GetTraceLevel(const std::string& inCategory);
/// Whether a site of inLevel in the category traces now.
STRATA_API bool IsTraceEnabled(const char* inCategory, int inLevel);
/// Moves whenever any category's level changes.
STRATA_API std::uint32_t GetTraceChangeCount();

/// Writes one line to the sink, whether or not the category is enabled.
STRATA_API void TraceLine(const char* inCategory, int inLevel, const std::string& inText);

/// Receives every traced line.
typedef std::function<void(const char* inCategory, int inLevel, const std::string& inText)> TraceSink;
/// Installs the sink lines go to; empty restores the default (debug output
/// and standard error). Returns the previous sink.
STRATA_API TraceSink SetTraceSink(TraceSink inSink);

/// Flushes the sink and ends tracing for this start of the library. Trace
/// calls made later still work.
STRATA_API void ShutdownTraceManager();

/// The enabled state of one trace call site (STRATA_TRACE), read again
/// only when the trace change count has moved since the last look.
///
/// Threading: its state is atomic; one site may be asked from several
/// threads at once, each seeing the state at most one change late.
/// Failures: none; asking never throws.
class TraceSite {
 public:
  /// inCategory must outlive the site (a string literal).
  TraceSite(const char* inCategory, int inLevel) : mCategory(inCategory), mLevel(inLevel) {}
  /// Whether the site traces now; cheap while the change count stays put.
  bool IsEnabled() {
    const std::uint32_t count = GetTraceChangeCount();
    if (mSeenCount.load(std::memory_order_acquire) != count) {
      mEnabled.store(IsTraceEnabled(mCategory, mLevel), std::memory_order_relaxed);
      mSeenCount.store(count, std::memory_order_release);
      mReads.fetch_add(1, std::memory_order_relaxed);
    }
    return mEnabled.load(std::memory_order_relaxed);
  }
  /// As constructed.
  ///@{
  const char* GetCategory() const { return mCategory; }
  int GetLevel() const { return mLevel; }
  ///@}
  /// How often the category's state was read; for tests.
  std::uint32_t GetReadCount() const { return mReads.load(); }

 private:
  const char* mCategory;
  int mLevel;
  std::atomic<std::uint32_t> mSeenCount{0xFFFFFFFFu};
  std::atomic<bool> mEnabled{false};
  std::atomic<std::uint32_t> mReads{0};
};

// ---------------------------------------------------------- debug options

/// Named text options of the process, read once from STRATA_DEBUG_OPTIONS
/// at load and changed from code. A reader gives the textual default that
/// applies while the option is not set.
///
/// Threading: every member is thread-safe. Failures: none; an option that
/// is not set reads as its default.
class STRATA_API DebugDatabase {
 public:
  /// The option's text, or inDefault while it is not set.
  static std::string GetOption(const std::string& inName, const std::string& inDefault);
  static bool HasOption(const std::string& inName);  ///< whether it is set
  /// Set and clear move the change count.
  ///@{
  static void SetOption(const std::string& inName, const std::string& inValue);
  static void ClearOption(const std::string& inName);
  ///@}
  /// Moves whenever an option is set or cleared.
  static std::uint32_t GetChangeCount();
};

/// One option as a call site uses it: the value is read again only when the
/// database's change count has moved.
///
/// Threading: it may be read from several threads at once. Failures: none;
/// GetInteger answers its fallback for text that is no integer.
class STRATA_API DebugOption {
 public:
  /// The option inName, reading as inDefault while it is not set.
  DebugOption(const char* inName, const char* inDefault);
  ~DebugOption();
  DebugOption(const DebugOption&) = delete;
  DebugOption& operator=(const DebugOption&) = delete;

  std::string GetText();  ///< the value as text
  /// The value as a decimal integer; inFallback when it is not one.
  long long GetInteger(long long inFallback);
  /// How often the database was read; for tests.
  std::uint32_t GetReadCount() const;

 private:
  class PrivateImpl;
  PrivateImpl* mImpl;
};

// ------------------------------------------------------- time measurement

/// Named stopwatches for the whole process, started by their first use;
/// the library logs its start-up time through "StartupTime".
///
/// Threading: every member is thread-safe. Failures: none; a name never
/// used reads 0 ms.
class STRATA_API GlobalTimeMeasurement {
 public:
  /// Traces "<name>: <text> (<ms> ms)" under the category "strata.Time" at
  /// level 1, where ms is the time since the first call for that name.
  static void IntermediateMeasurementWithLogging(const char* inName, const char* inText);
  /// Milliseconds since the first call for the name (0 before it).
  static double GetElapsedMilliseconds(const char* inName);
};

}  // namespace debug
}  // namespace strata

/// The compiler's full signature of the enclosing function, for reports.
#if defined(_MSC_VER)
#  define STRATA_FUNCTION_SIGNATURE __FUNCSIG__
#else
#  define STRATA_FUNCTION_SIGNATURE __PRETTY_FUNCTION__
#endif

/// A precondition whose report names a fixed condition text, source file
/// name and line instead of the compiler's, for checks whose reported site
/// is documented and must read the same whatever edits move the check.
#define STRATA_INPUT_CONTRACT_AT(cond, text, source, line)                                \
  do {                                                                                     \
    if (!(cond))                                                                           \
      ::strata::debug::ContractViolation(::strata::debug::DialogKind::kInputContract,      \
                                         (text), STRATA_FUNCTION_SIGNATURE, (source),      \
                                         (line));                                          \
  } while (0)

/// Preconditions and postconditions; a violation raises strata_exception.
///@{
#define STRATA_INPUT_CONTRACT(cond) STRATA_INPUT_CONTRACT_AT(cond, #cond, __FILE__, __LINE__)
#define STRATA_OUTPUT_CONTRACT(cond)                                                       \
  do {                                                                                     \
    if (!(cond))                                                                           \
      ::strata::debug::ContractViolation(::strata::debug::DialogKind::kOutputContract,     \
                                         #cond, STRATA_FUNCTION_SIGNATURE, __FILE__,       \
                                         __LINE__);                                        \
  } while (0)
///@}

/// An assertion the developer can silence for the rest of the run.
#define STRATA_ASSERT_MSG(cond, message)                                                   \
  do {                                                                                     \
    if (!(cond)) {                                                                         \
      static ::strata::debug::AssertSite strataAssertSite_;                                \
      ::strata::debug::ReportAssertion(strataAssertSite_, false, #cond, (message),         \
                                       STRATA_FUNCTION_SIGNATURE, __FILE__, __LINE__);     \
    }                                                                                      \
  } while (0)

/// An assertion shown at most once per call site and run.
#define STRATA_ASSERT_ONCE(cond, message)                                                  \
  do {                                                                                     \
    if (!(cond)) {                                                                         \
      static ::strata::debug::AssertSite strataAssertSite_;                                \
      ::strata::debug::ReportAssertion(strataAssertSite_, true, #cond, (message),          \
                                       STRATA_FUNCTION_SIGNATURE, __FILE__, __LINE__);     \
    }                                                                                      \
  } while (0)

/// Traces a line built by streaming: STRATA_TRACE("Ostra.File", 7, "x=" << x).
#define STRATA_TRACE(category, level, streamed)                                            \
  do {                                                                                     \
    static ::strata::debug::TraceSite strataTraceSite_((category), (level));               \
    if (strataTraceSite_.IsEnabled()) {                                                    \
      ::std::ostringstream strataTraceText_;                                               \
      strataTraceText_ << streamed;                                                        \
      ::strata::debug::TraceLine((category), (level), strataTraceText_.str());             \
    }                                                                                      \
  } while (0)
