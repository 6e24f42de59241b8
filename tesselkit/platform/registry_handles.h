// The handles that the registry has given out. All functions may be called from any thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tesselkit/platform/hive.h"
#include "tesselkit/platform/types.h"

namespace tesselkit::platform {

// What RegEnum... has read ahead of a key's subkeys or values; guarded by the key's hive.
template <class Item>
struct ReadAhead {
  std::vector<Item> items;
  DWORD first = 0;               // the index of the first of them
  DWORD next_most = 0;           // how many to read the next time
  std::uint64_t generation = 0;  // as of which write
};

struct OpenKey {
  Hive* hive;
  KeyId id;
  DWORD access;
  ReadAhead<ListedKey> keys;
  ReadAhead<ListedValue> values;
};

// A number for the key that no handle had before; null when there are too many.
HKEY AddHandle(std::shared_ptr<OpenKey> key);

// The key of a handle or of a predefined key; null when it is neither.
std::shared_ptr<OpenKey> KeyOf(HKEY handle);

bool IsPredefined(HKEY handle);

// Whether there was such a handle.
bool RemoveHandle(HKEY handle);

}  // namespace tesselkit::platform
