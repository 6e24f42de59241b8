// Handing a caught exception on to callers that cannot catch it: automation callers, who receive a
// dispatch exception or the thread's error object, and those that receive an AdOMException.
//
// What takes a CException* or a PaMsgException* owns it from the call on and ends it with Delete()
// on every way out, also when something else is thrown in the end: message 18018 (PaMsgException*)
// when a text of the library's own is missing, CMemoryException* when there is no memory.
// The functions may be called from any thread.
//
//   } catch (CException* exception) {
//     AdRethrowAsOleDispatchException(exception);
//   }
#pragma once

#include "tesselkit/failure/message_exception.h"
#include "tesselkit/platform/automation.h"
#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

// Thrown by pointer. Its catcher frees the two texts with free() and deletes it.
class TESSELKIT_API AdOMException {
 public:
  // Copies both texts; null stays null. Throws CMemoryException*.
  AdOMException(const char* description, const char* source);

  char* m_description;
  char* m_source;
};

// Throws a COleDispatchException* with the full text of the first message and its id, cut to 16
// bits, or 18003 when that is 0. A null `e` and an empty list give message 18002.
[[noreturn]] TESSELKIT_API void AdRethrowPaExceptAsOleDispatchException(PaMsgException* e);

// The same for a PaMsgException. A dispatch exception is thrown on as it is: the one that is being
// handled. Any other, and null, gives code 18005, with message 18006 about what the exception says
// of itself, or message 18005.
[[noreturn]] TESSELKIT_API void AdRethrowAsOleDispatchException(CException* e);

// Throw an AdOMException* with the text that the two above have, and `source`. A null `e` gives the
// text of message 18002 and of 18005.
[[noreturn]] TESSELKIT_API void AdRethrowPaExceptAsOMException(PaMsgException* e, char* source);
[[noreturn]] TESSELKIT_API void AdRethrowAsOMException(CException* e, char* source);

// Makes `e` the calling thread's error object: the description, help context, help file and source
// of a dispatch exception, the text alone of others. Null gives message 18003. When no object can
// be made, the thread's stays as it is.
TESSELKIT_API void AdSetExceptionAsErrorInfo(CException* e);

// Makes the error object of `error` the calling thread's; without one, clears it.
TESSELKIT_API void AdSetComErrorAsErrorInfo(_com_error& error);

// The full text of the first message of `e`, which is ended and set to null. A null `e` and an
// empty list give message 18002.
TESSELKIT_API CString AdExtractFirstMsgAndDeleteException(PaMsgException*& e);

// Replaces what `out` holds by the full texts of the messages, in their order.
TESSELKIT_API void AdMsgListToCStringArray(const ExcpMsg& list, CStringArray& out);
