// Whole text files as arrays of lines.
//
// On disk every line ends in CR LF, in memory lines have no line end. Lines may be of any length
// and hold any byte, NUL included. While a call runs it has the file for itself: a file that
// another opener holds cannot be had (CFileException*, sharingViolation).
// A null path counts as an empty one, which no file has. Neither function catches anything: what
// opening, reading or writing throws (CFileException*, CMemoryException*) passes to the caller, and
// the file is closed. The path may be one of the lines. Reentrant; `lines` belongs to one thread
// during the call.
#pragma once

#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/export.h"

// Makes `lines` the lines of the file. A line ends at a line feed; a carriage return directly
// before it goes with it, any other stays. A last line may lack its line end; a line end at the end
// of the file begins no further line. After a failure `lines` holds the lines read so far, none
// when the file could not be opened.
TESSELKIT_API void AdGetTextFile(const char* path, CStringArray& lines);

// Makes the file consist of the elements of `lines`, each followed by a line end; an empty array
// gives an empty file. A line feed inside an element is written as a line end too. Reading the file
// back gives the same array, unless an element holds a line feed or ends in a carriage return.
// The integer is ignored. After a failure the file holds what could be written of the lines and
// nothing of what it held before.
TESSELKIT_API void AdWriteTextFile(const char* path, CStringArray& lines, int flag);
