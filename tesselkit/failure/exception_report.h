// The lines of a report about a native exception or a call stack.
#pragma once

#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/native_exception.h"

namespace tesselkit::failure {

// Pieces of a text in their order, each with its own line feed where a line ends.
class AdExceptionReport : public CStringArray {
 public:
  // Nothing between the pieces.
  CString Text() const;
};

// The name of an exception code, without its prefix. Empty for a code without a name.
const char* ExceptionCodeName(DWORD code);

// Writes the lines about the exception, unless `record` is null, and the frames. May fault where
// the record's and the context's pointers are wrong.
void WriteReport(AdExceptionReport& report, const EXCEPTION_RECORD* record, const CONTEXT& context);

}  // namespace tesselkit::failure
