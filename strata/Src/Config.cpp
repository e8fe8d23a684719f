#include "strata/Config.h"

#include <map>
#include <mutex>

#include "Platform.h"

namespace strata {
namespace config {

namespace {

struct ConfigState {
  std::mutex mMutex;
  std::map<std::string, UTF16String> mTranslations;
  bool mClientNameSet = false;
  UTF16String mClientName;
  UTF16String mClientVersion = L"1.0";
};

ConfigState& State() {
  static ConfigState sState;
  return sState;
}

// Splits "$$$/key=text" into key and text; anything else is all text.
void SplitSource(const std::string& inSource, std::string& outKey, std::string& outText) {
  const std::string::size_type equals = inSource.find('=');
  if (inSource.compare(0, 4, "$$$/") == 0 && equals != std::string::npos) {
    outKey = inSource.substr(0, equals);
    outText = inSource.substr(equals + 1);
  } else {
    outKey.clear();
    outText = inSource;
  }
}

}  // namespace

strata_exception::strata_exception(ErrorLevel inLevel, const std::string& inSource,
                                   const UTF16String& inMessage)
    : std::runtime_error(string::UTF16toStdString(inMessage)),
      mLevel(inLevel),
      mSource(inSource),
      mMessage(inMessage) {}
strata_exception::~strata_exception() = default;
strata_exception::strata_exception(const strata_exception&) = default;
strata_exception& strata_exception::operator=(const strata_exception&) = default;

ErrorLevel strata_exception::GetErrorLevel() const { return mLevel; }
const std::string& strata_exception::GetSource() const { return mSource; }
std::string strata_exception::GetKey() const {
  std::string key, text;
  SplitSource(mSource, key, text);
  return key;
}
const UTF16String& strata_exception::GetMessageText() const { return mMessage; }
const char* strata_exception::what() const noexcept { return std::runtime_error::what(); }

UTF16String LocalizeString(const std::string& inSource, const UTF16String& inReplacement1,
                           const UTF16String& inReplacement2, const UTF16String& inReplacement3,
                           const UTF16String& inReplacement4) {
  std::string key, text;
  SplitSource(inSource, key, text);
  UTF16String pattern;
  {
    ConfigState& state = State();
    std::lock_guard<std::mutex> lock(state.mMutex);
    const auto found = key.empty() ? state.mTranslations.end() : state.mTranslations.find(key);
    if (found != state.mTranslations.end()) pattern = found->second;
  }
  if (pattern.empty()) pattern = string::StdToUTF16String(text);

  const UTF16String* replacements[] = {&inReplacement1, &inReplacement2, &inReplacement3,
                                       &inReplacement4};
  UTF16String result;
  result.reserve(pattern.size());
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == L'^' && i + 1 < pattern.size() && pattern[i + 1] >= L'1' &&
        pattern[i + 1] <= L'4') {
      result += *replacements[pattern[i + 1] - L'1'];
      ++i;
    } else {
      result += pattern[i];
    }
  }
  return result;
}

void SetLocalizedString(const std::string& inKey, const UTF16String& inText) {
  ConfigState& state = State();
  std::lock_guard<std::mutex> lock(state.mMutex);
  if (inText.empty())
    state.mTranslations.erase(inKey);
  else
    state.mTranslations[inKey] = inText;
}

void ThrowError(ErrorLevel inLevel, const std::string& inSource, const UTF16String& inReplacement1,
                const UTF16String& inReplacement2, const UTF16String& inReplacement3,
                const UTF16String& inReplacement4) {
  throw strata_exception(inLevel, inSource,
                         LocalizeString(inSource, inReplacement1, inReplacement2, inReplacement3,
                                        inReplacement4));
}

UTF16String GetClientName() {
  ConfigState& state = State();
  std::lock_guard<std::mutex> lock(state.mMutex);
  if (!state.mClientNameSet) {
    state.mClientName = platform::GetExecutableBaseName();
    state.mClientNameSet = true;
  }
  return state.mClientName;
}

void SetClientName(const UTF16String& inName) {
  ConfigState& state = State();
  std::lock_guard<std::mutex> lock(state.mMutex);
  state.mClientName = inName;
  state.mClientNameSet = true;
}

UTF16String GetClientInternalVersion() {
  ConfigState& state = State();
  std::lock_guard<std::mutex> lock(state.mMutex);
  return state.mClientVersion;
}

void SetClientInternalVersion(const UTF16String& inVersion) {
  ConfigState& state = State();
  std::lock_guard<std::mutex> lock(state.mMutex);
  state.mClientVersion = inVersion;
}

}  // namespace config
}  // namespace strata
