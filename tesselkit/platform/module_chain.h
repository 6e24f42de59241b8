// The resource chain as string look-ups see it.
#pragma once

#include <pthread.h>

#include <string_view>

#include "tesselkit/platform/types.h"

namespace tesselkit::platform {

// A lock for many readers or one writer in which a waiting writer goes before new readers: without
// that, busy readers would keep a module from leaving, and with it the loader's lock from
// everybody. A thread that reads must not ask for it again.
class ChainLock {
 public:
  void lock() noexcept { pthread_rwlock_wrlock(&m_lock); }
  void lock_shared() noexcept { pthread_rwlock_rdlock(&m_lock); }
  void unlock() noexcept { pthread_rwlock_unlock(&m_lock); }
  void unlock_shared() noexcept { pthread_rwlock_unlock(&m_lock); }

 private:
  pthread_rwlock_t m_lock = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;
};

// Guards the chains of all module states. Held shared while a text found in a chain is read: a
// module that leaves waits for it, and holds the loader's lock meanwhile. So nothing that asks the
// loader may be called under this one.
ChainLock& ChainMutex();

// The string `id` as the chain of the calling thread's module state has it, or an empty view. The
// caller holds ChainMutex() shared.
std::string_view FindStringInChain(UINT id) noexcept;

}  // namespace tesselkit::platform
