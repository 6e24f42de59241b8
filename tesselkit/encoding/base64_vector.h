// The kernels to choose from. One that needs instructions is null on a processor without them.
#pragma once

#include "tesselkit/encoding/base64_kernels.h"

namespace tesselkit::encoding {

extern const Base64Kernel kPlainBase64Kernel;
const Base64Kernel* Avx2Base64Kernel();
const Base64Kernel* Avx512Base64Kernel();

}  // namespace tesselkit::encoding
