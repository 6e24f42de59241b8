// Faults in the host's read, write and close, for the thread that sets them.
//
// A program that uses this has read, write and close of its own, which the library calls as well.
#pragma once

#include <cstddef>

namespace test {

struct HostFaults {
  int good_reads = -1;  // so many succeed, then every one fails; -1: none fails
  int good_writes = -1;
  int good_closes = -1;
  int error = 0;             // the error number of those that fail
  std::size_t most = ~0ul;   // bytes that one call moves at most
  bool interrupted = false;  // every other call is interrupted before it moves anything
};

// Makes the faults happen for the length of the scope.
class FaultyHost {
 public:
  explicit FaultyHost(const HostFaults& faults);
  ~FaultyHost();
  FaultyHost(const FaultyHost&) = delete;
  FaultyHost& operator=(const FaultyHost&) = delete;
};

}  // namespace test
