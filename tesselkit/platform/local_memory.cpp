#include "tesselkit/platform/local_memory.h"

#include <cstdlib>

HLOCAL LocalAlloc(UINT flags, std::size_t bytes) {
  const std::size_t size = bytes != 0 ? bytes : 1;
  return (flags & LMEM_ZEROINIT) != 0 ? std::calloc(size, 1) : std::malloc(size);
}

HLOCAL LocalFree(HLOCAL memory) {
  std::free(memory);
  return nullptr;
}
