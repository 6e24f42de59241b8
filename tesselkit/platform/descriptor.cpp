#include "tesselkit/platform/descriptor.h"

#include <unistd.h>

tesselkit::platform::Descriptor::~Descriptor() {
  if (m_number >= 0) close(m_number);
}
