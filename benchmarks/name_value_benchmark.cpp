// Reading and writing NAME=VALUE lines beside a hand-written pass that fills a standard map. The
// argument is the number of entries; a figure that grows with it is not flat.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tesselkit/util/adutil_name_value.h"

#ifdef TESSELKIT_PEER_ABSL
#include <absl/strings/str_join.h>
#endif

namespace {

// Entries in no order, values short and long.
std::string Line(std::int64_t entries) {
  std::string line;
  for (std::int64_t i = 0; i < entries; ++i) {
    const std::int64_t number = i * 7919 % entries;
    line += (i == 0 ? "name_" : ";name_") + std::to_string(number) + "=value " +
            std::string(static_cast<std::size_t>(i % 17), 'v');
  }
  return line;
}

void SetBytes(benchmark::State& state, const std::string& line) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(line.size()));
  state.counters["per_entry"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void ReadFresh(benchmark::State& state) {
  const std::string line = Line(state.range(0));
  for (auto _ : state) {
    CMapStringToString map;
    benchmark::DoNotOptimize(AdParseNameValueString(line.c_str(), map, nullptr, 0));
  }
  SetBytes(state, line);
}

void ReadAgain(benchmark::State& state) {
  const std::string line = Line(state.range(0));
  CMapStringToString map;
  for (auto _ : state) {
    benchmark::DoNotOptimize(AdParseNameValueString(line.c_str(), map, nullptr, 0));
  }
  SetBytes(state, line);
}

bool IsNameByte(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

template <class Map>
bool Scan(const char* c, Map& map) {
  for (;;) {
    while (*c == ' ' || (*c >= '\t' && *c <= '\r') || *c == ';') ++c;
    if (*c == '\0') return true;
    std::string name;
    for (; IsNameByte(*c); ++c) name += static_cast<char>(*c >= 'a' ? *c - 'a' + 'A' : *c);
    while (*c == ' ' || (*c >= '\t' && *c <= '\r')) ++c;
    if (name.empty() || *c != '=') return false;
    const char* value = ++c;
    while (*c != ';' && *c != '\0') ++c;
    if (!map.try_emplace(std::move(name), value, c).second) return false;
  }
}

template <class Map>
void ReadIntoStandardMap(benchmark::State& state) {
  const std::string line = Line(state.range(0));
  for (auto _ : state) {
    Map map;
    benchmark::DoNotOptimize(Scan(line.c_str(), map));
  }
  SetBytes(state, line);
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  for (const int entries : {10, 100, 1000, 10000, 100000}) benchmark->Arg(entries);
}

using Ordered = std::map<std::string, std::string>;
using Unordered = std::unordered_map<std::string, std::string>;

BENCHMARK(ReadFresh)->Apply(Sizes);
BENCHMARK(ReadAgain)->Apply(Sizes);
BENCHMARK(ReadIntoStandardMap<Ordered>)->Apply(Sizes);
BENCHMARK(ReadIntoStandardMap<Unordered>)->Apply(Sizes);

void Write(benchmark::State& state, int sorted) {
  const std::string line = Line(state.range(0));
  CMapStringToString map;
  AdParseNameValueString(line.c_str(), map, nullptr, 0);
  for (auto _ : state) {
    CString written;
    AdMakeNameValueString(map, written, sorted);
    benchmark::DoNotOptimize(written);
  }
  SetBytes(state, line);
}
BENCHMARK_CAPTURE(Write, unsorted, 0)->Apply(Sizes);
BENCHMARK_CAPTURE(Write, sorted, 1)->Apply(Sizes);

#ifdef TESSELKIT_PEER_ABSL
void WriteByJoin(benchmark::State& state) {
  const std::string line = Line(state.range(0));
  Unordered map;
  Scan(line.c_str(), map);
  for (auto _ : state) {
    benchmark::DoNotOptimize(absl::StrJoin(map, ";", absl::PairFormatter("=")));
  }
  SetBytes(state, line);
}
BENCHMARK(WriteByJoin)->Apply(Sizes);
#endif

}  // namespace
