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

TEST_F(AutomationDataCollectorTest, IsOneInstanceWithTheReservedTags) {
  EXPECT_EQ(mCollector, AutomationDataCollector::Instance());
  EXPECT_EQ(L"__Error", AutomationDataCollector::kErrorTag);
  EXPECT_EQ(L"__Performance", AutomationDataCollector::kPerformanceTag);
  EXPECT_EQ(L"__Results", AutomationDataCollector::kResultsTag);
  EXPECT_EQ(L"__Success", AutomationDataCollector::kSuccessTag);
  EXPECT_EQ(Pair(L"__Performance", L"True"), mCollector->SpecifyPerformanceTest());
  // Specifying records nothing by itself.
  EXPECT_TRUE(mCollector->GetCollection().empty());
}

TEST_F(AutomationDataCollectorTest, KeepsKeysSortedAndResultsInOrderWithDuplicates) {
  mCollector->AddResult(L"b", Pair(L"x", L"1"));
  mCollector->AddResult(L"a", Pair(L"y", L"2"));
  mCollector->AddResult(L"b", Pair(L"x", L"1"));
  mCollector->AddResults(L"b", {Pair(L"z", L"3"), Pair(L"w", L"4")});
  mCollector->AddResults(L"empty", {});
  mCollector->AddResult(AutomationDataCollector::kResultsTag, mCollector->SpecifyPerformanceTest());

  const AutomationDataCollector::Collection collection = mCollector->GetCollection();
  ASSERT_EQ(4u, collection.size());
  auto key = collection.begin();
  EXPECT_EQ(L"__Results", (key++)->first);
  EXPECT_EQ(L"a", (key++)->first);
  EXPECT_EQ(L"b", (key++)->first);
  EXPECT_EQ(L"empty", key->first);
  EXPECT_TRUE(key->second.empty());
  const std::vector<Pair> expected = {Pair(L"x", L"1"), Pair(L"x", L"1"), Pair(L"z", L"3"),
                                      Pair(L"w", L"4")};
  EXPECT_EQ(expected, collection.at(L"b"));

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
  ASSERT_EQ(2u, again.at(L"k").size());
  EXPECT_EQ(L"value", again.at(L"k")[0].second);
  EXPECT_EQ(L"value", again.at(L"k")[1].second);
}

}  // namespace
