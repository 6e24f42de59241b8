// Integers read from text, and refusals.
#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tesselkit/tesselkit.h"

#ifdef TESSELKIT_PEER_FMT
#include <fmt/format.h>
#endif

namespace {

constexpr const char* kNumbers[] = {"0",     "7",       "-42",      "1999",       "65535",
                                    "-8192", "1000000", "20001231", "2147483647", "-2147483648"};

template <class Convert>
void ForEachNumber(benchmark::State& state, Convert convert) {
  _setmbcp(65001);
  for (auto _ : state) {
    for (const char* text : kNumbers) benchmark::DoNotOptimize(convert(text));
  }
  state.SetItemsProcessed(state.iterations() * std::size(kNumbers));
  _setmbcp(0);
}

void ParseNumber(benchmark::State& state) {
  CString problem;
  ForEachNumber(state, [&](const char* text) {
    long value = 0;
    AdStrToLong(text, value, problem);
    return value;
  });
}
BENCHMARK(ParseNumber);

void ParseNumber_peer_strtol(benchmark::State& state) {
  ForEachNumber(state, [](const char* text) { return std::strtol(text, nullptr, 10); });
}
BENCHMARK(ParseNumber_peer_strtol);

void ParseNumber_peer_from_chars(benchmark::State& state) {
  ForEachNumber(state, [](const char* text) {
    int value = 0;
    std::from_chars(text, text + std::strlen(text), value);
    return value;
  });
}
BENCHMARK(ParseNumber_peer_from_chars);

void RefuseNumber(benchmark::State& state) {
  CString problem;
  long value = 0;
  for (auto _ : state) {
    AdStrToLong("12a", value, problem);
    benchmark::DoNotOptimize(problem);
  }
}
BENCHMARK(RefuseNumber);

#ifdef TESSELKIT_PEER_FMT
void RefuseNumber_peer_fmt(benchmark::State& state) {
  std::string problem;
  const char* text = "12a";
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    problem = fmt::format(
        "The value \"{}\" contains invalid characters for an integer value.  The value may begin "
        "with a sign (+ or -) or a numeral, and the remaining characters must all be numerals.",
        text);
    benchmark::DoNotOptimize(problem);
  }
}
BENCHMARK(RefuseNumber_peer_fmt);
#endif

}  // namespace
