#include "Ostra/AutomationDataCollector.h"

#include "strata/Impl.h"

namespace Ostra {

class AutomationDataCollector::PrivateImpl : public strata::Impl {
 public:
  Collection mCollection;
};

const UTF16String AutomationDataCollector::kErrorTag = strata::string::StdToUTF16String("__Error");
const UTF16String AutomationDataCollector::kPerformanceTag =
    strata::string::StdToUTF16String("__Performance");
const UTF16String AutomationDataCollector::kResultsTag =
    strata::string::StdToUTF16String("__Results");
const UTF16String AutomationDataCollector::kSuccessTag =
    strata::string::StdToUTF16String("__Success");

AutomationDataCollector* AutomationDataCollector::Instance() {
  static AutomationDataCollector sInstance;
  return &sInstance;
}

AutomationDataCollector::AutomationDataCollector() : mImpl(new PrivateImpl) {}

AutomationDataCollector::~AutomationDataCollector() = default;

void AutomationDataCollector::AddResult(const UTF16String& inKey, const ResultPair& inResult) {
  mImpl->mCollection[inKey].push_back(inResult);
}

void AutomationDataCollector::AddResults(const UTF16String& inKey,
                                         const std::vector<ResultPair>& inResults) {
  std::vector<ResultPair>& results = mImpl->mCollection[inKey];
  results.insert(results.end(), inResults.begin(), inResults.end());
}

void AutomationDataCollector::Clear() { mImpl->mCollection.clear(); }

AutomationDataCollector::Collection AutomationDataCollector::GetCollection() {
  return mImpl->mCollection;
}

AutomationDataCollector::ResultPair AutomationDataCollector::SpecifyPerformanceTest() {
  return ResultPair(kPerformanceTag, strata::string::StdToUTF16String("True"));
}

}  // namespace Ostra
