#include "tesselkit/platform/debug_output.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

#include "tesselkit/platform/exceptions.h"
#include "tesselkit/platform/forced_end.h"

namespace {

using Sink = std::function<void(const char*)>;

struct SinkHolder {
  std::mutex mutex;
  std::shared_ptr<const Sink> sink;
};

// Never destroyed: traces come also from destructors that run at the very end of the process.
SinkHolder& holder = *new SinkHolder;

std::shared_ptr<const Sink> CurrentSink() {
  const tesselkit::platform::HoldOffForcedEnd whole;
  const std::lock_guard lock(holder.mutex);
  return holder.sink;
}

void WriteToStandardError(const char* text) noexcept {
  std::size_t left = std::strlen(text);
  while (left > 0) {
    const ssize_t written = write(STDERR_FILENO, text, left);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    text += written;
    left -= static_cast<std::size_t>(written);
  }
}

}  // namespace

void OutputDebugStringA(const char* text) noexcept {
  if (text == nullptr) return;
  try {
    if (const auto sink = CurrentSink()) {
      (*sink)(text);
    } else {
      WriteToStandardError(text);
    }
  } catch (CException* exception) {
    exception->Delete();
  } catch (...) {
  }
}

void tesselkit::platform::SetDebugOutputSink(std::function<void(const char* text)> sink) {
  std::shared_ptr<const Sink> shared;
  if (sink) shared = std::allocate_shared<Sink>(Allocator<Sink>(), std::move(sink));
  const HoldOffForcedEnd whole;
  const std::lock_guard lock(holder.mutex);
  holder.sink.swap(shared);
}
