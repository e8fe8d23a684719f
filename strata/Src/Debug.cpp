#include "strata/Debug.h"

#include <cstdlib>
#include <map>
#include <mutex>

#include "Platform.h"
#include "strata/Impl.h"
#include "strata/Utility.h"

namespace strata {
namespace debug {

namespace {

// ---------------------------------------------------------------- dialogs

const char kInputContractError[] =
    "$$$/strata/utility/Error/Contract/InputContractViolation="
    "An input contract violation has occurred!";
const char kOutputContractError[] =
    "$$$/strata/utility/Error/Contract/OutputContractViolation="
    "An output contract violation has occurred!";

struct DialogState {
  std::mutex mMutex;
  DialogHook mHook;
};

DialogState& Dialogs() {
  static DialogState sState;
  return sState;
}

std::string DescribeDialog(const DialogInfo& inInfo) {
  std::ostringstream text;
  switch (inInfo.kind) {
    case DialogKind::kAssertion: text << "Assertion failed: "; break;
    case DialogKind::kInputContract: text << "Input contract violated: "; break;
    case DialogKind::kOutputContract: text << "Output contract violated: "; break;
  }
  text << inInfo.condition;
  if (!inInfo.message.empty()) text << "\n  " << inInfo.message;
  text << "\n  in " << inInfo.function << " (" << inInfo.file << ", line " << inInfo.line << ")\n";
  return text.str();
}

// An unattended process must never wait for a click: report and go on.
DialogAction DefaultDialog(const DialogInfo& inInfo) {
  platform::WriteDiagnosticText(DescribeDialog(inInfo));
  return DialogAction::kContinue;
}

DialogAction RunDialog(const DialogInfo& inInfo) {
  DialogHook hook;
  {
    DialogState& state = Dialogs();
    std::lock_guard<std::mutex> lock(state.mMutex);
    hook = state.mHook;
  }
  // Called outside the lock: a hook may itself assert or install a hook.
  return hook ? hook(inInfo) : DefaultDialog(inInfo);
}

bool ShouldBreak(DialogAction inAction) {
  return inAction == DialogAction::kBreak && IsDebuggerAttached();
}

DialogInfo MakeInfo(DialogKind inKind, const char* inCondition, const std::string& inMessage,
                    const char* inSignature, const char* inFile, int inLine) {
  DialogInfo info;
  info.kind = inKind;
  info.condition = inCondition ? inCondition : "";
  info.message = inMessage;
  info.function = QualifiedFunctionName(inSignature);
  info.file = SourceFileName(inFile);
  info.line = inLine;
  return info;
}

// ---------------------------------------------------------------- tracing

const int kAllLevels = 0x7FFFFFFF;

struct TraceState {
  std::mutex mMutex;
  std::map<std::string, int> mLevels;
  TraceSink mSink;
  std::atomic<std::uint32_t> mChangeCount{0};
};

TraceState& Traces() {
  static TraceState sState;
  return sState;
}

void DefaultSink(const char* inCategory, int inLevel, const std::string& inText) {
  std::ostringstream line;
  line << '[' << inCategory << ':' << inLevel << "] " << inText << '\n';
  platform::WriteDiagnosticText(line.str());
}

// ---------------------------------------------------------- debug options

struct OptionState {
  std::mutex mMutex;
  std::map<std::string, std::string> mOptions;
  std::atomic<std::uint32_t> mChangeCount{0};
};

OptionState& Options() {
  static OptionState sState;
  return sState;
}

// ------------------------------------------------------- time measurement

struct TimeState {
  std::mutex mMutex;
  std::map<std::string, std::uint64_t> mStarts;
};

TimeState& Times() {
  static TimeState sState;
  return sState;
}

// ------------------------------------------------------------ environment

std::string Trim(const std::string& inText) {
  const char* blanks = " \t\r\n";
  const std::string::size_type first = inText.find_first_not_of(blanks);
  if (first == std::string::npos) return std::string();
  return inText.substr(first, inText.find_last_not_of(blanks) - first + 1);
}

// Calls inEach(name, value, hasValue) for "a=1;b;c=x": entries split at ';',
// name and value at the first '=' of the entry, so a value may hold '='.
template <class Each>
void ForEachSetting(const std::string& inText, Each inEach) {
  std::string::size_type start = 0;
  while (start <= inText.size()) {
    std::string::size_type end = inText.find(';', start);
    if (end == std::string::npos) end = inText.size();
    const std::string entry = Trim(inText.substr(start, end - start));
    if (!entry.empty()) {
      const std::string::size_type equals = entry.find('=');
      if (equals == std::string::npos)
        inEach(entry, std::string(), false);
      else
        inEach(Trim(entry.substr(0, equals)), Trim(entry.substr(equals + 1)), true);
    }
    start = end + 1;
  }
}

// Reads the environment once, when the library is loaded.
struct EnvironmentSettings {
  EnvironmentSettings() {
    ForEachSetting(platform::GetEnvironmentText("STRATA_TRACE"),
                   [](const std::string& inName, const std::string& inValue, bool inHasValue) {
                     const int level = inHasValue ? std::atoi(inValue.c_str()) : kAllLevels;
                     SetTraceLevel(inName, level);
                   });
    ForEachSetting(platform::GetEnvironmentText("STRATA_DEBUG_OPTIONS"),
                   [](const std::string& inName, const std::string& inValue, bool) {
                     DebugDatabase::SetOption(inName, inValue);
                   });
  }
};
const EnvironmentSettings sEnvironmentSettings;

}  // namespace

// ---------------------------------------------------------------- dialogs

DialogHook SetDialogHook(DialogHook inHook) {
  DialogState& state = Dialogs();
  std::lock_guard<std::mutex> lock(state.mMutex);
  std::swap(state.mHook, inHook);
  return inHook;
}

bool BreakAfterAssertDialog(const DialogInfo& inInfo) { return ShouldBreak(RunDialog(inInfo)); }
bool BreakAfterContractDialog(const DialogInfo& inInfo) { return ShouldBreak(RunDialog(inInfo)); }

std::string QualifiedFunctionName(const char* inSignature) {
  if (!inSignature) return std::string();
  std::string signature(inSignature);
  // Clang writes an unnamed namespace as "(anonymous namespace)", which
  // would read as a parameter list; it becomes GCC's "{anonymous}".
  static const std::string kClangAnonymous = "(anonymous namespace)";
  for (std::string::size_type at = signature.find(kClangAnonymous); at != std::string::npos;
       at = signature.find(kClangAnonymous, at))
    signature.replace(at, kClangAnonymous.size(), "{anonymous}");
  // The parameter list opens at the first '(' outside template arguments
  // that does not belong to an "operator()" name.
  int depth = 0;
  std::string::size_type open = std::string::npos;
  for (std::string::size_type i = 0; i < signature.size(); ++i) {
    const char c = signature[i];
    if (c == '<') ++depth;
    else if (c == '>' && depth > 0) --depth;
    else if (c == '(' && depth == 0) {
      if (i >= 8 && signature.compare(i - 8, 8, "operator") == 0 && i + 1 < signature.size() &&
          signature[i + 1] == ')') {
        ++i;
        continue;
      }
      // A function returning a function pointer reads "int (* Ns::F(int))()"
      // (MSVC: "int (__cdecl *__cdecl Ns::F(int))(void)"): the name and its
      // parameters sit inside that declarator's parentheses.
      std::string::size_type next = i + 1;
      if (signature.compare(next, 2, "__") == 0) {
        const std::string::size_type blank = signature.find(' ', next);
        if (blank != std::string::npos) next = blank + 1;
      }
      if (next < signature.size() && (signature[next] == '*' || signature[next] == '&')) continue;
      open = i;
      break;
    }
  }
  if (open == std::string::npos) return signature;
  // The name starts behind the last blank outside template arguments.
  depth = 0;
  std::string::size_type start = 0;
  for (std::string::size_type i = open; i-- > 0;) {
    const char c = signature[i];
    if (c == '>') ++depth;
    else if (c == '<' && depth > 0) --depth;
    else if ((c == ' ' || c == '*' || c == '&') && depth == 0) {
      start = i + 1;
      break;
    }
  }
  std::string name = signature.substr(start, open - start);
  // MSVC puts the calling convention before the name.
  for (const char* convention : {"__cdecl ", "__stdcall ", "__thiscall ", "__fastcall "})
    if (name.compare(0, std::char_traits<char>::length(convention), convention) == 0)
      name.erase(0, std::char_traits<char>::length(convention));
  return name;
}

std::string SourceFileName(const char* inPath) {
  if (!inPath) return std::string();
  std::string name(inPath);
  const std::string::size_type slash = name.find_last_of("\\/");
  if (slash != std::string::npos) name.erase(0, slash + 1);
  const std::string::size_type dot = name.rfind('.');
  if (dot != std::string::npos && dot > 0) name.erase(dot);
  return name;
}

void ReportAssertion(AssertSite& ioSite, bool inOnce, const char* inCondition,
                     const std::string& inMessage, const char* inSignature, const char* inFile,
                     int inLine) {
  if (inOnce) {
    if (ioSite.mSilenced.exchange(true)) return;
  } else if (ioSite.mSilenced.load()) {
    return;
  }
  const DialogAction action =
      RunDialog(MakeInfo(DialogKind::kAssertion, inCondition, inMessage, inSignature, inFile, inLine));
  if (action == DialogAction::kSilence) ioSite.mSilenced.store(true);
  if (ShouldBreak(action)) platform::BreakIntoDebugger();
}

void ContractViolation(DialogKind inKind, const char* inCondition, const char* inSignature,
                       const char* inFile, int inLine) {
  if (BreakAfterContractDialog(MakeInfo(inKind, inCondition, std::string(), inSignature, inFile, inLine)))
    platform::BreakIntoDebugger();
  config::ThrowError(config::ErrorLevel::kError, inKind == DialogKind::kOutputContract
                                                     ? kOutputContractError
                                                     : kInputContractError);
}

// ---------------------------------------------------------------- tracing

void SetTraceLevel(const std::string& inCategory, int inLevel) {
  TraceState& state = Traces();
  std::lock_guard<std::mutex> lock(state.mMutex);
  if (inLevel <= 0)
    state.mLevels.erase(inCategory);
  else
    state.mLevels[inCategory] = inLevel;
  state.mChangeCount.fetch_add(1, std::memory_order_release);
}

int GetTraceLevel(const std::string& inCategory) {
  TraceState& state = Traces();
  std::lock_guard<std::mutex> lock(state.mMutex);
  const auto found = state.mLevels.find(inCategory);
  return found == state.mLevels.end() ? 0 : found->second;
}

bool IsTraceEnabled(const char* inCategory, int inLevel) {
  return inCategory && inLevel <= GetTraceLevel(inCategory);
}

std::uint32_t GetTraceChangeCount() { return Traces().mChangeCount.load(std::memory_order_acquire); }

void TraceLine(const char* inCategory, int inLevel, const std::string& inText) {
  TraceSink sink;
  {
    TraceState& state = Traces();
    std::lock_guard<std::mutex> lock(state.mMutex);
    sink = state.mSink;
  }
  if (sink)
    sink(inCategory, inLevel, inText);
  else
    DefaultSink(inCategory, inLevel, inText);
}

TraceSink SetTraceSink(TraceSink inSink) {
  TraceState& state = Traces();
  std::lock_guard<std::mutex> lock(state.mMutex);
  std::swap(state.mSink, inSink);
  return inSink;
}

void ShutdownTraceManager() { std::fflush(stderr); }

// ---------------------------------------------------------- debug options

std::string DebugDatabase::GetOption(const std::string& inName, const std::string& inDefault) {
  OptionState& state = Options();
  std::lock_guard<std::mutex> lock(state.mMutex);
  const auto found = state.mOptions.find(inName);
  return found == state.mOptions.end() ? inDefault : found->second;
}

bool DebugDatabase::HasOption(const std::string& inName) {
  OptionState& state = Options();
  std::lock_guard<std::mutex> lock(state.mMutex);
  return state.mOptions.count(inName) != 0;
}

void DebugDatabase::SetOption(const std::string& inName, const std::string& inValue) {
  OptionState& state = Options();
  std::lock_guard<std::mutex> lock(state.mMutex);
  state.mOptions[inName] = inValue;
  state.mChangeCount.fetch_add(1, std::memory_order_release);
}

void DebugDatabase::ClearOption(const std::string& inName) {
  OptionState& state = Options();
  std::lock_guard<std::mutex> lock(state.mMutex);
  if (state.mOptions.erase(inName) != 0) state.mChangeCount.fetch_add(1, std::memory_order_release);
}

std::uint32_t DebugDatabase::GetChangeCount() {
  return Options().mChangeCount.load(std::memory_order_acquire);
}

class DebugOption::PrivateImpl : public Impl {
 public:
  PrivateImpl(const char* inName, const char* inDefault) : mName(inName), mDefault(inDefault) {}
  std::mutex mMutex;
  const std::string mName;
  const std::string mDefault;
  std::string mValue;
  std::uint32_t mSeenCount = 0xFFFFFFFFu;
  std::uint32_t mReads = 0;
};

DebugOption::DebugOption(const char* inName, const char* inDefault)
    : mImpl(new PrivateImpl(inName, inDefault)) {}

DebugOption::~DebugOption() { delete mImpl; }

std::string DebugOption::GetText() {
  std::lock_guard<std::mutex> lock(mImpl->mMutex);
  const std::uint32_t count = DebugDatabase::GetChangeCount();
  if (count != mImpl->mSeenCount) {
    mImpl->mValue = DebugDatabase::GetOption(mImpl->mName, mImpl->mDefault);
    mImpl->mSeenCount = count;
    ++mImpl->mReads;
  }
  return mImpl->mValue;
}

long long DebugOption::GetInteger(long long inFallback) {
  const std::string text = GetText();
  if (text.empty()) return inFallback;
  char* end = nullptr;
  const long long value = std::strtoll(text.c_str(), &end, 10);
  return (end && *end == '\0') ? value : inFallback;
}

std::uint32_t DebugOption::GetReadCount() const {
  std::lock_guard<std::mutex> lock(mImpl->mMutex);
  return mImpl->mReads;
}

// ------------------------------------------------------- time measurement

void GlobalTimeMeasurement::IntermediateMeasurementWithLogging(const char* inName, const char* inText) {
  const double elapsed = GetElapsedMilliseconds(inName);
  STRATA_TRACE("strata.Time", 1, inName << ": " << inText << " (" << elapsed << " ms)");
}

double GlobalTimeMeasurement::GetElapsedMilliseconds(const char* inName) {
  const std::uint64_t now = utility::HighPrecisionTime::GetCurrentTimeStamp();
  TimeState& state = Times();
  std::lock_guard<std::mutex> lock(state.mMutex);
  const auto inserted = state.mStarts.emplace(inName ? inName : "", now);
  return utility::HighPrecisionTime::ToSeconds(now - inserted.first->second) * 1000.0;
}

}  // namespace debug
}  // namespace strata
