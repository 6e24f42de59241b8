// Traces the entry to and the exit from a block on the debugger output.
//
//   AdScopeLogger logger("Open", "adregistry", 40);
//   // "Entering Open (adregistry:40)" now, "Leaving Open (adregistry:40)" at the scope's end, also
//   // when an exception leaves it
//
// Objects belong to one thread.
#pragma once

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

class TESSELKIT_API AdScopeLogger {
 public:
  // A null or empty `block_name` stands for "C++ block", a null `file` for the empty text.
  AdScopeLogger(const char* block_name, const char* file, long line);
  ~AdScopeLogger();

  // Copies trace nothing now, but their own exit.
  AdScopeLogger(const AdScopeLogger& other);
  AdScopeLogger& operator=(const AdScopeLogger& other);

 protected:
  // Writes "Entering " (nonzero) or "Leaving " and the text, without a line break.
  void Announce(int entering) const;

 private:
  CString m_text;
};
