// What a destructor does whose last act may throw.
#pragma once

#include <exception>

#include "tesselkit/platform/exceptions.h"

namespace tesselkit::platform {

// Runs `last_act` for a destructor that is noexcept(false). What it throws goes to the caller,
// unless an exception is on its way already: then that one goes on, and the later one is ended,
// since two at once would end the process.
template <class LastAct>
void RunAtScopeExit(LastAct last_act) {
  if (std::uncaught_exceptions() == 0) return last_act();
  try {
    last_act();
  } catch (CException* exception) {
    exception->Delete();
  } catch (...) {
  }
}

}  // namespace tesselkit::platform
