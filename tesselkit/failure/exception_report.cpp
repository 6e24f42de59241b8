#include "tesselkit/failure/exception_report.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <string_view>

#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/debug_help.h"
#include "tesselkit/platform/debug_output.h"
#include "tesselkit/platform/module_symbols.h"
#include "tesselkit/platform/system_message.h"

namespace tesselkit::failure {
namespace {

struct CodeName {
  DWORD code;
  const char* name;
};

constexpr CodeName kCodeNames[] = {
#define TESSELKIT_NAMED(name) \
  { EXCEPTION_##name, #name }
    TESSELKIT_NAMED(GUARD_PAGE),
    TESSELKIT_NAMED(DATATYPE_MISALIGNMENT),
    TESSELKIT_NAMED(BREAKPOINT),
    TESSELKIT_NAMED(SINGLE_STEP),
    TESSELKIT_NAMED(ACCESS_VIOLATION),
    TESSELKIT_NAMED(IN_PAGE_ERROR),
    TESSELKIT_NAMED(INVALID_HANDLE),
    TESSELKIT_NAMED(ILLEGAL_INSTRUCTION),
    TESSELKIT_NAMED(NONCONTINUABLE_EXCEPTION),
    TESSELKIT_NAMED(INVALID_DISPOSITION),
    TESSELKIT_NAMED(ARRAY_BOUNDS_EXCEEDED),
    TESSELKIT_NAMED(FLT_DENORMAL_OPERAND),
    TESSELKIT_NAMED(FLT_DIVIDE_BY_ZERO),
    TESSELKIT_NAMED(FLT_INEXACT_RESULT),
    TESSELKIT_NAMED(FLT_INVALID_OPERATION),
    TESSELKIT_NAMED(FLT_OVERFLOW),
    TESSELKIT_NAMED(FLT_STACK_CHECK),
    TESSELKIT_NAMED(FLT_UNDERFLOW),
    TESSELKIT_NAMED(INT_DIVIDE_BY_ZERO),
    TESSELKIT_NAMED(INT_OVERFLOW),
    TESSELKIT_NAMED(PRIV_INSTRUCTION),
    TESSELKIT_NAMED(STACK_OVERFLOW),
#undef TESSELKIT_NAMED
};

// False, with an empty text, when the system has none.
bool WriteSystemText(DWORD code, ExceptionNameBuffer& buffer) {
  constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_IGNORE_INSERTS;
  buffer.front() = '\0';
  return FormatMessageA(kFlags, nullptr, code, 0, buffer.data(), buffer.size(), nullptr) > 0;
}

// One piece of a report in the making, cut to what a piece may hold.
class Piece {
 public:
  Piece& Text(std::string_view text) {
    const std::size_t count =
        platform::WholeCharactersWithin(text, std::min(text.size(), kMost - m_size));
    text.copy(m_text + m_size, count);
    m_size += count;
    return *this;
  }

  // Upper case, with zeros in front up to `width` digits; more when the number needs them.
  Piece& Hex(std::uintptr_t number, int width = 1) {
    char digits[2 * sizeof number];
    char* const end = digits + sizeof digits;
    char* first = end;
    for (; number != 0 || end - first < width; number >>= 4) {
      *--first = "0123456789ABCDEF"[number & 15];
    }
    return Text({first, static_cast<std::size_t>(end - first)});
  }

  void AppendTo(AdExceptionReport& report) const {
    report.Add(CString(std::string_view(m_text, m_size)));
  }

 private:
  static constexpr std::size_t kMost = 1024;

  char m_text[kMost];
  std::size_t m_size = 0;
};

// A place as section and offset in a module, with the digits that the line wants; zeros and no
// path when it lies in none.
void WriteLogicalAddress(Piece& piece, const platform::LoadedModule& module, std::uintptr_t address,
                         int section_digits) {
  constexpr std::size_t kMostOfPath = 259;
  platform::LogicalAddress place;
  platform::FindLogicalAddress(module, address, place);
  const std::string_view path = platform::ModulePath(module);
  piece.Hex(place.section, section_digits).Text(":").Hex(place.offset, 8).Text(" ");
  piece.Text(path.substr(0, platform::WholeCharactersWithin(path, kMostOfPath))).Text("\n");
}

void WriteHeader(AdExceptionReport& report, const EXCEPTION_RECORD& record) {
  ExceptionNameBuffer buffer;
  Piece code;
  code.Text("Exception code: ").Hex(record.ExceptionCode, 8).Text(" ");
  code.Text(ExceptionCodeName(record.ExceptionCode, buffer)).Text("\n").AppendTo(report);
  const auto address = reinterpret_cast<std::uintptr_t>(record.ExceptionAddress);
  Piece where;
  where.Text("Fault address:  ").Hex(address, 8).Text(" ");
  WriteLogicalAddress(where, platform::FindModule(address), address, 2);
  where.AppendTo(report);
}

class FrameLine : public Piece {
 public:
  explicit FrameLine(const platform::StackFrame& frame) {
    Hex(frame.program_counter, 8).Text("  ").Hex(frame.frame, 8).Text("  ");
  }
};

// With symbols where there are any.
class SymbolFrames final : public platform::FrameVisitor {
 public:
  explicit SymbolFrames(AdExceptionReport& report) : m_report(report) {}

  void Visit(const platform::StackFrame& frame) override {
    constexpr std::size_t kMostOfName = 512;
    FrameLine(frame).AppendTo(m_report);
    const platform::LoadedModule module = platform::FindModule(frame.program_counter);
    platform::NearSymbol symbol;
    Piece place;
    if (platform::FindSymbol(module, frame.program_counter, symbol)) {
      place.Text(symbol.name.substr(0, kMostOfName)).Text("+").Hex(symbol.displacement).Text("\n");
    } else {
      WriteLogicalAddress(place, module, frame.program_counter, 4);
    }
    place.AppendTo(m_report);
  }

 private:
  AdExceptionReport& m_report;
};

class PlainFrames final : public platform::FrameVisitor {
 public:
  explicit PlainFrames(AdExceptionReport& report) : m_report(report) {}

  void Visit(const platform::StackFrame& frame) override {
    FrameLine line(frame);
    WriteLogicalAddress(line, platform::FindModule(frame.program_counter), frame.program_counter,
                        4);
    line.AppendTo(m_report);
  }

 private:
  AdExceptionReport& m_report;
};

}  // namespace

CString AdExceptionReport::Text() const {
  std::size_t size = 0;
  for (int i = 0; i < GetSize(); ++i) size += GetAt(i).View().size();
  CString text;
  text.Preallocate(size);
  for (int i = 0; i < GetSize(); ++i) text.Append(GetAt(i).View());
  return text;
}

const char* ExceptionCodeName(DWORD code, ExceptionNameBuffer& buffer) {
  for (const CodeName& row : kCodeNames) {
    if (row.code == code) return row.name;
  }
  // Not the text but its code is shared, so that reports made at the same time stay apart.
  static std::atomic<DWORD> last_with_text = 0;
  if (WriteSystemText(code, buffer)) {
    last_with_text = code;
  } else {
    WriteSystemText(last_with_text, buffer);
  }
  return buffer.data();
}

void WriteReport(AdExceptionReport& report, const EXCEPTION_POINTERS& pointers) {
  if (pointers.ExceptionRecord == nullptr || pointers.ContextRecord == nullptr) return;
  WriteHeader(report, *pointers.ExceptionRecord);
  WriteFrames(report, *pointers.ContextRecord);
}

void WriteFrames(AdExceptionReport& report, const CONTEXT& context) {
  if (platform::LoadDebugHelp()) {
    report.Add("Address   Frame\n");
    SymbolFrames frames(report);
    platform::WalkWithDebugHelp(context, frames);
    report.Add("\n");
  } else {
    OutputDebugStringA("IMAGEHLP.DLL or its exported procs not found");
    report.Add("Address   Frame     Logical addr  Module\n");
    PlainFrames frames(report);
    platform::WalkFramePointers(context, frames);
  }
}

}  // namespace tesselkit::failure
