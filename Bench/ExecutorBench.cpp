// What handing a call to an executor costs, next to calling it directly:
// a serial view of the CPU pool (the executor an asynchronous reader runs
// its completions on), the CPU pool itself, and a dedicated one-thread
// executor. "Stream" posts a batch and waits once, so it measures the cost
// per task when the executor stays busy; "round trip" posts one task and
// waits for it, so it includes waking a sleeping thread and being woken.
#include <cstdio>
#include <functional>

#include "BenchHarness.h"
#include "strata/Executor.h"

namespace {

using OstraBench::Measure;
using OstraBench::Measurement;
using strata::threads::ExecutorRef;

const int kBatch = 2000;

std::uint64_t sCounter = 0;
void Increment() { ++sCounter; }

void PrintMicroseconds(const Measurement& inCase, const Measurement& inBaseline) {
  const double ratio = inBaseline.NanosecondsPerItem() > 0
                           ? inCase.NanosecondsPerItem() / inBaseline.NanosecondsPerItem()
                           : 0;
  std::printf("%-44s %12.3f %12.0f\n", inCase.name.c_str(), inCase.NanosecondsPerItem() / 1000.0,
              ratio);
}

Measurement Stream(const char* inName, const ExecutorRef& inExecutor) {
  return Measure(inName, kBatch, [&inExecutor] {
    for (int i = 0; i < kBatch; ++i) inExecutor->Post(&Increment);
    inExecutor->WaitForAll();
  });
}

Measurement RoundTrip(const char* inName, const ExecutorRef& inExecutor) {
  return Measure(inName, 1, [&inExecutor] {
    inExecutor->Post(&Increment);
    inExecutor->WaitForAll();
  });
}

}  // namespace

int main() {
  void (*volatile plainCall)() = &Increment;
  const Measurement direct = Measure("baseline: plain function call", 1000000, [plainCall] {
    for (int i = 0; i < 1000000; ++i) plainCall();
  });
  const std::function<void()> function = &Increment;
  const Measurement wrapped = Measure("baseline: std::function call", 1000000, [&function] {
    for (int i = 0; i < 1000000; ++i) function();
  });

  ExecutorRef pool = strata::threads::CreateCPUBoundExecutor();
  ExecutorRef serial = strata::threads::CreateSubExecutor(pool, 1);
  ExecutorRef dedicated = strata::threads::CreateAsyncThreadedExecutor(
      "Bench Thread", 1, strata::threads::ThreadPriority::kNormal, {}, {}, {});
  if (!pool || !serial || !dedicated) {
    std::printf("executors could not be made\n");
    return 1;
  }
  const Measurement cases[] = {
      Stream("serial view of CPU pool: stream", serial),
      RoundTrip("serial view of CPU pool: round trip", serial),
      Stream("CPU pool: stream", pool),
      RoundTrip("CPU pool: round trip", pool),
      Stream("one-thread executor: stream", dedicated),
      RoundTrip("one-thread executor: round trip", dedicated),
  };
  OstraBench::KeepAlive(sCounter);

  OstraBench::PrintHeader("Executors: post-to-run cost per task");
  OstraBench::Report(direct, direct);
  OstraBench::Report(wrapped, direct);
  for (const Measurement& measurement : cases) OstraBench::Report(measurement, wrapped);

  std::printf("\n%-44s %12s %12s\n", "case", "us/task", "x std::fn");
  PrintMicroseconds(direct, wrapped);
  PrintMicroseconds(wrapped, wrapped);
  for (const Measurement& measurement : cases) PrintMicroseconds(measurement, wrapped);
  return 0;
}
