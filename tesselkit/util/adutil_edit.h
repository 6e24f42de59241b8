// Trimming, taking words off a text, splitting, joining and replacing.
//
// A null text counts as the empty one. A separator set is a text whose characters are each a
// separator of their own; an empty set has none. All walks go by characters of the code page: a
// byte inside a longer character is never a separator. Results are new texts of the caller's, or
// the caller's text or array changed in place; the other arguments may lie inside what is changed.
// No value fails; when memory runs out, CMemoryException* is thrown. Different objects may be used
// by different threads at once.
#pragma once

#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

// `s` without its leading characters that are in `chars`; its end is left alone.
TESSELKIT_API CString AdTrimLeading(const char* s, const char* chars);

// The same for blanks: space, tab, carriage return and line feed.
TESSELKIT_API CString AdTrimLeadingWhitespace(const char* s);

// Takes the first word off `str` and returns it: leading separators are dropped, and what follows
// up to the next one is the word. That separator stays at the front of `str`. "" when there is no
// word left; without separators, the whole text is one.
//
//   CString line("  copy from to");
//   AdRemoveWord(line, " ");  // "copy"; line is " from to"
TESSELKIT_API CString AdRemoveWord(CString& str, const char* separators);

// Replaces the contents of `parts` by the pieces of `str` between separators: one more than there
// are separators, some of them empty, but none at all for an empty `str`. "a,,b" with "," gives
// "a", "" and "b".
TESSELKIT_API void AdSplitString(const char* str, const char* separators, CStringArray& parts);

// Sets `result` to the elements of `array`, with `separator` between each two; an empty separator
// stands for a line feed. An empty array gives "".
TESSELKIT_API void AdCStringArrayToCString(const CStringArray& array, CString& result,
                                           const char* separator);

// Replaces every occurrence of `from` in `str` by `to`, from the left; occurrences do not overlap,
// and what was put in is not looked at again. An empty `from` changes nothing.
TESSELKIT_API void AdReplaceString(CString& str, const char* from, const char* to);
