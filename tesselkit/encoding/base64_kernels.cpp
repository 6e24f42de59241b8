#include "tesselkit/encoding/base64_kernels.h"

#include <array>
#include <atomic>

#include "tesselkit/encoding/base64_vector.h"

namespace tesselkit::encoding {
namespace {

struct Usable {
  std::array<const Base64Kernel*, 3> kernels{};
  std::size_t count = 0;

  Usable() {
    for (const Base64Kernel* kernel : {Avx512Base64Kernel(), Avx2Base64Kernel()}) {
      if (kernel != nullptr) kernels[count++] = kernel;
    }
    kernels[count++] = &kPlainBase64Kernel;
  }
};

const Usable& UsableKernels() {
  static const Usable usable;
  return usable;
}

std::atomic<const Base64Kernel*> current{UsableKernels().kernels.front()};

}  // namespace

std::span<const Base64Kernel* const> UsableBase64Kernels() {
  const Usable& usable = UsableKernels();
  return {usable.kernels.data(), usable.count};
}

const Base64Kernel& CurrentBase64Kernel() {
  return *current.load(std::memory_order_relaxed);
}

void SetBase64Kernel(const Base64Kernel& kernel) {
  current.store(&kernel, std::memory_order_relaxed);
}

}  // namespace tesselkit::encoding
