// NAME=VALUE lines: writing a map as one line, reading it back, and splitting a single pair.
//
// A line is entries "NAME=VALUE" with ";" between them. A name is ASCII letters, digits and "_";
// a value is every byte up to the next ";" or the end, blanks and "=" included. There is no
// quoting. The reader also takes blanks (0x20 and 0x09 to 0x0D) before "=" and in front of names,
// and any number of ";" between entries. It goes by bytes, not by characters.
// The functions may be called from any thread; the map is the caller's, who lets nobody else use
// it meanwhile. When memory runs out, CMemoryException* is thrown.
#pragma once

#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/exceptions.h"
#include "tesselkit/platform/export.h"

// Writes the entries of `map` to `result`, as they are, without any check. With `sorted` nonzero
// they come in the order of their whole texts without regard to case (A1=, A=, AB=), otherwise in
// the map's own. An empty map gives "".
TESSELKIT_API void AdMakeNameValueString(const CMapStringToString& map, CString& result,
                                         int sorted);

// Reads `text` into `map`, which is emptied first; `text` must not lie inside it. Names are stored
// in upper case. With `allow_duplicates` nonzero the last value of a name counts, otherwise a
// second one is an error. Null counts as "". Returns 1, and 0 at the first error.
// On an error `map` keeps the entries read before it, and `*error`, unless `error` is null, is a
// new PaMsgException* with one message, which the caller ends with Delete(): 18059 for what cannot
// be a name, 18060 for a name that is there already, 18061 where "=" is missing. Its "str" is the
// name for 18060; otherwise at most 40 bytes of the line: those in front of the place, or for what
// cannot begin a name those from there on. On success `*error` is null. Never throws for bad text.
TESSELKIT_API int AdParseNameValueString(const char* text, CMapStringToString& map,
                                         CException** error, int allow_duplicates);

// Splits one pair under a looser rule: the name is the first word between spaces, tabs and "=",
// in its own case; after it, and blanks, "=" must stand. One space or tab after that is dropped,
// and all the rest is the value. Returns 1, or 0 with both empty.
//
//   AdParseNameValue(" size = 12 ", name, value);  // "size" and "12 "
TESSELKIT_API int AdParseNameValue(const char* text, CString& name, CString& value);
