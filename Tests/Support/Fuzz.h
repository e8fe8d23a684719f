// Seeded inputs for the fuzz tests. Every run uses one seed, fixed unless
// OSTRA_FUZZ_SEED gives another (decimal or 0x hex); it is printed and
// recorded as a test property, and each failure names it with the input's
// index, so that a failing run can be replayed exactly.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <type_traits>

namespace OstraTest {

// Text for failure messages: printable ASCII as is, any other unit as \uXXXX.
template <class Char, class Traits, class Alloc>
std::string Show(const std::basic_string<Char, Traits, Alloc>& inText) {
  std::string shown;
  for (Char c : inText) {
    const unsigned unit = static_cast<typename std::make_unsigned<Char>::type>(c);
    char escaped[12];
    std::snprintf(escaped, sizeof(escaped), "\\u%04X", unit);
    shown += unit >= 0x20 && unit < 0x7F ? std::string(1, static_cast<char>(unit)) : escaped;
  }
  return shown;
}

// Fails the test with what was broken, the seed and the input, and ends it.
#define FUZZ_FAIL(broken, fuzz, index, input)                                         \
  do {                                                                                \
    ADD_FAILURE() << (broken) << "\n  " << (fuzz).Where(index) << ": \""              \
                  << ::OstraTest::Show(input) << "\"";                                \
    return;                                                                           \
  } while (0)

// Ends the test at the first broken rule, naming the seed and the input.
#define FUZZ_EXPECT(condition, fuzz, index, input)                                    \
  do {                                                                                \
    if (!(condition)) FUZZ_FAIL(#condition, fuzz, index, input);                      \
  } while (0)

// The same for a rule of Fuzz/Rules.h, which names itself when broken.
#define FUZZ_EXPECT_RULES(rules, fuzz, index, input)                                  \
  do {                                                                                \
    if (const char* broken_ = (rules)) FUZZ_FAIL(broken_, fuzz, index, input);        \
  } while (0)

// Inputs per family of a fuzz test.
const int kFuzzInputs = 100000;

class Fuzzer {
 public:
  // inFamily tells the families of one run apart: each draws its own
  // sequence from the run's seed.
  explicit Fuzzer(const char* inFamily) : mSeed(RunSeed()), mRandom(Mix(mSeed, inFamily)) {
    ::testing::Test::RecordProperty("fuzz_seed", std::to_string(mSeed));
    std::printf("[ FUZZ     ] %s: seed %llu (replay with OSTRA_FUZZ_SEED=%llu)\n", inFamily,
                static_cast<unsigned long long>(mSeed), static_cast<unsigned long long>(mSeed));
  }

  // 0 .. inBound - 1 (inBound > 0).
  std::uint32_t Below(std::uint32_t inBound) {
    return static_cast<std::uint32_t>(mRandom() % inBound);
  }
  bool OneIn(std::uint32_t inChance) { return Below(inChance) == 0; }
  std::uint64_t Bits64() { return mRandom(); }

  template <class Char, class Traits, class Alloc>
  Char Pick(const std::basic_string<Char, Traits, Alloc>& inAlphabet) {
    return inAlphabet[Below(static_cast<std::uint32_t>(inAlphabet.size()))];
  }
  // Up to inMaxLength characters of inAlphabet.
  template <class Char, class Traits, class Alloc>
  std::basic_string<Char, Traits, Alloc> Text(const std::basic_string<Char, Traits, Alloc>& inAlphabet,
                                              std::uint32_t inMaxLength) {
    std::basic_string<Char, Traits, Alloc> text(Below(inMaxLength + 1), Char());
    for (Char& c : text) c = Pick(inAlphabet);
    return text;
  }

  // For failure messages: where to replay from.
  std::string Where(int inInput) const {
    return "fuzz seed " + std::to_string(mSeed) + ", input " + std::to_string(inInput);
  }

 private:
  static std::uint64_t RunSeed() {
    const char* text = std::getenv("OSTRA_FUZZ_SEED");
    return text && *text ? std::strtoull(text, nullptr, 0) : 0x5EED2024ull;
  }
  static std::uint64_t Mix(std::uint64_t inSeed, const char* inFamily) {
    std::uint64_t hash = inSeed ^ 0xCBF29CE484222325ull;  // FNV-1a over the name
    for (const char* c = inFamily; *c; ++c)
      hash = (hash ^ static_cast<unsigned char>(*c)) * 0x100000001B3ull;
    return hash;
  }

  const std::uint64_t mSeed;
  std::mt19937_64 mRandom;
};

}  // namespace OstraTest
