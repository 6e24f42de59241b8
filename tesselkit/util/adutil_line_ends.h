// Converting between the two conventions for the end of a line.
//
// A line end is a carriage return with a line feed, a carriage return alone, or a line feed alone;
// a line feed followed by a carriage return is two. Null counts as "". Results are new texts of
// the caller's. Nothing fails; when memory runs out, CMemoryException* is thrown. The functions
// may be called from any thread.
#pragma once

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

// `s` with every line end made a line feed.
TESSELKIT_API CString AdStringToNewlineFormat(const char* s);

// `s` with every line end made a carriage return and a line feed.
TESSELKIT_API CString AdStringToCRLFFormat(const char* s);
