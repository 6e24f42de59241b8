#include "tests/support/host_faults.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

thread_local test::HostFaults t_faults;
thread_local bool t_interrupted;

// Whether this call fails, with errno set.
bool Fails(int& good_calls) {
  if (t_faults.interrupted) {
    t_interrupted = !t_interrupted;
    errno = EINTR;
    if (t_interrupted) return true;
  }
  errno = t_faults.error;
  if (good_calls == 0) return true;
  if (good_calls > 0) --good_calls;
  return false;
}

}  // namespace

test::FaultyHost::FaultyHost(const HostFaults& faults) {
  t_faults = faults;
  t_interrupted = false;
}

test::FaultyHost::~FaultyHost() {
  t_faults = {};
}

extern "C" {

ssize_t read(int descriptor, void* buffer, std::size_t count) {
  if (Fails(t_faults.good_reads)) return -1;
  return syscall(SYS_read, descriptor, buffer, std::min(count, t_faults.most));
}

ssize_t write(int descriptor, const void* buffer, std::size_t count) {
  if (Fails(t_faults.good_writes)) return -1;
  return syscall(SYS_write, descriptor, buffer, std::min(count, t_faults.most));
}

// The descriptor is gone also when the call fails.
int close(int descriptor) {
  const bool fails = Fails(t_faults.good_closes);
  const int error = errno;
  const int result = static_cast<int>(syscall(SYS_close, descriptor));
  errno = fails ? error : errno;
  return fails ? -1 : result;
}
}
