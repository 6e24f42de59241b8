// The lines of a report about a native exception or a call stack.
#pragma once

#include <array>

#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/native_exception.h"

namespace tesselkit::failure {

// Pieces of a text in their order, each with its own line feed where a line ends.
class AdExceptionReport : public CStringArray {
 public:
  // Nothing between the pieces.
  CString Text() const;
};

// Room for the system's text of an exception code.
using ExceptionNameBuffer = std::array<char, 512>;

// The name of an exception code, without its prefix. For a code that has none, the system's text,
// which is put into `buffer`; where the system has no text either, the last one that the process
// has been given, empty before the first. Takes no lock and no memory.
const char* ExceptionCodeName(DWORD code, ExceptionNameBuffer& buffer);

// Writes the lines about the exception and the frames; nothing when either is missing. May fault
// where pointers are wrong.
void WriteReport(AdExceptionReport& report, const EXCEPTION_POINTERS& pointers);

// Writes the frames of the calling thread from `context` on.
void WriteFrames(AdExceptionReport& report, const CONTEXT& context);

}  // namespace tesselkit::failure
