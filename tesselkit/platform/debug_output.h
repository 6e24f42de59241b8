// The debugger output: the one place where the library traces to.
#pragma once

#include <functional>

#include "tesselkit/platform/export.h"

// Hands `text` to the sink, whole and unchanged, as one call; null writes nothing. Never throws:
// what a sink throws ends here. May be called from any thread.
TESSELKIT_API void OutputDebugStringA(const char* text) noexcept;

namespace tesselkit::platform {

// Makes `sink` take every text of OutputDebugStringA from now on; an empty function restores the
// default, standard error. A call of the old sink that is under way on another thread may still
// end after this returns. Sinks may trace and may set sinks. May be called from any thread.
TESSELKIT_API void SetDebugOutputSink(std::function<void(const char* text)> sink);

}  // namespace tesselkit::platform
