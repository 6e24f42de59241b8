// The resource chain as string look-ups see it.
#pragma once

#include <string_view>

#include "tesselkit/platform/types.h"

namespace tesselkit::platform {

// The lock of all chains, for many readers or one writer. A waiting writer goes before new readers:
// without that, busy readers would keep a module from leaving, and with it the loader's lock from
// everybody. A thread that reads must not ask for it again.
class ChainLock {
 public:
  void lock() noexcept;
  void lock_shared() noexcept;
  void unlock() noexcept;
  void unlock_shared() noexcept;
};

// Guards the chains of all module states. Held shared while a text found in a chain is read: a
// module that leaves waits for it, and holds the loader's lock meanwhile. So nothing that asks the
// loader may be called under this one.
ChainLock& ChainMutex();

// The string `id` as the chain of the calling thread's module state has it, or an empty view. The
// caller holds ChainMutex() shared.
std::string_view FindStringInChain(UINT id) noexcept;

}  // namespace tesselkit::platform
