#include "tesselkit/platform/registry_handles.h"

#include <pthread.h>

#include <array>
#include <cstdint>
#include <mutex>

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

HandleTable& TheTable();

void LockTable() {
  TheTable().mutex.lock();
}
void UnlockTable() {
  TheTable().mutex.unlock();
}

HandleTable& TheTable() {
  static HandleTable& table = *[] {
    pthread_atfork(LockTable, UnlockTable, UnlockTable);
    return new HandleTable;
  }();
  return table;
}

std::uintptr_t NumberOf(HKEY handle) {
  return reinterpret_cast<std::uintptr_t>(handle);
}

Slot* SlotOf(HandleTable& table, HKEY handle) {
  const std::size_t index = NumberOf(handle) & (kMostHandles - 1);
  if (index >= table.slots.size()) return nullptr;
  Slot& slot = table.slots[index];
  return slot.key != nullptr && slot.serial == NumberOf(handle) >> kSlotBits ? &slot : nullptr;
}

std::shared_ptr<OpenKey> PredefinedKey(HKEY handle) {
  static const auto keys = [] {
    std::array<std::shared_ptr<OpenKey>, kLastPredefined - kFirstPredefined + 1> made;
    for (std::size_t i = 0; i < made.size(); ++i) {
      const bool is_users = kFirstPredefined + i == NumberOf(HKEY_CURRENT_USER);
      Hive& hive = HiveOf(is_users ? HiveKind::kUser : HiveKind::kMachine);
      made[i] = std::make_shared<OpenKey>(
          OpenKey{&hive, static_cast<KeyId>(i + 1), MAXIMUM_ALLOWED, {}, {}});
    }
    return made;
  }();
  return keys[NumberOf(handle) - kFirstPredefined];
}

}  // namespace

bool IsPredefined(HKEY handle) {
  return NumberOf(handle) >= kFirstPredefined && NumberOf(handle) <= kLastPredefined;
}

HKEY AddHandle(std::shared_ptr<OpenKey> key) {
  HandleTable& table = TheTable();
  const std::lock_guard lock(table.mutex);
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
  HandleTable& table = TheTable();
  const std::lock_guard lock(table.mutex);
  Slot* slot = SlotOf(table, handle);
  return slot != nullptr ? slot->key : nullptr;
}

bool RemoveHandle(HKEY handle) {
  HandleTable& table = TheTable();
  std::shared_ptr<OpenKey> key;  // ends behind the lock
  const std::lock_guard lock(table.mutex);
  Slot* slot = SlotOf(table, handle);
  if (slot == nullptr) return false;
  key = std::move(slot->key);
  table.free_slots.push_back(static_cast<std::uint32_t>(slot - table.slots.data()));
  return true;
}

}  // namespace tesselkit::platform
