#include "tesselkit/failure/native_exceptions.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <iterator>
#include <new>
#include <utility>

#include "tesselkit/failure/adresource.h"
#include "tesselkit/failure/exception_report.h"
#include "tesselkit/platform/exceptions.h"
#include "tesselkit/resources/message_ids.h"

using namespace tesselkit;

namespace {

// What a report is made of. The pieces outlive a build that is abandoned.
struct ReportBuild {
  CString& stack;
  const EXCEPTION_POINTERS* pointers;  // null for a report of the thread itself
  CONTEXT here;
  failure::AdExceptionReport report;
};

void BuildReport(void* build) {
  auto& of = *static_cast<ReportBuild*>(build);
  if (of.pointers != nullptr) {
    failure::WriteReport(of.report, *of.pointers);
  } else {
    failure::WriteFrames(of.report, of.here);
  }
  of.stack = of.report.Text();
}

int AbandonBuild(EXCEPTION_POINTERS*, void*) {
  return EXCEPTION_EXECUTE_HANDLER;
}

void LookupCallStack(CString& stack, const EXCEPTION_POINTERS* pointers,
                     const CONTEXT& here) noexcept {
  try {
    const AdExceptionConverter no_translation(nullptr);
    ReportBuild build{stack, pointers, here, {}};
    platform::CallGuarded(BuildReport, AbandonBuild, &build);
  } catch (CException* exception) {
    exception->Delete();
  } catch (...) {
  }
}

// As much of the text as there is memory for.
CString TextOf(EXCEPTION_POINTERS* pointers) {
  CString text;
  try {
    if (!AdLookupStringResource(message_id::kNativeExceptionReport, text)) {
      text = "A Windows native exception occurred.  Exception ID and stack trace:\n";
    }
    CString stack;
    AdLookupCallStack(stack, pointers);
    text += stack;
  } catch (CMemoryException* exception) {
    exception->Delete();
  }
  return text;
}

// When there is no memory, it is made in one of a few places that are kept for that.
class ReportException : public COleDispatchException {
 public:
  using COleDispatchException::COleDispatchException;

  static void* operator new(std::size_t size) noexcept {
    void* const memory = ::operator new(size, std::nothrow);
    return memory != nullptr ? memory : TakePlace();
  }

  static void operator delete(void* memory) noexcept {
    Place* const place = std::find_if(std::begin(places), std::end(places),
                                      [=](const Place& each) { return each.memory == memory; });
    if (place == std::end(places)) return ::operator delete(memory);
    place->is_taken.store(false);
  }

 private:
  struct Place {
    alignas(COleDispatchException) char memory[sizeof(COleDispatchException)];
    std::atomic<bool> is_taken;
  };
  static Place places[8];

  static void* TakePlace() noexcept {
    Place* const place = std::find_if(std::begin(places), std::end(places),
                                      [](Place& each) { return !each.is_taken.exchange(true); });
    return place != std::end(places) ? place->memory : nullptr;
  }
};

constinit ReportException::Place ReportException::places[8] = {};
static_assert(sizeof(ReportException) == sizeof(COleDispatchException));

[[noreturn]] void ThrowReport(EXCEPTION_POINTERS* pointers) {
  CString text = TextOf(pointers);
  COleDispatchException* const made = new ReportException("", 0, message_id::kNativeException);
  if (made == nullptr) AfxThrowMemoryException();
  made->m_strDescription = std::move(text);
  throw made;
}

void TranslateNativeException(unsigned int, EXCEPTION_POINTERS* pointers) {
  _set_se_translator(nullptr);
  ThrowReport(pointers);
}

}  // namespace

AdExceptionConverter::AdExceptionConverter() noexcept
    : AdExceptionConverter(TranslateNativeException) {}

AdExceptionConverter::AdExceptionConverter(_se_translator_function translator) noexcept
    : m_before(platform::SetTranslator(translator)) {}

AdExceptionConverter::~AdExceptionConverter() {
  platform::RestoreTranslator(m_before);
}

void AdLookupCallStack(CString& stack) noexcept {
  stack.Empty();
  LookupCallStack(stack, nullptr, platform::CurrentContext());
}

void AdLookupCallStack(CString& stack, EXCEPTION_POINTERS* pointers) noexcept {
  stack.Empty();
  if (pointers == nullptr) return;
  LookupCallStack(stack, pointers, {});
}
