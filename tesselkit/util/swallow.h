// Turning every failure into an answer.
#pragma once

#include "tesselkit/platform/exceptions.h"

namespace tesselkit::util {

// Runs `work`; false when it threw. What was thrown is ended.
template <class Work>
bool Succeeds(Work work) {
  try {
    work();
    return true;
  } catch (CException* exception) {
    exception->Delete();
  } catch (...) {
  }
  return false;
}

}  // namespace tesselkit::util
