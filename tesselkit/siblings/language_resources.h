// Stand-in for the product's language-resource library: finds the module that carries the
// library's texts in the user's language.
//
// The language is taken as the host's own message catalogues take it: LANGUAGE, a list separated
// by ":", unless the locale is plain C; else LC_ALL, LC_MESSAGES or LANG. For each entry
// tesselkit_<language>_<TERRITORY>.so and then tesselkit_<language>.so are tried in the directory
// TESSELKIT_LANGUAGE_DIR, or tesselkit/language beside this library. An entry "C" or "POSIX" ends
// the list.
#pragma once

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/types.h"

class TESSELKIT_API TWResourceDLL {
 public:
  // The first such module that loads and carries a string table, or null; others are passed over
  // in silence. `library` is the module beside which the default directory is. The module stays
  // loaded until this library is unloaded. Not for several threads at once.
  static HINSTANCE LoadResourceDLL(HINSTANCE library);
};
