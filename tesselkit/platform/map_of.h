// The machinery of the platform's maps: see collections.h for the maps themselves.
//
// The bins are a table of places, searched one after the other from where the key's hash points;
// the entries stand in blocks of their own, so that references to values stay good while the table
// grows, and are linked in the order in which their keys came. RemoveAll keeps the memory for the
// next entries; the destructor gives it back.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "tesselkit/platform/allocator.h"
#include "tesselkit/platform/cobject.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/zeroed_memory.h"

// Throws CInvalidArgException*.
[[noreturn]] TESSELKIT_API void AfxThrowInvalidArgException();

namespace tesselkit::platform {

// Spreads every bit over the lower half and most over the upper.
inline std::uint64_t MixBits(std::uint64_t bits) noexcept {
  bits = (bits ^ bits >> 32) * 0x9E3779B97F4A7C15u;
  return bits ^ bits >> 32;
}

// Lets a map with text keys be searched for a text that is no CString.
struct TextKey {
  using Key = CString;
  using Argument = const char*;
  using Wanted = std::string_view;

  static Wanted WantedOf(const char* key) {
    return key != nullptr ? std::string_view(key) : std::string_view();
  }
  static Wanted WantedOf(const CString& key) noexcept { return key.View(); }
  static bool IsEqual(const CString& key, std::string_view wanted) noexcept {
    return key.View() == wanted;
  }
  static std::uint64_t Hash(std::string_view text) noexcept {
    std::uint64_t hash = text.size();
    for (; text.size() > sizeof hash; text.remove_prefix(sizeof hash)) {
      hash = MixBits(hash ^ Word(text.data(), sizeof hash));
    }
    return MixBits(hash ^ Word(text.data(), text.size()));
  }

 private:
  // Up to eight bytes as a number; different ones of the same count give different numbers.
  static std::uint64_t Word(const char* bytes, std::size_t count) noexcept {
    if (count == 8) return Load<std::uint64_t>(bytes);
    if (count >= 4) {
      return Load<std::uint32_t>(bytes) | std::uint64_t{Load<std::uint32_t>(bytes + count - 4)}
                                              << 32;
    }
    std::uint64_t word = 0;
    while (count > 0) word = word << 8 | static_cast<unsigned char>(bytes[--count]);
    return word;
  }
  template <class Number>
  static Number Load(const char* bytes) noexcept {
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
  }
};

struct PointerKey {
  using Key = void*;
  using Argument = void*;
  using Wanted = void*;

  static void* WantedOf(void* key) { return key; }
  static bool IsEqual(void* key, void* wanted) noexcept { return key == wanted; }
  static std::uint64_t Hash(void* key) noexcept {
    return MixBits(reinterpret_cast<std::uintptr_t>(key));
  }
};

// Blocks of memory: from the heap as long as they are small, then in large pages, since touching
// many small ones for the first time would cost more than what a map does with them.
struct BlockMemory {
  static constexpr std::size_t kLastHeapSize = std::size_t{64} << 10;
  static constexpr std::size_t kLargePage = std::size_t{2} << 20;

  // Throws CMemoryException*.
  static char* Allocate(std::size_t size) {
    if (size > kLastHeapSize) return static_cast<char*>(ZeroedMemory::Allocate(size));
    return Allocator<char>().allocate(size);
  }
  static void Free(char* block, std::size_t size) noexcept {
    if (size > kLastHeapSize) return ZeroedMemory::Free(block, size);
    Allocator<char>().deallocate(block, size);
  }
};

// Memory for objects of one type, in blocks that double in size. Objects that are taken back are
// handed out again first. Whoever uses it ends all objects before Rewind and before the destructor.
template <class Object>
class BlockPool {
 public:
  BlockPool() = default;
  ~BlockPool() {
    for (Block* block = m_first; block != nullptr;) {
      Block* const next = block->next;
      BlockMemory::Free(reinterpret_cast<char*>(block), block->size);
      block = next;
    }
  }
  BlockPool(const BlockPool&) = delete;
  BlockPool& operator=(const BlockPool&) = delete;

  // Memory for one object. Throws CMemoryException*.
  void* Take() {
    if (m_free != nullptr) return std::exchange(m_free, m_free->next);
    if (static_cast<std::size_t>(m_end - m_next) < sizeof(Object)) GoToNextBlock();
    return std::exchange(m_next, m_next + sizeof(Object));
  }

  void TakeBack(void* memory) noexcept { m_free = ::new (memory) Free{m_free}; }

  // All memory is free again.
  void Rewind() noexcept {
    m_free = nullptr;
    if (m_first != nullptr) Use(m_first);
  }

 private:
  struct Free {
    Free* next;
  };
  struct alignas(std::max_align_t) Block {
    Block* next;
    std::size_t size;
  };

  static_assert(sizeof(Object) >= sizeof(Free));
  static_assert(alignof(Object) >= alignof(Free));
  static_assert(alignof(Object) <= alignof(Block));

  static constexpr std::size_t kFirstSize = 1024;

  void Use(Block* block) noexcept {
    m_block = block;
    m_next = reinterpret_cast<char*>(block + 1);
    m_end = reinterpret_cast<char*>(block) + block->size;
  }

  void GoToNextBlock() {
    Block* block = m_block != nullptr ? m_block->next : m_first;
    if (block == nullptr) {
      const std::size_t size = NextSize();
      block = ::new (BlockMemory::Allocate(size)) Block{nullptr, size};
      (m_block != nullptr ? m_block->next : m_first) = block;
    }
    Use(block);
  }

  std::size_t NextSize() const noexcept {
    if (m_block == nullptr) return kFirstSize;
    const bool goes_on = m_block->size < BlockMemory::kLastHeapSize;
    return goes_on ? m_block->size * 2 : BlockMemory::kLargePage;
  }

  Block* m_first = nullptr;
  Block* m_block = nullptr;  // the one in use
  char* m_next = nullptr;
  char* m_end = nullptr;
  Free* m_free = nullptr;
};

// A row of values whose bytes are 0 at first.
template <class Value>
class ZeroedRow {
 public:
  ZeroedRow() = default;
  explicit ZeroedRow(std::size_t size)
      : m_values(reinterpret_cast<Value*>(BlockMemory::Allocate(size * sizeof(Value)))),
        m_size(size) {
    if (size * sizeof(Value) <= BlockMemory::kLastHeapSize) std::fill(begin(), end(), Value{});
  }
  ~ZeroedRow() {
    if (m_values == nullptr) return;
    BlockMemory::Free(reinterpret_cast<char*>(m_values), m_size * sizeof(Value));
  }
  ZeroedRow(const ZeroedRow&) = delete;
  ZeroedRow& operator=(const ZeroedRow&) = delete;

  std::size_t size() const noexcept { return m_size; }
  Value* begin() const noexcept { return m_values; }
  Value* end() const noexcept { return m_values + m_size; }
  Value& operator[](std::size_t index) const noexcept { return m_values[index]; }

  void swap(ZeroedRow& other) noexcept {
    std::swap(m_values, other.m_values);
    std::swap(m_size, other.m_size);
  }

 private:
  Value* m_values = nullptr;
  std::size_t m_size = 0;
};

// What the maps have in common. Entries are enumerated in the order in which their keys came.
// References to values stay good until their key is removed.
template <class KeyKind, class Value>
class MapOf : public CObject {
 public:
  using Key = typename KeyKind::Key;
  using KeyArgument = typename KeyKind::Argument;
  using Wanted = typename KeyKind::Wanted;

  ~MapOf() override { RemoveAll(); }

  int GetCount() const noexcept { return static_cast<int>(m_count); }
  int GetSize() const noexcept { return GetCount(); }
  BOOL IsEmpty() const noexcept { return m_count == 0 ? TRUE : FALSE; }

  // Copies the value of `key` to `value`. FALSE, with `value` untouched, when the key is missing.
  BOOL Lookup(KeyArgument key, Value& value) const {
    const Entry* entry = Find(KeyKind::WantedOf(key));
    if (entry == nullptr) return FALSE;
    value = entry->value;
    return TRUE;
  }

  // Points `stored` to the map's own copy of a text key, good until it is removed. FALSE, with
  // `stored` untouched, when the key is missing.
  BOOL LookupKey(KeyArgument key, const char*& stored) const requires std::is_same_v<Key, CString> {
    const Entry* entry = Find(KeyKind::WantedOf(key));
    if (entry == nullptr) return FALSE;
    stored = entry->key;
    return TRUE;
  }

  // The value of `key`, which is entered with an empty one when it is missing.
  Value& operator[](KeyArgument key) { return Enter(KeyKind::WantedOf(key)).first; }

  // The same, and whether the key was missing; with the hash that Prepare gave for the key, or
  // without.
  std::pair<Value&, bool> Enter(Wanted key) { return Enter(key, KeyKind::Hash(key)); }
  std::pair<Value&, bool> Enter(Wanted key, std::uint64_t hash) {
    if (Entry* entry = Find(key, hash)) return {entry->value, false};
    return {Add(key, hash)->value, true};
  }

  // Gives the hash of a key and has its bin brought near, for whoever has something else to do
  // before the key is entered.
  std::uint64_t Prepare(Wanted key) const noexcept {
    const std::uint64_t hash = KeyKind::Hash(key);
    if (m_bins.size() != 0) __builtin_prefetch(&m_bins[FirstBin(hash)], 1);
    return hash;
  }

  void SetAt(KeyArgument key, Value value) { (*this)[key] = std::move(value); }

  // TRUE when the key was there.
  BOOL RemoveKey(KeyArgument key) {
    const Wanted wanted = KeyKind::WantedOf(key);
    Entry* entry = Find(wanted);
    if (entry == nullptr) return FALSE;
    RemoveBin(BinOf(*entry));
    Unlink(*entry);
    std::destroy_at(entry);
    m_pool.TakeBack(entry);
    --m_count;
    return TRUE;
  }

  void RemoveAll() noexcept {
    const bool few = m_count < m_bins.size() / 16;
    if (!few) std::fill(m_bins.begin(), m_bins.end(), Bin{});
    for (Entry* entry = m_first; entry != nullptr;) {
      if (few) m_bins[BinOf(*entry)] = Bin{};
      std::destroy_at(std::exchange(entry, entry->next));
    }
    m_pool.Rewind();
    m_first = m_last = nullptr;
    m_count = 0;
  }

  // Enumeration: the place of the first entry, null for an empty map; then each entry's key and
  // value, while `place` goes on to the next one, null after the last. The entry that was just
  // handed out may be removed meanwhile.
  POSITION GetStartPosition() const noexcept { return PlaceOf(m_first); }
  void GetNextAssoc(POSITION& place, Key& key, Value& value) const {
    if (place == nullptr) AfxThrowInvalidArgException();
    const Entry* entry = EntryAt(place);
    key = entry->key;
    value = entry->value;
    place = PlaceOf(entry->next);
  }

  // Calls visit(key, value) for each entry, in the same order.
  template <class Visit>
  void ForEach(Visit visit) const {
    for (const Entry* entry = m_first; entry != nullptr; entry = entry->next) {
      visit(entry->key, entry->value);
    }
  }

  // How many bins the keys are spread over; InitHashTable makes room for about `size` keys.
  UINT GetHashTableSize() const noexcept { return static_cast<UINT>(m_bins.size()); }
  void InitHashTable(UINT size, BOOL = TRUE) {
    if (BinsFor(size) > m_bins.size()) SetBins(BinsFor(size));
  }

 protected:
  MapOf() = default;

 private:
  struct Entry {
    explicit Entry(Wanted wanted) : key(wanted) {}

    Key key;
    Value value{};
    Entry* previous = nullptr;
    Entry* next = nullptr;
  };

  // A place of the table: an entry, with its hash beside it, or nothing.
  struct Bin {
    Entry* entry;
    std::uint64_t hash;
  };

  static constexpr std::size_t kFewestBins = 16;

  static POSITION PlaceOf(const Entry* entry) noexcept {
    return reinterpret_cast<POSITION>(const_cast<Entry*>(entry));
  }
  static const Entry* EntryAt(POSITION place) noexcept {
    return reinterpret_cast<const Entry*>(place);
  }

  // At most three bins of four are used.
  static std::size_t BinsFor(std::size_t count) noexcept {
    return std::bit_ceil(std::max(kFewestBins, count + count / 3 + 1));
  }

  std::size_t Next(std::size_t bin) const noexcept { return (bin + 1) & (m_bins.size() - 1); }
  std::size_t FirstBin(std::uint64_t hash) const noexcept { return hash & (m_bins.size() - 1); }

  Entry* Find(Wanted key) const noexcept { return Find(key, KeyKind::Hash(key)); }
  Entry* Find(Wanted key, std::uint64_t hash) const noexcept {
    if (m_count == 0) return nullptr;
    for (std::size_t bin = FirstBin(hash);; bin = Next(bin)) {
      const Bin& place = m_bins[bin];
      if (place.entry == nullptr) return nullptr;
      if (place.hash == hash && KeyKind::IsEqual(place.entry->key, key)) return place.entry;
    }
  }

  std::size_t BinOf(const Entry& entry) const noexcept {
    std::size_t bin = FirstBin(KeyKind::Hash(KeyKind::WantedOf(entry.key)));
    while (m_bins[bin].entry != &entry) bin = Next(bin);
    return bin;
  }

  Entry* Add(Wanted key, std::uint64_t hash) {
    if (BinsFor(m_count + 1) > m_bins.size()) SetBins(BinsFor(m_count + 1));
    Entry* entry = Make(key);
    PutIntoBin({entry, hash});
    entry->previous = m_last;
    (m_last != nullptr ? m_last->next : m_first) = entry;
    m_last = entry;
    ++m_count;
    return entry;
  }

  Entry* Make(Wanted key) {
    void* memory = m_pool.Take();
    try {
      return ::new (memory) Entry(key);
    } catch (...) {
      m_pool.TakeBack(memory);
      throw;
    }
  }

  void PutIntoBin(const Bin& place) noexcept {
    std::size_t bin = FirstBin(place.hash);
    while (m_bins[bin].entry != nullptr) bin = Next(bin);
    m_bins[bin] = place;
  }

  void SetBins(std::size_t count) {
    ZeroedRow<Bin> before(count);
    before.swap(m_bins);
    for (const Bin& bin : before) {
      if (bin.entry != nullptr) PutIntoBin(bin);
    }
  }

  // Empties a bin and moves up those behind it that could not have their own.
  void RemoveBin(std::size_t hole) noexcept {
    for (std::size_t bin = Next(hole); m_bins[bin].entry != nullptr; bin = Next(bin)) {
      const std::size_t mask = m_bins.size() - 1;
      const std::size_t wanted = FirstBin(m_bins[bin].hash);
      if (((bin - wanted) & mask) < ((bin - hole) & mask)) continue;
      m_bins[hole] = m_bins[bin];
      hole = bin;
    }
    m_bins[hole] = Bin{};
  }

  void Unlink(const Entry& entry) noexcept {
    (entry.previous != nullptr ? entry.previous->next : m_first) = entry.next;
    (entry.next != nullptr ? entry.next->previous : m_last) = entry.previous;
  }

  ZeroedRow<Bin> m_bins;
  BlockPool<Entry> m_pool;
  Entry* m_first = nullptr;
  Entry* m_last = nullptr;
  std::size_t m_count = 0;
};

}  // namespace tesselkit::platform
