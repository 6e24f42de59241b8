// What happens when memory runs out: each operation is run with its first request for memory
// refused, then its second, and so on, until it passes. It must succeed, or end with
// CMemoryException* and its object as it was.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "tesselkit/tesselkit.h"
#include "tests/support/files.h"
#include "tests/support/thrown.h"

namespace {

constinit thread_local int requests_left = 0;  // the one that makes it 0 is refused
constinit thread_local bool was_refused = false;
constinit thread_local bool are_all_refused_then = false;

void* Request(std::size_t size) noexcept {
  if (was_refused && are_all_refused_then) return nullptr;
  if (requests_left == 0 || --requests_left > 0) return std::malloc(size > 0 ? size : 1);
  was_refused = true;
  return nullptr;
}

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Request(size);
}
void* operator new(std::size_t size) {
  void* memory = Request(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
// Not inlined: the compiler would take free for the wrong counterpart of new.
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t&) noexcept {
  std::free(memory);
}

// The library's copies of names come through here as well.
extern "C" char* strdup(const char* text) noexcept {
  void* memory = Request(std::strlen(text) + 1);
  return memory != nullptr ? std::strcpy(static_cast<char*>(memory), text) : nullptr;
}

namespace {

constexpr char kLong[] = "a text that is too long to be kept inside its object";

using Texts = std::vector<CString>;

Texts Shown(const CString& text) {
  return {text};
}
Texts Shown(const CStringArray& array) {
  return Texts(array.GetData(), array.GetData() + array.GetSize());
}
Texts Shown(const CMapStringToString& map) {
  Texts texts;
  for (POSITION place = map.GetStartPosition(); place != nullptr;) {
    CString key, value;
    map.GetNextAssoc(place, key, value);
    texts.insert(texts.end(), {key, value});
  }
  return texts;
}
Texts Shown(const PaMessage& message) {
  return {message.GetFullMsg(), message.GetSource(), AdStr(message.GetID())};
}

// Whether `change` ended with the memory exception, its request `number` refused.
template <class Change>
bool EndsWithoutMemory(int number, Change change) {
  was_refused = false;
  requests_left = number;
  bool has_thrown = false;
  try {
    change();
  } catch (CMemoryException* exception) {
    has_thrown = true;
    exception->Delete();
  } catch (PaMsgException* exception) {
    exception->Delete();
  }
  requests_left = 0;
  return has_thrown;
}

// Runs each change on fresh subjects that `fill` has prepared.
template <class Subject, class Fill>
void RefuseEach(Fill fill, std::initializer_list<void (*)(Subject&)> changes) {
  int row = 0;
  for (const auto change : changes) {
    SCOPED_TRACE("change " + std::to_string(++row));
    int number = 0;
    do {
      Subject subject;
      fill(subject);
      const Texts before = Shown(subject);
      if (EndsWithoutMemory(++number, [&] { change(subject); })) {
        EXPECT_EQ(Shown(subject), before) << "request " << number;
      }
    } while (was_refused && number < 200);
    EXPECT_TRUE(number > 1 && number < 200) << number;
  }
}

TEST(MemoryFaults, StringsStayAsTheyWere) {
  RefuseEach<CString>([](CString& s) { s = kLong; },
                      {
                          [](CString& s) { s += kLong; },
                          [](CString& s) { s = CString('x', 500); },
                          [](CString& s) { s = s + s + "x" + 'y' + kLong; },
                          [](CString& s) { s = s.Mid(3).Left(40).Right(35); },
                          [](CString& s) { s = s.SpanExcluding("z") + s.SpanIncluding("a "); },
                          [](CString& s) { s.Replace("a", kLong); },
                          [](CString& s) { s.Insert(5, kLong); },
                          [](CString& s) { s.MakeReverse(); },
                          [](CString& s) { s.Format("%300d %s", 1, s.View().data()); },
                          [](CString& s) { s.GetBuffer(1000); },
                          [](CString& s) { s.LoadString(18050); },
                      });
}

TEST(MemoryFaults, ArraysStayAsTheyWere) {
  // What the array can hold without asking: with room, operations fail later on their way.
  for (const int room : {1, 40}) {
    const auto fill = [room](CStringArray& a) {
      a.SetSize(0, room);
      for (int i = 0; i < 4; ++i) a.Add(CString('a', 30 + i));
    };
    RefuseEach<CStringArray>(fill, {
                                       [](CStringArray& a) { a.Add(kLong); },
                                       [](CStringArray& a) { a.SetAtGrow(9, kLong); },
                                       [](CStringArray& a) { a.SetSize(50, 3); },
                                       [](CStringArray& a) { a.InsertAt(1, kLong, 3); },
                                       [](CStringArray& a) { a.InsertAt(9, kLong, 3); },
                                       [](CStringArray& a) { a.InsertAt(2, &a); },
                                       [](CStringArray& a) { a.Append(a); },
                                       [](CStringArray& a) {
                                         CStringArray other;
                                         other.InsertAt(0, kLong, 4);
                                         a.Copy(other);
                                       },
                                   });
  }
}

TEST(MemoryFaults, MapsStayAsTheyWere) {
  using Map = CMapStringToString;
  const auto fill = [](Map& m) {
    while (m.GetCount() < 13) m[CString('k', 20 + m.GetCount())] = kLong;
  };
  RefuseEach<Map>(fill, {
                            [](Map& m) { m.SetAt(kLong, kLong); },
                            [](Map& m) { m.InitHashTable(1000); },
                            // Enough new keys to need more bins, all or none of them.
                            [](Map& m) {
                              Map other;
                              for (int i = 0; i < 20; ++i) other[CString('x', i)] = kLong;
                              m[kLong];
                            },
                        });
}

TEST(MemoryFaults, MessagesStayAsTheyWere) {
  const auto fill = [](PaMessage& m) {
    m.SetID(18056).SetParam("reg", kLong).SetSource("module", kLong, 7);
  };
  RefuseEach<PaMessage>(fill, {
                                  [](PaMessage& m) { m.SetID(18050); },
                                  [](PaMessage& m) { m.SetMsg(CString('x', 400)); },
                                  [](PaMessage& m) { m.SetParam("name", kLong); },
                                  [](PaMessage& m) { m.SetParam("reg", CString('x', 400)); },
                                  [](PaMessage& m) { m.SetSource("another module", kLong, 8); },
                                  [](PaMessage& m) { PaMessage(m).GetFullMsg(); },
                              });
}

TEST(MemoryFaults, FailuresBecomeTheMemoryException) {
  tesselkit::platform::SetDebugOutputSink([](const char*) {});
  static PaMessage operation(18048);
  static AFX_EXTENSION_MODULE record = {};
  AfxInitExtensionModule(record, GetModuleHandleA(nullptr));
  struct Nothing : CString {};
  RefuseEach<Nothing>(
      [](Nothing&) {},
      {
          [](Nothing&) { AdGetStringResource(1); },
          [](Nothing&) { AdGetStringResource("tesselkit", 18050); },
          [](Nothing&) { AdThrowMsgExcept(operation, kLong, "file", 1); },
          [](Nothing&) { AdThrowOperationShouldAffectOneRow(operation, 3, "file", 1); },
          [](Nothing&) { AdThrowMisusedRelation("", "file", 1, "", "", 0); },
          [](Nothing&) { AdThrowMisusedRelation("a", "file", 1, kLong, kLong, 1); },
          [](Nothing&) { AdSendFixmeMsg("file", 1, kLong); },
          [](Nothing&) { AdStrToLong("12a"); },
          [](Nothing&) {
            long value = 0;
            CString problem;
            for (const char* bad : {"", "12a", "2147483648", "-"}) AdStrToLong(bad, value, problem);
          },
          [](Nothing&) { tesselkit::platform::SetDebugOutputSink([](const char*) {}); },
          [](Nothing&) { new CDynLinkLibrary(record); },
          [](Nothing&) {
            setenv("TEMP", kLong, 1);
            AdEnvironment::Temp_Directory();
          },
      });
  AfxTermExtensionModule(record);
  tesselkit::platform::SetDebugOutputSink({});
}

TEST(MemoryFaults, TheHandlesOfAFixedUpStateStayCopied) {
  AFX_MODULE_STATE host;
  AFX_MODULE_STATE state;
  AFX_MANAGE_STATE(&host);
  TesselkitStateInit(&host);
  host.m_hCurrentResourceHandle = GetModuleHandleA(nullptr);
  host.m_lpszCurrentAppName = "sales";
  EXPECT_TRUE(EndsWithoutMemory(1, [&] { TesselkitStateFixup(&state); }));
  EXPECT_EQ(state.m_hCurrentResourceHandle, host.m_hCurrentResourceHandle);
  EXPECT_EQ(state.m_lpszCurrentAppName, nullptr);
  TesselkitStateInit(nullptr);
}

int exceptions_alive = 0;

class CountedException : public PaMsgException {
 public:
  CountedException() { ++exceptions_alive; }
  ~CountedException() override { --exceptions_alive; }
};

CException* MakeFailure() {
  auto* const exception = new CountedException;
  exception->m_msgList.Add(PaMessage(18045));
  return exception;
}

// Ends what a conversion throws when it succeeds.
void Swallow(void (*convert)(CException*), CException* exception) {
  try {
    convert(exception);
  } catch (COleDispatchException* converted) {
    converted->Delete();
  } catch (AdOMException* converted) {
    std::free(converted->m_description);
    std::free(converted->m_source);
    delete converted;
  }
}

TEST(MemoryFaults, ConversionsEndWhatTheyWereGiven) {
  for (const auto convert : {+[](CException* e) { AdRethrowAsOleDispatchException(e); },
                             +[](CException* e) { AdRethrowAsOMException(e, nullptr); },
                             +[](CException* e) { AdSetExceptionAsErrorInfo(e); }}) {
    int number = 0;
    do {
      CException* const exception = MakeFailure();
      EndsWithoutMemory(++number, [&] { Swallow(convert, exception); });
      EXPECT_EQ(exceptions_alive, 0) << number;
    } while (was_refused && number < 200);
    EXPECT_TRUE(number > 1 && number < 200) << number;
  }
  SetErrorInfo(0, nullptr);
}

TEST(MemoryFaults, RoomForLinesToComeIsNotInsistedOn) {
  const test::TempDirectory directory;
  const std::string path = directory / "lines";
  std::string content;
  for (int i = 0; i < 600; ++i) content += "a line of some length\r\n";
  test::WriteBytes(path, content);
  CStringArray lines;
  int survived = 0;
  for (int number = 1; number == 1 || was_refused; ++number) {
    const bool failed = EndsWithoutMemory(number, [&] { AdGetTextFile(path.c_str(), lines); });
    if (was_refused && !failed) ++survived;
    EXPECT_TRUE(failed || lines.GetSize() == 600) << number;
  }
  EXPECT_EQ(survived, 1);
}

// Objects that the program keeps, of which its factory hands out the next one.
class Kept : public AdObject {
 public:
  ~Kept() override { ++deleted; }
  CRuntimeClass* GetRuntimeClass() const override {
    static CRuntimeClass kept = {"K", sizeof(Kept), 0xFFFF, nullptr, &classAdObject, nullptr};
    return &kept;
  }
  void Serialize(AdArchive&) override {}

  inline static int deleted = 0;
};

TEST(MemoryFaults, WhatAFactoryHandsOutIsTheCallers) {
  static Kept all[40];
  static int handed_out = 0;
  AdArchive::Register_Class("K", [] { return static_cast<AdObject*>(&all[handed_out++]); });
  CMemFile file;
  {
    AdArchive storing(&file, CArchive::store);
    for (Kept& kept : all) storing << &kept;
  }
  const auto load = [&] {
    file.SeekToBegin();
    handed_out = 0;
    AdArchive archive(&file, CArchive::load);
    while (handed_out < 40) archive.LoadPointer();
  };
  int number = 0;
  do EndsWithoutMemory(++number, load);
  while (was_refused);
  EXPECT_EQ(handed_out, 40);
  EXPECT_GT(number, 4);  // the archive's own and each growth of its table
  EXPECT_EQ(Kept::deleted, 0);
}

TEST(MemoryFaults, AReportThatCannotBeMadeIsEmpty) {
  CString whole;
  AdLookupCallStack(whole);
  int number = 0;
  do {
    CString stack;
    EXPECT_FALSE(EndsWithoutMemory(++number, [&] { AdLookupCallStack(stack); }));
    if (was_refused) {
      EXPECT_EQ(stack, "") << number;
    }
  } while (was_refused && number < 500);
  EXPECT_TRUE(number > 1 && number < 500) << number;
}

// The text of the dispatch exception that a native one becomes, null for none.
const char* ConvertedText(CString& text) {
  const AdExceptionConverter converter;
  try {
    RaiseException(7);
  } catch (COleDispatchException* exception) {
    requests_left = 0;
    are_all_refused_then = false;
    const bool is_known = exception->m_wCode == 18004;
    text = exception->m_strDescription;
    exception->Delete();
    return is_known ? text.View().data() : nullptr;
  }
  return nullptr;
}

// 0 for no text, 1 for the head alone, 2 with the report; 3 for anything else.
unsigned PartsOf(const CString& text) {
  const CString head = "A Windows native exception occurred.  Exception ID and stack trace:\n";
  if (text == "" || text == head) return text == "" ? 0 : 1;
  const bool is_whole = text.Find(head + "Exception code: 00000007 \n") == 0 &&
                        text.Find("\nAddress   Frame\n") > 0 && text.Right(2) == "\n\n";
  return is_whole ? 2 : 3;
}

TEST(MemoryFaults, ANativeExceptionIsConvertedAllTheSame) {
  CString text;
  ASSERT_NE(ConvertedText(text), nullptr);
  for (const bool are_all : {false, true}) {
    int number = 0;
    unsigned parts = 0;
    bool had[4] = {};
    do {
      text.Empty();
      const char* converted = nullptr;
      are_all_refused_then = are_all;
      EXPECT_FALSE(EndsWithoutMemory(++number, [&] { converted = ConvertedText(text); }));
      ASSERT_NE(converted, nullptr) << number;
      parts = PartsOf(text);
      ASSERT_LT(parts, 3u) << text;
      had[parts] = true;
    } while (parts < 2 && number < 500);
    EXPECT_TRUE(had[0] && had[1] && had[2]) << number;
  }
}

TEST(MemoryFaults, AWatchWithoutAThreadIsStopped) {
  tesselkit::platform::SetDebugOutputSink([](const char*) {});
  int number = 0;
  do {
    AdTimerWatch watch(36'000'000, 0);
    EXPECT_FALSE(EndsWithoutMemory(++number, [&] { watch.StartWatch(); }));
    EXPECT_EQ(watch.IsTimerRunning(), was_refused ? 0 : 1) << number;
  } while (was_refused && number < 200);
  EXPECT_TRUE(number > 1 && number < 200) << number;
  tesselkit::platform::SetDebugOutputSink({});
}

}  // namespace
