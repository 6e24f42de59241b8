// The resource chain as string look-ups see it.
#pragma once

#include <shared_mutex>
#include <string_view>

#include "tesselkit/platform/types.h"

namespace tesselkit::platform {

// Guards the chains of all module states. Held shared while a text found in a chain is read: a
// module that leaves waits for it, and holds the loader's lock meanwhile. So nothing that asks the
// loader may be called under this one.
std::shared_mutex& ChainMutex();

// The string `id` as the chain of the calling thread's module state has it, or an empty view. The
// caller holds ChainMutex() shared.
std::string_view FindStringInChain(UINT id) noexcept;

}  // namespace tesselkit::platform
