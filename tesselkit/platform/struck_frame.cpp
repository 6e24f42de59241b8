#include "tesselkit/platform/struck_frame.h"

#include <unwind.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tesselkit/platform/host_context.h"

namespace tesselkit::platform {
namespace {

// A function's table of exceptions, as the compilers lay it out.
class ExceptionTable {
 public:
  explicit ExceptionTable(const void* table) : m_next(static_cast<const unsigned char*>(table)) {}

  // Whether it knows the place so far behind the function's start; also when it is laid out in a
  // way that is not read here.
  bool Knows(std::uintptr_t place) {
    if (*m_next++ != kNone) return true;
    if (*m_next++ != kNone) ReadVariable();
    const unsigned char form = *m_next++;
    if (form != kVariable && form != kFourBytes) return true;
    const std::uintptr_t size = ReadVariable();
    for (const unsigned char* const end = m_next + size; m_next < end;) {
      const std::uintptr_t start = Read(form);
      const std::uintptr_t length = Read(form);
      if (place - start < length) return true;
      Read(form);      // where it is handled
      ReadVariable();  // what is handled there
    }
    return false;
  }

 private:
  static constexpr unsigned char kNone = 0xFF, kVariable = 0x01, kFourBytes = 0x03;

  std::uintptr_t Read(unsigned char form) {
    if (form == kVariable) return ReadVariable();
    std::uint32_t value = 0;
    std::memcpy(&value, m_next, sizeof value);
    m_next += sizeof value;
    return value;
  }

  std::uintptr_t ReadVariable() {
    std::uintptr_t value = 0;
    unsigned char byte = 0x80;
    for (unsigned shift = 0; (byte & 0x80) != 0; shift += 7) {
      byte = *m_next++;
      if (shift < 64) value |= static_cast<std::uintptr_t>(byte & 0x7F) << shift;
    }
    return value;
  }

  const unsigned char* m_next;
};

bool KnowsPlace(_Unwind_Context* frame, std::uintptr_t place) {
  const void* const table = reinterpret_cast<const void*>(_Unwind_GetLanguageSpecificData(frame));
  return table == nullptr || ExceptionTable(table).Knows(place - _Unwind_GetRegionStart(frame));
}

// Goes up from the handler to the interrupted function and to its caller.
struct Search {
  void* host;
  std::uintptr_t place;
  bool is_found;
};

void TakeRegisters(_Unwind_Context* frame, void* host) {
  for (const int number : kKeptRegisters) {
    KeptRegister(host, number) = static_cast<HostWord>(_Unwind_GetGR(frame, number));
  }
  // Inside the call, whose handlers may not hold behind it.
  WriteRegisters(host, {_Unwind_GetIP(frame) - 1, _Unwind_GetCFA(frame),
                        _Unwind_GetGR(frame, kFramePointerNumber)});
}

_Unwind_Reason_Code VisitFrame(_Unwind_Context* frame, void* context) {
  auto& search = *static_cast<Search*>(context);
  if (search.is_found) {
    TakeRegisters(frame, search.host);
    return _URC_END_OF_STACK;
  }
  search.is_found = _Unwind_GetIP(frame) == search.place;
  const bool is_end = search.is_found && KnowsPlace(frame, search.place);
  return is_end ? _URC_END_OF_STACK : _URC_NO_REASON;
}

}  // namespace

void LeaveFrameWithoutHandlers(void* host) noexcept {
  Search search{host, ReadRegisters(host).program_counter, false};
  _Unwind_Backtrace(VisitFrame, &search);
}

}  // namespace tesselkit::platform
