// Throwing messages: every message that the library throws goes through AdThrowMsgExcept.
//
// What is thrown is a PaMsgException* whose list holds exactly one message; the catcher ends it
// with Delete(). A null text counts as the empty one. `file` is a source's name without its
// ending, `line` the line there. The functions may be called from any thread. When memory runs
// out, CMemoryException* is thrown instead.
#pragma once

#include "tesselkit/failure/message.h"
#include "tesselkit/platform/export.h"

// Completes `msg` and throws it: source (core name, `file`, `line`), type 3, destination 1, the
// parameters "failed_expr" and "failure_location"; its full text goes to the debugger output
// first. Id and other parameters are the caller's.
[[noreturn]] TESSELKIT_API void AdThrowMsgExcept(PaMessage& msg, const char* failed_expr,
                                                 const char* file, int line);

// Notes something in the code that is to be mended: message 18025 goes to the debugger output and
// is delivered. Returns.
TESSELKIT_API void AdSendFixmeMsg(const char* file, int line, const char* what);

// Throws message 18049 when `actual_rows` is 0, else 18050, about a database change that
// `operation` describes. `operation` is given its source and the parameter "failure_location".
[[noreturn]] TESSELKIT_API void AdThrowOperationShouldAffectOneRow(PaMessage& operation,
                                                                   long actual_rows,
                                                                   const char* file, int line);

// Throws the test message 18033 with these texts.
[[noreturn]] TESSELKIT_API void AdThrowTestingException(const char* from_ole,
                                                        const char* from_dbaccess,
                                                        const char* from_metadata,
                                                        const char* from_query,
                                                        const char* from_userdata);

// Throws message 18026, 18027 or 18028 about a relation that was used against its state, by
// `how_misused`, a value of AdMisuseType_t. An empty `thrower`, an empty `misused_relation` and
// another `how_misused` are condition failures, tested in this order.
[[noreturn]] TESSELKIT_API void AdThrowMisusedRelation(const char* thrower, const char* file,
                                                       int line, const char* modifier,
                                                       const char* misused_relation,
                                                       long how_misused);
