// The long-keyed map beside the standard library's, over the sizes at which its chains are at their
// shortest and at their longest: 1,000,000 entries come just after a growth, 100,000 and 900,000
// just before one.
//
// Keys are either the numbers from 1 on, or such that spread over 32 bits; they are looked up in an
// order of their own. "Dependent" lookups each wait for the one before.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <unordered_map>
#include <vector>

#if __has_include(<boost/unordered/unordered_flat_map.hpp>)
#include <boost/unordered/unordered_flat_map.hpp>
#define TESSELKIT_PEER_FLAT_MAP
#endif

#include "tesselkit/objects/admapobjectlong.h"

namespace {

using Keys = std::vector<unsigned long>;

class Entry : public AdObject {
 public:
  Entry() = default;
};

Entry g_entry;

struct Ours {
  AdMapObjectLong map;
  void Set(unsigned long key) { map.SetAt(key, &g_entry); }
  AdObject* Get(unsigned long key) {
    AdObject* found = nullptr;
    map.Lookup(key, found);
    return found;
  }
  void Remove(unsigned long key) { map.RemoveKey(key); }
};

template <class Map>
struct Peer {
  Map map;
  void Set(unsigned long key) { map[key] = &g_entry; }
  AdObject* Get(unsigned long key) {
    const auto found = map.find(key);
    return found != map.end() ? found->second : nullptr;
  }
  void Remove(unsigned long key) { map.erase(key); }
};

using Standard = Peer<std::unordered_map<unsigned long, AdObject*>>;

// Key number `i` of 2^32 different ones.
unsigned long Spread(unsigned long i) {
  const auto product = static_cast<std::uint32_t>(i * 2654435761U);
  return product ^ product >> 16;
}

enum KeyKind { kNumbers, kSpread };

Keys MakeKeys(benchmark::State& state, std::size_t first = 1) {
  Keys keys(static_cast<std::size_t>(state.range(0)));
  for (std::size_t i = 0; i < keys.size(); ++i) {
    keys[i] = state.range(1) == kNumbers ? first + i : Spread(first + i);
  }
  return keys;
}

Keys Shuffled(Keys keys, unsigned seed) {
  std::shuffle(keys.begin(), keys.end(), std::mt19937(seed));
  return keys;
}

template <class Map>
void Fill(Map& map, const Keys& keys) {
  for (const unsigned long key : keys) map.Set(key);
}

template <class Map>
void LookUp(benchmark::State& state, Map& map, const Keys& wanted) {
  for (auto _ : state) {
    std::uintptr_t sum = 0;
    for (const unsigned long key : wanted) sum += reinterpret_cast<std::uintptr_t>(map.Get(key));
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(wanted.size()));
}

template <class Map>
void Hit(benchmark::State& state) {
  const Keys keys = MakeKeys(state);
  Map map;
  Fill(map, keys);
  LookUp(state, map, Shuffled(keys, 1));
}

template <class Map>
void Miss(benchmark::State& state) {
  Map map;
  Fill(map, MakeKeys(state));
  LookUp(state, map, Shuffled(MakeKeys(state, 1 + static_cast<std::size_t>(state.range(0))), 1));
}

template <class Map>
void DependentHit(benchmark::State& state) {
  const Keys keys = MakeKeys(state);
  const Keys wanted = Shuffled(keys, 1);
  Map map;
  Fill(map, keys);
  for (auto _ : state) {
    std::uintptr_t changes = 0;
    for (const unsigned long key : wanted) {
      changes |= reinterpret_cast<std::uintptr_t>(map.Get(key + changes)) >> 63;
    }
    benchmark::DoNotOptimize(changes);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(wanted.size()));
}

// From empty to full, and the end of it.
template <class Map>
void Build(benchmark::State& state) {
  const Keys keys = MakeKeys(state);
  for (auto _ : state) {
    Map map;
    Fill(map, keys);
    benchmark::DoNotOptimize(map);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// An old entry goes, a new one comes; the number of entries stays.
template <class Map>
void Churn(benchmark::State& state) {
  const Keys keys = MakeKeys(state);
  Keys going = Shuffled(keys, 1);
  Keys coming = Shuffled(MakeKeys(state, 1 + keys.size()), 2);
  Map map;
  Fill(map, keys);
  for (auto _ : state) {
    for (std::size_t i = 0; i < going.size(); ++i) {
      map.Remove(going[i]);
      map.Set(coming[i]);
    }
    going.swap(coming);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void LookupSizes(benchmark::internal::Benchmark* benchmark) {
  for (const int kind : {kNumbers, kSpread}) {
    for (const int size : {1'000, 100'000, 900'000, 1'000'000}) benchmark->Args({size, kind});
  }
}

void ChangeSizes(benchmark::internal::Benchmark* benchmark) {
  for (const int kind : {kNumbers, kSpread}) {
    for (const int size : {1'000, 1'000'000}) benchmark->Args({size, kind});
  }
}

#define FOR_ALL_MAPS(measured, sizes)               \
  BENCHMARK_TEMPLATE(measured, Ours)->Apply(sizes); \
  BENCHMARK_TEMPLATE(measured, Standard)->Apply(sizes);

FOR_ALL_MAPS(Hit, LookupSizes)
FOR_ALL_MAPS(DependentHit, LookupSizes)
FOR_ALL_MAPS(Miss, LookupSizes)
FOR_ALL_MAPS(Build, ChangeSizes)
FOR_ALL_MAPS(Churn, ChangeSizes)

#ifdef TESSELKIT_PEER_FLAT_MAP
using Flat = Peer<boost::unordered_flat_map<unsigned long, AdObject*>>;
BENCHMARK_TEMPLATE(Hit, Flat)->Apply(LookupSizes);
BENCHMARK_TEMPLATE(DependentHit, Flat)->Apply(LookupSizes);
BENCHMARK_TEMPLATE(Miss, Flat)->Apply(LookupSizes);
BENCHMARK_TEMPLATE(Build, Flat)->Apply(ChangeSizes);
BENCHMARK_TEMPLATE(Churn, Flat)->Apply(ChangeSizes);
#endif

}  // namespace
