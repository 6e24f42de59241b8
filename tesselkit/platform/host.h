// What the platform tells about the host: its version and the time.
// All functions may be called from any thread.
#pragma once

#include <ctime>

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/types.h"

// The host's version: the major one in the lowest byte, the minor one in the next; the top bit is
// set outside the NT family. 0x80000000 unless SetHostVersion says otherwise.
TESSELKIT_API DWORD GetVersion();

namespace tesselkit::platform {

// Makes GetVersion answer `version` from now on.
TESSELKIT_API void SetHostVersion(DWORD version);

}  // namespace tesselkit::platform

struct _timeb {
  std::time_t time;        // whole seconds since 1970-01-01 00:00:00 UTC
  unsigned short millitm;  // milliseconds within the second, 0 to 999
  short timezone;          // minutes west of UTC, without daylight saving
  short dstflag;           // nonzero while daylight saving is in force
};

// Reads the clock once.
TESSELKIT_API void _ftime(_timeb* now);
