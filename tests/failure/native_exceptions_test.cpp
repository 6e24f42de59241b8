#include "tesselkit/failure/native_exceptions.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <barrier>
#include <filesystem>
#include <memory>
#include <regex>
#include <thread>
#include <vector>

#include "tesselkit/platform/debug_help.h"
#include "tesselkit/platform/module.h"
#include "tests/support/child.h"
#include "tests/support/faulting_code.h"
#include "tests/support/process.h"
#include "tests/support/traced_test.h"

// The walk's library is not instrumented, so what it does to guard its state is not seen.
extern "C" const char* __tsan_default_suppressions() {
  return "race:libunwind.so";
}

namespace {

using tesselkit::platform::CallGuarded;
using tesselkit::platform::LoadDebugHelp;
using tesselkit::platform::SetDebugHelpLibrary;

const std::string kHead = "A Windows native exception occurred.  Exception ID and stack trace:\n";
const std::string kFrameHead = "Address   Frame\n";
const std::string kPlainHead = "Address   Frame     Logical addr  Module\n";
// The host's own libraries may have no names for their functions.
constexpr char kSymbolLine[] =
    "[0-9A-F]{8,}  [0-9A-F]{8,}  ([^ ]+\\+[0-9A-F]+|[0-9A-F]{4}:[0-9A-F]{8,} /.*)";
constexpr char kPlainLine[] = "[0-9A-F]{8,}  [0-9A-F]{8,}  [0-9A-F]{4}:[0-9A-F]{8,} .*";

int ended = 0;

struct CountsItsEnd {
  ~CountsItsEnd() { ++ended; }
};

// Frames with something to clean up between the fault and its handler.
[[gnu::noinline]] void CallAndCleanUp(test::Faulting fault, int depth) {
  const CountsItsEnd counted;
  if (depth > 0) return CallAndCleanUp(fault, depth - 1);
  fault(1);
}

// The text of the dispatch exception that `action` throws, "" when it throws none.
template <class Action>
std::string ReportOf(Action action) {
  try {
    action();
  } catch (COleDispatchException* exception) {
    EXPECT_EQ(exception->m_wCode, 18004);
    EXPECT_EQ(exception->m_dwHelpContext, 0u);
    std::string text(exception->m_strDescription.View());
    exception->Delete();
    return text;
  }
  return "";
}

std::string ReportOfFault(test::Faulting fault) {
  const AdExceptionConverter converter;
  return ReportOf([&] { CallAndCleanUp(fault, 3); });
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t begin = 0;
  for (std::size_t end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
    lines.push_back(text.substr(begin, end - begin));
  }
  if (begin < text.size()) lines.push_back(text.substr(begin) + "<no line feed>");
  return lines;
}

// Whether each of the lines [first, last) has that form.
void ExpectForm(const std::vector<std::string>& lines, std::size_t first, std::size_t last,
                const char* form) {
  EXPECT_LT(first, last);
  for (std::size_t i = first; i < last; ++i) {
    EXPECT_TRUE(std::regex_match(lines[i], std::regex(form))) << lines[i];
  }
}

// The names of a report's frames, the innermost first, from a list of known ones.
std::vector<std::string> KnownFrames(const std::string& report,
                                     const std::vector<std::string>& known) {
  std::vector<std::string> frames;
  for (const std::string& line : Lines(report)) {
    for (const std::string& name : known) {
      if (line.find(name) != std::string::npos) frames.push_back(name);
    }
  }
  return frames;
}

struct FaultRow {
  int line;
  test::Faulting fault;
  const char* function;  // the innermost frame in sight
  const char* code;
};

#ifdef __x86_64__
constexpr char kPrivileged[] = "C0000096 PRIV_INSTRUCTION";
constexpr char kUnaligned[] = "80000002 DATATYPE_MISALIGNMENT";
#else
constexpr char kPrivileged[] = "C000001D ILLEGAL_INSTRUCTION";
constexpr char kUnaligned[] = "C0000006 IN_PAGE_ERROR";
#endif

const FaultRow kFaults[] = {
    {__LINE__, test::DivideByZero, "DivideByZero", "C0000094 INT_DIVIDE_BY_ZERO"},
    {__LINE__, test::WriteToNull, "WriteToNull", "C0000005 ACCESS_VIOLATION"},
    {__LINE__, test::ReadFromNull, "ReadFromNull", "C0000005 ACCESS_VIOLATION"},
    {__LINE__, test::ReadOffTheMap, "ReadOffTheMap", "C0000005 ACCESS_VIOLATION"},
    {__LINE__, test::JumpToNull, "ExecuteData", "C0000005 ACCESS_VIOLATION"},
    {__LINE__, test::JumpToData, "ExecuteData", "C0000005 ACCESS_VIOLATION"},
    {__LINE__, test::ExecutePrivileged, "ExecutePrivileged", kPrivileged},
    {__LINE__, test::ExecuteIllegal, "ExecuteIllegal", "C000001D ILLEGAL_INSTRUCTION"},
    {__LINE__, test::ExecuteBreakpoint, "ExecuteBreakpoint", "80000003 BREAKPOINT"},
    {__LINE__, test::ReadPastFileEnd, "ReadPastFileEnd", "C0000006 IN_PAGE_ERROR"},
    {__LINE__, test::ReadUnaligned, "ReadUnaligned", kUnaligned},
    {__LINE__, test::OverflowStack, "OverflowStack", "C00000FD STACK_OVERFLOW"},
};

class NativeExceptions : public test::TracedTest {
 protected:
  ~NativeExceptions() override { SetDebugHelpLibrary(nullptr); }
};

TEST_F(NativeExceptions, EveryFaultBecomesADispatchExceptionWithItsReport) {
  for (const FaultRow& row : kFaults) {
    for (int time = 0; time < 2; ++time) {
      SCOPED_TRACE(row.line);
      ended = 0;
      const std::string report = ReportOfFault(row.fault);
      EXPECT_EQ(ended, 4);
      ASSERT_EQ(report.substr(0, kHead.size()), kHead);
      const std::vector<std::string> lines = Lines(report.substr(kHead.size()));
      ASSERT_GT(lines.size(), 5u);
      EXPECT_EQ(lines[0], std::string("Exception code: ") + row.code);
      ExpectForm(lines, 1, 2, "Fault address:  [0-9A-F]{8,} [0-9A-F]{2}:[0-9A-F]{8,} .*");
      EXPECT_EQ(lines[2] + "\n", kFrameHead);
      ExpectForm(lines, 3, std::min<std::size_t>(lines.size() - 1, 200), kSymbolLine);
      EXPECT_EQ(lines.back(), "");
      EXPECT_NE(lines[3].find(row.function), std::string::npos) << lines[3];
      EXPECT_EQ(KnownFrames(report, {"CallAndCleanUp"}).size(), 4u);
    }
  }
}

TEST_F(NativeExceptions, TheFaultAddressLeadsIntoTheModuleOrNowhere) {
  const std::string nowhere = Lines(ReportOfFault(test::JumpToNull))[2];
  EXPECT_EQ(nowhere, "Fault address:  00000000 00:00000000 ");
  const std::string here = Lines(ReportOfFault(test::DivideByZero))[2];
  EXPECT_NE(here.find("/tesselkit_failure_test"), std::string::npos) << here;
}

#ifndef __clang__  // which takes a fault for an exception to callers only

__attribute__((no_sanitize("undefined"))) int QuotientOrCode(int dividend, volatile int& divisor) {
  const CountsItsEnd outside;
  try {
    const CountsItsEnd inside;
    return dividend / divisor;
  } catch (COleDispatchException* exception) {
    const int code = exception->m_wCode;
    exception->Delete();
    return code;
  }
}

TEST_F(NativeExceptions, AFunctionCatchesItsOwnFault) {
  const AdExceptionConverter converter;
  ended = 0;
  volatile int divisor = 0;
  EXPECT_EQ(QuotientOrCode(7, divisor), 18004);
  EXPECT_EQ(ended, 2);
}

#endif

TEST_F(NativeExceptions, RaisedOnesAreConvertedLikeFaults) {
  const AdExceptionConverter converter;
  const std::string report = ReportOf([] { RaiseException(0xE0001234, 1, 0, nullptr); });
  EXPECT_EQ(Lines(report)[1], "Exception code: E0001234 ");
}

// The header's first line for a code, with its line feed.
std::string CodeLine(DWORD code) {
  EXCEPTION_RECORD record{};
  record.ExceptionCode = code;
  CONTEXT context{};
  EXCEPTION_POINTERS pointers{&record, &context};
  CString stack;
  AdLookupCallStack(stack, &pointers);
  const std::string text(stack.View());
  return text.substr(0, text.find("Fault address"));
}

TEST_F(NativeExceptions, ACodeWithoutANameHasTheSystemsTextOrTheLastOne) {
  const std::string heap = "A heap has been corrupted.\r\n";
  const std::string deadlock = "{EXCEPTION}\r\nPossible deadlock condition.\r\n";
  const int code = test::InChild([&] {
    const std::pair<DWORD, std::string> rows[] = {
        {0xE0001234, ""},
        {0xC0000374, heap},
        {0xE0001234, heap},
        {0xC0000005, "ACCESS_VIOLATION"},
        {0xC0000194, deadlock},
        {0x80000003, "BREAKPOINT"},
        {0, deadlock},
        {5, deadlock},
        {0xC0000094, "INT_DIVIDE_BY_ZERO"},
    };
    int line = 0;
    for (const auto& [number, name] : rows) {
      ++line;
      char digits[16];
      std::snprintf(digits, sizeof digits, "%08X ", number);
      if (CodeLine(number) != "Exception code: " + (digits + name) + "\n") return line;
    }
    return 0;
  });
  EXPECT_EQ(code, 0);
}

struct Seen {
  unsigned code = 0;
  EXCEPTION_RECORD record{};
};
Seen seen;

void RememberAndThrow(unsigned int code, EXCEPTION_POINTERS* pointers) {
  seen = {code, *pointers->ExceptionRecord};
  throw static_cast<int>(code & 0xFF);
}

int ThrownInt(void (*action)()) {
  try {
    action();
  } catch (int number) {
    return number;
  }
  return -1;
}

TEST_F(NativeExceptions, TranslatorsGetTheWholeRecord) {
  const AdExceptionConverter converter(RememberAndThrow);
  EXPECT_EQ(ThrownInt([] {
              ULONG_PTR parameters[20];
              for (ULONG_PTR i = 0; i < 20; ++i) parameters[i] = i * i;
              RaiseException(0xC0DE0077, 5, 20, parameters);
            }),
            0x77);
  EXPECT_EQ(seen.code, 0xC0DE0077);
  EXPECT_EQ(seen.record.ExceptionCode, 0xC0DE0077);
  EXPECT_EQ(seen.record.ExceptionFlags, 5u);
  EXPECT_EQ(seen.record.NumberParameters, 15u);
  EXPECT_EQ(seen.record.ExceptionInformation[14], 196u);

  struct AccessRow {
    test::Faulting fault;
    ULONG_PTR kind;
    ULONG_PTR address;
  };
  static const AccessRow* row;
  for (const AccessRow& each : {AccessRow{test::WriteToNull, 1, 0},
                                {test::ReadFromNull, 0, 8},
                                {test::JumpToNull, 8, 0},
                                {test::ReadOffTheMap, 0, ~ULONG_PTR{0}}}) {
    row = &each;
    EXPECT_EQ(ThrownInt([] { row->fault(1); }), 5);
    EXPECT_EQ(seen.record.NumberParameters, 2u);
    EXPECT_EQ(seen.record.ExceptionInformation[0], each.kind);
    EXPECT_EQ(seen.record.ExceptionInformation[1], each.address);
  }
}

TEST_F(NativeExceptions, ConvertersNestAndRestore) {
  const auto set_now = [] {
    const _se_translator_function set = _set_se_translator(nullptr);
    _set_se_translator(set);
    return set;
  };
  EXPECT_EQ(set_now(), nullptr);
  {
    const AdExceptionConverter outer(RememberAndThrow);
    EXPECT_EQ(set_now(), RememberAndThrow);
    {
      const AdExceptionConverter inner;
      EXPECT_NE(set_now(), RememberAndThrow);
      EXPECT_NE(ReportOf([] { test::DivideByZero(1); }), "");
      EXPECT_EQ(set_now(), nullptr);  // takes itself away
      {
        const AdExceptionConverter again;
        EXPECT_NE(ReportOf([] { test::DivideByZero(1); }), "");
      }
      EXPECT_EQ(set_now(), nullptr);
    }
    EXPECT_EQ(set_now(), RememberAndThrow);
    {
      const AdExceptionConverter none(nullptr);
      EXPECT_EQ(set_now(), nullptr);
    }
    EXPECT_EQ(ThrownInt([] { test::DivideByZero(1); }), 0x94);
  }
  EXPECT_EQ(set_now(), nullptr);
}

struct Guarded {
  void (*body)() = nullptr;
  int answer = 0;
  int asked = 0;
};

bool RunGuarded(Guarded& guarded) {
  return CallGuarded([](void* context) { static_cast<Guarded*>(context)->body(); },
                     [](EXCEPTION_POINTERS*, void* context) {
                       auto* const asked = static_cast<Guarded*>(context);
                       ++asked->asked;
                       return asked->answer;
                     },
                     &guarded);
}

TEST_F(NativeExceptions, TheGuardOrTranslatorSetLastIsAskedFirst) {
  static Guarded inner, outer;
  const auto reset = [](int inner_answer, void (*body)()) {
    inner = {body, inner_answer, 0};
    outer = {[] { RunGuarded(inner); }, EXCEPTION_EXECUTE_HANDLER, 0};
  };
  const auto fault = [] { test::DivideByZero(1); };
  reset(EXCEPTION_EXECUTE_HANDLER, fault);
  EXPECT_TRUE(RunGuarded(outer));
  EXPECT_EQ(inner.asked * 10 + outer.asked, 10);

  reset(EXCEPTION_CONTINUE_SEARCH, fault);
  EXPECT_FALSE(RunGuarded(outer));
  EXPECT_EQ(inner.asked * 10 + outer.asked, 11);

  reset(EXCEPTION_CONTINUE_EXECUTION, [] { RaiseException(7, 0, 0, nullptr); });
  EXPECT_TRUE(RunGuarded(outer));
  EXPECT_EQ(inner.asked * 10 + outer.asked, 10);

  const AdExceptionConverter converter(RememberAndThrow);
  reset(EXCEPTION_CONTINUE_SEARCH, fault);
  outer.answer = EXCEPTION_CONTINUE_SEARCH;
  EXPECT_EQ(ThrownInt([] { RunGuarded(outer); }), 0x94);  // past both guards
  EXPECT_EQ(inner.asked * 10 + outer.asked, 11);

  reset(EXCEPTION_EXECUTE_HANDLER, [] {
    const AdExceptionConverter later(RememberAndThrow);
    test::DivideByZero(1);
  });
  EXPECT_EQ(ThrownInt([] { RunGuarded(outer); }), 0x94);  // before both
  EXPECT_EQ(inner.asked * 10 + outer.asked, 0);
  EXPECT_EQ(ThrownInt([] { test::DivideByZero(1); }), 0x94);  // still set
}

TEST_F(NativeExceptions, ReportsAndNestedConvertersLeaveTheTurnAsItWas) {
  static Guarded guarded;
  static CString stack;  // an abandoned body ends nothing
  const AdExceptionConverter outer(RememberAndThrow);
  guarded = {[] {
               AdLookupCallStack(stack);
               { const AdExceptionConverter nested; }
               test::DivideByZero(1);
             },
             EXCEPTION_EXECUTE_HANDLER, 0};
  EXPECT_EQ(ThrownInt([] { RunGuarded(guarded); }), -1);
  EXPECT_EQ(guarded.asked, 1);

  // One that ends later than the guarded call in which it was made.
  static std::unique_ptr<AdExceptionConverter> late;
  guarded.body = [] {
    _set_se_translator(RememberAndThrow);
    late = std::make_unique<AdExceptionConverter>(nullptr);
  };
  RunGuarded(guarded);
  late.reset();
  EXPECT_EQ(ThrownInt([] { test::DivideByZero(1); }), 0x94);
}

TEST_F(NativeExceptions, ACallStackBeginsHereAndHasNoHeader) {
  CString stack = "before";
  AdLookupCallStack(stack);
  const std::vector<std::string> lines = Lines(std::string(stack.View()));
  ASSERT_GT(lines.size(), 4u);
  EXPECT_EQ(lines[0] + "\n", kFrameHead);
  EXPECT_NE(lines[1].find("AdLookupCallStack"), std::string::npos) << lines[1];
  EXPECT_NE(lines[2].find("TestBody"), std::string::npos) << lines[2];
  ExpectForm(lines, 1, lines.size() - 1, kSymbolLine);
  EXPECT_EQ(lines.back(), "");
}

// The frames of a text, as "<address> <frame>".
std::vector<std::string> Places(const std::string& text) {
  std::vector<std::string> places;
  const std::regex form("([0-9A-F]+)  ([0-9A-F]+)  .*");
  std::smatch match;
  for (const std::string& line : Lines(text)) {
    if (std::regex_match(line, match, form)) places.push_back(match.str(1) + " " + match.str(2));
  }
  return places;
}

TEST_F(NativeExceptions, BothWalksSeeTheSameFrames) {
  struct Stacks {
    CString with, again, without;
  };
  static Stacks stacks;
  for (const int depth : {0, 1, 40, 300}) {
    SCOPED_TRACE(depth);
    test::CallFromDepth(
        depth,
        [](void*) {
          AdLookupCallStack(stacks.with);
          AdLookupCallStack(stacks.again);  // by what was learnt
          SetDebugHelpLibrary("no_such_library.so");
          AdLookupCallStack(stacks.without);
          SetDebugHelpLibrary(nullptr);
        },
        nullptr);
    ExpectTraces({"IMAGEHLP.DLL or its exported procs not found"});
    const std::string without(stacks.without.View());
    EXPECT_EQ(without.substr(0, kPlainHead.size()), kPlainHead);
    const std::vector<std::string> lines = Lines(without);
    ExpectForm(lines, 1, lines.size(), kPlainLine);
    std::vector<std::string> with = Places(std::string(stacks.with.View()));
    std::vector<std::string> again = Places(std::string(stacks.again.View()));
    std::vector<std::string> plain = Places(without);
    EXPECT_EQ(KnownFrames(std::string(stacks.with.View()), {"CallFromDepth"}).size(),
              static_cast<std::size_t>(depth) + 1);
    // The calls of AdLookupCallStack differ; what lies further out may have no frame pointers.
    const std::size_t shared = static_cast<std::size_t>(depth) + 1;
    ASSERT_GE(with.size(), shared + 2);
    ASSERT_GE(plain.size(), shared + 2);
    const auto cut = [&](std::vector<std::string>& places) {
      places = {places.begin() + 2, places.begin() + 2 + static_cast<std::ptrdiff_t>(shared)};
    };
    EXPECT_EQ(with.size(), again.size());
    cut(with);
    cut(again);
    cut(plain);
    EXPECT_EQ(with, again);
    EXPECT_EQ(with, plain);
  }
}

TEST_F(NativeExceptions, AReportNeverFaultsOutOfBadPointers) {
  CString stack = "before";
  AdLookupCallStack(stack, nullptr);
  EXPECT_EQ(stack, "");
  EXCEPTION_RECORD record{};
  record.ExceptionCode = EXCEPTION_GUARD_PAGE;
  CONTEXT context{};
  auto* const wild = reinterpret_cast<EXCEPTION_RECORD*>(0x10);
  const EXCEPTION_POINTERS bad[] = {{wild, &context},
                                    {&record, reinterpret_cast<CONTEXT*>(0x10)},
                                    {nullptr, &context},
                                    {&record, nullptr},
                                    {nullptr, nullptr}};
  for (EXCEPTION_POINTERS pointers : bad) {
    stack = "before";
    AdLookupCallStack(stack, &pointers);
    EXPECT_EQ(stack, "");
  }
  stack = "before";
  AdLookupCallStack(stack, reinterpret_cast<EXCEPTION_POINTERS*>(0x10));
  EXPECT_EQ(stack, "");
  const std::string header =
      "Exception code: 80000001 GUARD_PAGE\nFault address:  00000000 00:00000000 \n";
  char local[64] = {};
  const auto here = reinterpret_cast<ULONG_PTR>(local);
  for (const char* library : {static_cast<const char*>(nullptr), "no_such_library.so"}) {
    SetDebugHelpLibrary(library);
    for (const ULONG_PTR place : {ULONG_PTR{0}, ULONG_PTR{8}, ~ULONG_PTR{7}, ULONG_PTR{1} << 63,
                                  ULONG_PTR{4096}, here, here + 1}) {
      context = {place, place, place, nullptr};
      EXCEPTION_POINTERS pointers{&record, &context};
      AdLookupCallStack(stack, &pointers);
      EXPECT_EQ(stack.Left(static_cast<int>(header.size())), header.c_str()) << place;
      TakeTraces();
    }
  }
}

TEST_F(NativeExceptions, ALibraryThatIsMissingIsNotLookedForAgainUntilItIsSet) {
  const std::filesystem::path file = std::filesystem::path(testing::TempDir()) / "walks.so";
  std::filesystem::remove(file);
  SetDebugHelpLibrary(file.c_str());
  EXPECT_FALSE(LoadDebugHelp());
  void* const library = dlopen("libunwind.so.8", RTLD_NOW);
  ASSERT_NE(library, nullptr);
  link_map* map = nullptr;
  ASSERT_EQ(dlinfo(library, RTLD_DI_LINKMAP, &map), 0);
  std::filesystem::create_symlink(map->l_name, file);
  EXPECT_FALSE(LoadDebugHelp());
  SetDebugHelpLibrary(file.c_str());
  EXPECT_TRUE(LoadDebugHelp());
  std::filesystem::remove(file);
  dlclose(library);
}

TEST_F(NativeExceptions, MessagesMayBeMissing) {
  AFX_MODULE_STATE without_resources;
  AfxSetModuleState(&without_resources);
  const std::string report = ReportOfFault(test::WriteToNull);
  AfxSetModuleState(nullptr);
  EXPECT_EQ(report.substr(0, kHead.size()), kHead);
}

TEST_F(NativeExceptions, ThreadsThatFaultTogetherGetTheirOwnReports) {
  constexpr int kTimes = 200;
  std::barrier start(3);
  const auto fault_often = [&](const FaultRow& row) {
    const AdExceptionConverter converter;
    for (int time = 0; time < kTimes; ++time) {
      start.arrive_and_wait();
      const AdExceptionConverter again;
      const std::string report = ReportOf([&] { row.fault(1); });
      const std::vector<std::string> lines = Lines(report);
      ASSERT_GT(lines.size(), 5u);
      EXPECT_EQ(lines[1], std::string("Exception code: ") + row.code);
      EXPECT_NE(lines[4].find(row.function), std::string::npos) << lines[4];
    }
  };
  std::thread first(fault_often, kFaults[0]);
  std::thread second(fault_often, kFaults[1]);
  std::thread busy([&] {  // with the allocator, while the others fault
    std::vector<std::string> texts;
    for (int time = 0; time < kTimes; ++time) {
      start.arrive_and_wait();
      for (int i = 0; i < 200; ++i) texts.emplace_back(static_cast<std::size_t>(i * 37), 'x');
      texts.clear();
    }
  });
  first.join();
  second.join();
  busy.join();
}

TEST_F(NativeExceptions, AThreadSurvivesItsOverflowsAndEnds) {
  std::thread([] {
    for (int time = 0; time < 5; ++time) {
      EXPECT_NE(ReportOfFault(test::OverflowStack).find("STACK_OVERFLOW"), std::string::npos);
    }
  }).join();
}

std::string OutputLine(const std::string& command) {
  std::string output = test::OutputOf("LC_ALL=C", command);
  while (!output.empty() && output.back() == '\n') output.pop_back();
  return output;
}

// The address in the module's file that a section and an offset of it mean.
unsigned long FileAddress(const std::string& module, unsigned section, unsigned long offset) {
  const std::string loads =
      test::OutputOf("LC_ALL=C PATH=/usr/bin:/bin", "readelf -lW " + module + " | grep '  LOAD '");
  const std::vector<std::string> lines = Lines(loads);
  if (section == 0 || section > lines.size()) return 0;
  unsigned long file_offset = 0, address = 0;
  EXPECT_EQ(std::sscanf(lines[section - 1].c_str(), " LOAD %lx %lx", &file_offset, &address), 2);
  return address + offset;
}

TEST_F(NativeExceptions, ALogicalAddressLeadsToTheSourceLine) {
  SetDebugHelpLibrary("no_such_library.so");
  const std::string report = ReportOfFault(test::DivideByZero);
  ExpectTraces({"IMAGEHLP.DLL or its exported procs not found"});
  const std::vector<std::string> lines = Lines(report);
  ASSERT_EQ(lines[3] + "\n", kPlainHead);
  std::smatch match;
  const std::regex form("[0-9A-F]+  [0-9A-F]+  ([0-9A-F]{4}):([0-9A-F]+) (.*)");
  ASSERT_TRUE(std::regex_match(lines[4], match, form)) << lines[4];
  char address[32];
  const auto section = static_cast<unsigned>(std::stoul(match.str(1), nullptr, 16));
  std::snprintf(address, sizeof address, "%lx",
                FileAddress(match.str(3), section, std::stoul(match.str(2), nullptr, 16)));
  const std::string place = OutputLine("/usr/bin/addr2line -se " + match.str(3) + " " + address);
  EXPECT_EQ(place, "faulting_code.cpp:" + std::to_string(test::kDivisionLine));
}

}  // namespace
