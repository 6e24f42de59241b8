#include "tesselkit/failure/native_exceptions.h"

#include "tesselkit/failure/adresource.h"
#include "tesselkit/failure/exception_report.h"
#include "tesselkit/resources/message_ids.h"

using namespace tesselkit;

namespace {

// What a report is made of. The pieces outlive a build that is abandoned.
struct ReportBuild {
  const EXCEPTION_RECORD* record;
  const CONTEXT* context;
  failure::AdExceptionReport report;
};

void BuildReport(void* build) {
  auto& of = *static_cast<ReportBuild*>(build);
  failure::WriteReport(of.report, of.record, *of.context);
}

int AbandonBuild(EXCEPTION_POINTERS*, void*) {
  return EXCEPTION_EXECUTE_HANDLER;
}

// `record` is null for a report without the lines about an exception.
void LookupCallStack(CString& stack, const EXCEPTION_RECORD* record,
                     const CONTEXT& context) noexcept {
  try {
    const AdExceptionConverter no_translation(nullptr);
    ReportBuild build{record, &context, {}};
    if (platform::CallGuarded(BuildReport, AbandonBuild, &build)) stack = build.report.Text();
  } catch (CException* exception) {
    exception->Delete();
  } catch (...) {
  }
}

[[noreturn]] void ThrowReport(EXCEPTION_POINTERS* pointers) {
  CString text;
  if (!AdLookupStringResource(message_id::kNativeExceptionReport, text)) {
    text = "A Windows native exception occurred.  Exception ID and stack trace:\n";
  }
  CString stack;
  AdLookupCallStack(stack, pointers);
  text += stack;
  AfxThrowOleDispatchException(message_id::kNativeException, text, 0);
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
  LookupCallStack(stack, pointers->ExceptionRecord, *pointers->ContextRecord);
}
