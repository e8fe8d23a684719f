#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "strata/ClassRef.h"

namespace {

using strata::classref::InterfaceRef;
using strata::classref::MakeInterface;

std::atomic<int> sLive{0};

class IShape : public strata::classref::IRefCounted {
 public:
  virtual int Corners() const = 0;
};

class Square : public IShape {
 public:
  Square() { ++sLive; }
  ~Square() override { --sLive; }
  int Corners() const override { return 4; }
};

class InterfaceRefTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(0, sLive.load()) << "an object leaked"; }
};

TEST_F(InterfaceRefTest, CopiesMovesAndResetsCountExactly) {
  InterfaceRef<IShape> a = MakeInterface<Square>();
  EXPECT_EQ(1, a->GetRefCount());
  {
    InterfaceRef<IShape> b = a;
    EXPECT_EQ(2, a->GetRefCount());
    InterfaceRef<IShape> c = std::move(b);
    EXPECT_TRUE(b.IsEmpty());
    EXPECT_EQ(2, a->GetRefCount());
    InterfaceRef<IShape>& alias = c;
    c = alias;  // self-assignment keeps the reference
    EXPECT_EQ(2, a->GetRefCount());
  }
  EXPECT_EQ(1, a->GetRefCount());
  a = InterfaceRef<IShape>();
  EXPECT_EQ(0, sLive.load());
}

TEST_F(InterfaceRefTest, ConvertsToItsBaseAndComparesByObject) {
  InterfaceRef<Square> square = MakeInterface<Square>();
  InterfaceRef<IShape> shape = square;
  EXPECT_EQ(2, shape->GetRefCount());
  EXPECT_EQ(4, shape->Corners());
  EXPECT_TRUE(shape == InterfaceRef<IShape>(square.Get()));
  EXPECT_TRUE(shape != InterfaceRef<IShape>());
}

TEST_F(InterfaceRefTest, DereferencingEmptyRaisesNullInterface) {
  InterfaceRef<IShape> empty;
  EXPECT_FALSE(empty);
  EXPECT_THROW(empty->Corners(), strata::classref::null_interface_exception);
  EXPECT_THROW(*empty, strata::config::strata_exception);
}

TEST_F(InterfaceRefTest, ConcurrentCopiesKeepTheCountExact) {
  InterfaceRef<IShape> shared = MakeInterface<Square>();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([shared] {
      for (int i = 0; i < 10000; ++i) InterfaceRef<IShape> copy = shared;
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(1, shared->GetRefCount());
}

}  // namespace
