#include <gtest/gtest.h>

#include "Ostra/AutomationDataCollector.h"

namespace {

using Ostra::AutomationDataCollector;
typedef AutomationDataCollector::ResultPair Pair;

class AutomationDataCollectorTest : public ::testing::Test {
 protected:
  void SetUp() override { mCollector->Clear(); }
  void TearDown() override { mCollector->Clear(); }

  AutomationDataCollector* mCollector = AutomationDataCollector::Instance();
};

TEST_F(AutomationDataCollectorTest, KeepsKeysSortedAndResultsInOrderWithDuplicates) {
  EXPECT_EQ(mCollector, AutomationDataCollector::Instance());
  EXPECT_EQ(L"__Error", AutomationDataCollector::kErrorTag);
  EXPECT_EQ(L"__Success", AutomationDataCollector::kSuccessTag);
  // Specifying a performance test records nothing by itself.
  EXPECT_EQ(Pair(L"__Performance", L"True"), mCollector->SpecifyPerformanceTest());
  EXPECT_TRUE(mCollector->GetCollection().empty());

  mCollector->AddResult(L"b", Pair(L"x", L"1"));
  mCollector->AddResult(L"a", Pair(L"y", L"2"));
  mCollector->AddResult(L"b", Pair(L"x", L"1"));
  mCollector->AddResults(L"b", {Pair(L"z", L"3"), Pair(L"w", L"4")});
  mCollector->AddResults(L"empty", {});
  mCollector->AddResult(AutomationDataCollector::kResultsTag, mCollector->SpecifyPerformanceTest());

  const AutomationDataCollector::Collection collection = mCollector->GetCollection();
  std::vector<Ostra::UTF16String> keys;
  for (const auto& entry : collection) keys.push_back(entry.first);
  EXPECT_EQ((std::vector<Ostra::UTF16String>{L"__Results", L"a", L"b", L"empty"}), keys);
  EXPECT_TRUE(collection.at(L"empty").empty());
  EXPECT_EQ((std::vector<Pair>{Pair(L"x", L"1"), Pair(L"x", L"1"), Pair(L"z", L"3"), Pair(L"w", L"4")}),
            collection.at(L"b"));
  EXPECT_EQ(Pair(L"__Performance", L"True"), collection.at(L"__Results").at(0));

  mCollector->Clear();
  EXPECT_TRUE(mCollector->GetCollection().empty());
}

TEST_F(AutomationDataCollectorTest, StoresAndHandsOutCopies) {
  Pair pair(L"name", L"value");
  std::vector<Pair> pairs = {pair};
  mCollector->AddResult(L"k", pair);
  mCollector->AddResults(L"k", pairs);
  pair.second = L"changed";
  pairs.clear();

  AutomationDataCollector::Collection collection = mCollector->GetCollection();
  collection[L"k"].clear();
  collection[L"new"].push_back(pair);

  const AutomationDataCollector::Collection again = mCollector->GetCollection();
  ASSERT_EQ(1u, again.size());
  EXPECT_EQ((std::vector<Pair>{Pair(L"name", L"value"), Pair(L"name", L"value")}), again.at(L"k"));
}

}  // namespace
