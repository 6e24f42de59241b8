// A hash table of chains that grows by a fixed series of primes (hash_functions.h).
//
//   AdHashTable<unsigned long, const char*, AdHashUlong> names;
//   names.FindOrInsert(7)->value = "seven";
//   names.Find(8);  // null
//
// The table owns its entries, which are called buckets, and never what their values point to. A
// bucket stays where it is until it is removed or the table ends. `Hash` is a function, or a
// function object without state, from a key to an `unsigned long`; it and the comparison of keys
// must not throw. A value must have an empty state that it can be made with. When memory runs out,
// CMemoryException* is thrown and the table is as it was. One thread at a time.
#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

#include "tesselkit/failure/condition.h"
#include "tesselkit/objects/bin_lengths.h"
#include "tesselkit/objects/bucket_pool.h"
#include "tesselkit/objects/hash_functions.h"
#include "tesselkit/objects/prime_modulus.h"
#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/export.h"
#include "tesselkit/platform/zeroed_memory.h"

template <class Key, class Value, auto Hash, class Memory = tesselkit::platform::ZeroedMemory>
class TESSELKIT_API AdHashTable {
 public:
  struct Bucket {
    Key key;
    Value value;
    Bucket* previous;  // in its bin
    Bucket* next;
  };

  // Without bins, until the first insertion or Resize.
  AdHashTable() = default;
  ~AdHashTable() { Free(); }
  AdHashTable(const AdHashTable&) = delete;
  AdHashTable& operator=(const AdHashTable&) = delete;

  unsigned long BinCount() const noexcept { return m_modulus.Divisor(); }
  unsigned long NextSize() const noexcept { return m_next_size; }
  unsigned long ItemCount() const noexcept { return m_item_count; }

  // The first bucket with that key, or null.
  Bucket* Find(const Key& key) const {
    if (BinCount() == 0) return nullptr;
    Bucket* bin = m_bins[BinIndex(key, m_modulus)];
    if constexpr (std::is_scalar_v<Key>) {
      if (m_item_count > BinCount() + BinCount() / 4) bin = SkipOthers(bin, key);
    }
    while (bin != nullptr && !(bin->key == key)) bin = bin->next;
    return bin;
  }

  // A new bucket, with an empty value, for a key that is not in the table. Grows the table first
  // when it holds more entries than the next size.
  Bucket* Insert(const Key& key) {
    Bucket* bucket = NewBucket(key);
    if (BinCount() == 0 || m_item_count > m_next_size) GrowFor(bucket);
    PushFront(m_bins[BinIndex(key, m_modulus)], bucket);
    ++m_item_count;
    return bucket;
  }

  Bucket* FindOrInsert(const Key& key) {
    Bucket* found = Find(key);
    return found != nullptr ? found : Insert(key);
  }

  // Removes a bucket of this table and ends it. Null is a failed condition.
  void Remove(Bucket* bucket) {
    AD_CHECK(bucket != 0);
    Unlink(m_bins[BinIndex(bucket->key, m_modulus)], bucket);
    DeleteBucket(bucket);
    --m_item_count;
  }

  // Leaves the table as it was when it was new.
  void RemoveAll() noexcept {
    AdHashTable emptied;
    Swap(emptied);
  }

  // Makes the number of bins the first of the series that is at least `size`, unless it is as high
  // already, or `size` is beyond the series.
  void Resize(unsigned long size) {
    if (size > AdMaxHashPrime()) return;
    const tesselkit::objects::PrimeModulus modulus(AdNextHashPrime(size));
    if (modulus.Divisor() <= BinCount()) return;
    Bucket** bins = NewBins(modulus.Divisor());
    MoveBuckets(bins, modulus);
    FreeBins();
    m_bins = bins;
    m_modulus = modulus;
    m_next_size = AdNextHashPrime(modulus.Divisor() + 1);
  }

  void Swap(AdHashTable& other) noexcept {
    std::swap(m_bins, other.m_bins);
    std::swap(m_modulus, other.m_modulus);
    std::swap(m_next_size, other.m_next_size);
    std::swap(m_item_count, other.m_item_count);
    m_pool.Swap(other.m_pool);
  }

  // Replaces `lines` by a report on how the entries lie in the bins.
  void Statistics(CStringArray& lines) const {
    tesselkit::objects::BinLengths lengths;
    const unsigned long scanned = m_item_count > 0 ? BinCount() : 0;
    for (unsigned long i = 0; i < scanned; ++i) lengths.Add(Length(m_bins[i]));
    lengths.Report({m_item_count, BinCount(), m_next_size}, lines);
  }

 protected:
  static unsigned long BinIndex(const Key& key, const tesselkit::objects::PrimeModulus& modulus) {
    const unsigned long num_bins = modulus.Divisor();
    AD_CHECK(num_bins > 0);
    return modulus.Of(Hash(key));
  }

  static void PushFront(Bucket*& bin, Bucket* bucket) {
    AD_CHECK(bucket != 0);
    bucket->previous = nullptr;
    bucket->next = bin;
    if (bin != nullptr) bin->previous = bucket;
    bin = bucket;
  }

  static void Unlink(Bucket*& bin, Bucket* bucket) {
    AD_CHECK(bin != 0);
    AD_CHECK(bucket != 0);
    if (bucket->previous != nullptr) bucket->previous->next = bucket->next;
    if (bucket->next != nullptr) bucket->next->previous = bucket->previous;
    if (bin == bucket) bin = bucket->next;
    bucket->previous = nullptr;
    bucket->next = nullptr;
  }

 private:
  static constexpr char kSourceName[] = "adhashtable";

  static constexpr unsigned long kMostBinsTakenAsDense = 1UL << 25;
  static constexpr unsigned long kBinsAhead = 8;
  static constexpr unsigned long kMoveBatch = 64;

  // Keeps the compiler from making a jump of the choice that a pointer comes from or goes into.
  static Bucket* InRegister(Bucket* bucket) noexcept {
    __asm__("" : "+r"(bucket));
    return bucket;
  }

  // Goes on to the wanted bucket, when it is one of the first three, without a jump that depends
  // on how far it is: in long chains that is a coin toss, and a wrong guess costs more than the
  // steps.
  static Bucket* SkipOthers(Bucket* bucket, const Key& key) noexcept {
    for (int i = 0; i < 2 && bucket != nullptr; ++i) {
      Bucket* next = InRegister(bucket->next);
      bucket = InRegister(bucket->key == key ? bucket : next);
    }
    return bucket;
  }

  static unsigned long Length(const Bucket* bin) noexcept {
    unsigned long length = 0;
    for (; bin != nullptr; bin = bin->next) ++length;
    return length;
  }

  Bucket* NewBucket(const Key& key) {
    void* place = m_pool.Take();
    try {
      return new (place) Bucket{key, Value(), nullptr, nullptr};
    } catch (...) {
      m_pool.GiveBack(place);
      throw;
    }
  }

  void DeleteBucket(Bucket* bucket) noexcept {
    bucket->~Bucket();
    m_pool.GiveBack(bucket);
  }

  // Makes room for a bucket that is not in the table yet, or ends it.
  void GrowFor(Bucket* bucket) {
    try {
      Resize(m_next_size);
    } catch (...) {
      DeleteBucket(bucket);
      throw;
    }
  }

  // Far more bins than there are entries for are a hint that may never come true.
  Bucket** NewBins(unsigned long count) const {
    const bool sparse = count > kMostBinsTakenAsDense && m_item_count < count / 8;
    return static_cast<Bucket**>(Memory::Allocate(
        count * sizeof(Bucket*), sparse ? Memory::Use::kSparse : Memory::Use::kDense));
  }

  void FreeBins() noexcept { Memory::Free(m_bins, BinCount() * sizeof(Bucket*)); }

  struct Move {
    Bucket* bucket;
    Bucket** bin;
  };

  // Buckets of old bins some steps ahead: the first ones, then, when those have come, the second.
  void PrefetchBin(unsigned long i) const noexcept {
    if (i + 2 * kBinsAhead >= BinCount()) return;
    __builtin_prefetch(m_bins[i + 2 * kBinsAhead], 1);
    const Bucket* nearer = m_bins[i + kBinsAhead];
    if (nearer != nullptr) __builtin_prefetch(nearer->next, 1);
  }

  static unsigned long MoveBatch(const Move* batch, unsigned long count) {
    for (unsigned long i = 0; i < count; ++i) __builtin_prefetch(*batch[i].bin, 1);
    for (unsigned long i = 0; i < count; ++i) PushFront(*batch[i].bin, batch[i].bucket);
    return 0;
  }

  // In the order of the bins and of their chains, and in batches: each place that a batch will
  // touch is on its way to the cache before the first of them is needed.
  void MoveBuckets(Bucket** bins, const tesselkit::objects::PrimeModulus& modulus) noexcept {
    Move batch[kMoveBatch];
    unsigned long count = 0;
    for (unsigned long i = 0; i < BinCount(); ++i) {
      PrefetchBin(i);
      for (Bucket* bucket = m_bins[i]; bucket != nullptr; bucket = bucket->next) {
        if (count == kMoveBatch) count = MoveBatch(batch, count);
        batch[count] = {bucket, &bins[BinIndex(bucket->key, modulus)]};
        __builtin_prefetch(batch[count++].bin, 1);
      }
    }
    MoveBatch(batch, count);
  }

  void Free() noexcept {
    if constexpr (!std::is_trivially_destructible_v<Bucket>) {
      for (unsigned long i = 0; i < BinCount(); ++i) {
        for (Bucket *bucket = m_bins[i], *next; bucket != nullptr; bucket = next) {
          next = bucket->next;
          bucket->~Bucket();
        }
      }
    }
    FreeBins();
  }

  Bucket** m_bins = nullptr;
  tesselkit::objects::PrimeModulus m_modulus;  // by the number of bins
  unsigned long m_next_size = 0;
  unsigned long m_item_count = 0;
  tesselkit::objects::BucketPool<Bucket, Memory> m_pool;
};
