// Graphs of 50,000 objects of two classes, stored to a file and loaded from it: a tree whose nodes
// know their owner (cycles) and two earlier nodes each (shared references). "bytes" is the length
// of the file for each object.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tesselkit/tesselkit.h"

#ifdef TESSELKIT_PEER_BOOST
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/base_object.hpp>
#include <boost/serialization/export.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/vector.hpp>
#endif

#ifdef TESSELKIT_PEER_CEREAL
#include <cereal/archives/binary.hpp>
#include <cereal/types/memory.hpp>
#include <cereal/types/polymorphic.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>
#endif

namespace bench {

constexpr int kObjects = 50'000;
constexpr int kChildren = 4;

// What the nodes of all three graphs hold, by the order in which a walk of the tree meets them.
struct Plan {
  std::string name;
  std::int32_t id;
  double weight;
  int owner;  // -1: none
  int links[2];
  std::vector<int> children;
};

const std::vector<Plan>& Plans() {
  static const std::vector<Plan> plans = [] {
    std::vector<Plan> made;
    std::mt19937 random(1);
    const auto grow = [&](const auto& self, int heap_place, int owner) -> void {
      const int place = static_cast<int>(made.size());
      if (owner >= 0) made[static_cast<std::size_t>(owner)].children.push_back(place);
      const auto earlier = [&] { return static_cast<int>(random() % (made.size() + 1)); };
      made.push_back({"object " + std::to_string(random() % 100'000),
                      static_cast<int>(random()),
                      static_cast<double>(random()) / 7,
                      owner,
                      {0, 0},
                      {}});
      for (int& link : made.back().links) link = earlier() % (place + 1);
      for (int child = 1; child <= kChildren; ++child) {
        const int next = heap_place * kChildren + child;
        if (next < kObjects) self(self, next, place);
      }
    };
    grow(grow, 0, -1);
    return made;
  }();
  return plans;
}

// Builds a graph: `make(is_group)` gives a node, `own` and `Refer` connect them.
template <class Pointer, class Make>
std::vector<Pointer> Build(Make make) {
  std::vector<Pointer> nodes;
  for (const Plan& plan : Plans()) {
    nodes.push_back(make(plan.children.empty()));
    nodes.back()->name = plan.name.c_str();
    nodes.back()->id = plan.id;
    nodes.back()->weight = plan.weight;
  }
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const Plan& plan = Plans()[i];
    const auto at = [&](int place) { return nodes[static_cast<std::size_t>(place)]; };
    if (plan.owner >= 0) nodes[i]->owner = at(plan.owner);
    for (const int link : plan.links) nodes[i]->links.push_back(at(link));
    for (const int child : plan.children) nodes[i]->children.push_back(at(child));
  }
  return nodes;
}

// A file of this process's own, removed at the end.
class ScratchFile {
 public:
  ScratchFile() : m_name("/tmp/archive_benchmark_" + std::to_string(getpid())) {}
  ~ScratchFile() { std::filesystem::remove(m_name); }
  const char* Name() const { return m_name.c_str(); }
  double BytesPerObject() const {
    return static_cast<double>(std::filesystem::file_size(m_name)) / kObjects;
  }

 private:
  std::string m_name;
};

double ProcessorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Times `step` alone, in processor time, the kernel's work on the file included; `rest` follows it
// untimed.
template <class Step, class Rest>
void Time(benchmark::State& state, Step step, Rest rest) {
  for (auto _ : state) {
    const double start = ProcessorSeconds();
    auto result = step();
    state.SetIterationTime(ProcessorSeconds() - start);
    rest(result);
    void* large = std::malloc(1 << 16);  // makes the heap join what `rest` has freed
    benchmark::DoNotOptimize(large);
    std::free(large);
  }
  state.SetItemsProcessed(state.iterations() * kObjects);
}

template <class Save>
void TimeSaving(benchmark::State& state, const ScratchFile& file, Save save) {
  Time(
      state, [&] { return save(), 0; }, [](int) {});
  state.counters["bytes"] = file.BytesPerObject();
}

// ---- this library

class Item : public AdObject {
 public:
  ~Item() override = default;
  CRuntimeClass* GetRuntimeClass() const override { return &classItem; }
  void Serialize(AdArchive& archive) override {
    if (archive.IsStoring()) {
      archive << name << id << weight << owner;
      StoreAll(archive, links);
      StoreAll(archive, children);
    } else {
      archive >> name >> id >> weight;
      owner = static_cast<Item*>(archive.LoadPointer());
      LoadAll(archive, links);
      LoadAll(archive, children);
    }
  }

  CString name;
  int id = 0;
  double weight = 0;
  Item* owner = nullptr;
  std::vector<Item*> links;
  std::vector<Item*> children;

  static CRuntimeClass classItem;

 private:
  static void StoreAll(AdArchive& archive, const std::vector<Item*>& items) {
    archive << static_cast<int>(items.size());
    for (Item* item : items) archive << item;
  }
  static void LoadAll(AdArchive& archive, std::vector<Item*>& items) {
    int count = 0;
    archive >> count;
    items.reserve(static_cast<std::size_t>(count));
    for (; count > 0; --count) items.push_back(static_cast<Item*>(archive.LoadPointer()));
  }
};

class Group : public Item {
 public:
  CRuntimeClass* GetRuntimeClass() const override { return &classGroup; }
  static CRuntimeClass classGroup;
};

CRuntimeClass Item::classItem = {"Item", sizeof(Item), 0xFFFF, nullptr, nullptr, nullptr};
CRuntimeClass Group::classGroup = {"Group", sizeof(Group), 0xFFFF, nullptr, nullptr, nullptr};

std::vector<Item*> BuildItems() {
  return Build<Item*>([](bool leaf) { return leaf ? new Item : new Group; });
}

void SaveItems(const ScratchFile& scratch, Item* root) {
  CFile file(scratch.Name(), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite);
  AdArchive archive(&file, CArchive::store);
  archive << root;
  archive.Close();
  file.SetLength(file.GetPosition());
  file.Close();
}

void Save(benchmark::State& state) {
  const ScratchFile scratch;
  const std::vector<Item*> items = BuildItems();
  TimeSaving(state, scratch, [&] { SaveItems(scratch, items[0]); });
  for (Item* item : items) delete item;
}
BENCHMARK(Save)->UseManualTime()->Unit(benchmark::kMillisecond);

void DeleteTree(Item* item) {
  for (Item* child : item->children) DeleteTree(child);
  delete item;
}

void Load(benchmark::State& state) {
  AdArchive::Register_Class("Item", []() -> AdObject* { return new Item; });
  AdArchive::Register_Class("Group", []() -> AdObject* { return new Group; });
  const ScratchFile scratch;
  const std::vector<Item*> items = BuildItems();
  SaveItems(scratch, items[0]);
  for (Item* item : items) delete item;
  Time(
      state,
      [&] {
        CFile file(scratch.Name(), CFile::modeRead);
        AdArchive archive(&file, CArchive::load);
        return static_cast<Item*>(archive.LoadPointer());
      },
      DeleteTree);
}
BENCHMARK(Load)->UseManualTime()->Unit(benchmark::kMillisecond);

// ---- Boost.Serialization

#ifdef TESSELKIT_PEER_BOOST
struct BoostItem {
  virtual ~BoostItem() = default;

  template <class Archive>
  void serialize(Archive& archive, unsigned) {
    archive& name& id& weight& owner& links& children;
  }

  std::string name;
  std::int32_t id = 0;
  double weight = 0;
  BoostItem* owner = nullptr;
  std::vector<BoostItem*> links;
  std::vector<BoostItem*> children;
};

struct BoostGroup : BoostItem {
  template <class Archive>
  void serialize(Archive& archive, unsigned) {
    archive& boost::serialization::base_object<BoostItem>(*this);
  }
};

std::vector<BoostItem*> BuildBoostItems() {
  return Build<BoostItem*>([](bool leaf) { return leaf ? new BoostItem : new BoostGroup; });
}

void SaveBoostItems(const ScratchFile& scratch, BoostItem* root) {
  std::ofstream stream(scratch.Name(), std::ios::binary);
  boost::archive::binary_oarchive archive(stream, boost::archive::no_header);
  archive << root;
}

void Save_peer_boost(benchmark::State& state) {
  const ScratchFile scratch;
  const std::vector<BoostItem*> items = BuildBoostItems();
  TimeSaving(state, scratch, [&] { SaveBoostItems(scratch, items[0]); });
  for (BoostItem* item : items) delete item;
}
BENCHMARK(Save_peer_boost)->UseManualTime()->Unit(benchmark::kMillisecond);

void DeleteBoostTree(BoostItem* item) {
  for (BoostItem* child : item->children) DeleteBoostTree(child);
  delete item;
}

void Load_peer_boost(benchmark::State& state) {
  const ScratchFile scratch;
  const std::vector<BoostItem*> items = BuildBoostItems();
  SaveBoostItems(scratch, items[0]);
  for (BoostItem* item : items) delete item;
  Time(
      state,
      [&] {
        std::ifstream stream(scratch.Name(), std::ios::binary);
        boost::archive::binary_iarchive archive(stream, boost::archive::no_header);
        BoostItem* root = nullptr;
        archive >> root;
        return root;
      },
      DeleteBoostTree);
}
BENCHMARK(Load_peer_boost)->UseManualTime()->Unit(benchmark::kMillisecond);
#endif

// ---- cereal

#ifdef TESSELKIT_PEER_CEREAL
struct CerealItem {
  virtual ~CerealItem() = default;

  template <class Archive>
  void serialize(Archive& archive) {
    archive(name, id, weight, owner, links, children);
  }

  std::string name;
  std::int32_t id = 0;
  double weight = 0;
  std::weak_ptr<CerealItem> owner;
  std::vector<std::weak_ptr<CerealItem>> links;
  std::vector<std::shared_ptr<CerealItem>> children;
};

struct CerealGroup : CerealItem {
  template <class Archive>
  void serialize(Archive& archive) {
    archive(cereal::base_class<CerealItem>(this));
  }
};

using CerealPointer = std::shared_ptr<CerealItem>;

CerealPointer BuildCerealItems() {
  return Build<CerealPointer>([](bool leaf) -> CerealPointer {
    if (leaf) return std::make_shared<CerealItem>();
    return std::make_shared<CerealGroup>();
  })[0];
}

void SaveCerealItems(const ScratchFile& scratch, const CerealPointer& root) {
  std::ofstream stream(scratch.Name(), std::ios::binary);
  cereal::BinaryOutputArchive archive(stream);
  archive(root);
}

void Save_peer_cereal(benchmark::State& state) {
  const ScratchFile scratch;
  const CerealPointer root = BuildCerealItems();
  TimeSaving(state, scratch, [&] { SaveCerealItems(scratch, root); });
}
BENCHMARK(Save_peer_cereal)->UseManualTime()->Unit(benchmark::kMillisecond);

void Load_peer_cereal(benchmark::State& state) {
  const ScratchFile scratch;
  SaveCerealItems(scratch, BuildCerealItems());
  Time(
      state,
      [&] {
        std::ifstream stream(scratch.Name(), std::ios::binary);
        cereal::BinaryInputArchive archive(stream);
        CerealPointer root;
        archive(root);
        return root;
      },
      [](CerealPointer& root) { root.reset(); });
}
BENCHMARK(Load_peer_cereal)->UseManualTime()->Unit(benchmark::kMillisecond);
#endif

}  // namespace bench

#ifdef TESSELKIT_PEER_BOOST
BOOST_CLASS_EXPORT(bench::BoostItem)
BOOST_CLASS_EXPORT(bench::BoostGroup)
#endif

#ifdef TESSELKIT_PEER_CEREAL
CEREAL_REGISTER_TYPE(bench::CerealItem)
CEREAL_REGISTER_TYPE(bench::CerealGroup)
CEREAL_REGISTER_POLYMORPHIC_RELATION(bench::CerealItem, bench::CerealGroup)
#endif
