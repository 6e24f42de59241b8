#include "tesselkit/platform/registry_handles.h"

#include <pthread.h>

#include <array>
#include <cstdint>
#include <mutex>

#include "tesselkit/platform/forced_end.h"
#include "tesselkit/platform/registry.h"

namespace tesselkit::platform {

namespace {

constexpr std::uintptr_t kFirstPredefined = 0x80000000;
constexpr std::uintptr_t kLastPredefined = 0x80000006;

// A handle's number is its slot, and above that how many handles there were before it; no two
// handles of a process have one number, and none that of a predefined key.
constexpr unsigned kSlotBits = 20;
constexpr std::size_t kMostHandles = std::size_t{1} << kSlotBits;
constexpr std::uint64_t kFirstSerial = std::uint64_t{1} << 16;

struct Slot {
  std::uint64_t serial = 0;
  std::shared_ptr<OpenKey> key;
};

struct HandleTable {
  std::mutex mutex;
  std::vector<Slot> slots;
  std::vector<std::uint32_t> free_slots;
  std::uint64_t next_serial = kFirstSerial;
};

// The table to itself.
struct TableInUse {
  TableInUse();

  HoldOffForcedEnd hold_off;
  HandleTable& table;
  std::lock_guard<std::mutex> lock;
};

HandleTable& TheTable();

// Around a fork.
void LockTable() {
  BeginHoldOff();
  TheTable().mutex.lock();
}
void UnlockTable() {
  TheTable().mutex.unlock();
  EndHoldOff();
}

HandleTable& TheTable() {
  static HandleTable& table = *[] {
    pthread_atfork(LockTable, UnlockTable, UnlockTable);
    return new HandleTable;
  }();
  return table;
}

TableInUse::TableInUse() : table(TheTable()), lock(table.mutex) {}

std::uintptr_t NumberOf(HKEY handle) {
  return reinterpret_cast<std::uintptr_t>(handle);
}

Slot* SlotOf(HandleTable& table, HKEY handle) {
  const std::size_t index = NumberOf(handle) & (kMostHandles - 1);
  if (index >= table.slots.size()) return nullptr;
  Slot& slot = table.slots[index];
  return slot.key != nullptr && slot.serial == NumberOf(handle) >> kSlotBits ? &slot : nullptr;
}

using PredefinedKeys = std::array<std::shared_ptr<OpenKey>, kLastPredefined - kFirstPredefined + 1>;

PredefinedKeys* MakePredefinedKeys() {
  auto keys = std::make_unique<PredefinedKeys>();
  for (std::size_t i = 0; i < keys->size(); ++i) {
    const bool is_users = kFirstPredefined + i == NumberOf(HKEY_CURRENT_USER);
    Hive& hive = HiveOf(is_users ? HiveKind::kUser : HiveKind::kMachine);
    (*keys)[i] = std::make_shared<OpenKey>(
        OpenKey{&hive, static_cast<KeyId>(i + 1), MAXIMUM_ALLOWED, {}, {}});
  }
  return keys.release();
}

// They stay for whoever uses the registry while the process ends.
std::shared_ptr<OpenKey> PredefinedKey(HKEY handle) {
  const HoldOffForcedEnd hold_off;
  static const PredefinedKeys& keys = *MakePredefinedKeys();
  return keys[NumberOf(handle) - kFirstPredefined];
}

}  // namespace

bool IsPredefined(HKEY handle) {
  return NumberOf(handle) >= kFirstPredefined && NumberOf(handle) <= kLastPredefined;
}

HKEY AddHandle(std::shared_ptr<OpenKey> key) {
  TableInUse in_use;
  HandleTable& table = in_use.table;
  if (table.free_slots.empty()) {
    if (table.slots.size() == kMostHandles) return nullptr;
    table.slots.emplace_back();
    table.free_slots.reserve(table.slots.capacity());  // so that closing needs no memory
    table.free_slots.push_back(static_cast<std::uint32_t>(table.slots.size() - 1));
  }
  const std::uint32_t index = table.free_slots.back();
  table.free_slots.pop_back();
  Slot& slot = table.slots[index];
  slot.serial = table.next_serial++;
  slot.key = std::move(key);
  return reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(slot.serial << kSlotBits | index));
}

std::shared_ptr<OpenKey> KeyOf(HKEY handle) {
  if (IsPredefined(handle)) return PredefinedKey(handle);
  TableInUse in_use;
  Slot* slot = SlotOf(in_use.table, handle);
  return slot != nullptr ? slot->key : nullptr;
}

bool RemoveHandle(HKEY handle) {
  std::shared_ptr<OpenKey> key;  // ends behind the lock
  TableInUse in_use;
  Slot* slot = SlotOf(in_use.table, handle);
  if (slot == nullptr) return false;
  key = std::move(slot->key);
  in_use.table.free_slots.push_back(static_cast<std::uint32_t>(slot - in_use.table.slots.data()));
  return true;
}

}  // namespace tesselkit::platform
