#include "tesselkit/objects/admapobjectlong.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "tesselkit/platform/exceptions.h"
#include "tests/support/failures.h"
#include "tests/support/texts.h"
#include "tests/support/traced_test.h"

namespace {

using Lines = test::Texts;

class TestMap : public AdMapObjectLong {
 public:
  Lines Report() const {
    CStringArray lines;
    lines.Add("what was there before");
    Statistics(lines);
    return test::TextsOf(lines);
  }
  unsigned long Bins() const { return m_table.BinCount(); }
  unsigned long NextSize() const { return m_table.NextSize(); }
  unsigned long Items() const { return m_table.ItemCount(); }
  AdObject* Get(unsigned long key) {
    AdObject* found = nullptr;
    Lookup(key, found);
    return found;
  }
};

class Counted : public AdObject {
 public:
  Counted() { ++living; }
  ~Counted() override { --living; }
  static int living;
};
int Counted::living = 0;

Counted g_object;

// A statement that must run out of memory.
template <class Statement>
bool RunsOutOfMemory(Statement statement) {
  try {
    statement();
  } catch (CMemoryException* exception) {
    exception->Delete();
    return true;
  }
  return false;
}

class Map : public test::TracedTest {};

TEST_F(Map, ReportsOnAKnownTable) {
  TestMap map;
  for (const unsigned long key : {0UL, 137UL, 274UL, 1UL, 2UL}) map.SetAt(key, &g_object);
  EXPECT_EQ(map.Report(),
            (Lines{"+-------------------------------------------------",
                   "| items=5, cur size=137, next size=419", "| used=3, empty=134, empty%=97.8102%",
                   "| shortest non-zero=1, longest=3",
                   "| avg non-empty=1.66667, items/min(items,size)=1, ratio=1.66667",
                   "|   Length     Times", "| ---------  ---------", "|         1         2",
                   "|         2         0", "|         3         1",
                   "+-------------------------------------------------"}));
}

TEST_F(Map, ReportsZerosWithoutItems) {
  const auto report = [](const std::string& sizes) {
    return Lines{"+-------------------------------------------------",
                 "| items=0, " + sizes,
                 "| used=0, empty=0, empty%=0%",
                 "| shortest non-zero=0, longest=0",
                 "| avg non-empty=0, items/min(items,size)=0, ratio=0",
                 "|   Length     Times",
                 "| ---------  ---------",
                 "+-------------------------------------------------"};
  };
  TestMap map;
  EXPECT_EQ(map.Report(), report("cur size=0, next size=0"));
  map.SetAt(7, &g_object);
  map.RemoveKey(7);
  EXPECT_EQ(map.Report(), report("cur size=137, next size=419"));
}

TEST_F(Map, GrowsWhenTheItemsExceedTheNextSize) {
  struct Step {
    int line;
    unsigned long items, bins, next_size;
  };
  const Step kSteps[] = {
      // line    items   bins   next size
      {__LINE__, 1, 137, 419},      {__LINE__, 419, 137, 419},     {__LINE__, 420, 137, 419},
      {__LINE__, 421, 419, 1259},   {__LINE__, 1260, 419, 1259},   {__LINE__, 1261, 1259, 3779},
      {__LINE__, 3780, 1259, 3779}, {__LINE__, 3781, 3779, 11351},
  };
  TestMap map;
  for (const Step& step : kSteps) {
    while (map.Items() < step.items) {
      map.SetAt(map.Items(), &g_object);
      map.SetAt(0, &g_object);  // an old key never makes it grow
    }
    EXPECT_EQ(map.Bins(), step.bins) << step.line;
    EXPECT_EQ(map.NextSize(), step.next_size) << step.line;
  }
}

TEST_F(Map, TakesHints) {
  struct Hint {
    int line;
    unsigned long hint, bins, next_size;
  };
  const Hint kHints[] = {
      {__LINE__, 0, 137, 419},      {__LINE__, 137, 137, 419},      {__LINE__, 138, 419, 1259},
      {__LINE__, 1000, 1259, 3779}, {__LINE__, 2011378460UL, 0, 0}, {__LINE__, ~0UL, 0, 0},
  };
  for (const Hint& row : kHints) {
    TestMap initialised;
    initialised.Initialize(row.hint);
    TestMap hinted;
    hinted.SizeHint(row.hint);
    for (const TestMap* map : {&initialised, &hinted}) {
      EXPECT_EQ(map->Bins(), row.bins) << row.line;
      EXPECT_EQ(map->NextSize(), row.next_size) << row.line;
    }
  }
}

TEST_F(Map, LeavesTheCallersPointerAndTheValuesAlone) {
  auto* object = new Counted;
  const int living = Counted::living;
  {
    TestMap map;
    map.SetAt(1, &g_object);
    AdObject* found = object;
    map.Lookup(2, found);
    EXPECT_EQ(found, object);
    map.SetAt(1, object);
    map.RemoveKey(1);
    map.SetAt(2, object);
    map.Finalize();
    map.Initialize(1000);
    map.SetAt(3, object);
    map.Initialize(0);
    EXPECT_EQ(map.Items(), 0UL);
    map.SetAt(4, object);
  }
  EXPECT_EQ(Counted::living, living);
  delete object;
}

TEST_F(Map, RefusesANullObject) {
  TestMap map;
  for (const unsigned long key : {1UL, 2UL}) {
    const Lines before = map.Report();
    EXPECT_EQ(ThrownBy([&] { map.SetAt(key, nullptr); }),
              "18019 " + test::ConditionText("object != 0", "admapobjectlong"));
    EXPECT_EQ(map.Report(), before);
    map.SetAt(1, &g_object);
  }
  EXPECT_EQ(map.Get(1), &g_object);
}

// What the map must be like, in the simplest terms.
struct Model {
  std::unordered_map<unsigned long, AdObject*> items;
  unsigned long bins = 0;
  unsigned long next_size = 0;

  static unsigned long Prime(unsigned long n) {
    for (const unsigned long prime : {137UL, 419UL, 1259UL, 3779UL, 11351UL, 34057UL}) {
      if (prime >= n) return prime;
    }
    return 102181;
  }
  void Resize(unsigned long n) {
    if (Prime(n) <= bins) return;
    bins = Prime(n);
    next_size = Prime(bins + 1);
  }
  void Set(unsigned long key, AdObject* object) {
    if (!items.contains(key) && (bins == 0 || items.size() > next_size)) Resize(next_size);
    items[key] = object;
  }
  void Clear() { *this = {}; }

  Lines Report() const {
    std::unordered_map<unsigned long, unsigned long> lengths;
    for (const auto& item : items) ++lengths[item.first % bins];
    std::map<unsigned long, unsigned long> times;
    for (const auto& bin : lengths) ++times[bin.second];
    const unsigned long used = lengths.size();
    const double average = static_cast<double>(items.size()) / static_cast<double>(used);
    const double evenly =
        static_cast<double>(items.size()) / static_cast<double>(std::min(items.size(), bins));
    const unsigned long shortest = times.begin()->first;
    const unsigned long longest = times.rbegin()->first;
    const std::string border = "+" + std::string(49, '-');
    Lines lines{border,
                Line("| items=%lu, cur size=%lu, next size=%lu", items.size(), bins, next_size),
                Line("| used=%lu, empty=%lu, empty%%=%g%%", used, bins - used,
                     static_cast<double>(bins - used) * 100.0 / static_cast<double>(bins)),
                Line("| shortest non-zero=%lu, longest=%lu", shortest, longest),
                Line("| avg non-empty=%g, items/min(items,size)=%g, ratio=%g", average, evenly,
                     average / evenly),
                "|   Length     Times",
                "| ---------  ---------"};
    for (unsigned long n = shortest; n <= longest; ++n) {
      lines.push_back(Line("| %9lu %9lu", n, times[n]));
    }
    lines.push_back(border);
    return lines;
  }

  template <class... Values>
  static std::string Line(const char* format, Values... values) {
    char text[200];
    std::snprintf(text, sizeof text, format, values...);
    return text;
  }
};

void ExpectSame(TestMap& map, const Model& model) {
  ASSERT_EQ(map.Items(), model.items.size());
  for (const auto& [key, object] : model.items) ASSERT_EQ(map.Get(key), object) << key;
  if (model.items.empty()) {
    ASSERT_EQ(map.Bins(), model.bins);
  } else {
    ASSERT_EQ(map.Report(), model.Report());
  }
}

class RandomOperations : public Map, public testing::WithParamInterface<unsigned> {};

TEST_P(RandomOperations, LeaveWhatTheModelHas) {
  std::mt19937_64 random(GetParam());
  const auto below = [&](unsigned long limit) { return random() % limit; };
  const auto any_key = [&]() -> unsigned long {
    switch (below(4)) {
      case 0:
        return below(3000);
      case 1:
        return below(40) * 137 * 419 * 1259;  // in one bin, also after two growths
      case 2:
        return (below(500) << 32) + below(3);  // equal in their low 32 bits
      default:
        return ~0UL - below(6000);
    }
  };
  std::vector<Counted> objects(4);
  TestMap map;
  Model model;
  for (int phase = 0; phase < 60; ++phase) {
    const unsigned long removals = below(70);  // of a hundred
    for (int i = 0; i < 500; ++i) {
      const unsigned long key = any_key();
      if (below(100) < removals) {
        map.RemoveKey(key);
        model.items.erase(key);
      } else {
        AdObject* object = &objects[below(objects.size())];
        map.SetAt(key, object);
        model.Set(key, object);
      }
      const unsigned long wanted = any_key();
      const auto found = model.items.find(wanted);
      ASSERT_EQ(map.Get(wanted), found != model.items.end() ? found->second : nullptr) << wanted;
    }
    ASSERT_NO_FATAL_FAILURE(ExpectSame(map, model)) << phase;
    const unsigned long hint = below(20000);
    switch (below(12)) {
      case 0:
        map.RemoveAll();
        model.Clear();
        break;
      case 1:
        map.SizeHint(hint);
        model.Resize(hint);
        break;
      case 2:
        map.Finalize();
        map.Initialize(hint);
        model.Clear();
        model.Resize(hint);
        break;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomOperations, testing::Values(1, 2, 3, 4, 5, 6));

// The kilobytes of this process that are in memory.
unsigned long Resident() {
  unsigned long mapped = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> mapped >> resident;
  return 4 * resident;
}

TEST_F(Map, TakesTheLargestHintWithoutTouchingItsBins) {
  const unsigned long resident = Resident();
  const auto start = std::chrono::steady_clock::now();
  TestMap map;
  for (unsigned long key = 0; key < 100; ++key) map.SetAt(key * 20000003, &g_object);
  map.SizeHint(2011378459);
  EXPECT_EQ(map.Bins(), 2011378459UL);
  EXPECT_EQ(map.NextSize(), 2011378459UL);
  for (unsigned long key = 0; key < 100; ++key) ASSERT_EQ(map.Get(key * 20000003), &g_object);
  EXPECT_LT(Resident(), resident + 32 * 1024);
  map.RemoveAll();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

// Fails at a request that is set beforehand, and knows what is out.
struct FailingMemory : tesselkit::platform::ZeroedMemory {
  static int requests_left;
  static std::size_t out;

  static void* Allocate(std::size_t size, Use use = Use::kDense) {
    if (requests_left-- == 0) AfxThrowMemoryException();
    void* block = ZeroedMemory::Allocate(size, use);
    out += size;
    return block;
  }
  static void Free(void* block, std::size_t size) noexcept {
    if (block != nullptr) out -= size;
    ZeroedMemory::Free(block, size);
  }
};
int FailingMemory::requests_left = 0;
std::size_t FailingMemory::out = 0;

TEST_F(Map, StaysAsItWasAtEveryRequestThatFails) {
  constexpr unsigned long kItems = 1500;
  int failures = 0;
  AdHashTable<unsigned long, unsigned long, AdHashUlong, FailingMemory> table;
  for (unsigned long key = 0; key < kItems; ++key) {
    const unsigned long bins = table.BinCount();
    const unsigned long next_size = table.NextSize();
    // One more request is granted after each failure, until the insertion passes.
    for (int granted = 0;; ++granted) {
      FailingMemory::requests_left = granted;
      if (!RunsOutOfMemory([&] { table.Insert(key)->value = key; })) break;
      ++failures;
      ASSERT_EQ(table.ItemCount(), key);
      ASSERT_EQ(table.BinCount(), bins);
      ASSERT_EQ(table.NextSize(), next_size);
      ASSERT_EQ(table.Find(key), nullptr);
    }
    for (unsigned long old = 0; old <= key; ++old) ASSERT_EQ(table.Find(old)->value, old);
  }
  // Three arrays of bins, and a block of buckets for each doubling from 1 KiB.
  EXPECT_EQ(failures, 3 + 7);
  table.RemoveAll();
  EXPECT_EQ(FailingMemory::out, 0U);
}

using NumberTable = AdHashTable<unsigned long, int, AdHashUlong>;

class OpenTable : public NumberTable {
 public:
  using NumberTable::BinIndex;
  using NumberTable::PushFront;
  using NumberTable::Unlink;

  // The keys of the bin that `key` is in, from its head, after a check of the links.
  std::vector<unsigned long> Chain(unsigned long key) const {
    const Bucket* bucket = Find(key);
    while (bucket->previous != nullptr) bucket = bucket->previous;
    std::vector<unsigned long> keys;
    for (const Bucket* before = nullptr; bucket != nullptr; bucket = bucket->next) {
      EXPECT_EQ(bucket->previous, before);
      keys.push_back(bucket->key);
      before = bucket;
    }
    return keys;
  }
};

using Keys = std::vector<unsigned long>;

TEST_F(Map, PutsNewBucketsInFrontAndTurnsChainsAroundInAGrowth) {
  constexpr unsigned long kCommon = 137 * 419;
  OpenTable table;
  Keys newest_first;
  for (unsigned long i = 0; i < 200; ++i) {
    table.Insert(i * kCommon);
    newest_first.insert(newest_first.begin(), i * kCommon);
  }
  EXPECT_EQ(table.Chain(0), newest_first);
  for (const unsigned long removed : {0UL, 77UL, 199UL}) {  // the last, one between, the first
    table.Remove(table.Find(removed * kCommon));
    std::erase(newest_first, removed * kCommon);
    EXPECT_EQ(table.Chain(kCommon), newest_first);
  }
  table.Resize(138);
  std::reverse(newest_first.begin(), newest_first.end());
  EXPECT_EQ(table.Chain(kCommon), newest_first);
}

TEST_F(Map, ChecksTheStructureOfItsTable) {
  OpenTable table;
  OpenTable::Bucket bucket{1, 1, nullptr, nullptr};
  OpenTable::Bucket* bin = nullptr;
  OpenTable::Bucket* full_bin = &bucket;
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"num_bins > 0", [] { OpenTable::BinIndex(1, {}); }},
      {"bin != 0", [&] { OpenTable::Unlink(bin, &bucket); }},
      {"bucket != 0", [&] { OpenTable::Unlink(full_bin, nullptr); }},
      {"bucket != 0", [&] { OpenTable::PushFront(bin, nullptr); }},
      {"bucket != 0", [&] { table.Remove(nullptr); }},
  };
  for (const auto& [condition, misuse] : rows) {
    EXPECT_EQ(ThrownBy(misuse), "18019 " + test::ConditionText(condition, "adhashtable"));
  }
}

TEST_F(Map, TableTakesOtherKeysAndValues) {
  AdHashTable<CString, CStringArray*, AdHashString> by_name;
  AdHashTable<long, std::string, [](long key) { return AdHashLong(key) % 7; }> few_bins;
  CStringArray array;
  for (long i = 0; i < 1000; ++i) {
    CString name;
    name.Format("a name that is too long to be kept without memory %ld", i);
    by_name.FindOrInsert(name)->value = &array;
    few_bins.FindOrInsert(-i)->value = name;
    EXPECT_EQ(by_name.FindOrInsert(name), by_name.Find(name));
  }
  for (long i = 0; i < 1000; i += 2) few_bins.Remove(few_bins.Find(-i));
  EXPECT_EQ(few_bins.ItemCount(), 500UL);
  EXPECT_EQ(few_bins.Find(-5)->value, "a name that is too long to be kept without memory 5");
  EXPECT_EQ(by_name.ItemCount(), 1000UL);
  EXPECT_EQ(by_name.Find("another"), nullptr);
}

}  // namespace
