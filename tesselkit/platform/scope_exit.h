// What a destructor does whose last act may throw.
#pragma once

#include <exception>

#include "tesselkit/platform/exceptions.h"

namespace tesselkit::platform {

// A member of an object whose destructor is noexcept(false). It knows whether the scope that holds
// the object is being left by an exception, also where that scope is itself part of a clean-up that
// an earlier exception has caused.
class ScopeExit {
 public:
  // Runs `last_act`. What it throws goes to the caller, unless the scope is being left by an
  // exception already: then that one goes on, and the later one is ended, since two at once would
  // end the process. What is no CException* `end` ends, which may look at it with `throw;` and must
  // not throw anything itself.
  template <class LastAct, class End>
  void Run(LastAct last_act, End end) const {
    if (std::uncaught_exceptions() <= m_before) return last_act();
    try {
      last_act();
    } catch (CException* exception) {
      exception->Delete();
    } catch (...) {
      end();
    }
  }
  template <class LastAct>
  void Run(LastAct last_act) const {
    Run(last_act, [] {});
  }

 private:
  int m_before = std::uncaught_exceptions();
};

}  // namespace tesselkit::platform
