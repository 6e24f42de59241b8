// Who takes native exceptions on a thread, and what the host needs to know for it.
#pragma once

#include "tesselkit/platform/native_exception.h"

namespace tesselkit::platform {

// A guarded call that is under way.
struct Guard;

// Who is to be asked.
struct Takers {
  TranslatorSetting translator;
  Guard* guard;  // the innermost
};

struct NativeThread {
  Takers takers;
  bool is_ready;  // has an alternate stack, and its stack's reserve closed
};

// At a fixed distance from the thread's pointer, so that a signal's handler finds it without
// allocating.
extern constinit thread_local NativeThread native_thread __attribute__((tls_model("initial-exec")));

// Makes the process and the calling thread take faults; what cannot be had is gone without. A
// thread's alternate stack ends with it.
void PrepareThread() noexcept;

// Offers an exception to the calling thread's translator and guards, the one set last first.
// Returns whether a filter wants execution to go on; leaves by what a translator throws, or to an
// abandoned guarded call.
bool OfferException(EXCEPTION_POINTERS& pointers);

}  // namespace tesselkit::platform
