// Guards that undo something when the scope that holds them is left, normally or by an exception.
//
//   AdObjectGuard guard(new Order);  // finalised and deleted if Fill throws
//   Fill(order);
//   guard.Disable();                 // handed over: the object survives
//
// A guard belongs to one thread and can be neither copied nor assigned, so nothing is released
// twice. It lets go of the object before it releases it.
//
// When releasing the object throws, the exception leaves the scope as any other would. If the
// scope is being left by an exception already, that one goes on and the later one is ended.
#pragma once

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/scope_exit.h"

class AdObject;
class CCmdTarget;

// Finalises and deletes an object that has not found its owner yet.
class TESSELKIT_API AdObjectGuard {
 public:
  // Null guards nothing.
  AdObjectGuard(AdObject* object);

  // Calls the object's Finalize and deletes it, also when Finalize throws.
  ~AdObjectGuard() noexcept(false);

  // Leaves the object alone from now on.
  void Disable();

  AdObjectGuard(const AdObjectGuard&) = delete;
  AdObjectGuard& operator=(const AdObjectGuard&) = delete;

 private:
  AdObject* m_object;
  tesselkit::platform::ScopeExit m_scopeExit;
};

// The same for an object that automation callers hold: calls its OnFinalRelease.
class TESSELKIT_API AdOleObjectGuard {
 public:
  AdOleObjectGuard(CCmdTarget* target);
  ~AdOleObjectGuard() noexcept(false);

  void Disable();

  AdOleObjectGuard(const AdOleObjectGuard&) = delete;
  AdOleObjectGuard& operator=(const AdOleObjectGuard&) = delete;

 private:
  CCmdTarget* m_target;
  tesselkit::platform::ScopeExit m_scopeExit;
};

// Sets a progress variable (see AdProgress_t) to IN_PROGRESS for the length of a scope and to
// NOT_IN_PROGRESS at its end. A variable that is at IN_PROGRESS already is left as it is, at both
// ends: of nested guards only the outermost one works. The variable must outlive the guard.
class TESSELKIT_API AdProgressGuard {
 public:
  AdProgressGuard(long& progress);
  ~AdProgressGuard();

  AdProgressGuard(const AdProgressGuard&) = delete;
  AdProgressGuard& operator=(const AdProgressGuard&) = delete;

 private:
  long& m_progress;
  int m_hasSet;
};
