// Equality, emptiness, counts and formatting, beside the C library's and plain byte loops.
#include <benchmark/benchmark.h>

#include <strings.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

#include "tesselkit/tesselkit.h"

namespace {

constexpr char kText[] = "TW_DATABASE_SET_NAME_27";
constexpr char kSame[] = "TW_DATABASE_SET_NAME_27";
constexpr char kOtherCase[] = "tw_database_set_name_27";

[[gnu::noinline]] bool LoopEqual(const char* a, const char* b) {
  while (*a != '\0' && *a == *b) ++a, ++b;
  return *a == *b;
}

[[gnu::noinline]] bool LoopEqualNoCase(const char* a, const char* b) {
  while (*a != '\0' && std::tolower(*a) == std::tolower(*b)) ++a, ++b;
  return *a == *b;
}

[[gnu::noinline]] bool LoopEmpty(const char* a) {
  return a == nullptr || *a == '\0';
}

template <class Test>
void Compare(benchmark::State& state, const char* a, const char* b, Test test) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(b);
    benchmark::DoNotOptimize(test(a, b));
  }
}

void Equal(benchmark::State& state) {
  Compare(state, kText, kSame, AdIsEqual);
}
BENCHMARK(Equal);
void Equal_peer_byte_loop(benchmark::State& state) {
  Compare(state, kText, kSame, LoopEqual);
}
BENCHMARK(Equal_peer_byte_loop);
void Equal_peer_strcmp(benchmark::State& state) {
  Compare(state, kText, kSame, [](const char* a, const char* b) { return std::strcmp(a, b) == 0; });
}
BENCHMARK(Equal_peer_strcmp);

void EqualNoCase(benchmark::State& state) {
  Compare(state, kText, kOtherCase, AdIsEqualNoCase);
}
BENCHMARK(EqualNoCase);
void EqualNoCase_peer_byte_loop(benchmark::State& state) {
  Compare(state, kText, kOtherCase, LoopEqualNoCase);
}
BENCHMARK(EqualNoCase_peer_byte_loop);
void EqualNoCase_peer_strcasecmp(benchmark::State& state) {
  Compare(state, kText, kOtherCase,
          [](const char* a, const char* b) { return strcasecmp(a, b) == 0; });
}
BENCHMARK(EqualNoCase_peer_strcasecmp);

void Empty(benchmark::State& state) {
  Compare(state, kText, kText, [](const char* a, const char*) { return AdIsEmpty(a); });
}
BENCHMARK(Empty);
void Empty_peer_byte_loop(benchmark::State& state) {
  Compare(state, kText, kText, [](const char* a, const char*) { return LoopEmpty(a); });
}
BENCHMARK(Empty_peer_byte_loop);

void Letters(benchmark::State& state) {
  _setmbcp(static_cast<int>(state.range(0)));
  Compare(state, kText, kText, [](const char* a, const char*) { return AdNumberOfLetters(a); });
  _setmbcp(0);
}
BENCHMARK(Letters)->Arg(0)->Arg(932)->Arg(65001);

void DoubleText(benchmark::State& state) {
  double x = 12345.678;
  for (auto _ : state) benchmark::DoNotOptimize(AdStrDbl(x += 0.5));
}
BENCHMARK(DoubleText);
void DoubleText_peer_snprintf(benchmark::State& state) {
  double x = 12345.678;
  for (auto _ : state) {
    char text[100];
    std::snprintf(text, sizeof text, "%lf", x += 0.5);
    benchmark::DoNotOptimize(std::string(text));
  }
}
BENCHMARK(DoubleText_peer_snprintf);

void LongText(benchmark::State& state) {
  long n = 123456;
  for (auto _ : state) benchmark::DoNotOptimize(AdStr(++n));
}
BENCHMARK(LongText);
void LongText_peer_to_string(benchmark::State& state) {
  long n = 123456;
  for (auto _ : state) benchmark::DoNotOptimize(std::to_string(++n));
}
BENCHMARK(LongText_peer_to_string);

void SqlText(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(AdSqlStr("Miles O'Brien of the 7th deck"));
}
BENCHMARK(SqlText);

}  // namespace
