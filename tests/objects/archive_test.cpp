#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "tesselkit/objects/adarchive.h"
#include "tesselkit/platform/stack_room.h"
#include "tests/support/archive_bytes.h"
#include "tests/support/archive_graph.h"
#include "tests/support/platform_failure.h"

namespace {

using test::Bytes;
using test::FailureOf;
using test::Hexadecimal;
using test::Link;
using test::LoadFile;
using test::Make;
using test::Node;

static_assert(!std::is_base_of_v<CObject, AdArchive> && std::has_virtual_destructor_v<AdArchive>);
static_assert(!std::is_copy_constructible_v<AdArchive> && !std::is_copy_assignable_v<AdArchive>);

template <class Body>
std::string Stored(Body body) {
  return test::Stored<AdArchive>(body);
}

template <class Body>
void Load(std::string_view bytes, Body body) {
  test::Load<AdArchive>(bytes, body);
}

class ObjectArchive : public testing::Test {
 protected:
  ObjectArchive() { test::RegisterGraph(); }
  ~ObjectArchive() override { test::made.clear(); }

  static Link* NewLink(BYTE number, Node* next = nullptr) {
    auto* const link = Make<Link>();
    link->byte = number;
    link->links.assign(1, next);
    return link;
  }
};

TEST_F(ObjectArchive, BytesOfReferences) {
  Link* const one = NewLink(0x11);
  Link* const left = NewLink(0x44);
  Link* const right = NewLink(0x55, left);
  left->links[0] = right;
  EXPECT_EQ(Hexadecimal(Stored([&](AdArchive& a) { a << left << right << right; })),
            "01 00 01 4C 44 02 00 01 4C 55 01 00 02 00 02 00");
  EXPECT_EQ(Hexadecimal(Stored([&](AdArchive& a) {
              unsigned short tag = 9;
              EXPECT_EQ(a.StorePointer(nullptr, tag), 1);
              EXPECT_EQ(tag, 0);
              for (const int known : {0, 1}) {
                EXPECT_EQ(a.StorePointer(one, tag), known);
                EXPECT_EQ(tag, 1);
              }
              a << one << static_cast<AdObject*>(nullptr);
              a.Write("raw", 3);
            })),
            "01 00 00 00 72 61 77");
}

// A graph as numbers, and the bytes it must have, found without an archive.
struct Model {
  struct Item {
    bool is_link;
    BYTE byte;
    std::string name;
    std::vector<int> links;  // -1: null
  };

  static Model Random(std::mt19937& random, int count) {
    Model model;
    for (int i = 0; i < count; ++i) {
      Item item{random() % 3 == 0, static_cast<BYTE>(random()), {}, {}};
      item.name.assign(random() % 8 == 0 ? 250 + random() % 10 : random() % 20, 'n');
      const unsigned links = item.is_link ? 1 : random() % 4;
      for (unsigned link = 0; link < links; ++link) {
        item.links.push_back(static_cast<int>(random() % static_cast<unsigned>(count + 1)) - 1);
      }
      model.items.push_back(item);
    }
    return model;
  }

  std::vector<Node*> Build() const {
    std::vector<Node*> nodes;
    for (const Item& item : items) nodes.push_back(item.is_link ? Make<Link>() : Make<Node>());
    for (std::size_t i = 0; i < items.size(); ++i) {
      Node& node = *nodes[i];
      node.byte = items[i].byte;
      node.letter = static_cast<char>(node.byte);
      node.word = node.byte;
      node.small = static_cast<short>(-node.byte);
      node.number = -node.byte;
      node.count = node.byte;
      node.wide = -long{node.byte};
      node.size = node.byte;
      node.weight = node.byte;
      node.name = CString(items[i].name);
      for (const int link : items[i].links) {
        node.links.push_back(link < 0 ? nullptr : nodes[static_cast<std::size_t>(link)]);
      }
    }
    return nodes;
  }

  static std::string Number(long long value, int bytes) {
    std::string text;
    for (; bytes > 0; --bytes, value >>= 8) text += static_cast<char>(value & 0xFF);
    return text;
  }

  void Append(int index, std::map<int, int>& tags, std::string& bytes) const {
    if (index < 0) {
      bytes += Number(0, 2);
      return;
    }
    const bool known = tags.contains(index);
    if (!known) tags.emplace(index, static_cast<int>(tags.size()) + 1);
    bytes += Number(tags[index], 2);
    if (known) return;
    const Item& item = items[static_cast<std::size_t>(index)];
    bytes += item.is_link ? "\1L" : "\4Node";
    bytes += Number(item.byte, 1);
    if (!item.is_link) {
      const long long value = item.byte;
      const double weight = item.byte;
      long long weight_bits = 0;
      std::memcpy(&weight_bits, &weight, sizeof weight);
      bytes += Number(value, 1) + Number(value, 2) + Number(-value, 2) + Number(-value, 4) +
               Number(value, 4) + Number(-value, 4) + Number(value, 4) + Number(weight_bits, 8);
      const auto length = static_cast<long long>(item.name.size());
      bytes += length < 255 ? Number(length, 1) : Number(255, 1) + Number(length, 2);
      bytes += item.name + Number(static_cast<long long>(item.links.size()), 4);
    }
    for (const int link : item.links) Append(link, tags, bytes);
  }

  std::string BytesOfAll() const {
    std::map<int, int> tags;
    std::string bytes;
    for (std::size_t i = 0; i < items.size(); ++i) Append(static_cast<int>(i), tags, bytes);
    return bytes;
  }

  void ExpectSame(const std::vector<Node*>& loaded) const {
    ASSERT_EQ(loaded.size(), items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
      const Item& item = items[i];
      const Node& node = *loaded[i];
      ASSERT_EQ(node.GetRuntimeClass(), item.is_link ? &Link::classLink : &Node::classNode);
      ASSERT_EQ(node.byte, item.byte);
      if (!item.is_link) {
        ASSERT_EQ(node.name.View(), item.name);
        const long value = item.byte;
        ASSERT_TRUE(node.letter == static_cast<char>(value) && node.word == value &&
                    node.small == -value && node.number == -value && node.wide == -value &&
                    static_cast<long>(node.count) == value && node.weight == value &&
                    static_cast<long>(node.size) == value);
      }
      ASSERT_EQ(node.links.size(), item.links.size());
      for (std::size_t link = 0; link < item.links.size(); ++link) {
        const int target = item.links[link];
        ASSERT_EQ(node.links[link],
                  target < 0 ? nullptr : loaded[static_cast<std::size_t>(target)]);
      }
    }
  }

  std::vector<Item> items;
};

TEST_F(ObjectArchive, RandomGraphsTravel) {
  std::mt19937 random(33);
  for (int round = 0; round < 120; ++round) {
    SCOPED_TRACE(round);
    const int count = round < 100 ? static_cast<int>(random() % 12) : 2000;
    const Model model = Model::Random(random, count);
    const std::vector<Node*> nodes = model.Build();
    const std::string bytes = Stored([&](AdArchive& archive) {
      for (Node* node : nodes) archive << node;
    });
    ASSERT_EQ(Hexadecimal(bytes), Hexadecimal(model.BytesOfAll()));
    Load(bytes, [&](AdArchive& archive) {
      std::vector<Node*> loaded;
      for (int i = 0; i < count; ++i) {
        loaded.push_back(static_cast<Node*>(archive.LoadPointer()));
      }
      model.ExpectSame(loaded);
    });
    test::made.clear();
  }
}

// What becomes of foreign bytes: "" for a graph, which is then stored and must not fall apart.
std::string FailureOfLoading(const std::string& bytes, std::size_t roots) {
  test::made.clear();
  char buffer[128];  // small, so that it is filled again and again
  LoadFile file(bytes);
  AdArchive archive(&file, CArchive::load, sizeof buffer, buffer);
  std::vector<Node*> loaded;
  const std::string failure = FailureOf([&] {
    while (loaded.size() < roots) loaded.push_back(static_cast<Node*>(archive.LoadPointer()));
  });
  if (failure.empty()) {
    Stored([&](AdArchive& archive) {
      for (Node* node : loaded) archive << node;
    });
  }
  return failure;
}

TEST_F(ObjectArchive, EveryTruncationAndEveryChangedByte) {
  std::mt19937 random(34);
  const Model model = Model::Random(random, 7);
  const std::string bytes = model.BytesOfAll();
  ASSERT_GT(bytes.size(), 150U);
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    ASSERT_EQ(FailureOfLoading(bytes.substr(0, length), 7), "archive endOfFile load.dat") << length;
  }
  std::map<std::string, int> outcomes;
  for (std::size_t place = 0; place < bytes.size(); ++place) {
    for (int change = 1; change < 256; ++change) {
      std::string changed = bytes;
      changed[place] = static_cast<char>(changed[place] ^ change);
      ++outcomes[FailureOfLoading(changed, 7)];
    }
  }
  int known = 0;
  for (const char* const outcome :
       {"", "archive endOfFile load.dat", "archive badIndex ", "archive badClass "}) {
    EXPECT_GT(outcomes[outcome], 0) << outcome;
    known += outcomes[outcome];
  }
  EXPECT_EQ(known, static_cast<int>(255 * bytes.size())) << testing::PrintToString(outcomes);
}

struct Refusal {
  int line;
  const char* bytes;
  const char* failure;
  std::size_t made;
};

TEST_F(ObjectArchive, Refusals) {
  AdArchive::Register_Class("Hollow", [] { return static_cast<AdObject*>(nullptr); });
  AdArchive::Register_Class("None", nullptr);
  const Refusal refusals[] = {
      {__LINE__, "02 00 01 4C 11 00 00", "archive badIndex ", 0},
      {__LINE__, "01 00 01 4C 11 03 00", "archive badIndex ", 1},
      {__LINE__, "01 00 01 6C 11 00 00", "archive badClass ", 0},  // "l"
      {__LINE__, "01 00 00", "archive badClass ", 0},
      {__LINE__, "01 00 02 4C 00 11 00 00", "archive badClass ", 0},  // "L" and a NUL byte
      {__LINE__, "01 00 06 48 6F 6C 6C 6F 77", "archive badClass ", 0},
      {__LINE__, "01 00 04 4E 6F 6E 65", "archive badClass ", 0},
      {__LINE__, "01", "archive endOfFile load.dat", 0},
      {__LINE__, "01 00 FF FF FF FF FF FF 7F", "archive endOfFile load.dat", 0},
  };
  for (const Refusal& refusal : refusals) {
    SCOPED_TRACE(refusal.line);
    EXPECT_EQ(FailureOfLoading(Bytes(refusal.bytes), 1), refusal.failure);
    EXPECT_EQ(test::made.size(), refusal.made);
  }
  Load("", [](AdArchive& archive) {
    EXPECT_EQ(FailureOf([&] { archive << NewLink(1); }), "archive readOnly load.dat");
    unsigned short tag = 0;
    EXPECT_EQ(FailureOf([&] { archive.StorePointer(nullptr, tag); }), "archive readOnly load.dat");
    EXPECT_EQ(FailureOf([&] { archive << 1; }), "archive readOnly load.dat");
  });
  const std::string bytes = Stored([](AdArchive& archive) {
    EXPECT_EQ(FailureOf([&] { archive.LoadPointer(); }), "archive writeOnly store.dat");
    EXPECT_EQ(FailureOf([&] { archive.LoadObject(1); }), "archive writeOnly store.dat");
  });
  EXPECT_EQ(bytes, "");
}

TEST_F(ObjectArchive, ADirectLoadObjectOutOfTurnMakesNothing) {
  for (const unsigned short tag : {0, 2, 65535}) {
    Load(Bytes("01 4C 11 00 00"), [tag](AdArchive& archive) {
      EXPECT_EQ(FailureOf([&] { archive.LoadObject(tag); }), "archive badIndex ");
    });
  }
  EXPECT_EQ(test::made.size(), 0U);
  Load(Bytes("01 4C 11 00 00 01 00"), [](AdArchive& archive) {
    AdObject* const object = archive.LoadObject(1);
    EXPECT_EQ(archive.LoadPointer(), object);
  });
}

// The protected half, for a class that builds on the archive.
class OpenArchive : public AdArchive {
 public:
  using AdArchive::AdArchive;
  using AdArchive::Do_SaveAddress;
  using AdArchive::Do_StorePointer;
  using AdArchive::Reg;
};

TEST_F(ObjectArchive, TheProtectedSteps) {
  Link* const one = NewLink(1);
  LoadFile file("");
  OpenArchive storing(&file, CArchive::store);
  unsigned short tag = 0;
  EXPECT_EQ(FailureOf([&] { storing.Do_SaveAddress(1, one); }), "archive writeOnly load.dat");
  storing.Get_CArchive().Abort();
  OpenArchive loading(&file, CArchive::load);
  EXPECT_EQ(FailureOf([&] { loading.Do_StorePointer(one, tag); }), "archive readOnly load.dat");
  EXPECT_EQ(FailureOf([&] { loading.Do_SaveAddress(0, one); }), "archive badIndex ");
  loading.Do_SaveAddress(1, one);
  EXPECT_EQ(FailureOf([&] { loading.Do_SaveAddress(1, one); }), "archive badIndex ");
}

TEST_F(ObjectArchive, WithoutAnyRegistration) {
  CMapStringToPtr* const registry = std::exchange(OpenArchive::Reg, nullptr);
  EXPECT_EQ(FailureOfLoading(Bytes("01 00 01 4C 11 00 00"), 1), "archive badClass ");
  OpenArchive::Reg = registry;
}

TEST_F(ObjectArchive, ALaterRegistrationReplacesAnEarlierOne) {
  Load(Bytes("01 00 01 4C 11 00 00 02 00 01 4C 22 00 00"), [](AdArchive& archive) {
    EXPECT_EQ(archive.LoadPointer()->GetRuntimeClass(), &Link::classLink);
    class OtherLink : public Link {
      CRuntimeClass* GetRuntimeClass() const override { return &CObject::classCObject; }
    };
    EXPECT_EQ(
        AdArchive::Register_Class("L", [] { return static_cast<AdObject*>(Make<OtherLink>()); }),
        1);
    EXPECT_EQ(archive.LoadPointer()->GetRuntimeClass(), &CObject::classCObject);
  });
}

// What a plain search over all objects so far would do, side by side with both kinds of archive.
TEST_F(ObjectArchive, MapObjectAgainstAPlainSearch) {
  std::mt19937 random(35);
  std::vector<Link*> links;
  for (int i = 0; i < 300; ++i) links.push_back(NewLink(static_cast<BYTE>(i)));
  std::vector<Link*> model = {nullptr};
  const auto place_of = [&](Link* link) {
    return std::find(model.begin(), model.end(), link) - model.begin();
  };
  std::vector<std::pair<Link*, bool>> steps;  // an object, and whether it is mapped or stored
  std::string expected;
  for (int i = 0; i < 1500; ++i) {
    const unsigned at = random() % 320;
    Link* const link = at < links.size() ? links[at] : nullptr;
    steps.emplace_back(link, random() % 2 == 0);
    const auto place = place_of(link);
    const bool is_new = place == static_cast<std::ptrdiff_t>(model.size());
    if (is_new) model.push_back(link);
    if (steps.back().second) continue;
    expected += Model::Number(place, 2);
    if (is_new) expected += std::string("\1L") + static_cast<char>(link->byte) + '\0' + '\0';
  }
  const std::string bytes = Stored([&](AdArchive& archive) {
    for (const auto& [link, mapped] : steps)
      mapped ? archive.MapObject(link) : (void)(archive << link);
  });
  EXPECT_EQ(Hexadecimal(bytes), Hexadecimal(expected));
  Load(bytes, [&](AdArchive& archive) {
    std::map<Link*, AdObject*> images = {{nullptr, nullptr}};
    for (const auto& [link, mapped] : steps) {
      if (mapped) {
        archive.MapObject(images.try_emplace(link, link).first->second);
      } else {
        AdObject* const loaded = archive.LoadPointer();
        ASSERT_EQ(images.try_emplace(link, loaded).first->second, loaded);
      }
    }
  });
}

TEST_F(ObjectArchive, TheLastTag) {
  std::vector<Link*> links;
  for (int i = 0; i < 65536; ++i) links.push_back(NewLink(7));
  const std::string bytes = Stored([&](AdArchive& archive) {
    for (int i = 0; i < 65535; ++i) archive << links[i];
    unsigned short tag = 0;
    EXPECT_EQ(FailureOf([&] { archive << links[65535]; }), "archive badIndex ");
    EXPECT_EQ(FailureOf([&] { archive.StorePointer(links[65535], tag); }), "archive badIndex ");
    EXPECT_EQ(FailureOf([&] { archive.MapObject(links[65535]); }), "archive badIndex ");
    archive << links[65534] << links[0] << static_cast<AdObject*>(nullptr);
  });
  EXPECT_EQ(bytes.size(), 65535U * 7 + 6);
  EXPECT_EQ(Hexadecimal(std::string_view(bytes).substr(65534 * 7)),
            "FF FF 01 4C 07 00 00 FF FF 01 00 00 00");
  Load(bytes, [&](AdArchive& archive) {
    AdObject* first = archive.LoadPointer();
    AdObject* last = nullptr;
    for (int i = 1; i < 65535; ++i) last = archive.LoadPointer();
    archive.MapObject(first);
    archive.MapObject(nullptr);
    EXPECT_EQ(FailureOf([&] { archive.MapObject(links[0]); }), "archive badIndex ");
    EXPECT_EQ(archive.LoadPointer(), last);
    EXPECT_EQ(archive.LoadPointer(), first);
    EXPECT_EQ(archive.LoadPointer(), nullptr);
  });
}

void OnStackOf(std::size_t bytes, std::function<void()> body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes), 0);
  pthread_t thread;
  const auto run = [](void* function) -> void* {
    (*static_cast<std::function<void()>*>(function))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

#ifdef __SANITIZE_THREAD__
constexpr unsigned kChainLength = 20000;  // the thread sanitizer records no more than 65535 calls
#else
constexpr unsigned kChainLength = 65535;
#endif

TEST_F(ObjectArchive, AChainGoesAsDeepAsTheStackAllows) {
  Link* chain = nullptr;
  for (unsigned i = 0; i < kChainLength; ++i) chain = NewLink(7, chain);
  const auto store = [&](std::string& bytes) {
    bytes = Stored([&](AdArchive& archive) { archive << chain; });
  };
  std::string bytes;
  OnStackOf(std::size_t{1} << 30, [&] { store(bytes); });
  EXPECT_EQ(bytes.size(), kChainLength * 5 + 2);
  OnStackOf(std::size_t{1} << 30, [&] { EXPECT_EQ(FailureOfLoading(bytes, 1), ""); });
  const std::size_t loaded = test::made.size();
  for (const std::size_t stack : {64 * 1024, 1024 * 1024}) {
    OnStackOf(stack, [&] {
      EXPECT_EQ(FailureOfLoading(bytes, 1), "archive genericException load.dat");
      EXPECT_LT(test::made.size(), loaded);
      Link* again = nullptr;
      for (unsigned i = 0; i < kChainLength; ++i) again = NewLink(7, again);
      EXPECT_EQ(FailureOf([&] { Stored([&](AdArchive& archive) { archive << again; }); }),
                "archive genericException store.dat");
    });
  }
}

// The first thread's stack is known from /proc, or from its limit: a process of its own that can
// open no file when it is first asked for has only the latter.
TEST_F(ObjectArchive, AChainEndsBeforeTheLimitOfTheFirstThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto store = [] {
    Link* chain = nullptr;
    for (unsigned i = 0; i < kChainLength; ++i) chain = NewLink(7, chain);
    rlimit stack = {};
    getrlimit(RLIMIT_STACK, &stack);
    stack.rlim_cur = 1024 * 1024;
    rlimit files = {};
    getrlimit(RLIMIT_NOFILE, &files);
    const rlimit no_files = {0, files.rlim_max};
    if (setrlimit(RLIMIT_STACK, &stack) != 0 || setrlimit(RLIMIT_NOFILE, &no_files) != 0) _exit(1);
    if (!tesselkit::platform::StackHasRoom() || setrlimit(RLIMIT_NOFILE, &files) != 0) _exit(3);
    const std::string failure =
        FailureOf([&] { Stored([&](AdArchive& archive) { archive << chain; }); });
    _exit(failure == "archive genericException store.dat" ? 0 : 2);
  };
  EXPECT_EXIT(store(), testing::ExitedWithCode(0), "");
}

TEST_F(ObjectArchive, ClassesAreRegisteredFromManyThreads) {
  CMapStringToPtr* const registry = std::exchange(OpenArchive::Reg, nullptr);
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([number] {
      for (int i = 0; i < 200; ++i) {
        const std::string name = std::to_string(number * 1000 + i);
        AdArchive::Register_Class(name.c_str(), [] { return static_cast<AdObject*>(nullptr); });
        const std::string bytes = Bytes("01 00") + static_cast<char>(name.size()) + name + "?";
        LoadFile file(bytes);
        AdArchive archive(&file, CArchive::load);
        EXPECT_EQ(FailureOf([&] { archive.LoadPointer(); }), "archive badClass ");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(OpenArchive::Reg->GetCount(), 800);
  delete std::exchange(OpenArchive::Reg, registry);
}

}  // namespace
