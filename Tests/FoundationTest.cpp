#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "Ostra/Foundation.h"

namespace {

using strata::classref::InterfaceRef;
using strata::classref::MakeInterface;

std::atomic<int> sLiveFactories{0};

class CountingFactory : public Ostra::IFileBufferFactory {
 public:
  CountingFactory() { ++sLiveFactories; }
  ~CountingFactory() override { --sLiveFactories; }
  InterfaceRef<Ostra::IFileBuffer> CreateFileBuffer() override { return {}; }
};

class FileBufferFactoryTest : public ::testing::Test {
 protected:
  void TearDown() override {
    Ostra::Foundation::SetFileBufferFactory({});
    EXPECT_EQ(0, sLiveFactories.load()) << "a factory leaked";
  }
};

TEST_F(FileBufferFactoryTest, InstallKeepsOneReferenceAndUninstallReleasesIt) {
  InterfaceRef<Ostra::IFileBufferFactory> factory = MakeInterface<CountingFactory>();
  ASSERT_EQ(1, factory->GetRefCount());
  Ostra::Foundation::SetFileBufferFactory(factory);
  EXPECT_EQ(2, factory->GetRefCount());

  Ostra::Foundation::SetFileBufferFactory({});
  EXPECT_EQ(1, factory->GetRefCount());
  Ostra::Foundation::SetFileBufferFactory({});
  EXPECT_EQ(1, factory->GetRefCount()) << "uninstalling twice released a reference";
}

TEST_F(FileBufferFactoryTest, ReplacingReleasesTheOldFactory) {
  Ostra::Foundation::SetFileBufferFactory(MakeInterface<CountingFactory>());
  EXPECT_EQ(1, sLiveFactories.load()) << "the library must keep the only reference";

  InterfaceRef<Ostra::IFileBufferFactory> second = MakeInterface<CountingFactory>();
  Ostra::Foundation::SetFileBufferFactory(second);
  EXPECT_EQ(1, sLiveFactories.load()) << "the first factory was not released";
  EXPECT_EQ(2, second->GetRefCount());

  // Installing the installed factory again changes nothing.
  Ostra::Foundation::SetFileBufferFactory(second);
  EXPECT_EQ(2, second->GetRefCount());
}

TEST_F(FileBufferFactoryTest, ConcurrentInstallsLeakNothing) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 500; ++i) {
        Ostra::Foundation::SetFileBufferFactory(i % 3 ? MakeInterface<CountingFactory>()
                                                       : InterfaceRef<CountingFactory>());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_LE(sLiveFactories.load(), 1) << "replaced factories leaked";
}

}  // namespace
