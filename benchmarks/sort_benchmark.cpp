// Sorting texts beside std::sort with strcasecmp over pointers. The argument is how many there are;
// every run sorts the same texts anew. Copying them is part of the figure on both sides.
#include <benchmark/benchmark.h>
#include <strings.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tesselkit/platform/mbstring.h"
#include "tesselkit/util/adutil_sort.h"
#include "tesselkit/util/sort_string_array.h"

namespace {

std::string RandomLetters(unsigned long long& state, std::size_t length) {
  std::string text(length, '\0');
  for (char& c : text) {
    state = state * 6364136223846793005u + 1442695040888963407u;
    c = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_ 0123456789"[(state >> 33) % 64];
  }
  return text;
}

using Make = std::vector<std::string> (*)(std::int64_t count);

std::vector<std::string> Names(std::int64_t count) {
  unsigned long long state = 1;
  std::vector<std::string> texts;
  while (static_cast<std::int64_t>(texts.size()) < count) {
    texts.push_back(RandomLetters(state, 4 + texts.size() % 21));
  }
  return texts;
}

// Names with a long common front.
std::vector<std::string> Paths(std::int64_t count) {
  std::vector<std::string> texts = Names(count);
  for (std::string& text : texts) text = "c:\\product\\data\\" + text;
  return texts;
}

std::vector<std::string> Pairs(std::int64_t count) {
  std::vector<std::string> texts = Names(count);
  for (std::string& text : texts) {
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) text[i] = '\x82';
  }
  return texts;
}

template <class Array>
void Fill(Array& array, const std::vector<std::string>& texts) {
  array.SetSize(static_cast<int>(texts.size()));
  for (std::size_t i = 0; i < texts.size(); ++i) array[static_cast<int>(i)] = texts[i].c_str();
}

void SortStrings(benchmark::State& state, Make make, int page, int case_sensitive, int collate) {
  CStringArray unsorted;
  Fill(unsorted, make(state.range(0)));
  _setmbcp(page);
  for (auto _ : state) {
    CStringArray array;
    array.Copy(unsorted);
    AdSortStrings(array, case_sensitive, 1, collate);
    benchmark::DoNotOptimize(array.GetData());
  }
  _setmbcp(0);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Compare>
void SortByPointers(benchmark::State& state, Make make, Compare compare) {
  const std::vector<std::string> unsorted = make(state.range(0));
  for (auto _ : state) {
    const std::vector<std::string> texts(unsorted);
    std::vector<const std::string*> places;
    for (const std::string& text : texts) places.push_back(&text);
    std::sort(places.begin(), places.end(), [=](const std::string* a, const std::string* b) {
      return compare(a->c_str(), b->c_str()) < 0;
    });
    benchmark::DoNotOptimize(places.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void SortSelf(benchmark::State& state) {
  const std::vector<std::string> texts = Names(state.range(0));
  for (auto _ : state) {
    AdSortStringArray array;
    Fill(array, texts);
    array.Sort(1);
    benchmark::DoNotOptimize(array.GetData());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void StableSort(benchmark::State& state) {
  const std::vector<std::string> unsorted = Names(state.range(0));
  for (auto _ : state) {
    std::vector<std::string> texts(unsorted);
    std::stable_sort(texts.begin(), texts.end(), [](const std::string& a, const std::string& b) {
      return strcasecmp(a.c_str(), b.c_str()) < 0;
    });
    benchmark::DoNotOptimize(texts.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  for (const int count : {10, 1000, 100000}) benchmark->Arg(count);
}

BENCHMARK_CAPTURE(SortStrings, no_case, Names, 0, 0, 0)->Apply(Sizes);
BENCHMARK_CAPTURE(SortStrings, no_case_932, Names, 932, 0, 0)->Apply(Sizes);
BENCHMARK_CAPTURE(SortStrings, no_case_pairs, Pairs, 932, 0, 0)->Apply(Sizes);
BENCHMARK_CAPTURE(SortByPointers, strcasecmp, Names, strcasecmp)->Apply(Sizes);
BENCHMARK_CAPTURE(SortStrings, no_case_paths, Paths, 0, 0, 0)->Apply(Sizes);
BENCHMARK_CAPTURE(SortByPointers, strcasecmp_paths, Paths, strcasecmp)->Apply(Sizes);
BENCHMARK_CAPTURE(SortStrings, case_sensitive, Names, 0, 1, 0)->Apply(Sizes);
BENCHMARK_CAPTURE(SortByPointers, strcmp, Names, strcmp)->Apply(Sizes);
BENCHMARK_CAPTURE(SortStrings, collating, Names, 0, 0, 1)->Apply(Sizes);
BENCHMARK_CAPTURE(SortByPointers, strcoll, Names, strcoll)->Apply(Sizes);
BENCHMARK(SortSelf)->Arg(10)->Arg(1000);
BENCHMARK(StableSort)->Arg(10)->Arg(1000);

}  // namespace
