// Native exceptions (faults of the processor among them) as dispatch exceptions, and reports of the
// call stack.
//
//   const AdExceptionConverter converter;
//   try {
//     quotient = dividend / divisor;
//   } catch (COleDispatchException* exception) {  // code 18004; the text has the report
//     exception->Delete();
//   }
//
// Code that may fault so is compiled with the options of the target Tesselkit::native_exceptions.
// Translators belong to the thread that sets them; reports may be made on several threads at once.
#pragma once

#include "tesselkit/platform/automation.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"
#include "tesselkit/platform/native_exception.h"

// Sets the calling thread's translator for its own life; converters end in the reverse of the order
// in which they were made. A copy ends by setting what the original found.
class TESSELKIT_API AdExceptionConverter {
 public:
  // The library's own translator. It takes itself away and throws a COleDispatchException* with
  // code 18004: message 18007 and the report. The thread's next native exception is translated only
  // after this converter has ended or another was made.
  AdExceptionConverter() noexcept;

  // Null translates nothing.
  explicit AdExceptionConverter(_se_translator_function translator) noexcept;

  ~AdExceptionConverter();
  AdExceptionConverter(const AdExceptionConverter&) = default;
  AdExceptionConverter& operator=(const AdExceptionConverter&) = default;

 private:
  tesselkit::platform::TranslatorSetting m_before;
};

// Sets `stack` to the report of the calling thread's stack: a head line, then one line for each
// frame, the innermost first, which is this function's own. Never throws; `stack` is empty when no
// report could be made.
TESSELKIT_API void AdLookupCallStack(CString& stack) noexcept;

// The same for the exception that `pointers` describe, below two lines with its code and address.
// To be called while that exception is being offered, on its thread.
TESSELKIT_API void AdLookupCallStack(CString& stack, EXCEPTION_POINTERS* pointers) noexcept;
