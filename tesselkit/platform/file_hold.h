// The hold that an opener has on a file: who may have it open beside whom.
//
// A hold belongs to the open descriptor, not to the process: openers in one process and in several
// are told apart alike, and another descriptor of the same file may be closed without harm.
#pragma once

#include "tesselkit/platform/types.h"

namespace tesselkit::platform {

// Takes the hold that `flags` (CFile::OpenFlags) ask for. Does not wait: returns 0 or the host's
// error number, EWOULDBLOCK when another opener is in the way.
int TakeHold(int descriptor, UINT flags) noexcept;

// Gives it up, also for copies of the descriptor that child processes have.
void GiveHoldUp(int descriptor, UINT flags) noexcept;

// Whether somebody has a hold on the file of that name; false when it cannot be told.
bool IsHeld(const char* host_path) noexcept;

}  // namespace tesselkit::platform
