#include "tesselkit/platform/debug_help.h"

#include <dlfcn.h>
#include <ucontext.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <string_view>

#include "tesselkit/platform/exceptions.h"
#include "tesselkit/platform/foreign_memory.h"
#include "tesselkit/platform/host_context.h"
#include "tesselkit/platform/module_symbols.h"
#include "tesselkit/platform/step_rules.h"

namespace tesselkit::platform {
namespace {

constexpr char kDefaultLibrary[] = "libunwind.so.8";

#if defined(__x86_64__)
#define TESSELKIT_UNWIND_PREFIX "_ULx86_64_"
constexpr int kFramePointer = 6;
constexpr int kStackPointer = 7;
constexpr int kInstructionPointer = 16;
#else
#define TESSELKIT_UNWIND_PREFIX "_ULaarch64_"
constexpr int kFramePointer = 29;
constexpr int kStackPointer = 31;
constexpr int kInstructionPointer = 30;
#endif

// The library's own, as its header declares it.
constexpr int kExactAddress = 1;  // the first address is that of an instruction, not of a return
struct SaveLocation {
  int type;  // 1: in memory
  union {
    ULONG_PTR address;
    int number;
  } where;
  char more[16];
};

struct UnwindEntries {
  int (*init)(void* cursor, void* context, int flags);
  int (*step)(void* cursor);
  int (*get_register)(void* cursor, int number, ULONG_PTR* value);
  int (*get_save_location)(void* cursor, int number, SaveLocation* location);
  int (*is_signal_frame)(void* cursor);
};

// A file by whose name a library was wanted, and what has been found in it.
struct Library {
  explicit Library(std::string_view name) : file(name) {}

  Text file;
  std::atomic<const UnwindEntries*> entries{nullptr};
  std::atomic<bool> is_missing{false};  // when it was looked for since it was set
  Library* next = nullptr;
};

// Every one that was ever wanted: walks may be using it.
constinit std::mutex libraries_mutex;
constinit Library* libraries = nullptr;

constinit std::atomic<Library*> wanted{nullptr};

Library* FindOrMakeLibrary(std::string_view file) {
  const std::lock_guard lock(libraries_mutex);
  Library* found = libraries;
  while (found != nullptr && found->file != file) found = found->next;
  if (found == nullptr) {
    found = new (std::nothrow) Library(file);
    if (found == nullptr) AfxThrowMemoryException();
    found->next = libraries;
    libraries = found;
  }
  return found;
}

Library& WantedLibrary() {
  Library* library = wanted.load(std::memory_order_acquire);
  if (library != nullptr) return *library;
  SetDebugHelpLibrary(nullptr);
  return *wanted.load(std::memory_order_acquire);
}

template <class Function>
bool LoadEntry(void* library, const char* name, Function*& entry) {
  entry = reinterpret_cast<Function*>(dlsym(library, name));
  return entry != nullptr;
}

// What it remembers of addresses outlives the modules there, and is kept under a lock.
void TurnOffCache(void* library) {
  void (*set_policy)(void* space, int policy) = nullptr;
  void** const space =
      static_cast<void**>(dlsym(library, TESSELKIT_UNWIND_PREFIX "local_addr_space"));
  if (space == nullptr) return;
  if (LoadEntry(library, TESSELKIT_UNWIND_PREFIX "set_caching_policy", set_policy)) {
    set_policy(*space, 0);
  }
}

// Null with `is_missing` false: there is no memory just now.
const UnwindEntries* LoadEntries(const char* file, bool& is_missing) {
  is_missing = true;
  void* const library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return nullptr;
  UnwindEntries found;
  const bool has_all =
      LoadEntry(library, TESSELKIT_UNWIND_PREFIX "init_local2", found.init) &&
      LoadEntry(library, TESSELKIT_UNWIND_PREFIX "step", found.step) &&
      LoadEntry(library, TESSELKIT_UNWIND_PREFIX "get_reg", found.get_register) &&
      LoadEntry(library, TESSELKIT_UNWIND_PREFIX "get_save_loc", found.get_save_location) &&
      LoadEntry(library, TESSELKIT_UNWIND_PREFIX "is_signal_frame", found.is_signal_frame);
  if (!has_all) {
    dlclose(library);
    return nullptr;
  }
  is_missing = false;
  const auto* const entries = new (std::nothrow) UnwindEntries(found);
  if (entries == nullptr) {
    dlclose(library);
    return nullptr;
  }
  TurnOffCache(library);
  return entries;
}

// A cursor of the library, which it lays out as it likes within this size.
class Cursor {
 public:
  explicit Cursor(const UnwindEntries& entries) : m_entries(entries) {}

  bool Begin(ucontext_t& host, bool is_exact) {
    return m_entries.init(m_memory, &host, is_exact ? kExactAddress : 0) == 0;
  }
  bool Step() { return m_entries.step(m_memory) > 0; }
  bool IsSignalFrame() { return m_entries.is_signal_frame(m_memory) > 0; }

  FrameRegisters Registers() {
    return {Register(kInstructionPointer), Register(kStackPointer), Register(kFramePointer)};
  }

  // Where the frame pointer was found; 0 when it was not in memory.
  ULONG_PTR SavedFramePointerAt() {
    SaveLocation location = {};
    const bool is_known = m_entries.get_save_location(m_memory, kFramePointer, &location) == 0;
    return is_known && location.type == 1 ? location.where.address : 0;
  }

 private:
  ULONG_PTR Register(int number) {
    ULONG_PTR value = 0;
    return m_entries.get_register(m_memory, number, &value) == 0 ? value : 0;
  }

  const UnwindEntries& m_entries;
  alignas(16) char m_memory[4096 * 8];
};

// Goes from frame to frame: by a rule that was learnt at the same place before, or else with the
// library, whose every step costs system calls.
class Walk {
 public:
  Walk(const UnwindEntries& entries, const CONTEXT& context)
      : m_cursor(entries),
        m_reader(context.StackPointer),
        m_is_exact(context.HostContext != nullptr) {
    if (context.HostContext != nullptr) {
      m_host = *static_cast<const ucontext_t*>(context.HostContext);
    }
    MoveTo({context.InstructionPointer, context.StackPointer, context.FramePointer});
  }

  const FrameRegisters& At() const { return m_place.at; }

  // Where the frame pointer of the frame before the last step points, or would.
  ULONG_PTR FrameBefore() const {
#ifdef __x86_64__
    return At().stack_pointer - 2 * sizeof(ULONG_PTR);
#else
    return m_frame_before;
#endif
  }

  bool Step() {
    m_frame_before = At().frame_pointer;
    return StepByRule() || StepWithLibrary();
  }

 private:
  void MoveTo(const FrameRegisters& at) {
    m_place = {at, FindModule(at.program_counter)};
  }

  bool StepByRule() {
    Place next;
    if (m_is_exact || !FollowRule(m_place, m_reader, next)) return false;
    m_place = next;
    m_has_cursor = false;
    return true;
  }

  bool StepWithLibrary() {
    if (!m_has_cursor && !BeginHere()) return false;
    const Place from = m_place;
    const bool is_signal = m_cursor.IsSignalFrame();
    // The library reads the stack as it finds it.
    if (!m_reader.IsOnStack(from.at.stack_pointer) || !m_cursor.Step()) return false;
    const FrameRegisters next = m_cursor.Registers();
    if (next.program_counter == 0) return false;
    if (!is_signal && next.stack_pointer <= from.at.stack_pointer) return false;
    MoveTo(next);
    if (!is_signal && !m_is_exact) {
      LearnRule(from, next, m_cursor.SavedFramePointerAt(), m_reader);
    }
    m_is_exact = is_signal;
    return true;
  }

  bool BeginHere() {
    WriteRegisters(&m_host, At());
    m_has_cursor = m_cursor.Begin(m_host, m_is_exact);
    return m_has_cursor;
  }

  Cursor m_cursor;
  StackReader m_reader;
  ucontext_t m_host = {};
  Place m_place = {};
  ULONG_PTR m_frame_before = 0;
  bool m_is_exact;
  bool m_has_cursor = false;
};

}  // namespace

void SetDebugHelpLibrary(const char* file) {
  Library* const library = FindOrMakeLibrary(file != nullptr ? file : kDefaultLibrary);
  library->is_missing.store(false);
  wanted.store(library, std::memory_order_release);
}

bool LoadDebugHelp() noexcept {
  try {
    Library& library = WantedLibrary();
    if (library.entries.load(std::memory_order_acquire) != nullptr) return true;
    // Looking again would take the loader's lock where a fault is being dealt with.
    if (library.is_missing.load()) return false;
    bool is_missing = false;
    const UnwindEntries* const found = LoadEntries(library.file.c_str(), is_missing);
    library.is_missing.store(is_missing);
    const UnwindEntries* other = nullptr;
    if (!library.entries.compare_exchange_strong(other, found, std::memory_order_acq_rel)) {
      delete found;  // another thread was faster
    }
    return found != nullptr;
  } catch (CException* exception) {
    exception->Delete();
  } catch (...) {
  }
  return false;
}

void WalkWithDebugHelp(const CONTEXT& context, FrameVisitor& visitor) {
  const UnwindEntries* const entries = WantedLibrary().entries.load(std::memory_order_acquire);
  if (entries == nullptr) return;
  Walk walk(*entries, context);
  for (;;) {
    const FrameRegisters at = walk.At();
    const bool has_next = walk.Step();
    // The outermost frame's end is not known.
    const ULONG_PTR frame = has_next ? walk.FrameBefore() : at.frame_pointer;
    if (frame == 0) return;
    visitor.Visit({at.program_counter, frame});
    if (!has_next) return;
  }
}

void WalkFramePointers(const CONTEXT& context, FrameVisitor& visitor) {
  StackReader reader(context.StackPointer);
  StackFrame at = {context.InstructionPointer, context.FramePointer};
  for (;;) {
    visitor.Visit(at);
    ULONG_PTR words[2];  // the saved frame pointer and the return address
    if (!reader.ReadWords(at.frame, words, 2)) return;
    const StackFrame next = {words[1], words[0]};
    if (next.frame <= at.frame || !reader.ReadWords(next.frame, words, 2)) return;
    at = next;
  }
}

}  // namespace tesselkit::platform
