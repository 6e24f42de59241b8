#include "tesselkit/platform/host.h"

#include <atomic>

namespace {

constinit std::atomic<DWORD> g_version = 0x80000000;

}  // namespace

DWORD GetVersion() {
  return g_version;
}

void tesselkit::platform::SetHostVersion(DWORD version) {
  g_version = version;
}

void _ftime(_timeb* now) {
  timespec clock;
  clock_gettime(CLOCK_REALTIME, &clock);
  tm local;
  localtime_r(&clock.tv_sec, &local);
  const long standard_offset = local.tm_gmtoff - (local.tm_isdst > 0 ? 3600 : 0);
  now->time = clock.tv_sec;
  now->millitm = static_cast<unsigned short>(clock.tv_nsec / 1'000'000);
  now->timezone = static_cast<short>(-standard_offset / 60);
  now->dstflag = local.tm_isdst > 0 ? 1 : 0;
}
