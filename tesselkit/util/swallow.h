// Turning every failure into an answer.
#pragma once

#include "tesselkit/failure/caught.h"

namespace tesselkit::util {

// Runs `work`; false when it threw. What was thrown is ended.
template <class Work>
bool Succeeds(Work work) {
  try {
    work();
    return true;
  } catch (...) {
    tesselkit::failure::EndCaughtException();
  }
  return false;
}

}  // namespace tesselkit::util
