/// \file
/// \class Ostra::AutomationDataCollector
/// The process-wide store in which an application files named results of an
/// automation or test run for the driver to collect: pairs of strings under
/// a category key. Keys are kept in string order; results under a key keep
/// their order, duplicates included.
///
/// Threading: only the creation in Instance() is thread-safe. Everything
/// else takes no lock and belongs to one thread at a time (the automation
/// driver's).
///
/// Failures: nothing fails but an allocation, which throws std::bad_alloc.
#pragma once

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "Ostra/OstraConfig.h"

namespace Ostra {

class OSTRA_API AutomationDataCollector {
 public:
  typedef std::pair<UTF16String, UTF16String> ResultPair;  ///< name and value
  /// Results by category key.
  typedef std::map<UTF16String, std::vector<ResultPair>> Collection;

  /// Reserved names: "__Error", "__Performance", "__Results", "__Success".
  ///@{
  static const UTF16String kErrorTag;
  static const UTF16String kPerformanceTag;
  static const UTF16String kResultsTag;
  static const UTF16String kSuccessTag;
  ///@}

  /// The one instance, created empty on first use and destroyed at exit.
  static AutomationDataCollector* Instance();

  virtual ~AutomationDataCollector();
  AutomationDataCollector(const AutomationDataCollector&) = delete;
  AutomationDataCollector& operator=(const AutomationDataCollector&) = delete;

  /// Appends a copy of inResult under inKey.
  void AddResult(const UTF16String& inKey, const ResultPair& inResult);
  /// Appends copies of inResults under inKey, which exists afterwards even
  /// when inResults is empty.
  void AddResults(const UTF16String& inKey, const std::vector<ResultPair>& inResults);
  /// Forgets every key and result.
  void Clear();
  /// A copy of everything collected; changing it changes nothing here.
  Collection GetCollection();
  /// The pair (kPerformanceTag, "True") that marks a run as a performance
  /// test; file it with AddResult. Records nothing itself.
  ResultPair SpecifyPerformanceTest();

 private:
  AutomationDataCollector();

  class PrivateImpl;
  std::unique_ptr<PrivateImpl> mImpl;
};

}  // namespace Ostra
