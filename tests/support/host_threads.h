// The threads of this process, as the host lists them.
#pragma once

#include <chrono>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

namespace test {

inline std::set<std::string> HostThreads() {
  std::set<std::string> ids;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
    ids.insert(entry.path().filename());
  }
  return ids;
}

// Whether the thread leaves the list; the host strikes it off a moment after it has been joined.
inline bool IsGoneSoon(unsigned id) {
  for (int i = 0; i < 5000 && HostThreads().contains(std::to_string(id)); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return !HostThreads().contains(std::to_string(id));
}

}  // namespace test
