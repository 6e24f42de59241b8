// String resources, the library's core name, and the ids of the generic messages.
//
// The functions may be called from any thread. Look-ups answer whether there is a string and never
// throw for a missing one; the get functions throw message 18018 (PaMsgException*).
#pragma once

#include "tesselkit/failure/message.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

// String `ID` as the process's resource chain gives it: the current module state's resource module
// first, then the extension libraries. Nonzero when there is one that is not empty; `result` is
// empty otherwise.
TESSELKIT_API int AdLookupStringResource(int ID, CString& result);

// String `ID` of the loaded module `module_name` (see GetModuleHandleA; null is the program), cut
// to 1023 bytes' whole characters. Nothing is loaded. 0 with `result` untouched when the module is
// not loaded, 0 with `result` empty when it has no such string.
TESSELKIT_API int AdLookupStringResource(const char* module_name, int ID, CString& result);

// The same as results. Throw message 18018 where the look-up answers 0.
TESSELKIT_API CString AdGetStringResource(int ID);
TESSELKIT_API CString AdGetStringResource(const char* module_name, int ID);
TESSELKIT_API CString AdFetchStringResource(int ID);

// The name under which the library raises its messages: message 18017. Empty, and looked for again
// by the next call, as long as that cannot be found. Always the same object; never throws.
TESSELKIT_API const CString& AdGetCoreName();

// Sets the source of `msg` to (core name, `file`, `line`), its type and its destination. All else
// stays.
TESSELKIT_API void AdFillCoreMessageInfo(PaMessage& msg, const char* const file, int line,
                                         PaMsgType type, PaMsgDest dest);

// The ids of the generic messages, for other modules.
TESSELKIT_API int AdGetBadValue0MsgID();
TESSELKIT_API int AdGetBadValue1MsgID();
TESSELKIT_API int AdGetBadValue2MsgID();
TESSELKIT_API int AdGetBadValue3MsgID();
TESSELKIT_API int AdGetBadValue4MsgID();
TESSELKIT_API int AdGetUnimplementedMsgID();
TESSELKIT_API int AdGetTypeOfNullMsgID();
TESSELKIT_API int AdGetWrongTypeMsgID();
TESSELKIT_API int AdGetHitUnreachedMsgID();
TESSELKIT_API int AdGetBadIndexMsgID();
TESSELKIT_API int AdGetMgrCreateFailedMsgID();
TESSELKIT_API int AdGetInvalidNameMsgID();
TESSELKIT_API int AdGetGenericWrongRowCountContextMsgID();
TESSELKIT_API int AdGetInvalidStringLengthMsgID();
TESSELKIT_API int AdGetInvalidStringStorageMsgID();
TESSELKIT_API int AdGetInvalidEmptyStringMsgID();
